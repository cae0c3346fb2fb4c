// ConnectionSettings: what a soapconnection holds and what each marshaler it makes receives a copy
// of, so that a proxy keeps the settings of its creation and outlives its connection.
// Every text defaults to empty; the option strings (connection/option_strings.h) change them.
#pragma once

#include <cstdint>
#include <string>

namespace tssoap {

struct ConnectionSettings {
  // For the service.
  std::string userId;            // setoptions userid
  std::string password;          // setoptions password
  int32_t timeout = 0;           // setoptions timeout; handed to the library unchanged
  bool connectionCache = false;  // setoptions connectioncache: keep the library's proxy
  // For an HTTP proxy server between the extension and the service.
  std::string proxyUserId;    // setproxyserveroptions userid
  std::string proxyPassword;  // setproxyserveroptions password
  std::string proxyScheme;    // setproxyserveroptions address: "http", "https" or "ftp"
  std::string proxyHost;      // empty or blanks alone: no proxy server
  std::string proxyPort;
  std::string proxyPath;  // without its leading "/"
};

}  // namespace tssoap
