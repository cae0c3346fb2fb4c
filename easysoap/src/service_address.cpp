#include "easysoap/src/service_address.h"

#include <algorithm>
#include <string_view>

#include "support/values/soap_exception.h"

namespace easysoap_internal {

namespace {

constexpr std::string_view kPathStart = "/?#";

bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }

bool AllDigits(std::string_view text) {
  for (char c : text) {
    if (!IsDigit(c)) return false;
  }
  return true;
}

// A URL scheme: a letter, then letters, digits, "+", "-" and ".". Text in front of a "://" that
// a password holds is no scheme.
bool IsScheme(std::string_view text) {
  if (text.empty() || !IsLetter(text.front())) return false;
  for (char c : text) {
    if (!IsLetter(c) && !IsDigit(c) && c != '+' && c != '-' && c != '.') return false;
  }
  return true;
}

// Letters, digits, "-", ".", "_", "~", and the bytes of non-ASCII (internationalised) names.
bool IsHostCharacter(char c) {
  return IsLetter(c) || IsDigit(c) || c == '-' || c == '.' || c == '_' || c == '~' ||
         static_cast<unsigned char>(c) >= 0x80;
}

// "host", "host:port" or "[IPv6]:port", the port digits only (or empty, for the default).
bool IsHostAndPort(std::string_view authority) {
  size_t hostEnd = 0;
  if (!authority.empty() && authority.front() == '[') {
    hostEnd = authority.find(']');
    if (hostEnd == std::string_view::npos || hostEnd == 1) return false;
    for (char c : authority.substr(1, hostEnd - 1)) {
      if (!IsLetter(c) && !IsDigit(c) && c != ':' && c != '.' && c != '%') return false;
    }
    ++hostEnd;
  } else {
    hostEnd = std::min(authority.find(':'), authority.size());
    if (hostEnd == 0) return false;
    for (char c : authority.substr(0, hostEnd)) {
      if (!IsHostCharacter(c)) return false;
    }
  }
  std::string_view port = authority.substr(hostEnd);
  return port.empty() || (port.front() == ':' && AllDigits(port.substr(1)));
}

// The "@" that ends the user part of rest (the text behind "scheme://"): the last one followed
// by host[:port] and then the path, the query, the fragment or the end. npos when none is.
size_t UserPartEnd(std::string_view rest) {
  for (size_t at = rest.rfind('@'); at != std::string_view::npos;
       at = at == 0 ? std::string_view::npos : rest.rfind('@', at - 1)) {
    std::string_view behind = rest.substr(at + 1);
    if (IsHostAndPort(behind.substr(0, behind.find_first_of(kPathStart)))) return at;
  }
  return std::string_view::npos;
}

std::string_view TrimBlanks(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
  return text;
}

std::string Lower(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return lower;
}

}  // namespace

ServiceAddress ParseServiceAddress(const char* text, const char* role) {
  std::string_view address = TrimBlanks(text != nullptr ? text : "");
  if (address.empty()) throw SOAPException("The %s address is empty", role);

  ServiceAddress parsed;
  std::string_view rest = address;
  const size_t schemeEnd = address.find("://");
  const bool hasScheme =
      schemeEnd != std::string_view::npos && IsScheme(address.substr(0, schemeEnd));
  if (hasScheme) {
    parsed.scheme = Lower(address.substr(0, schemeEnd));
    rest = address.substr(schemeEnd + 3);
  }

  // From here on only the address without its user part is ever shown. When no "@" can be told
  // to end the user part, all in front of the last one is hidden: it may hold a password.
  std::string_view located = rest;
  std::string hidden;
  if (size_t at = UserPartEnd(rest); at != std::string_view::npos) {
    std::string_view userPart = rest.substr(0, at);
    size_t colon = userPart.find(':');
    parsed.hasUser = true;
    parsed.user = std::string(userPart.substr(0, colon));
    if (colon != std::string_view::npos) parsed.password = std::string(userPart.substr(colon + 1));
    located = rest.substr(at + 1);
  } else if (size_t last = rest.rfind('@'); last != std::string_view::npos) {
    located = rest.substr(last + 1);
    hidden = "***@";
  }
  size_t pathStart = located.find_first_of(kPathStart);
  std::string_view authority = located.substr(0, pathStart);
  std::string shownRest = hidden + std::string(located);
  std::string shown = parsed.scheme + "://" + shownRest;
  if (!hasScheme) {
    throw SOAPException(
        "The %s address '%.300s' is not a URL: it lacks \"http://\" or "
        "\"https://\"",
        role, shownRest.c_str());
  }
  if (parsed.scheme != "http" && parsed.scheme != "https") {
    throw SOAPException(
        "The %s address '%.300s' has the scheme '%.40s'; only http and https are "
        "supported",
        role, shown.c_str(), parsed.scheme.c_str());
  }

  size_t portColon = authority.rfind(':');
  size_t bracket = authority.rfind(']');
  if (portColon != std::string_view::npos &&
      (bracket == std::string_view::npos || portColon > bracket)) {
    parsed.host = std::string(authority.substr(0, portColon));
    parsed.port = std::string(authority.substr(portColon + 1));
  } else {
    parsed.host = std::string(authority);
  }
  if (parsed.port.empty()) parsed.port = parsed.scheme == "https" ? "443" : "80";
  if (parsed.host.empty()) {
    throw SOAPException("The %s address '%.300s' names no host", role, shown.c_str());
  }
  if (!AllDigits(parsed.port)) {
    throw SOAPException("The %s address '%.300s' has the port '%.40s', which isn't a number", role,
                        shown.c_str(), parsed.port.c_str());
  }
  if (!hidden.empty()) {
    throw SOAPException(
        "The %s address '%.300s' has no host name behind its user part (an \"@\" of the path "
        "is written %%40)",
        role, shown.c_str());
  }
  parsed.url = std::move(shown);
  return parsed;
}

}  // namespace easysoap_internal
