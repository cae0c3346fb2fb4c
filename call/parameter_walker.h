// ParameterWalker: the walks over a method description's parameter text (request and response)
// and over a structure's field list (out and in), token by token, alongside the host's values.
// It holds the proxy object and the session of one call and chooses the driver for each value.
#pragma once

#include <string>

#include "easysoap/soap_method.h"
#include "easysoap/soap_parameter.h"
#include "host/host_interfaces.h"

namespace tssoap {

class ParameterWalker {
 public:
  ParameterWalker(HostObject proxy, IHostSession& session) : proxy_(proxy), session_(session) {}

  // Adds a child to method for each parameter marked "in". Throws SoapScannerException when the
  // text ends inside a parameter, SOAPException when a value can't be converted.
  int WalkRequest(SOAPMethod& method, HostCallInfo& info, const std::string& parameterText);
  // Writes back each parameter marked "out" and the result, found by name in response.
  int WalkResponse(const SOAPParameter& response, HostCallInfo& info,
                   const std::string& parameterText);
  // Adds a child to parent for each field of the list, read from instance.
  int WalkStructOut(SOAPParameter& parent, HostObject instance, const std::string& fieldList);
  // Fills the fields of instance from the children of element; missing fields are left alone.
  int WalkStructIn(const SOAPParameter& element, HostObject instance, const std::string& fieldList);

 private:
  HostObject proxy_;
  IHostSession& session_;
};

}  // namespace tssoap
