// ParameterWalker: the walks over a method description's parameter text (request and response)
// and over a structure's field list (out and in), token by token, alongside the host's values.
// It holds the proxy object and the session of one call and chooses the driver for each value.
//
// The walks join three lists that know nothing of each other: the parameters of the description,
// the host's arguments (by position) and the elements of the message (by name). Nothing is
// validated beyond the tokens a walk tests for; running out of tokens where one has to follow
// raises SoapScannerException. A walker lives on the stack of one call; the session and the texts
// it reads are the caller's.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "call/method_description_scanner.h"
#include "call/value_drivers.h"
#include "easysoap/soap_method.h"
#include "easysoap/soap_parameter.h"
#include "host/host_interfaces.h"
#include "host/host_value_record.h"

namespace tssoap {

// One field of a structure's description, read once for every instance of the structure.
struct StructField {
  std::string name;  // the element's name
  HostFieldName hostName;
  ValueForm form;
};

// The fields of a description's field list, in order. When the text runs out of tokens, the list
// holds the fields read before that point and the walks fail behind them, as reading the text
// field by field does.
struct StructFields {
  std::vector<StructField> fields;
  bool cutShort = false;
};

class ParameterWalker {
 public:
  ParameterWalker(HostObject proxy, IHostSession& session) : proxy_(proxy), session_(session) {}

  // Adds a child to method for each parameter marked "in". Throws SoapScannerException when the
  // text ends inside a parameter, SOAPException when a value can't be converted.
  void WalkRequest(SOAPMethod& method, HostCallInfo& info, const std::string& parameterText);
  // Writes back each parameter marked "out" and the result, found by name in response.
  void WalkResponse(const SOAPParameter& response, HostCallInfo& info,
                    const std::string& parameterText);
  // The fields of a structure's field list ("(xsd:string street, xsd:int zip)"), their types
  // resolved through the proxy.
  StructFields ReadStructFields(const std::string& fieldList);
  // Adds a child to parent for each field, read from instance.
  void WalkStructOut(SOAPParameter& parent, HostObject instance, const StructFields& fields);
  // Fills the fields of instance from the children of element; missing fields are left alone.
  void WalkStructIn(const SOAPParameter& element, HostObject instance, const StructFields& fields);

  // One parameter of the request: reads its tokens and, when it is marked "in", adds it to method
  // from record. Returns the id of the token behind the parameter (")" for an empty list).
  int16_t SendOne(SOAPMethod& method, SoapMethodScanner& scanner, HostValueRecord& record);
  // One parameter of the response, or the return part (isReturn): when it is to be read, finds
  // its element in response and fills record; otherwise clears record.kind so that the caller
  // writes nothing back. Returns the id of the token behind the parameter (kMethodEnd behind the
  // return part, where the text normally ends).
  int16_t ReceiveOne(const SOAPParameter& response, SoapMethodScanner& scanner,
                     HostValueRecord& record, bool isReturn);

  // One value by its declared type name and array block, the way the walks send and receive it.
  // parent: the element that repeated elements are added to; enclosing: the element in which
  // repeated elements are looked for.
  void DispatchOut(SOAPParameter& parameter, const std::string& typeName, HostValueRecord& record,
                   ArrayStyle arrayStyle, const std::string& elementName, SOAPParameter& parent);
  void DispatchIn(const SOAPParameter& parameter, const std::string& typeName,
                  HostValueRecord& record, ArrayStyle arrayStyle, const std::string& elementName,
                  const SOAPParameter& enclosing);

 private:
  void SendValue(SOAPParameter& parent, const std::string& name, const ValueForm& form,
                 HostValueRecord& record);
  void FindAndReceive(const SOAPParameter& response, const std::string& name, const ValueForm& form,
                      HostValueRecord& record, bool isReturn);
  // One field of a structure, read from instance (of class cls) and added under parent.
  void SendField(SOAPParameter& parent, const StructField& field, HostObject instance,
                 HostClass cls);
  // One field of a structure, found in element and written to instance. A missing field, or one
  // that fails to convert, keeps its value and is not reported.
  void ReceiveField(const SOAPParameter& element, const StructField& field, HostObject instance,
                    HostClass cls);

  HostObject proxy_;
  IHostSession& session_;
};

}  // namespace tssoap
