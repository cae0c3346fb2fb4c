// Shared by the type tests: a reference host with a proxy class whose prefixes stand for the usual
// namespaces, and helpers that run one row's conversions and read what an element carries.
#pragma once

#include <bit>
#include <clocale>
#include <cstdlib>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "common/environment_locale.h"
#include "host/entry_points.h"
#include "support/soap_vocabulary.h"
#include "support/values/soap_exception.h"
#include "testhost/testhost.h"
#include "types/xml_data_type_table.h"

namespace tssoap::types_test {

inline const XmlDataTypeRow& RowNamed(std::string_view name) {
  for (int index = 0; index < kXmlDataTypeRowCount; ++index) {
    if (name == XmlDataTypeTable[index].name) return XmlDataTypeTable[index];
  }
  throw std::invalid_argument("no row " + std::string(name));
}

// The message of the SOAPException that action raises; nothing when it raises none.
template <typename Action>
std::optional<std::string> MessageOf(Action&& action) {
  try {
    action();
  } catch (const SOAPException& failure) {
    return std::string(failure.What() != nullptr ? failure.What() : "");
  }
  return std::nullopt;
}

using test::EnvironmentLocale;

// Eight bytes holding number: its low bytes are every narrower member (a little-endian host).
static_assert(std::endian::native == std::endian::little);
inline HostValueData Bits(int64_t number) { return HostValueData{.int64 = number}; }
inline HostValueRecord Record(HostValueKind kind, HostValueData value = {}, bool isNull = false) {
  return HostValueRecord{static_cast<uint8_t>(isNull), 0, 0, kind, value};
}

// The text of an attribute of the element, or nothing; its namespace part in *ns.
inline std::optional<std::string> AttributeText(const SOAPParameter& element, const SOAPQName& key,
                                                std::string* ns = nullptr) {
  const auto found = element.GetAttributes().Find(key);
  if (found == element.GetAttributes().End()) return std::nullopt;
  if (ns != nullptr) *ns = found.Value().GetNamespace().CStr();
  return std::string(found.Value().GetName().CStr());
}

class TypesHost {
 public:
  TypesHost() : runtime({&TSX_GetDescription, &TSX_CreateNonVisualObject}) {
    runtime.DefineProxyClass("typesproxy", {{"xsd", kXsdNamespace2001},
                                            {"xsd1999", kXsdNamespace1999},
                                            {"soap-enc", kSoapEncNamespace},
                                            {"tns", "urn:tns"},
                                            {"__tns__zip", "Zip(),base=xsd:string,"},
                                            {"__tns__code", "Code(),base=xsd:int,"},
                                            {"__tns__broken", "Broken(),base=xsd:string"}});
    proxy = runtime.NewInstance("typesproxy");
  }

  // The context of the row on parameter: a ResponseContext when Parameter is const.
  template <typename Parameter>
  BasicConversionContext<Parameter> Context(Parameter& parameter, HostValueRecord& record,
                                            std::string_view rowName) {
    return BasicConversionContext<Parameter>{
        parameter, runtime, proxy, typeName_, record, {}, {}, nullptr, &RowNamed(rowName), nullptr};
  }
  // ToXmlText of the row on record.
  XmlValueText ToXml(std::string_view rowName, HostValueRecord record) {
    SOAPParameter parameter;
    ConversionContext context = Context(parameter, record, rowName);
    XmlValueText value;
    context.row->conversion->toXmlText(value, context);
    return value;
  }
  // FromXmlText of the row on text, into record; what a failure leaves in it stays.
  void FromXmlInto(std::string_view rowName, const std::string& text, HostValueRecord& record) {
    const SOAPParameter parameter;
    ResponseContext context = Context(parameter, record, rowName);
    XmlValueText value;
    value.text = text;
    context.row->conversion->fromXmlText(value, context);
  }
  HostValueRecord FromXml(std::string_view rowName, const std::string& text,
                          HostValueRecord record = {}) {
    FromXmlInto(rowName, text, record);
    return record;
  }
  HostValueData StringValue(const std::string& text) {
    return HostValueData{.handle = runtime.MakeString(text)};
  }

  testhost::Runtime runtime;
  HostObject proxy = 0;

 private:
  const std::string typeName_ = "xsd:any";
};

}  // namespace tssoap::types_test
