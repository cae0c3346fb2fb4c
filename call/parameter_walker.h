// ParameterWalker: the walks over a method description's parameter text (request and response)
// and over a structure's field list (out and in), token by token, alongside the host's values.
// It holds the proxy object and the session of one call and chooses the driver for each value.
//
// The walks join three lists that know nothing of each other: the parameters of the description,
// the host's arguments (by position) and the elements of the message (by name). Nothing is
// validated beyond the tokens a walk tests for; running out of tokens raises SoapScannerException.
// A walker lives on the stack of one call; the session and the texts it reads are the caller's.
#pragma once

#include <cstdint>
#include <string>

#include "call/method_description_scanner.h"
#include "easysoap/soap_method.h"
#include "easysoap/soap_parameter.h"
#include "host/host_interfaces.h"
#include "host/host_value_record.h"
#include "types/type_drivers.h"

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

  // One parameter of the request: reads its tokens and, when it is marked "in", adds it to method
  // from record. Returns the id of the token behind the parameter (")" for an empty list).
  int16_t SendOne(SOAPMethod& method, SoapMethodScanner& scanner, HostValueRecord& record);
  // One parameter of the response, or the return part (isReturn): when it is to be read, finds
  // its element in response and fills record; otherwise clears record.kind so that the caller
  // writes nothing back. Returns the id of the token behind the parameter.
  int16_t ReceiveOne(const SOAPParameter& response, SoapMethodScanner& scanner,
                     HostValueRecord& record, bool isReturn);
  // One field of a structure, read from instance and added under parent.
  int16_t SendField(SOAPParameter& parent, SoapStructScanner& scanner, HostObject instance);
  // One field of a structure, found in element and written to instance. A missing field, or one
  // that fails to convert, keeps its value and is not reported.
  int16_t ReceiveField(const SOAPParameter& element, SoapStructScanner& scanner,
                       HostObject instance);

  // The choice of driver by the array style. parent: the element that repeated elements are
  // added to; enclosing: the element in which repeated elements are looked for.
  int DispatchOut(SOAPParameter& parameter, const std::string& typeName, HostValueRecord& record,
                  ArrayStyle arrayStyle, const std::string& elementName, SOAPParameter& parent);
  int DispatchIn(const SOAPParameter& parameter, const std::string& typeName,
                 HostValueRecord& record, ArrayStyle arrayStyle, const std::string& elementName,
                 const SOAPParameter& enclosing);

 private:
  struct ValueForm;

  void SendValue(SOAPParameter& parent, const std::string& name, const ValueForm& form,
                 HostValueRecord& record);
  void FindAndReceive(const SOAPParameter& response, const std::string& name, const ValueForm& form,
                      HostValueRecord& record, bool isReturn);
  // The rest of a field behind its first token: its type, array block and name; record is filled
  // from the field of instance. Returns the name.
  std::string ReadField(SoapStructScanner& scanner, HostObject instance, ValueForm& form,
                        HostValueRecord& record);

  HostObject proxy_;
  IHostSession& session_;
};

}  // namespace tssoap
