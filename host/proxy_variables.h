// Readers of the proxy class's string variables: the address, the binding style, the target
// namespaces, the namespace of each prefix and the description of each user type.
// Texts returned as const char* are the host's: copy them before the next host call that could
// change them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "host/host_interfaces.h"

namespace tssoap {

// Binding style of a proxy, as the library reads it.
enum BindingStyle : int32_t {
  kBindingNotStated = 0,  // no "BindingStyle" variable, or a text other than the two below
  kBindingDocument = 1,   // exactly "document"
  kBindingRpc = 2,        // exactly "rpc"
};

// The text of the proxy's string variable name (asked for in lower case). A variable the class
// lacks, or a null one, raises SOAPException naming the variable.
const char* ReadProxyVariable(IHostSession& session, HostObject proxy, std::string_view name);
// From the variable "BindingStyle", asked for with its capitals.
int32_t ReadBindingStyle(IHostSession& session, HostObject proxy);
// "ts__schematargetnamespace", else "ts__targetnamespace" when the class lacks the first; null
// when it has neither.
const char* GetTargetNamespace(IHostSession& session, HostObject proxy);
// The namespace that the prefix of prefixedName stands for; null when the name has no prefix or
// the proxy has no (non-null) variable for it.
const char* ResolvePrefix(IHostSession& session, HostObject proxy, std::string_view prefixedName);
// The text behind the first ":", or the whole name.
std::string GetLocalPart(std::string_view prefixedName);
// The same without a copy: a view into prefixedName.
std::string_view LocalPartOf(std::string_view prefixedName);
// The base type of a user type derived from a simple type: the text behind "base=" up to the next
// "," in the type's description variable ("__" + ToHostClassName(typeName)); empty when there is
// none, also when the proxy has no (non-null) description of the type.
std::string GetBaseType(IHostSession& session, HostObject proxy, std::string_view typeName);

}  // namespace tssoap
