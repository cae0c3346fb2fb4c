// libFuzzer target for the conversions of the XML data type table: the input is the text of an
// element, handed to the in-conversion (FromXmlText) of each of the 46 rows. Each must fill the
// host value or raise SOAPException; a value it accepted must come back out through the row's
// out-conversion (ToXmlText) and read in again: what the extension takes from the wire it can
// also send.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>

#include "host/entry_points.h"
#include "support/values/soap_exception.h"
#include "testhost/testhost.h"
#include "types/xml_data_type_table.h"

namespace {

using tssoap::HostValueRecord;

// Runs one conversion of row on record; false when it raised SOAPException, whose message goes
// to *message.
bool Convert(testhost::Runtime& host, HostObject proxy, const tssoap::XmlDataTypeRow& row,
             XmlValueText& value, HostValueRecord& record, bool in, std::string* message) {
  static const std::string kTypeName = "xsd:any";
  SOAPParameter parameter;
  const auto context = [&]<typename Parameter>(Parameter& element) {
    return tssoap::BasicConversionContext<Parameter>{element, host, proxy,   kTypeName, record,
                                                     {},      {},   nullptr, &row,      nullptr};
  };
  try {
    if (in) {
      tssoap::ResponseContext response = context(std::as_const(parameter));
      row.conversion->fromXmlText(value, response);
    } else {
      tssoap::ConversionContext request = context(parameter);
      row.conversion->toXmlText(value, request);
    }
  } catch (const SOAPException& failure) {
    *message = failure.What() != nullptr ? failure.What() : "";
    return false;
  }
  return true;
}

[[noreturn]] void Finding(const tssoap::XmlDataTypeRow& row, const char* step,
                          const std::string& text, const std::string& message) {
  std::fprintf(stderr, "row %s: %s of \"%s\" failed: %s\n", row.name, step, text.c_str(),
               message.c_str());
  std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  testhost::Runtime host({&TSX_GetDescription, &TSX_CreateNonVisualObject});
  const HostObject proxy = host.NewInstance(host.DefineProxyClass(
      "fuzzproxy", {{"xsd", "http://www.w3.org/2001/XMLSchema"}, {"tns", "urn:fuzz"}}));
  for (int index = 0; index < tssoap::kXmlDataTypeRowCount; ++index) {
    const tssoap::XmlDataTypeRow& row = tssoap::XmlDataTypeTable[index];
    XmlValueText in;
    in.text = text.c_str();
    HostValueRecord record{};
    std::string message;
    if (!Convert(host, proxy, row, in, record, true, &message) || row.hostKind == 0) continue;
    XmlValueText out;
    if (!Convert(host, proxy, row, out, record, false, &message)) {
      Finding(row, "ToXmlText", in.text, message);
    }
    HostValueRecord again{};
    if (!Convert(host, proxy, row, out, again, true, &message)) {
      Finding(row, "FromXmlText", out.text, message);
    }
  }
  return 0;
}
