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

// Writes an rpc/encoded answer carrying count strings (ItemText) or ints to out, which appends
// texts (a std::string, or what hands them on as they come).
template <typename Out>
void WriteEncodedArray(int64_t count, bool ints, Out& out) {
  const std::string type = ints ? "xsd:int" : "xsd:string";
  out.append(kAnswerHead);
  out.append("<result xsi:type=\"SOAP-ENC:Array\" SOAP-ENC:arrayType=\"");
  out.append(type + "[" + std::to_string(count) + "]\">");
  for (int64_t i = 0; i < count; ++i) {
    out.append("<item xsi:type=\"");
    out.append(type);
    out.append("\">");
    out.append(ints ? std::to_string(i % 100000) : ItemText(i));
    out.append("</item>");
  }
  out.append("</result>");
  out.append(kAnswerTail);
}

// The same answer in one block of its own size.
inline std::string EncodedArrayAnswer(int64_t count, bool ints) {
  std::string text;
  text.reserve(static_cast<size_t>(count) * (ints ? 40 : 64) + 1024);
  WriteEncodedArray(count, ints, text);
  return text;
}

// An rpc/encoded answer carrying count records of a string, an int and a float, as the sample
// service's echoStructArray writes it; typed puts an xsi:type on every element, as many other
// servers do.
inline std::string RecordArrayAnswer(int64_t count, bool typed) {
  auto type = [typed](const char* name) {
    return typed ? std::string(" xsi:type=\"") + name + "\"" : std::string();
  };
  std::string text = kAnswerHead;
  text += "<result SOAP-ENC:arrayType=\"ns:Record[" + std::to_string(count) + "]\">";
  for (int64_t i = 0; i < count; ++i) {
    const std::string number = std::to_string(i);
    text += "<item" + type("ns:Record") + "><name" + type("xsd:string") + ">record " + number +
            "</name><count" + type("xsd:int") + ">" + number + "</count><weight" +
            type("xsd:float") + ">" + number + ".25</weight></item>";
  }
  text += "</result>";
  text += kAnswerTail;
  return text;
}
