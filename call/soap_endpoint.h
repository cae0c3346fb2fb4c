// The endpoint of a proxy call: the service address (from the createinstance port name or the
// proxy's `endpoint` variable) with the user's credentials in it, the address of an HTTP proxy
// server, and the library's SOAPProxy built from both. User and password travel only inside these
// URL texts; the library takes them from there.
//
// The SOAPProxy belongs to the marshaler that holds it (CallTarget::soapProxy is its slot).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "call/connection_settings.h"
#include "host/host_interfaces.h"

class SOAPProxy;

namespace tssoap {

// What a call needs of the marshaler of its proxy: the settings of its creation, the port name
// given to createinstance, and the slot of the library's proxy that may stay between calls.
struct CallTarget {
  const ConnectionSettings& settings;
  const std::string& portName;
  SOAPProxy*& soapProxy;
};

// Empty, or blanks (" ") alone; other white space isn't blank.
bool IsSpacesOnly(std::string_view text);

// Puts "userId[:password]@" into serviceAddress behind the first "//" (in front of the text when
// it has none). An address that has a user part already keeps it when the application gave it
// (port name), and gives way when it came from the proxy's `endpoint` variable. Nothing happens
// for an empty userId. Nothing is escaped.
void AddCredentials(std::string& serviceAddress, bool fromProxyVariable, std::string_view userId,
                    std::string_view password);

// The settings of an HTTP proxy server, as a soapconnection keeps them.
struct ProxyServerAddress {
  std::string_view scheme;
  std::string_view host;  // blank: no proxy server
  std::string_view port;
  std::string_view path;  // without its leading "/"
  std::string_view userId;
  std::string_view password;
};

// "scheme://[user[:password]@]host:port[/path]", with "http" and "80" for a blank scheme and
// port; empty when the host is blank.
std::string ComposeProxyAddress(const ProxyServerAddress& server);

// Builds target.soapProxy from its settings and the proxy object's variables and returns the
// binding style it read. Throws SOAPException when the proxy has no (non-null) `endpoint` and no
// port name was given, when the library refuses the address, and when it gives no proxy.
int32_t BuildSoapProxy(const CallTarget& target, IHostSession& session, HostObject proxy);

}  // namespace tssoap
