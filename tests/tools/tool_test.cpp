// The tssoap program end to end against the bundled sample service: results and out values,
// every field of a soapexception, each exit status, the options that reach the connection, the
// proxy-file checks as the user sees them, describe, and the demo.
#include <gtest/gtest.h>

#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "common/server_process.h"
#include "common/tiny_proxy.h"
#include "tool_runner.h"

namespace tssoap::test {
namespace {

using Json = nlohmann::ordered_json;

const std::string kSampleProxy = TSSOAP_SOURCE_DIR "/examples/sample.json";

class ToolTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    service_ = std::make_unique<ServerProcess>(SampleServicePath(),
                                               std::vector<std::string>{"--port", "0"});
  }
  static void TearDownTestSuite() { service_.reset(); }

  void SetUp() override { ASSERT_TRUE(service_->Started()) << service_->Error(); }

  static std::string Endpoint() { return service_->Url("/sample"); }

  // tssoap call on the sample proxy with the service's address.
  static ToolResult Call(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"call", kSampleProxy});
    arguments.insert(arguments.end(), {"--endpoint", Endpoint()});
    return RunTool(arguments);
  }

  static std::unique_ptr<ServerProcess> service_;
};

std::unique_ptr<ServerProcess> ToolTest::service_;

Json Output(const ToolResult& result) {
  // Exactly one line of JSON on stdout.
  EXPECT_EQ(result.out.find('\n'), result.out.size() - 1) << result.Describe();
  return Json::parse(result.out, nullptr, false);
}

TEST_F(ToolTest, ASuccessfulCallPrintsItsReturnAndOutValues) {
  const struct {
    std::vector<std::string> arguments;
    const char* output;
  } cases[] = {
      {{"echostring", R"("h\u00e9llo <&>")"}, R"({"return":"héllo <&>","out":{}})"},
      {{"EchoInt", "-2147483648"}, R"({"return":-2147483648,"out":{}})"},
      {{"exchangestrings", R"("ping")", "null", R"("pong")"},
       R"({"return":"ping/result","out":{"output":"ping/out","both":"pong/inout"}})"},
      {{"echostringarray", R"(["a", "b"])"}, R"({"return":["a","b"],"out":{}})"},
      {{"echonullablestringarray", R"(["a", null, ""])"}, R"({"return":["a",null,""],"out":{}})"},
      {{"echostringsrepeated", R"(["a", "b"])"}, R"({"return":["a","b"],"out":{}})"},
      {{"echostringlist", R"([])"}, R"({"return":[],"out":{}})"},
      {{"echostruct", R"({"text": "pi", "number": 3})"},
       R"({"return":{"text":"pi","number":3},"out":{}})"},
      {{"echoaddress",
        R"({"street": "s", "zip": 1, "tags": ["t"], "phone": {"number": "n", "kind": 2}})"},
       R"({"return":{"street":"s","zip":1,"tags":["t"],"phone":{"number":"n","kind":2}},"out":{}})"},
      {{"echophonelist", R"([{"number": "1", "kind": 1}, {"number": "2", "kind": 2}])"},
       R"({"return":[{"number":"1","kind":1},{"number":"2","kind":2}],"out":{}})"},
      {{"echophonesrepeated", R"([{"number": "1", "kind": 1}])"},
       R"({"out":{"phones":[{"number":"1","kind":1}]}})"},
      {{"ping"}, R"({"out":{}})"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.arguments[0]);
    ToolResult result = Call(c.arguments);
    EXPECT_EQ(result.status, 0) << result.Describe();
    EXPECT_EQ(Output(result), Json::parse(c.output)) << result.Describe();
    EXPECT_EQ(result.err, "");
  }
}

