// Operations that let tests see the server's side: a fault with a detail, and the number of TCP
// connections accepted.
#include <string>

#include "sample_server.h"
#include "soapH.h"

namespace {

std::string Escaped(const std::string& text) {
  std::string escaped;
  for (char c : text) {
    switch (c) {
      case '&':
        escaped += "&amp;";
        break;
      case '<':
        escaped += "&lt;";
        break;
      case '>':
        escaped += "&gt;";
        break;
      default:
        escaped += c;
    }
  }
  return escaped;
}

}  // namespace

int ns__failWithDetail(struct soap* soap, std::string reason, std::string&) {
  // gSOAP writes the detail text into <detail> as it is, so it must be XML already.
  std::string detail =
      "<ns:problem><code>42</code><reason>" + Escaped(reason) + "</reason></ns:problem>";
  return soap_receiver_fault(soap, soap_strdup(soap, reason.c_str()),
                             soap_strdup(soap, detail.c_str()));
}

int ns__getConnectionCount(struct soap*, int& count) {
  count = sample_server::AcceptedConnections();
  return SOAP_OK;
}
