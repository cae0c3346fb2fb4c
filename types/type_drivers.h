// The one way a value crosses between the host and the message. A declared type is resolved once
// into a DeclaredType (its row, and the namespace its prefix stands for) and handed along with the
// array layout as a ValueForm; ConvertToWire and ConvertFromWire pick the row operation, or the
// object path for a host object, by the layout. The row must serve the host value's kind, else
// the base type of a user type is tried. Failures raise SOAPException.
#pragma once

#include <string>

#include "easysoap/soap_parameter.h"
#include "host/host_interfaces.h"
#include "host/host_value_record.h"
#include "types/xml_data_type_table.h"

namespace tssoap {

// How an array parameter travels, chosen by the array block of a method description.
enum ArrayStyle : int32_t {
  kScalar = 0,            // no array block
  kEncodedArray = 1,      // [SoapElementName]: a SOAP-encoded array element with item children
  kRepeatedElements = 2,  // [] or [XMLElementName]: one sibling element per item, no wrapper
  kWrappedArray = 3,      // [ElementName]: a plain wrapper element with item children
};

// Raises SOAPException "Can't map the XML data type: " + typeName: the type has no row, the host
// value's kind isn't the row's, or the object path has no description or class for it.
[[noreturn]] void ThrowMappingFailure(const std::string& typeName);

// A declared type ("xsd:string", "tns:Zip") as the proxy's variables resolve it. Resolved once per
// parameter, field or item kind; it holds copies, so it outlives the host texts it was read from.
struct DeclaredType {
  DeclaredType() = default;
  DeclaredType(IHostSession& session, HostObject proxy, std::string typeName);

  std::string name;           // as declared, with its prefix
  XmlTypeCode code;           // the declared type's own row, if it has one
  bool hasNamespace = false;  // whether the prefix names a namespace variable of the proxy
  std::string ns;             // that namespace; the types go out under it, also for a base row
};

// How a parameter or field travels: its declared type and its array block.
struct ValueForm {
  DeclaredType type;
  ArrayStyle arrayStyle = kScalar;
  std::string elementName = "item";  // name of an array's items when the block names none
};

// The request: record into parameter. parent is the element that repeated elements are added to
// (parameter then only carries their name).
void ConvertToWire(const ValueForm& form, SOAPParameter& parameter, SOAPParameter& parent,
                   HostValueRecord& record, IHostSession& session, HostObject proxy);
// The response: parameter into record. enclosing is the element in which repeated elements are
// looked for.
void ConvertFromWire(const ValueForm& form, const SOAPParameter& parameter,
                     const SOAPParameter& enclosing, HostValueRecord& record, IHostSession& session,
                     HostObject proxy);

// The entry points by layout, each resolving typeName on its own.
void ConvertScalarOut(SOAPParameter& parameter, IHostSession& session, HostObject proxy,
                      const std::string& typeName, HostValueRecord& record);
void ConvertScalarIn(const SOAPParameter& parameter, IHostSession& session, HostObject proxy,
                     const std::string& typeName, HostValueRecord& record);
void ConvertEncodedArrayOut(SOAPParameter& parameter, IHostSession& session, HostObject proxy,
                            const std::string& typeName, HostValueRecord& record,
                            const std::string& elementName);
void ConvertEncodedArrayIn(const SOAPParameter& parameter, IHostSession& session, HostObject proxy,
                           const std::string& typeName, HostValueRecord& record,
                           const std::string& elementName);
void ConvertRepeatedElementsOut(SOAPParameter& parameter, IHostSession& session, HostObject proxy,
                                const std::string& typeName, HostValueRecord& record,
                                const std::string& elementName, SOAPParameter& parentParameter);
void ConvertRepeatedElementsIn(const SOAPParameter& parameter, IHostSession& session,
                               HostObject proxy, const std::string& typeName,
                               HostValueRecord& record, const std::string& elementName,
                               const SOAPParameter& enclosingParameter);
void ConvertWrappedArrayOut(SOAPParameter& parameter, IHostSession& session, HostObject proxy,
                            const std::string& typeName, HostValueRecord& record,
                            const std::string& elementName);
void ConvertWrappedArrayIn(const SOAPParameter& parameter, IHostSession& session, HostObject proxy,
                           const std::string& typeName, HostValueRecord& record,
                           const std::string& elementName);

}  // namespace tssoap
