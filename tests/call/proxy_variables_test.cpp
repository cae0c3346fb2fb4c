#include "call/proxy_variables.h"

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
class ProxyWithVariables {
 public:
  explicit ProxyWithVariables(const Variables& variables)
      : host_({&TSX_GetDescription, &TSX_CreateNonVisualObject}) {
    proxy_ = host_.NewInstance(host_.DefineProxyClass("someproxy", variables));
  }
  testhost::Runtime& Host() { return host_; }
  HostObject Proxy() const { return proxy_; }

 private:
  testhost::Runtime host_;
  HostObject proxy_ = 0;
};

std::optional<std::string> Text(const char* text) {
  return text != nullptr ? std::optional<std::string>(text) : std::nullopt;
}

TEST(ReadProxyVariable, AsksInLowerCaseAndNamesWhatIsMissing) {
  ProxyWithVariables p({{"endpoint", "http://svc/x"},
                        {"tns", "urn:shop"},
                        {"empty", ""},
                        {"unset", std::nullopt},
                        {"__tns__order", "Order(xsd:int id)@urn:shop"}});
  const struct {
    const char* name;
    std::optional<std::string> expected;  // nullopt: a SOAPException with failure
    const char* failure;
  } cases[] = {
      {"endpoint", "http://svc/x", nullptr},
      {"EndPoint", "http://svc/x", nullptr},
      {"TNS", "urn:shop", nullptr},
      {"__TNS__Order", "Order(xsd:int id)@urn:shop", nullptr},
      {"empty", "", nullptr},
      {"missing", std::nullopt, "The proxy has no variable missing"},
      {"Missing", std::nullopt, "The proxy has no variable Missing"},
      {"unset", std::nullopt, "The proxy variable unset is null"},
      {"%s%n", std::nullopt, "The proxy has no variable %s%n"},
  };
  for (const auto& c : cases) {
    try {
      const char* text = ReadProxyVariable(p.Host(), p.Proxy(), c.name);
      EXPECT_EQ(Text(text), c.expected) << c.name;
    } catch (const SOAPException& failure) {
      EXPECT_FALSE(c.expected.has_value()) << c.name << ": " << failure.What();
      EXPECT_STREQ(failure.What(), c.failure) << c.name;
    }
  }
}

TEST(ReadBindingStyle, KnowsExactlyDocumentAndRpc) {
  const struct {
    Variables variables;
    int32_t expected;
  } cases[] = {
      {{}, kBindingNotStated},
      {{{"BindingStyle", "document"}}, kBindingDocument},
      {{{"BindingStyle", "rpc"}}, kBindingRpc},
      {{{"BindingStyle", "Document"}}, kBindingNotStated},
      {{{"BindingStyle", "RPC"}}, kBindingNotStated},
      {{{"BindingStyle", "rpc "}}, kBindingNotStated},
      {{{"BindingStyle", ""}}, kBindingNotStated},
      {{{"BindingStyle", std::nullopt}}, kBindingNotStated},
      // The one variable asked for with its capitals: a lower-case one isn't it.
      {{{"bindingstyle", "rpc"}}, kBindingNotStated},
  };
  for (const auto& c : cases) {
    ProxyWithVariables p(c.variables);
    const std::string shown = c.variables.empty() ? "(none)" : c.variables[0].first;
    EXPECT_EQ(ReadBindingStyle(p.Host(), p.Proxy()), c.expected) << shown;
  }
}

TEST(GetTargetNamespace, PrefersTheSchemaNamespaceByExistence) {
  const struct {
    Variables variables;
    std::optional<std::string> expected;
  } cases[] = {
      {{}, std::nullopt},
      {{{"ts__targetnamespace", "urn:service"}}, "urn:service"},
      {{{"ts__schematargetnamespace", "urn:schema"}}, "urn:schema"},
      {{{"ts__schematargetnamespace", "urn:schema"}, {"ts__targetnamespace", "urn:service"}},
       "urn:schema"},
      {{{"ts__schematargetnamespace", ""}, {"ts__targetnamespace", "urn:service"}}, ""},
      {{{"ts__schematargetnamespace", std::nullopt}, {"ts__targetnamespace", "urn:service"}},
       std::nullopt},
  };
  for (const auto& c : cases) {
    ProxyWithVariables p(c.variables);
    EXPECT_EQ(Text(GetTargetNamespace(p.Host(), p.Proxy())), c.expected)
        << c.variables.size() << " variables";
  }
}

TEST(ResolvePrefix, AnswersTheVariableOfThePrefixOrNothing) {
  ProxyWithVariables p({{"tns", "urn:shop"}, {"a", "urn:a"}, {"unset", std::nullopt}});
  const struct {
    const char* name;
    std::optional<std::string> expected;
  } cases[] = {
      {"tns:Order", "urn:shop"}, {"TNS:Order", "urn:shop"},  {"a:b:c", "urn:a"},
      {"Order", std::nullopt},   {"zz:Order", std::nullopt}, {"unset:x", std::nullopt},
      {":Order", std::nullopt},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Text(ResolvePrefix(p.Host(), p.Proxy(), c.name)), c.expected) << c.name;
  }
}

TEST(GetLocalPart, TakesTheTextBehindTheFirstColon) {
  const struct {
    const char* name;
    const char* expected;
  } cases[] = {
      {"tns:Order", "Order"}, {"Order", "Order"}, {"a:b:c", "b:c"}, {":x", "x"}, {"x:", ""},
  };
  for (const auto& c : cases) EXPECT_EQ(GetLocalPart(c.name), c.expected) << c.name;
}

TEST(GetBaseType, ReadsTheBaseClosedByAComma) {
  const struct {
    const char* typeName;
    std::optional<std::string> description;  // of "__tns__zip"; nullopt: a null variable
    const char* expected;
  } cases[] = {
      {"tns:Zip", "Zip(base=xsd:string,)@urn:shop", "xsd:string"},
      {"TNS:Zip", "base=xsd:int,base=xsd:string,", "xsd:int"},
      {"tns:Zip", "Zip(base=xsd:string)", ""},
      {"tns:Zip", "Zip(xsd:string value)@urn:shop", ""},
      {"tns:Zip", "base=,", ""},
      {"tns:Zip", std::nullopt, ""},
      // No description of the type at all: no base type, so that the caller names the type.
      {"tns:Other", "Zip(base=xsd:string,)", ""},
  };
  for (const auto& c : cases) {
    ProxyWithVariables p({{"__tns__zip", c.description}});
    EXPECT_EQ(GetBaseType(p.Host(), p.Proxy(), c.typeName), c.expected) << c.typeName;
  }
}

}  // namespace
}  // namespace tssoap