TEST_F(ToolTest, EveryKindOfSimpleValueTravelsBothWays) {
  const struct {
    const char* function;
    const char* argument;
    const char* result;  // nullptr: the argument itself
  } cases[] = {
      {"echoboolean", "false", nullptr},
      {"echoshort", "-32768", nullptr},
      {"echounsignedshort", "65535", nullptr},
      {"echoint", "2147483647", nullptr},
      {"echounsignedint", "4294967295", nullptr},
      {"echolong", "-9223372036854775808", nullptr},
      {"echolong", R"("9223372036854775807")", "9223372036854775807"},
      {"echofloat", "-1.1", nullptr},
      {"echofloat", R"("INF")", nullptr},
      {"echodouble", "2.718281828459045", nullptr},
      {"echodecimal", R"("-123.450")", nullptr},
      {"echostring", R"("")", nullptr},
      {"echodate", R"("2000-02-29")", nullptr},
      {"echotime", R"("23:59:59.25")", nullptr},
      {"echodatetime", R"("2003-07-14T13:05:09")", nullptr},
      {"echobase64", R"({"base64": "AAEC/w=="})", nullptr},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.function) + " " + c.argument);
    ToolResult result = Call({c.function, c.argument});
    EXPECT_EQ(result.status, 0) << result.Describe();
    EXPECT_EQ(Output(result)["return"], Json::parse(c.result ? c.result : c.argument))
        << result.Describe();
  }
}

TEST_F(ToolTest, AFaultBecomesAnExceptionWithEveryField) {
  ToolResult result = Call({"failwithdetail", R"("disk <full>")"});
  EXPECT_EQ(result.status, 1) << result.Describe();
  Json output = Output(result);
  ASSERT_TRUE(output.contains("exception")) << result.Describe();
  const Json& exception = output["exception"];
  EXPECT_EQ(exception["text"], "disk <full>");
  EXPECT_EQ(exception["faultcode"], "SOAP-ENV:Server");
  EXPECT_EQ(exception["faultstring"], "disk <full>");
  std::string detail = exception["detailmessage"];
  EXPECT_NE(detail.find("<code>42</code>"), std::string::npos) << detail;
  EXPECT_NE(detail.find("<reason>disk &lt;full&gt;</reason>"), std::string::npos) << detail;
  EXPECT_EQ(output.size(), 1u) << "no return and no out values beside the exception";
}

TEST_F(ToolTest, ATransportFailureIsAnExceptionWithTextOnly) {
  int closedPort = PickFreePort();
  ToolResult result = RunTool({"call", kSampleProxy, "echostring", R"("x")", "--endpoint",
                               "http://127.0.0.1:" + std::to_string(closedPort) + "/"});
  EXPECT_EQ(result.status, 1) << result.Describe();
  Json exception = Output(result)["exception"];
  EXPECT_NE(exception["text"].get<std::string>(), "");
  EXPECT_EQ(exception["faultcode"], "");
  EXPECT_EQ(exception["faultstring"], "");
  EXPECT_EQ(exception["detailmessage"], "");
}

TEST_F(ToolTest, WrongUsageAndBadArgumentsExitWithTwoAndOneLine) {
  const struct {
    std::vector<std::string> arguments;
    std::string message;  // the start of stderr
  } cases[] = {
      {{}, "tssoap: no command given (tssoap --help explains the usage)"},
      {{"frobnicate"}, "tssoap: unknown command \"frobnicate\""},
      {{"call", kSampleProxy}, "tssoap: call takes PROXYFILE FUNCTION [ARG ...]"},
      {{"call", kSampleProxy, "echoint", "1", "--colour"}, "tssoap: unknown option --colour"},
      {{"call", kSampleProxy, "echoint", "1", "--endpoint"}, "tssoap: --endpoint needs a value"},
      {{"call", kSampleProxy, "echoint", "1", "--repeat", "0"},
       "tssoap: --repeat takes a number of calls from 1 to 1000000000, not \"0\""},
      {{"describe", kSampleProxy, "--repeat=2"}, "tssoap: --endpoint, --port, --options"},
      {{"call", kSampleProxy, "nosuch"}, "tssoap: " + kSampleProxy + " has no function nosuch"},
      {{"call", kSampleProxy, "echoint"},
       "tssoap: echoint takes 1 argument, 0 given: function long echoint(long input)"},
      {{"call", kSampleProxy, "echoint", "1", "2"}, "tssoap: echoint takes 1 argument, 2 given"},
      {{"call", kSampleProxy, "echostring", "hello"},
       "tssoap: argument 1 (input): hello is not JSON: a string is written in double quotes"},
      {{"call", kSampleProxy, "echoint", "2147483648"},
       "tssoap: argument 1 (input): 2147483648 doesn't fit a long (-2147483648 to 2147483647)\n"},
      {{"call", kSampleProxy, "echostruct", R"({"text": 5})"},
       "tssoap: argument 1 (input) at /text: a string takes a JSON string"},
      {{"call", "/nonexistent.json", "f"},
       "tssoap: /nonexistent.json: can't open the proxy file: No such file or directory\n"},
      {{"call", kSampleProxy, "echoint", "1", "--options", "timeout=-1"},
       "tssoap: --options: setoptions answered 50, the option string \"timeout=-1\" is invalid\n"},
      {{"call", kSampleProxy, "echoint", "1", "--proxy-options", "address=\"ftp:/x\", port=1"},
       "tssoap: --proxy-options: setproxyserveroptions answered 50"},
      {{"demo", "extra"}, "tssoap: demo takes no arguments"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.message);
    ToolResult result = RunTool(c.arguments);
    EXPECT_EQ(result.status, 2) << result.Describe();
    EXPECT_EQ(result.err.rfind(c.message, 0), 0u) << result.Describe();
    EXPECT_EQ(result.err.find('\n'), result.err.size() - 1) << "one line: " << result.err;
    EXPECT_EQ(result.out, "");
  }
}

