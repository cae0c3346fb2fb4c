#include "host/proxy_variables.h"

#include <string>

#include "support/lower_case_text.h"
#include "support/name_mapping.h"
#include "support/values/soap_exception.h"

namespace tssoap {
namespace {

constexpr const char* kBindingStyleVariable = "BindingStyle";
constexpr const char* kSchemaTargetNamespaceVariable = "ts__schematargetnamespace";
constexpr const char* kTargetNamespaceVariable = "ts__targetnamespace";
constexpr std::string_view kTypeDescriptionPrefix = "__";
constexpr std::string_view kBaseMarker = "base=";

enum class VariableState { kFound, kMissing, kNull };

struct VariableText {
  VariableState state;
  const char* text;  // the host's; set when found
};

// The text of a string field of the proxy's class; nameAsAsked goes to the host as it is.
VariableText ReadStringField(IHostSession& session, HostObject proxy, const char* nameAsAsked) {
  const HostClass cls = session.GetClass(proxy);
  const HostFieldId field = session.GetFieldId(cls, nameAsAsked);
  if (field == kNoField) return {VariableState::kMissing, nullptr};
  HostBool isNull = 0;
  const HostString string = session.GetStringField(proxy, field, &isNull);
  if (isNull != 0 || string == 0) return {VariableState::kNull, nullptr};
  const char* text = session.GetStringText(string);
  if (text == nullptr) return {VariableState::kNull, nullptr};
  return {VariableState::kFound, text};
}

VariableText FindProxyVariable(IHostSession& session, HostObject proxy, std::string_view name) {
  const std::string lowerCaseName = LowerCaseText(name);
  return ReadStringField(session, proxy, lowerCaseName.c_str());
}

}  // namespace

const char* ReadProxyVariable(IHostSession& session, HostObject proxy, std::string_view name) {
  const VariableText variable = FindProxyVariable(session, proxy, name);
  // A generated proxy always has the variables asked for here, so a missing or null one means a
  // proxy class that doesn't fit the service: say which variable.
  const std::string shown(name);
  switch (variable.state) {
    case VariableState::kFound:
      return variable.text;
    case VariableState::kMissing:
      throw SOAPException("The proxy has no variable %s", shown.c_str());
    case VariableState::kNull:
      break;
  }
  throw SOAPException("The proxy variable %s is null", shown.c_str());
}

int32_t ReadBindingStyle(IHostSession& session, HostObject proxy) {
  // The one variable asked for with its capitals, as the generator writes it.
  const VariableText variable = ReadStringField(session, proxy, kBindingStyleVariable);
  if (variable.state != VariableState::kFound) return kBindingNotStated;
  const std::string_view style = variable.text;
  if (style == "document") return kBindingDocument;
  if (style == "rpc") return kBindingRpc;
  return kBindingNotStated;
}

const char* GetTargetNamespace(IHostSession& session, HostObject proxy) {
  // The fallback depends on the variable's existence, not on its text.
  VariableText variable = ReadStringField(session, proxy, kSchemaTargetNamespaceVariable);
  if (variable.state == VariableState::kMissing) {
    variable = ReadStringField(session, proxy, kTargetNamespaceVariable);
  }
  return variable.state == VariableState::kFound ? variable.text : nullptr;
}

const char* ResolvePrefix(IHostSession& session, HostObject proxy, std::string_view prefixedName) {
  const size_t colon = prefixedName.find(':');
  if (colon == std::string_view::npos) return nullptr;
  // No variable for the prefix is no failure here: the caller's lookup ends in its own message
  // ("Can't map the XML data type: ..."), which names the type.
  const VariableText variable = FindProxyVariable(session, proxy, prefixedName.substr(0, colon));
  return variable.state == VariableState::kFound ? variable.text : nullptr;
}

std::string_view LocalPartOf(std::string_view prefixedName) {
  const size_t colon = prefixedName.find(':');
  return colon == std::string_view::npos ? prefixedName : prefixedName.substr(colon + 1);
}

std::string GetLocalPart(std::string_view prefixedName) {
  return std::string(LocalPartOf(prefixedName));
}

std::string GetBaseType(IHostSession& session, HostObject proxy, std::string_view typeName) {
  std::string variableName(kTypeDescriptionPrefix);
  variableName += ToHostClassName(typeName);
  // A type the proxy doesn't describe has no base type; the driver then reports the type it
  // couldn't map rather than a missing variable.
  const VariableText variable = FindProxyVariable(session, proxy, variableName);
  if (variable.state != VariableState::kFound) return std::string();
  const std::string_view description = variable.text;
  const size_t base = description.find(kBaseMarker);
  if (base == std::string_view::npos) return std::string();
  const size_t start = base + kBaseMarker.size();
  // A base type is always closed by a ",".
  const size_t comma = description.find(',', start);
  if (comma == std::string_view::npos) return std::string();
  return std::string(description.substr(start, comma - start));
}

}  // namespace tssoap
