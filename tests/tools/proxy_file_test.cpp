// The proxy file reader: what a well-formed file yields, and for each kind of mistake the place
// (a JSON pointer) and the words that tell the user what is wrong.
#include "tools/tssoap/proxy_file.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace tssoap::cli {
namespace {

// A small valid file; cases below break one thing in it at a time.
const char kValid[] = R"({
  "class": "echoproxy",
  "variables": {
    "endpoint": "http://127.0.0.1:8080/",
    "BindingStyle": "rpc",
    "tns": "urn:echo",
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

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
  size_t at = text.find(from);
  EXPECT_NE(at, std::string::npos) << from;
  if (at != std::string::npos) text.replace(at, from.size(), to);
  return text;
}

TEST(ProxyFile, ReadsClassVariablesStructuresAndFunctionsInOrder) {
  ProxyFile file = ProxyFile::Parse(kValid, "echo.json");
  EXPECT_EQ(file.className, "echoproxy");
  ASSERT_EQ(file.variables.size(), 5u);
  EXPECT_EQ(file.variables[1].name, "BindingStyle");
  EXPECT_EQ(file.variables[1].value, "rpc");
  EXPECT_FALSE(file.variables[3].value.has_value());
  ASSERT_EQ(file.structures.size(), 1u);
  ASSERT_EQ(file.structures[0].fields.size(), 2u);
  EXPECT_EQ(file.structures[0].fields[1].name, "value");
  EXPECT_EQ(file.structures[0].fields[1].type.kind, kHostLong);

  const ProxyFunction* echo = file.FindFunction("EchoText");  // host names ignore case
  ASSERT_NE(echo, nullptr);
  ASSERT_EQ(echo->parameters.size(), 2u);
  EXPECT_FALSE(echo->parameters[0].byReference);
  EXPECT_TRUE(echo->parameters[1].byReference);
  ASSERT_TRUE(echo->returns.has_value());
  EXPECT_EQ(echo->returns->kind, kHostString);

  const ProxyFunction* put = file.FindFunction("putpairs");
  ASSERT_NE(put, nullptr);
  EXPECT_FALSE(put->returns.has_value());
  EXPECT_EQ(put->parameters[0].type.structure, "tns__pair");
  EXPECT_TRUE(put->parameters[0].type.bounded);
  EXPECT_EQ(put->parameters[0].type.boundedLength, 3);
  EXPECT_EQ(file.FindFunction("nosuch"), nullptr);
}

TEST(ProxyFile, TheBundledExamplesAreValid) {
  ProxyFile file = ProxyFile::Load(TSSOAP_SOURCE_DIR "/examples/sample.json");
  EXPECT_EQ(file.className, "sampleproxy");
  EXPECT_NE(file.FindFunction("failwithdetail"), nullptr);
  EXPECT_NE(file.FindFunction("exchangestrings"), nullptr);
  for (const auto& entry : std::filesystem::directory_iterator(TSSOAP_SOURCE_DIR "/examples")) {
    if (entry.path().extension() != ".json") continue;
    SCOPED_TRACE(entry.path().string());
    EXPECT_NO_THROW(ProxyFile::Load(entry.path().string()));
  }
}

TEST(ProxyFile, SetVariableReplacesOrAdds) {
  ProxyFile file = ProxyFile::Parse(kValid, "echo.json");
  file.SetVariable("endpoint", "http://other/");
  file.SetVariable("extra", std::nullopt);
  EXPECT_EQ(file.FindVariable("endpoint")->value, "http://other/");
  ASSERT_NE(file.FindVariable("extra"), nullptr);
  EXPECT_EQ(file.variables.size(), 6u);
}

TEST(ProxyFile, NamesTheFilePlaceAndProblem) {
  const struct {
    const char* what;
    std::string text;
    const char* message;  // the whole message after "echo.json: "
  } cases[] = {
      {"not JSON", "{\"class\": ", "not JSON: parse error at line 1, column 11"},
      {"not an object", "[1, 2]", "a proxy file is a JSON object"},
      {"unknown top-level key", Replaced(kValid, "\"class\"", "\"clas\""),
       "/clas: unknown key \"clas\" (expected class, variables, structures, functions)"},
      {"class missing", Replaced(kValid, "\"class\": \"echoproxy\",", ""),
       "/class: missing: the proxy class's name"},
      {"class in capitals", Replaced(kValid, "\"echoproxy\"", "\"EchoProxy\""),
       "/class: \"EchoProxy\" is no proxy class name"},
      {"class not a string", Replaced(kValid, "\"echoproxy\"", "7"),
       "/class: is a number, expected a string"},
      {"variable not a string", Replaced(kValid, "\"rpc\"", "2"),
       "/variables/BindingStyle: is a number, expected a string or null"},
      {"variable the extension can't find", Replaced(kValid, "\"tns\":", "\"Tns\":"),
       "/variables/Tns: \"Tns\" can't be found by the extension"},
      {"structure without its description variable",
       Replaced(kValid, "\"__tns__pair\":", "\"__x\":"),
       "/structures/tns__pair: the proxy class has no variable \"__tns__pair\""},
      {"unknown field type", Replaced(kValid, "\"value\": \"long\"", "\"value\": \"lon\""),
       "/structures/tns__pair/value: \"lon\" is neither a host type"},
      {"field name in capitals", Replaced(kValid, "\"key\": \"string\"", "\"Key\": \"string\""),
       "/structures/tns__pair/Key: \"Key\" is no field name"},
      {"functions missing", Replaced(kValid, "\"functions\"", "\"functionz\""),
       "/functionz: unknown key"},
      {"functions not an array", "{\"class\": \"a\", \"functions\": {}}",
       "/functions: is an object, expected an array of functions"},
      {"unknown parameter type",
       Replaced(kValid, "{ \"name\": \"count\", \"type\": \"long\"",
                "{ \"name\": \"count\", \"type\": \"tns__other\""),
       "/functions/0/parameters/1/type: \"tns__other\" is neither a host type"},
      {"array of arrays", Replaced(kValid, "\"tns__pair[3]\"", "\"tns__pair[3][]\""),
       "/functions/1/parameters/0/type: the host has no arrays of arrays"},
      {"bounded length zero", Replaced(kValid, "\"tns__pair[3]\"", "\"tns__pair[0]\""),
       "/functions/1/parameters/0/type: the length of a bounded array is a whole number"},
      {"ref not a boolean", Replaced(kValid, "\"ref\": true", "\"ref\": \"yes\""),
       "/functions/0/parameters/1/ref: is a string, expected true or false"},
      {"unknown parameter key", Replaced(kValid, "\"ref\": true", "\"byref\": true"),
       "/functions/0/parameters/1/byref: unknown key \"byref\" (expected name, type, ref)"},
      {"parameter named twice", Replaced(kValid, "\"name\": \"count\"", "\"name\": \"text\""),
       "/functions/0/parameters/1/name: the function has two parameters named text"},
      {"function name in capitals", Replaced(kValid, "\"putpairs\"", "\"EchoText\""),
       "/functions/1/name: \"EchoText\" is no function name"},
      {"function named twice", Replaced(kValid, "\"putpairs\"", "\"echotext\""),
       "/functions/1/name: function echotext is defined twice (first at /functions/0)"},
      {"description missing",
       Replaced(
           kValid,
           ",\n      \"description\": \"putPairs([in] tns:Pair[SoapElementName] pairs)@urn:echo\"",
           ""),
       "/functions/1/description: missing: the method description that the extension reads"},
      {"description without parameter list",
       Replaced(kValid, "putPairs([in] tns:Pair[SoapElementName] pairs)@urn:echo",
                "putPairs@urn:echo"),
       "/functions/1/description: the description has no parameter list"},
      {"description's list not closed",
       Replaced(kValid, "putPairs([in] tns:Pair[SoapElementName] pairs)@urn:echo",
                "putPairs([in] tns:Pair[SoapElementName] pairs@urn:echo"),
       "/functions/1/description: the description's parameter list has no closing \")\""},
      {"fewer parameters in the description",
       Replaced(kValid, "echoText([in] xsd:string text, [in,out] xsd:int count)",
                "echoText([in] xsd:string text)"),
       "/functions/0/description: the description lists 1 parameters, the function has 2"},
      {"return part without returns", Replaced(kValid, "\"returns\": \"string\",", ""),
       "/functions/0/description: the description has a return part, but the function has no "
       "\"returns\""},
      {"returns without return part",
       Replaced(kValid, " return xsd:string result@urn:echo@", "@urn:echo@"),
       "/functions/0/returns: the function returns a value, but its description has no return "
       "part"},
      {"array result", Replaced(kValid, "\"returns\": \"string\"", "\"returns\": \"string[]\""),
       "/functions/0/returns: a function can't return string[]: an array result is declared "
       "\"any\""},
      {"out parameter without ref", Replaced(kValid, ", \"ref\": true", ""),
       "/functions/0/parameters/1: parameter count is [out] in the description, so it needs "
       "\"ref\": true"},
      {"out parameter with ref false", Replaced(kValid, "\"ref\": true", "\"ref\": false"),
       "/functions/0/parameters/1/ref: parameter count is [out] in the description"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    try {
      ProxyFile::Parse(c.text, "echo.json");
      ADD_FAILURE() << "accepted";
    } catch (const ProxyFileError& error) {
      std::string message = error.what();
      EXPECT_EQ(message.rfind(std::string("echo.json: ") + c.message, 0), 0u) << message;
      EXPECT_EQ(message.find('\n'), std::string::npos) << message;
    }
  }
}

TEST(ProxyFile, LoadNamesAFileItCannotRead) {
  const struct {
    const char* path;
    const char* message;
  } cases[] = {
      {"/nonexistent/proxy.json", "/nonexistent/proxy.json: can't open the proxy file: No such"},
      {"/", "/: can't read the proxy file: Is a directory"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.path);
    try {
      ProxyFile::Load(c.path);
      ADD_FAILURE() << "accepted";
    } catch (const ProxyFileError& error) {
      EXPECT_EQ(std::string(error.what()).rfind(c.message, 0), 0u) << error.what();
    }
  }
}

TEST(DescriptionShape, CountsParametersDirectionsAndTheReturnPart) {
  const struct {
    const char* description;
    const char* directions;  // one letter per parameter: i in, o out, b both, - neither
    bool hasReturn;
  } cases[] = {
      {"f()@urn:x", "", false},
      {"f( )@urn:x", "", false},
      {"f([in] xsd:string a)@urn:x", "i", false},
      {"f([in,out] xsd:int a, [out] xsd:int b) return xsd:int r@urn:x", "bo", true},
      {"f([ out in ] xsd:int a)@urn:x", "b", false},
      {"f(xsd:int a)@urn:x", "-", false},
      // Commas inside array blocks and direction blocks don't separate parameters.
      {"f([in] tns:P[ElementName=p] a,[in] xsd:int[] b)returnxsd:int r@urn:x", "ii", false},
      {"f([in] xsd:string return) return xsd:string r", "i", true},
      {"f([in] xsd:string a)@urn:x@urn:x#f*Elem*urn:e", "i", false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.description);
    std::string problem;
    std::optional<DescriptionShape> shape = ReadDescriptionShape(c.description, &problem);
    ASSERT_TRUE(shape.has_value()) << problem;
    std::string directions;
    for (const auto& parameter : shape->parameters) {
      directions += parameter.in && parameter.out ? 'b'
                    : parameter.in                ? 'i'
                    : parameter.out               ? 'o'
                                                  : '-';
    }
    EXPECT_EQ(directions, c.directions);
    EXPECT_EQ(shape->hasReturn, c.hasReturn);
  }
}

}  // namespace
}  // namespace tssoap::cli