TEST_F(ToolTest, AnExtensionThatCannotBeLoadedExitsWithTwo) {
  ToolResult result = RunTool({"call", kSampleProxy, "echoint", "1"},
                              {"TSSOAP_EXTENSION=/nonexistent/libtssoapclient90.so"});
  EXPECT_EQ(result.status, 2) << result.Describe();
  EXPECT_EQ(result.err.rfind("tssoap: can't load the extension: ", 0), 0u) << result.Describe();
  EXPECT_NE(result.err.find("/nonexistent/libtssoapclient90.so"), std::string::npos);
}

TEST_F(ToolTest, AMalformedProxyFileIsNamedWithThePlaceAndTheProblem) {
  const struct {
    const char* content;
    const char* message;  // after "tssoap: PATH: "
  } cases[] = {
      {"{", "not JSON: parse error at line 1, column 2"},
      {R"({"class": "p", "functions": [{"name": "f", "description": "f()@urn:x",
           "parameters": [{"name": "a", "type": "lnog"}]}]})",
       "/functions/0/parameters/0/type: \"lnog\" is neither a host type"},
      {R"({"class": "p", "functions": [{"name": "f", "returns": "long",
           "description": "f()@urn:x"}]})",
       "/functions/0/returns: the function returns a value, but its description has no return "
       "part"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.content);
    TemporaryFile file("broken.json", c.content);
    for (const char* command : {"describe", "call"}) {
      std::vector<std::string> arguments{command, file.Path()};
      if (std::string(command) == "call") arguments.push_back("f");
      ToolResult result = RunTool(arguments);
      EXPECT_EQ(result.status, 2) << result.Describe();
      EXPECT_EQ(result.err.rfind("tssoap: " + file.Path() + ": " + c.message, 0), 0u)
          << result.Describe();
      EXPECT_EQ(result.err.find('\n'), result.err.size() - 1) << "one line: " << result.err;
    }
  }
}

TEST_F(ToolTest, APortNameGoesBeforeTheEndpointVariable) {
  // The file's endpoint (port 8080) answers nothing; createinstance's third argument wins.
  ToolResult result =
      RunTool({"call", kSampleProxy, "echoint", "5", "--port", service_->Url("/sample")});
  EXPECT_EQ(result.status, 0) << result.Describe();
  EXPECT_EQ(Output(result), Json::parse(R"({"return":5,"out":{}})"));
}

TEST_F(ToolTest, RepeatCallsOnOneProxyAndOptionsReachTheConnection) {
  // With the connection cache on, the one proxy object keeps its connection: the service sees a
  // single new connection for all the calls.
  size_t before = service_->Process().CountLines("CONNECTION ");
  ToolResult result = Call({"echoint", "7", "--repeat", "5", "--options", "connectioncache=true"});
  EXPECT_EQ(result.status, 0) << result.Describe();
  EXPECT_EQ(Output(result), Json::parse(R"({"return":7,"out":{}})"));
  EXPECT_NE(result.err.find("tssoap: 5 calls in "), std::string::npos) << result.err;
  EXPECT_NE(result.err.find(" calls per second"), std::string::npos) << result.err;
  ASSERT_TRUE(
      service_->Process().WaitForLines("CONNECTION ", before + 1, std::chrono::seconds(10)));
  EXPECT_EQ(service_->Process().CountLines("CONNECTION "), before + 1);

  // Without it every call opens a connection of its own.
  before = service_->Process().CountLines("CONNECTION ");
  result = Call({"echoint", "7", "--repeat", "3"});
  EXPECT_EQ(result.status, 0) << result.Describe();
  EXPECT_TRUE(
      service_->Process().WaitForLines("CONNECTION ", before + 3, std::chrono::seconds(10)));
}

