#include "easysoap/src/service_address.h"

#include <string_view>

#include "support/values/soap_exception.h"

namespace easysoap_internal {

namespace {

int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// %xx sequences become their byte; a "%" that starts no such sequence stays as it is.
std::string PercentDecode(std::string_view text) {
  std::string decoded;
  decoded.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%' && i + 2 < text.size()) {
      int high = HexValue(text[i + 1]);
      int low = HexValue(text[i + 2]);
      if (high >= 0 && low >= 0) {
        decoded.push_back(static_cast<char>(high << 4 | low));
        i += 2;
        continue;
      }
    }
    decoded.push_back(text[i]);
  }
  return decoded;
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

  size_t schemeEnd = address.find("://");
  ServiceAddress parsed;
  std::string_view rest = address;
  if (schemeEnd != std::string_view::npos) {
    parsed.scheme = Lower(address.substr(0, schemeEnd));
    rest = address.substr(schemeEnd + 3);
  }
  size_t pathStart = rest.find_first_of("/?#");
  std::string_view authority = rest.substr(0, pathStart);
  std::string_view path = pathStart == std::string_view::npos ? "" : rest.substr(pathStart);
  size_t at = authority.rfind('@');
  if (at != std::string_view::npos) {
    std::string_view userPart = authority.substr(0, at);
    size_t colon = userPart.find(':');
    parsed.hasUser = true;
    parsed.user = PercentDecode(userPart.substr(0, colon));
    if (colon != std::string_view::npos)
      parsed.password = PercentDecode(userPart.substr(colon + 1));
    authority = authority.substr(at + 1);
  }
  // From here on only the address without its user part is ever shown.
  std::string shown = parsed.scheme + "://" + std::string(authority) + std::string(path);
  if (schemeEnd == std::string_view::npos) {
    throw SOAPException(
        "The %s address '%.300s' is not a URL: it lacks \"http://\" or "
        "\"https://\"",
        role, (std::string(authority) + std::string(path)).c_str());
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
  for (char c : parsed.port) {
    if (c < '0' || c > '9') {
      throw SOAPException("The %s address '%.300s' has the port '%.40s', which isn't a number",
                          role, shown.c_str(), parsed.port.c_str());
    }
  }
  parsed.url = std::move(shown);
  return parsed;
}

}  // namespace easysoap_internal
