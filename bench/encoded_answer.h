// The answers the parsing benchmarks read: an rpc/encoded array as a gSOAP server writes it.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

// The text of item i of a string array, 28 bytes.
inline std::string ItemText(int64_t i) {
  char text[64];
  std::snprintf(text, sizeof text, "string value number %08lld", static_cast<long long>(i));
  return text;
}

// The envelope around the method element of every answer.
inline constexpr const char* kAnswerHead =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<SOAP-ENV:Envelope xmlns:SOAP-ENV=\"http://schemas.xmlsoap.org/soap/envelope/\" "
    "xmlns:SOAP-ENC=\"http://schemas.xmlsoap.org/soap/encoding/\" "
    "xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" "
    "xmlns:xsd=\"http://www.w3.org/2001/XMLSchema\" xmlns:ns=\"urn:tssoap-sample\">"
    "<SOAP-ENV:Body SOAP-ENV:encodingStyle=\"http://schemas.xmlsoap.org/soap/encoding/\">"
    "<ns:echoArrayResponse>";
inline constexpr const char* kAnswerTail =
    "</ns:echoArrayResponse></SOAP-ENV:Body></SOAP-ENV:Envelope>";

// An rpc/encoded answer carrying count strings (ItemText) or ints, in one block of its own size.
inline std::string EncodedArrayAnswer(int64_t count, bool ints) {
  const std::string type = ints ? "xsd:int" : "xsd:string";
  std::string text;
  text.reserve(static_cast<size_t>(count) * (ints ? 40 : 64) + 1024);
  text.append(kAnswerHead).append("<result xsi:type=\"SOAP-ENC:Array\" SOAP-ENC:arrayType=\"");
  text.append(type).append("[").append(std::to_string(count)).append("]\">");
  for (int64_t i = 0; i < count; ++i) {
    text.append("<item xsi:type=\"").append(type).append("\">");
    text.append(ints ? std::to_string(i % 100000) : ItemText(i)).append("</item>");
  }
  return text.append("</result>").append(kAnswerTail);
}
