// The eight drivers between the parameter walks and the XML data type table. Each finds the row
// of the declared type, checks that the host value's kind is the row's (falling back to the base
// type of a user type), and runs one of the row's operations; an object value goes to the object
// path instead. Failures raise SOAPException; the result is 0.
#pragma once

#include <string>

#include "easysoap/soap_parameter.h"
#include "host/host_interfaces.h"
#include "host/host_value_record.h"

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

int ConvertScalarOut(SOAPParameter& parameter, IHostSession& session, HostObject proxy,
                     const std::string& typeName, HostValueRecord& record);
int ConvertScalarIn(const SOAPParameter& parameter, IHostSession& session, HostObject proxy,
                    const std::string& typeName, HostValueRecord& record);
int ConvertEncodedArrayOut(SOAPParameter& parameter, IHostSession& session, HostObject proxy,
                           const std::string& typeName, HostValueRecord& record,
                           const std::string& elementName);
int ConvertEncodedArrayIn(const SOAPParameter& parameter, IHostSession& session, HostObject proxy,
                          const std::string& typeName, HostValueRecord& record,
                          const std::string& elementName);
int ConvertRepeatedElementsOut(SOAPParameter& parameter, IHostSession& session, HostObject proxy,
                               const std::string& typeName, HostValueRecord& record,
                               const std::string& elementName, SOAPParameter& parentParameter);
int ConvertRepeatedElementsIn(const SOAPParameter& parameter, IHostSession& session,
                              HostObject proxy, const std::string& typeName,
                              HostValueRecord& record, const std::string& elementName,
                              const SOAPParameter& enclosingParameter);
int ConvertWrappedArrayOut(SOAPParameter& parameter, IHostSession& session, HostObject proxy,
                           const std::string& typeName, HostValueRecord& record,
                           const std::string& elementName);
int ConvertWrappedArrayIn(const SOAPParameter& parameter, IHostSession& session, HostObject proxy,
                          const std::string& typeName, HostValueRecord& record,
                          const std::string& elementName);

}  // namespace tssoap