TEST_F(ToolTest, RepeatStopsAtTheFirstException) {
  ToolResult result = Call({"failwithdetail", R"("x")", "--repeat", "4"});
  EXPECT_EQ(result.status, 1) << result.Describe();
  EXPECT_NE(result.err.find("tssoap: 1 call in "), std::string::npos) << result.err;
}

TEST_F(ToolTest, ProxyServerOptionsReachTheConnection) {
  TinyProxy proxy;
  ASSERT_TRUE(proxy.Started()) << proxy.Error();
  ToolResult result = Call(
      {"echostring", R"("via the proxy")", "--proxy-options", "address='" + proxy.Address() + "'"});
  EXPECT_EQ(result.status, 0) << result.Describe() << proxy.Log();
  EXPECT_EQ(Output(result)["return"], "via the proxy");
  EXPECT_NE(proxy.Log().find(Endpoint()), std::string::npos) << proxy.Log();
}

TEST_F(ToolTest, WireShowsTheRequestAndTheResponse) {
  ToolResult result = Call({"echostring", R"("on the wire")", "--wire"});
  EXPECT_EQ(result.status, 0) << result.Describe();
  EXPECT_EQ(Output(result)["return"], "on the wire");
  EXPECT_EQ(result.err.rfind("POST " + Endpoint(), 0), 0u) << result.err;
  EXPECT_NE(result.err.find("<input xsi:type=\"xsd:string\">on the wire</input>"),
            std::string::npos)
      << result.err;
  EXPECT_NE(result.err.find("\nHTTP 200 "), std::string::npos) << result.err;
  EXPECT_NE(result.err.find("echoStringResponse"), std::string::npos) << result.err;
  EXPECT_EQ(result.err.find("Connection Disconnected"), std::string::npos) << result.err;
}

TEST_F(ToolTest, DescribeListsHostSignaturesAndDescriptions) {
  ToolResult result = RunTool({"describe", kSampleProxy});
  EXPECT_EQ(result.status, 0) << result.Describe();
  for (const char* line : {
           "proxy class sampleproxy (",
           "  BindingStyle = \"rpc\"\n",
           "  ns__address (string street, long zip, string[] tags, ns__phone phone)\n",
           "  function string exchangestrings(string input, ref string output, ref string both)\n"
           "      exchangeStrings([in] xsd:string input, [out] xsd:string output, [in,out] "
           "xsd:string both) return xsd:string result@urn:tssoap-sample\n",
           "  function any echostringarray(string[] input)\n",
           "  subroutine ping()\n",
       }) {
    EXPECT_NE(result.out.find(line), std::string::npos) << line << "\n" << result.out;
  }
}

TEST_F(ToolTest, HelpExplainsCommandsNotationAndExitStatuses) {
  ToolResult result = RunTool({"--help"});
  EXPECT_EQ(result.status, 0);
  for (const char* part : {"tssoap call PROXYFILE FUNCTION [ARG ...]", "tssoap describe",
                           "tssoap demo", "--proxy-options", "--repeat N", "--wire",
                           "{\"base64\": ", "Exit status:", "TSSOAP_EXTENSION"}) {
    EXPECT_NE(result.out.find(part), std::string::npos) << part;
  }
}

TEST(ToolDemo, RunsATranscriptAgainstItsOwnServiceAndStopsIt) {
  ToolResult result = RunTool({"demo", "--wire"});
  EXPECT_EQ(result.status, 0) << result.Describe();
  for (const char* part : {
           "> echostring(\"Hello from tssoap\")\n  return \"Hello from tssoap\"\n",
           "  out    both = \"pong/inout\"\n",
           "  soapexception\n    text           \"the demo asks for a fault\"\n",
           "    | POST http://127.0.0.1:",
           "calls, each as expected.\n",
       }) {
    EXPECT_NE(result.out.find(part), std::string::npos) << part << "\n" << result.out;
  }
  EXPECT_EQ(result.out.find("NOT"), std::string::npos) << result.out;
}

}  // namespace
}  // namespace tssoap::test
