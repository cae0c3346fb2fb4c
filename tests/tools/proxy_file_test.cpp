// The proxy file reader: what a well-formed file yields, and for each kind of mistake the place
// (a JSON pointer) and the words that tell the user what is wrong.
#include "tools/tssoap/proxy_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace tssoap::cli {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;
using ::testing::ThrowsMessage;

// A small valid file; cases below break one thing in it at a time.
const char kValid[] = R"({
  "class": "echoproxy",
  "variables": {
    "endpoint": "http://127.0.0.1:8080/",
    "BindingStyle": "rpc",
    "missing": null,
    "__tns__pair": "Pair(xsd:string key, xsd:int value)@tns"
  },
  "structures": { "tns__pair": { "key": "string", "value": "long" } },
  "functions": [
    { "name": "echotext",
      "parameters": [ { "name": "text", "type": "string" },
                      { "name": "count", "type": "long", "ref": true } ],
      "returns": "string",
      "description": "echoText([in] xsd:string text, [in,out] xsd:int count) return xsd:string result@urn:echo@urn:echo#echoText" },
    { "name": "putpairs",
      "parameters": [ { "name": "pairs", "type": "tns__pair[3]" } ],
      "description": "putPairs([in] tns:Pair[SoapElementName] pairs)@urn:echo" }
  ]
})";

TEST(ProxyFile, ReadsClassVariablesStructuresAndFunctions) {
  ProxyFile file = ProxyFile::Parse(kValid, "echo.json");
  EXPECT_EQ(file.className, "echoproxy");
  EXPECT_EQ(file.FindVariable("BindingStyle")->value, "rpc");
  EXPECT_EQ(file.FindVariable("missing")->value, std::nullopt);
  EXPECT_EQ(file.FindStructure("tns__pair")->fields[1].type.Name(), "long");
  const ProxyFunction* echo = file.FindFunction("EchoText");  // host names ignore case
  ASSERT_NE(echo, nullptr);
  EXPECT_EQ(echo->returns->Name(), "string");
  EXPECT_TRUE(echo->parameters[1].byReference);
  EXPECT_EQ(file.FindFunction("putpairs")->parameters[0].type.Name(), "tns__pair[3]");
  EXPECT_FALSE(file.FindFunction("putpairs")->returns.has_value());
  // --endpoint replaces a variable, or adds it to a class that has none.
  file.SetVariable("endpoint", "http://other/");
  file.SetVariable("extra", std::nullopt);
  EXPECT_EQ(file.FindVariable("endpoint")->value, "http://other/");
  EXPECT_EQ(file.variables.size(), 5u);
}

TEST(ProxyFile, TheBundledExamplesAreValid) {
  for (const auto& entry : std::filesystem::directory_iterator(TSSOAP_SOURCE_DIR "/examples")) {
    if (entry.path().extension() != ".json") continue;
    SCOPED_TRACE(entry.path().string());
    EXPECT_NO_THROW(ProxyFile::Load(entry.path().string()));
  }
}

