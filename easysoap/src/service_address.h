// ServiceAddress: an http or https URL taken apart the way the transport needs it. The user part
// ("user:password@") is removed from the URL handed to libcurl and kept, %xx-decoded, as the
// credentials, so that no message or log line built from the URL can show a password.
//
// The user part ends at the last "@" in front of the first "/", "?" or "#" behind "//", and the
// user at its first ":". A password holding "/", "?" or "#" must therefore be %xx-escaped;
// "@" and ":" in a password need no escape.
#pragma once

#include <string>

namespace easysoap_internal {

struct ServiceAddress {
  std::string scheme;  // "http" or "https", in lower case
  std::string host;    // as written, with brackets for IPv6
  std::string port;    // as written, or the scheme's default
  std::string url;     // scheme://host[:port]/path, without the user part
  bool hasUser = false;
  std::string user;      // decoded
  std::string password;  // decoded

  // "host:port", for messages.
  std::string Where() const { return host + ":" + port; }
};

// role names the address in messages ("service", "proxy server"). Throws SOAPException for an
// empty address, one without "scheme://", a scheme other than http and https, or no host; the
// message shows the address without its user part.
ServiceAddress ParseServiceAddress(const char* text, const char* role);

}  // namespace easysoap_internal
