#include "call/soap_endpoint.h"

#include "easysoap/soap_proxy.h"
#include "host/proxy_variables.h"
#include "support/values/soap_exception.h"

namespace tssoap {
namespace {

constexpr std::string_view kDefaultProxyScheme = "http";
constexpr std::string_view kDefaultProxyPort = "80";
constexpr std::string_view kSchemeSeparator = "://";
constexpr const char* kEndpointVariable = "endpoint";

// "user@" or "user:password@"; a password without a user never gets here.
std::string FormCredential(std::string_view userId, std::string_view password) {
  std::string credential(userId);
  if (!password.empty()) {
    credential += ':';
    credential += password;
  }
  credential += '@';
  return credential;
}

}  // namespace

bool IsSpacesOnly(std::string_view text) {
  return text.find_first_not_of(' ') == std::string::npos;
}

void AddCredentials(std::string& serviceAddress, bool fromProxyVariable, std::string_view userId,
                    std::string_view password) {
  if (userId.empty()) return;
  const std::string credential = FormCredential(userId, password);

  // The user part starts behind the scheme's "//"; an address without a scheme starts with it.
  const size_t slashes = serviceAddress.find("//");
  const size_t start = slashes == std::string::npos ? 0 : slashes + 2;
  const size_t at = serviceAddress.find('@');

  if (at == std::string::npos) {
    serviceAddress.insert(start, credential);
  } else if (!fromProxyVariable) {
    // The application wrote this address with its own user: it stays.
  } else if (at >= start) {
    // The address written into the proxy class gives way to the connection's options.
    serviceAddress.replace(start, at + 1 - start, credential);
  } else {
    // An "@" in front of the "//" is no user part.
    serviceAddress.insert(start, credential);
  }
}

std::string ComposeProxyAddress(const ProxyServerAddress& server) {
  std::string address;
  if (IsSpacesOnly(server.host)) return address;
  address += IsSpacesOnly(server.scheme) ? kDefaultProxyScheme : server.scheme;
  address += kSchemeSeparator;
  if (!IsSpacesOnly(server.userId)) {
    address += server.userId;
    if (!server.password.empty()) {
      address += ':';
      address += server.password;
    }
    address += '@';
  }
  address += server.host;
  address += ':';
  address += IsSpacesOnly(server.port) ? kDefaultProxyPort : server.port;
  if (!IsSpacesOnly(server.path)) {
    address += '/';
    address += server.path;
  }
  return address;
}

int32_t BuildSoapProxy(const CallTarget& target, IHostSession& session, HostObject proxy) {
  const ConnectionSettings& settings = target.settings;
  const bool fromProxyVariable = target.portName.empty();
  std::string serviceAddress =
      fromProxyVariable ? std::string(ReadProxyVariable(session, proxy, kEndpointVariable))
                        : target.portName;
  AddCredentials(serviceAddress, fromProxyVariable, settings.userId, settings.password);

  const std::string proxyAddress =
      ComposeProxyAddress({settings.proxyScheme, settings.proxyHost, settings.proxyPort,
                           settings.proxyPath, settings.proxyUserId, settings.proxyPassword});
  const int32_t bindingStyle = ReadBindingStyle(session, proxy);

  target.soapProxy = proxyAddress.empty()
                         ? InitSOAPProxy(serviceAddress.c_str(), settings.timeout, bindingStyle)
                         : InitSOAPProxyEx(serviceAddress.c_str(), proxyAddress.c_str(),
                                           settings.timeout, bindingStyle);
  if (target.soapProxy == nullptr) {
    // The message names no address: it may hold a password.
    throw SOAPException("%s", "The SOAP library could not create a connection to the service");
  }
  return bindingStyle;
}

}  // namespace tssoap
