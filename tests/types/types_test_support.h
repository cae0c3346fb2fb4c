// Shared by the type tests: a reference host with a proxy class whose prefixes stand for the usual
// namespaces, and helpers that run one row's conversions and read what an element carries.
#pragma once

#include <clocale>
#include <cstdlib>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "easysoap/soap_parameter.h"
#include "host/entry_points.h"
#include "support/soap_vocabulary.h"
#include "support/values/soap_exception.h"
#include "support/values/xml_value.h"
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

// Runs a test under an environment whose locale is `name` (the code page of the host's texts),
// and puts the environment and the process locale back afterwards.
class EnvironmentLocale {
 public:
  explicit EnvironmentLocale(const char* name) {
    if (const char* old = std::getenv("LC_ALL")) saved_ = old;
    setenv("LC_ALL", name, 1);
    available_ = std::setlocale(LC_ALL, "") != nullptr;
  }
  ~EnvironmentLocale() {
    if (saved_) {
      setenv("LC_ALL", saved_->c_str(), 1);
    } else {
      unsetenv("LC_ALL");
    }
    std::setlocale(LC_ALL, "C");
  }
  EnvironmentLocale(const EnvironmentLocale&) = delete;
  EnvironmentLocale& operator=(const EnvironmentLocale&) = delete;
  bool Available() const { return available_; }

 private:
  std::optional<std::string> saved_;
  bool available_ = false;
};

inline HostValueRecord Record(HostValueKind kind, HostValueData value = {}) {
  HostValueRecord record{};
  record.kind = kind;
  record.value = value;
  return record;
}
inline HostValueRecord NullRecord(HostValueKind kind) {
  HostValueRecord record = Record(kind);
  record.isNull = 1;
  return record;
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

  ConversionContext Context(SOAPParameter& parameter, const std::string& typeName,
                            HostValueRecord& record, const XmlDataTypeRow& row) {
    return ConversionContext{parameter, runtime, proxy, typeName, record, {}, {}, nullptr, &row};
  }

  // ToXmlText of the row on record.
  XmlValueText ToXml(std::string_view rowName, HostValueRecord record) {
    const XmlDataTypeRow& row = RowNamed(rowName);
    SOAPParameter parameter;
    ConversionContext context = Context(parameter, typeName_, record, row);
    XmlValueText value;
    row.conversion->toXmlText(value, context);
    return value;
  }

  // FromXmlText of the row on text, into record; what a failure leaves in it stays.
  void FromXmlInto(std::string_view rowName, const std::string& text, HostValueRecord& record) {
    const XmlDataTypeRow& row = RowNamed(rowName);
    SOAPParameter parameter;
    ConversionContext context = Context(parameter, typeName_, record, row);
    XmlValueText value;
    value.text = text;
    row.conversion->fromXmlText(value, context);
  }
  HostValueRecord FromXml(std::string_view rowName, const std::string& text,
                          HostValueRecord record = {}) {
    FromXmlInto(rowName, text, record);
    return record;
  }

  HostValueData StringValue(const std::string& text) {
    HostValueData value{};
    value.handle = runtime.MakeString(text);
    return value;
  }

  testhost::Runtime runtime;
  HostObject proxy = 0;

 private:
  const std::string typeName_ = "xsd:any";
};

}  // namespace tssoap::types_test
