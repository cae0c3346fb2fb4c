// The structure types both object-path tests use, in the host and in a proxy class: a phone
// (number, kind) and an address (street, zip, an array of tags, a phone), as the sample service
// declares them, in the namespace the proxy variable "ns" holds.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "testhost/testhost.h"

namespace tssoap::test {

using ProxyVariables = std::vector<std::pair<std::string, std::optional<std::string>>>;

inline testhost::FieldSpec Field(const char* name, HostValueKind kind, bool isArray = false,
                                 const char* className = nullptr) {
  testhost::FieldSpec field;
  field.name = name;
  field.kind = kind;
  field.isArray = isArray;
  field.isObject = className != nullptr;
  if (className != nullptr) field.className = className;
  return field;
}

// Defines the structure classes ns__phone and ns__address, and returns the proxy variables that
// describe them, followed by more.
inline ProxyVariables DefineAddressTypes(testhost::Runtime& host, const char* ns,
                                         ProxyVariables more = {}) {
  host.DefineStructure("ns__phone", {Field("number", kHostString), Field("kind", kHostLong)});
  host.DefineStructure("ns__address", {Field("street", kHostString), Field("zip", kHostLong),
                                       Field("tags", kHostString, true),
                                       Field("phone", kHostUnknown, false, "ns__phone")});
  ProxyVariables variables = {
      {"xsd", "http://www.w3.org/2001/XMLSchema"},
      {"ns", ns},
      {"__ns__phone", "Phone(xsd:string number, xsd:int kind)@ns"},
      {"__ns__address",
       "Address(xsd:string street, xsd:int zip, xsd:string[SoapElementName] tags, "
       "ns:Phone phone)@ns"}};
  variables.insert(variables.end(), more.begin(), more.end());
  return variables;
}

inline HostObject NewPhone(testhost::Runtime& host, const std::string& number, int32_t kind) {
  const HostObject phone = host.NewInstance("ns__phone");
  host.SetField(phone, "number", testhost::Value::String(number));
  host.SetField(phone, "kind", testhost::Value::Long(kind));
  return phone;
}

// "number/kind" of a phone value, "null" for a null one.
inline std::string PhoneText(testhost::Runtime& host, const testhost::Value& phone) {
  if (phone.isNull) return "null";
  return host.GetField(phone.AsObject(), "number").AsString() + "/" +
         std::to_string(host.GetField(phone.AsObject(), "kind").AsInt());
}

// The texts of the phones of an array value.
inline std::vector<std::string> PhoneTexts(testhost::Runtime& host, const testhost::Value& phones) {
  std::vector<std::string> texts;
  for (const testhost::Value& phone : phones.AsItems()) texts.push_back(PhoneText(host, phone));
  return texts;
}

}  // namespace tssoap::test
