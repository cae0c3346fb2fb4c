#include "host/proxy_variables.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host/entry_points.h"
#include "support/values/soap_exception.h"
#include "testhost/testhost.h"

namespace tssoap {
namespace {

using Variables = std::vector<std::pair<std::string, std::optional<std::string>>>;

// A proxy object of a class with the given string variables, in a host of its own.
struct ProxyWithVariables {
  explicit ProxyWithVariables(const Variables& variables)
      : proxy(host.NewInstance(host.DefineProxyClass("someproxy", variables))) {}
  testhost::Runtime host{{&TSX_GetDescription, &TSX_CreateNonVisualObject}};
  HostObject proxy;
};

std::string Text(const char* text) { return text != nullptr ? text : "(null)"; }

// What a reader answers for one proxy's variables: its text, "(null)", or the message of the
// SOAPException.
TEST(ProxyVariables, ReadersAnswerFromTheProxysVariables) {
  ProxyWithVariables p({{"endpoint", "http://svc/x"},
                        {"tns", "urn:shop"},
                        {"a", "urn:a"},
                        {"unset", std::nullopt},
                        {"__tns__order", "Order(xsd:int id)@urn:shop"},
                        {"__tns__zip", "Zip(base=xsd:string,)@urn:shop"},
                        {"__tns__twice", "base=xsd:int,base=xsd:string,"},
                        {"__tns__open", "Zip(base=xsd:string)"},
                        {"__tns__null", std::nullopt}});
  const auto ask = [&](const std::string& reader, const char* name) -> std::string {
    try {
      if (reader == "variable") return Text(ReadProxyVariable(p.host, p.proxy, name));
      if (reader == "prefix") return Text(ResolvePrefix(p.host, p.proxy, name));
      if (reader == "base") return GetBaseType(p.host, p.proxy, name);
      return GetLocalPart(name);
    } catch (const SOAPException& failure) {
      return failure.What();
    }
  };
  const struct {
    const char* reader;
    const char* name;
    const char* answer;
  } cases[] = {
      // Asked for in lower case; a failure names the variable as written, and never as a format.
      {"variable", "EndPoint", "http://svc/x"},
      {"variable", "__TNS__Order", "Order(xsd:int id)@urn:shop"},
      {"variable", "Missing", "The proxy has no variable Missing"},
      {"variable", "unset", "The proxy variable unset is null"},
      {"variable", "%s%n", "The proxy has no variable %s%n"},
      {"prefix", "TNS:Order", "urn:shop"},
      {"prefix", "a:b:c", "urn:a"},
      {"prefix", "Order", "(null)"},
      {"prefix", "zz:Order", "(null)"},
      {"prefix", "unset:x", "(null)"},
      {"local part", "tns:Order", "Order"},
      {"local part", "a:b:c", "b:c"},
      {"local part", "x:", ""},
      // The base closed by a comma; none for a type without (non-null) description, so that the
      // caller names the type.
      {"base", "tns:Zip", "xsd:string"},
      {"base", "TNS:Twice", "xsd:int"},
      {"base", "tns:Open", ""},
      {"base", "tns:Null", ""},
      {"base", "tns:Other", ""},
  };
  for (const auto& c : cases)
    EXPECT_EQ(ask(c.reader, c.name), c.answer) << c.reader << " " << c.name;
}

// The binding style only from "BindingStyle", exactly "document" or "rpc"; the schema's target
// namespace wins by existence, also when it is empty or null.
TEST(ProxyVariables, BindingStyleAndTargetNamespace) {
  const struct {
    Variables variables;
    int32_t bindingStyle;
    const char* targetNamespace;
  } cases[] = {
      {{}, kBindingNotStated, "(null)"},
      {{{"BindingStyle", "document"}, {"ts__targetnamespace", "urn:t"}}, kBindingDocument, "urn:t"},
      {{{"BindingStyle", "rpc"},
        {"ts__schematargetnamespace", "urn:s"},
        {"ts__targetnamespace", "urn:t"}},
       kBindingRpc,
       "urn:s"},
      {{{"BindingStyle", "RPC"},
        {"ts__schematargetnamespace", ""},
        {"ts__targetnamespace", "urn:t"}},
       kBindingNotStated,
       ""},
      {{{"BindingStyle", std::nullopt},
        {"ts__schematargetnamespace", std::nullopt},
        {"ts__targetnamespace", "urn:t"}},
       kBindingNotStated,
       "(null)"},
      {{{"bindingstyle", "rpc"}}, kBindingNotStated, "(null)"},
  };
  for (const auto& c : cases) {
    ProxyWithVariables p(c.variables);
    const std::string shown = c.variables.empty() ? "(none)" : c.variables[0].first;
    EXPECT_EQ(ReadBindingStyle(p.host, p.proxy), c.bindingStyle) << shown;
    EXPECT_EQ(Text(GetTargetNamespace(p.host, p.proxy)), c.targetNamespace) << shown;
  }
}

}  // namespace
}  // namespace tssoap