TEST(ProxyFile, NamesTheFilePlaceAndProblem) {
  // What in kValid is replaced by what, and the start of the message after "echo.json: ".
  const struct {
    std::string from;
    std::string to;
    const char* message;
  } cases[] = {
      {kValid, "{\"class\": ", "not JSON: parse error at line 1, column 11"},
      {"\"rpc\"", "6e831", "not JSON: number overflow parsing '6e831'"},
      {kValid, "[1, 2]", "a proxy file is a JSON object"},
      {"\"class\": \"echoproxy\",", "", "/class: missing: the proxy class's name"},
      {"\"echoproxy\"", "\"EchoProxy\"", "/class: \"EchoProxy\" is no proxy class name"},
      {"\"rpc\"", "2", "/variables/BindingStyle: is a number, expected a string or null"},
      {"\"missing\":", "\"Missing\":", "/variables/Missing: \"Missing\" can't be found by"},
      {"\"__tns__pair\":", "\"__x\":",
       "/structures/tns__pair: the proxy class has no variable \"__tns__pair\""},
      {"\"value\": \"long\"", "\"value\": \"lon\"",
       "/structures/tns__pair/value: \"lon\" is neither a host type"},
      {"\"key\": \"string\"", "\"Key\": \"string\"",
       "/structures/tns__pair/Key: \"Key\" is no field name"},
      {"\"type\": \"long\"", "\"type\": \"tns__other\"",
       "/functions/0/parameters/1/type: \"tns__other\" is neither a host type"},
      {"\"ref\": true", "\"byref\": true",
       "/functions/0/parameters/1/byref: unknown key \"byref\" (expected name, type, ref)"},
      {"\"name\": \"count\"", "\"name\": \"text\"",
       "/functions/0/parameters/1/name: the function has two parameters named text"},
      {"\"putpairs\"", "\"echotext\"",
       "/functions/1/name: function echotext is defined twice (first at /functions/0)"},
      {"putPairs(", "putPairs", "/functions/1/description: the description has no parameter list"},
      {"xsd:string text, [in,out] xsd:int count", "xsd:string text",
       "/functions/0/description: the description lists 1 parameters, the function has 2"},
      {"\"returns\": \"string\",", "",
       "/functions/0/description: the description has a return part, but the function has no "
       "\"returns\""},
      {" return xsd:string result@", "@",
       "/functions/0/returns: the function returns a value, but its description has no return "
       "part"},
      {"\"returns\": \"string\"", "\"returns\": \"string[]\"",
       "/functions/0/returns: a function can't return string[]: an array result is declared "
       "\"any\""},
      {", \"ref\": true", "",
       "/functions/0/parameters/1: parameter count is [out] in the description, so it needs "
       "\"ref\": true"},
      {"\"ref\": true", "\"ref\": false",
       "/functions/0/parameters/1/ref: parameter count is [out] in the description"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.message);
    std::string text = kValid;
    ASSERT_NE(text.find(c.from), std::string::npos) << c.from;
    text.replace(text.find(c.from), c.from.size(), c.to);
    EXPECT_THAT([&] { ProxyFile::Parse(text, "echo.json"); },
                ThrowsMessage<ProxyFileError>(AllOf(
                    StartsWith(std::string("echo.json: ") + c.message), Not(HasSubstr("\n")))));
  }
}

TEST(DescriptionShape, CountsParametersDirectionsAndTheReturnPart) {
  // Description, then one letter per parameter (i in, o out, b both, - neither) and "r" for a
  // return part, or the start of the problem.
  const std::pair<const char*, const char*> cases[] = {
      {"f()@urn:x", ""},
      {"f( )@urn:x", ""},
      {"f([in,out] xsd:int a, [out] xsd:int b) return xsd:int r@urn:x", "bor"},
      {"f([ out in ] xsd:int a, xsd:int b)@urn:x", "b-"},
      // Commas inside array blocks and direction blocks don't separate parameters.
      {"f([in] tns:P[ElementName=p] a,[in] xsd:int[] b)returnxsd:int r@urn:x", "ii"},
      {"f([in] xsd:string return) return xsd:string r@urn:x@urn:x#f*Elem*urn:e", "ir"},
      {"f@urn:x(a)", "the description has no parameter list"},
      {"f([in] xsd:string a@urn:x", "the description's parameter list has no closing \")\""},
  };
  for (const auto& [description, result] : cases) {
    std::string problem;
    std::optional<DescriptionShape> shape = ReadDescriptionShape(description, &problem);
    std::string read;
    if (shape) {
      for (const auto& p : shape->parameters)
        read += p.in && p.out ? 'b' : p.in ? 'i' : p.out ? 'o' : '-';
      if (shape->hasReturn) read += 'r';
    }
    EXPECT_EQ(shape ? read : problem.substr(0, std::string(result).size()), result) << description;
  }
}

}  // namespace
}  // namespace tssoap::cli
