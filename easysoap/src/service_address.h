// ServiceAddress: an http or https URL taken apart the way the transport needs it. The user part
// ("user:password@") is removed from the URL handed to libcurl and kept, byte for byte, as the
// credentials, so that no message or log line built from the URL can show a password.
//
// The extension writes user and password into the address unescaped, so they may hold any
// character, "/", "?", "#", "@", ":", "%" and blanks included. The user part therefore runs up to
// the last "@" that is followed by a host name (or [IPv6] address), an optional ":port", and then
// "/", "?", "#" or the end of the text. Its first ":" ends the user. Nothing in it is %xx-decoded.
// An "@" that belongs to the path, the query or the fragment must be written as %40; an "@"
// that ends no user part makes the address invalid.
#pragma once

#include <string>

namespace easysoap_internal {

struct ServiceAddress {
  std::string scheme;  // "http" or "https", in lower case
  std::string host;    // as written, with brackets for IPv6
  std::string port;    // as written, or the scheme's default
  std::string url;     // scheme://host[:port]/path, without the user part
  bool hasUser = false;
  std::string user;      // as written
  std::string password;  // as written

  // "host:port", for messages.
  std::string Where() const { return host + ":" + port; }
};

// role names the address in messages ("service", "proxy server"). Throws SOAPException for an
// empty address, one without "scheme://", a scheme other than http and https, or no host; the
// message shows the address without its user part.
ServiceAddress ParseServiceAddress(const char* text, const char* role);

}  // namespace easysoap_internal
