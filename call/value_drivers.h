// The one way a value crosses between the host and the message: ConvertToWire and
// ConvertFromWire take a ValueForm (declared type resolved once, and the array layout) and run the
// object path for a host object (call/struct_objects.h) or the row path of the type table
// (types/type_drivers.h) otherwise. The entry points by layout resolve the type name themselves.
// Failures raise SOAPException.
#pragma once

#include <string>

#include "easysoap/soap_parameter.h"
#include "host/host_interfaces.h"
#include "host/host_value_record.h"
#include "types/type_drivers.h"

namespace tssoap {

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
