// The tssoap program end to end against the bundled sample service, run as a script runs it:
// results and out values, every field of a soapexception, each exit status, the options that reach
// the connection, and the commands that only print.
#include <gtest/gtest.h>
#include <locale.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "common/misbehaving_servers.h"
#include "common/server_process.h"
#include "common/tiny_proxy.h"
#include "common/tls_loopback_server.h"

namespace tssoap::test {
namespace {

using Json = nlohmann::ordered_json;

const std::string kSampleProxy = TSSOAP_SOURCE_DIR "/examples/sample.json";
const std::string kNotJson = TSSOAP_SOURCE_DIR "/tests/tools/tool_test.cpp";  // this very file

struct ToolResult {
  int status = -1;  // the exit status; 124 when the time-out ended the run
  std::string out;
  std::string err;
  std::string Describe() const {
    return "status " + std::to_string(status) + "\nstdout:\n" + out + "\nstderr:\n" + err;
  }
};

std::string ShellWord(const std::string& text) {
  std::string word = "'";
  for (char c : text) word += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return word + "'";
}

std::string TakeFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  std::remove(path.c_str());
  return text;
}

// Runs the built tool with arguments through the shell, bounded by timeout(1); env goes before
// the command ("NAME=value").
ToolResult RunTool(const std::vector<std::string>& arguments, const std::string& env = "") {
  const std::string files = ::testing::TempDir() + "tssoap-tool-" + std::to_string(getpid());
  std::string command =
      env + " timeout -k 5 120 " + ShellWord(TSSOAP_BINARY_DIR "/tools/tssoap/tssoap");
  for (const std::string& argument : arguments) command.append(" ").append(ShellWord(argument));
  const int status = std::system(
      (command + " </dev/null >" + ShellWord(files + ".out") + " 2>" + ShellWord(files + ".err"))
          .c_str());
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, TakeFile(files + ".out"),
          TakeFile(files + ".err")};
}

class ToolTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    service_ = std::make_unique<ServerProcess>(SampleServicePath(),
                                               std::vector<std::string>{"--port", "0"});
  }
  static void TearDownTestSuite() { service_.reset(); }
  void SetUp() override { ASSERT_TRUE(service_->Started()) << service_->Error(); }

  static std::string Endpoint() { return service_->Url("/sample"); }
  // tssoap call on the sample proxy with the service's address (a later --endpoint wins).
  static ToolResult Call(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"call", kSampleProxy, "--endpoint", Endpoint()});
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

TEST_F(ToolTest, ACallPrintsItsOutcomeAsOneLineOfJson) {
  const std::string argumentFile = ::testing::TempDir() + "tssoap-argument.json";
  std::ofstream(argumentFile) << R"([1, 2, 3])";
  // Function and arguments, the output (nullptr: the first argument comes back as "return") and
  // the exit status.
  const struct {
    std::vector<std::string> arguments;
    const char* output = nullptr;
    int status = 0;
  } cases[] = {
      {{"echostring", R"("h\u00e9llo <&>")"}, R"({"return":"héllo <&>","out":{}})"},
      {{"EchoInt", "-2147483648"}},  // host names ignore case
      // createinstance's port name goes before the endpoint variable
      {{"echoint", "5", "--endpoint", "http://127.0.0.1:1/", "--port", Endpoint()}},
      {{"echoboolean", "false"}},
      {{"echoshort", "-32768"}},
      {{"echounsignedshort", "65535"}},
      {{"echounsignedint", "4294967295"}},
      {{"echolong", "-9223372036854775808"}},
      {{"echolong", R"("9223372036854775807")"}, R"({"return":9223372036854775807,"out":{}})"},
      {{"echofloat", "-1.1"}},
      {{"echofloat", R"("INF")"}},
      {{"echodouble", "2.718281828459045"}},
      {{"echodecimal", R"("-123.450")"}},
      {{"echodate", R"("2000-02-29")"}},
      {{"echotime", R"("23:59:59.25")"}},
      {{"echodatetime", R"("2003-07-14T13:05:09")"}},
      {{"echobase64", R"({"base64": "AAEC/w=="})"}},
      {{"echonullablestringarray", R"(["a", null, ""])"}},
      {{"echoaddress",
        R"({"street": "s", "zip": 1, "tags": ["t"], "phone": {"number": "n", "kind": 2}})"}},
      {{"exchangestrings", R"("ping")", "null", R"("pong")"},
       R"({"return":"ping/result","out":{"output":"ping/out","both":"pong/inout"}})"},
      {{"echophonesrepeated", R"([{"number": "1", "kind": 1}])"},
       R"({"out":{"phones":[{"number":"1","kind":1}]}})"},
      {{"ping"}, R"({"out":{}})"},
      {{"echointegerarray", "@" + argumentFile}, R"({"return":[1,2,3],"out":{}})"},
      {{"failwithdetail", R"("disk <full>")"},
       R"({"exception":{"text":"disk <full>","faultcode":"SOAP-ENV:Server",
           "faultstring":"disk <full>","detailmessage":"<ns:problem xmlns:ns=\"urn:tssoap-sample\"><code>42</code><reason>disk &lt;full&gt;</reason></ns:problem>"}})",
       1},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.arguments[0]);
    ToolResult result = Call(c.arguments);
    EXPECT_EQ(result.status, c.status) << result.Describe();
    const Json expected =
        c.output ? Json::parse(c.output)
                 : Json{{"return", Json::parse(c.arguments[1])}, {"out", Json::object()}};
    EXPECT_EQ(Output(result), expected);
    EXPECT_EQ(result.err, "");
  }
}

TEST_F(ToolTest, ATransportFailureIsAnExceptionWithTextOnly) {
  ToolResult result = RunTool({"call", kSampleProxy, "echostring", R"("x")", "--endpoint",
                               "http://127.0.0.1:" + std::to_string(PickFreePort()) + "/"});
  EXPECT_EQ(result.status, 1) << result.Describe();
  Json exception = Output(result)["exception"];
  EXPECT_NE(exception.value("text", ""), "");
  exception["text"] = "";
  EXPECT_EQ(exception.dump(), R"({"text":"","faultcode":"","faultstring":"","detailmessage":""})");
}

TEST_F(ToolTest, WrongUsageAndBadInputExitWithTwoAndOneLine) {
  const auto call = [](std::vector<std::string> rest) {
    rest.insert(rest.begin(), {"call", kSampleProxy});
    return rest;
  };
  const struct {
    std::vector<std::string> arguments;
    std::string message;  // the start of stderr
    std::string env = "";
  } cases[] = {
      {{}, "tssoap: no command given (tssoap --help explains the usage)"},
      {{"frobnicate"}, "tssoap: unknown command \"frobnicate\""},
      {call({}), "tssoap: call takes PROXYFILE FUNCTION [ARG ...]"},
      {call({"echoint", "1", "--colour"}), "tssoap: unknown option --colour"},
      {call({"echoint", "1", "--endpoint"}), "tssoap: --endpoint needs a value"},
      {call({"echoint", "1", "--repeat", "0"}),
       "tssoap: --repeat takes a number of calls from 1 to 1000000000, not \"0\""},
      {{"describe", kSampleProxy, "--repeat=2"}, "tssoap: --endpoint, --port, --options"},
      {{"demo", "extra"}, "tssoap: demo takes no arguments"},
      {call({"nosuch"}), "tssoap: " + kSampleProxy + " has no function nosuch"},
      {call({"echoint"}),
       "tssoap: echoint takes 1 argument, 0 given: function long echoint(long input)"},
      {call({"echostruct", R"({"text": 5})"}),
       "tssoap: argument 1 (input) at /text: a string takes a JSON string"},
      {{"call", "/nonexistent.json", "f"},
       "tssoap: /nonexistent.json: can't open the proxy file: No such file or directory\n"},
      {{"describe", "/"}, "tssoap: /: can't read the proxy file: Is a directory\n"},
      {{"describe", kNotJson},
       "tssoap: " + kNotJson + ": not JSON: parse error at line 1, column 1"},
      {call({"echoint", "1", "--options", "timeout=-1"}),
       "tssoap: --options: setoptions: at 8: a value is a quoted text, a number or a word\n"},
      {call({"echoint", "1", "--proxy-options", "address=\"ftp:/x\", port=1"}),
       "tssoap: --proxy-options: setproxyserveroptions: at 18: unknown key 'port'\n"},
      // A refusal names the place and the reason, never the text of a password.
      {call({"echoint", "1", "--options", "userid='u', PassWord = \"it's/s3cr\", timeout=-1"}),
       "tssoap: --options: setoptions: at 44: a value is a quoted text, a number or a word\n"},
      {call({"echoint", "1", "--proxy-options", "address='http://gw:s3c/r@et@gate:1', port=x"}),
       "tssoap: --proxy-options: setproxyserveroptions: at 37: unknown key 'port'\n"},
      {call({"echoint", "@/nonexistent/argument.json"}),
       "tssoap: /nonexistent/argument.json: can't open the argument file: No such file or "
       "directory\n"},
      {call({"echoint", "@" + kNotJson}), "tssoap: argument 1 (input): "},
      {call({"echoint", "1", "--cacert", "/nonexistent/ca.pem"}),
       "tssoap: --cacert: can't read /nonexistent/ca.pem: No such file or directory\n"},
      {{"demo", "--cacert", "/nonexistent/ca.pem"}, "tssoap: --endpoint, --port, --options"},
      {call({"echoint", "1"}),
       "tssoap: can't load the extension: ", "TSSOAP_EXTENSION=/nonexistent/libtssoapclient90.so"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.message);
    ToolResult result = RunTool(c.arguments, c.env);
    EXPECT_EQ(result.status, 2) << result.Describe();
    EXPECT_EQ(result.err.rfind(c.message, 0), 0u) << result.Describe();
    EXPECT_EQ(result.err.find('\n'), result.err.size() - 1) << "one line: " << result.err;
    EXPECT_EQ(result.out, "");
  }
}

TEST_F(ToolTest, RepeatCallsOneProxyObjectUntilTheFirstException) {
  // With the connection cache on, the one proxy object keeps its connection: the service sees a
  // single new connection for all the calls.
  size_t before = service_->Process().CountLines("CONNECTION ");
  ToolResult result = Call({"echoint", "7", "--repeat", "5", "--options", "connectioncache=true"});
  EXPECT_EQ(result.status, 0) << result.Describe();
  EXPECT_EQ(Output(result)["return"], 7);
  EXPECT_NE(result.err.find("tssoap: 5 calls in "), std::string::npos) << result.err;
  EXPECT_NE(result.err.find(" calls per second"), std::string::npos) << result.err;
  ASSERT_TRUE(
      service_->Process().WaitForLines("CONNECTION ", before + 1, std::chrono::seconds(10)));
  EXPECT_EQ(service_->Process().CountLines("CONNECTION "), before + 1);

  result = Call({"failwithdetail", R"("x")", "--repeat", "4"});
  EXPECT_EQ(result.status, 1) << result.Describe();
  EXPECT_NE(result.err.find("tssoap: 1 call in "), std::string::npos) << result.err;
}

// The traffic shows also when the options keep a call log of their own, which gets it too.
TEST_F(ToolTest, WireShowsTheRequestAndTheResponse) {
  const std::string callLog = ::testing::TempDir() + "tssoap-calls-" + std::to_string(getpid());
  for (const std::string& options : {std::string("timeout=30"), "soaplog='" + callLog + "'"}) {
    SCOPED_TRACE(options);
    ToolResult result = Call({"echostring", R"("on the wire")", "--wire", "--options", options});
    EXPECT_EQ(result.status, 0) << result.Describe();
    EXPECT_EQ(Output(result)["return"], "on the wire");
    EXPECT_EQ(result.err.rfind("POST " + Endpoint(), 0), 0u) << result.err;
    for (const char* part : {"<input xsi:type=\"xsd:string\">on the wire</input>", "\nHTTP 200 ",
                             "echoStringResponse"}) {
      EXPECT_NE(result.err.find(part), std::string::npos) << part << "\n" << result.err;
    }
    EXPECT_EQ(result.err.find("Connection Disconnected"), std::string::npos) << result.err;
  }
  std::string logged = TakeFile(callLog);
  EXPECT_NE(logged.find("on the wire</input>"), std::string::npos) << logged;
  EXPECT_NE(logged.find("Connection Disconnected"), std::string::npos) << logged;

  ToolResult unwritable = Call({"echoint", "1", "--wire", "--options", "soaplog='/nonexistent/x'"});
  EXPECT_EQ(unwritable.status, 0) << unwritable.Describe();
  EXPECT_EQ(unwritable.err,
            "tssoap: --wire: nothing was logged in /nonexistent/x: the call sent nothing, or the "
            "file can't be written\n");
}

// JSON is UTF-8, the host's text is in the locale's code page: a Latin-1 host sends and shows
// "h\u00e9llo" as it is, and refuses what Latin-1 lacks.
TEST_F(ToolTest, TextTravelsFaithfullyFromAndToTheLocalesCodePage) {
  locale_t installed = newlocale(LC_ALL_MASK, "de_DE.ISO-8859-1", static_cast<locale_t>(0));
  if (installed == static_cast<locale_t>(0)) GTEST_SKIP() << "de_DE.ISO-8859-1 is not installed";
  freelocale(installed);
  const std::string latin1 = "LC_ALL=de_DE.ISO-8859-1";
  ToolResult result = RunTool(
      {"call", kSampleProxy, "--endpoint", Endpoint(), "echostring", R"("h\u00e9llo")", "--wire"},
      latin1);
  EXPECT_EQ(result.status, 0) << result.Describe();
  EXPECT_EQ(Output(result)["return"], "h\u00e9llo");
  EXPECT_NE(result.err.find(">h\u00e9llo</input>"), std::string::npos) << result.err;

  result = RunTool(
      {"call", kSampleProxy, "--endpoint", Endpoint(), "failwithdetail", R"("d\u00efsk")"}, latin1);
  EXPECT_EQ(result.status, 1) << result.Describe();
  EXPECT_EQ(Output(result)["exception"]["faultstring"], "d\u00efsk");

  result = RunTool({"call", kSampleProxy, "echostring", R"("5 \u20ac")"}, latin1);
  EXPECT_EQ(result.status, 2) << result.Describe();
  EXPECT_EQ(result.err,
            "tssoap: argument 1 (input): \"5 \u20ac\" holds \"\u20ac\" (U+20AC), which the host's "
            "code page ISO-8859-1 can't hold (the code page is the locale's: LC_ALL, LC_CTYPE, "
            "LANG)\n");

  // The proxy file's variables are host texts as well.
  Json proxy = Json::parse(std::ifstream(kSampleProxy));
  proxy["variables"]["note"] = "5 \u20ac";
  const std::string proxyPath = ::testing::TempDir() + "tssoap-euro-" + std::to_string(getpid());
  std::ofstream(proxyPath) << proxy.dump();
  result = RunTool({"call", proxyPath, "echostring", R"("x")"}, latin1);
  TakeFile(proxyPath);
  EXPECT_EQ(result.status, 2) << result.Describe();
  EXPECT_EQ(result.err.rfind("tssoap: " + proxyPath + ": /variables/note: \"5 \u20ac\" holds", 0),
            0u)
      << result.err;
}

// A proxy server that keeps its connection to the tool but closes it once the service closed
// its own, without saying so (tinyproxy drops the service's "Connection: close"): each call
// after the first may find the kept connection dead, and still every call gets its answer.
TEST_F(ToolTest, RepeatedCallsThroughAKeptProxyOutliveItsClosedConnections) {
  const std::string body =
      SoapEnvelope("<ns:echoStringResponse><result>kept</result></ns:echoStringResponse>");
  LoopbackHttpServer closingService([&body](HttpConnection& connection, const HttpRequest&) {
    connection.Send(HttpResponse(200, "OK", "text/xml", body, "Connection: close\r\n"));
    connection.Close();
  });
  TinyProxy tinyproxy;
  ASSERT_TRUE(tinyproxy.Started()) << tinyproxy.Error();
  // The same on every connection at once: it answers the first request, announcing no close,
  // and closes at the next.
  LoopbackHttpServer oneAnswerProxy([&body](HttpConnection& connection, const HttpRequest&) {
    static thread_local int answered = 0;  // each connection is served on a thread of its own
    if (answered++ == 0) {
      connection.Send(HttpResponse(200, "OK", "text/xml", body));
    } else {
      connection.Close();
    }
  });
  for (const std::string& proxy : {tinyproxy.Address(), oneAnswerProxy.Url("")}) {
    SCOPED_TRACE(proxy);
    ToolResult result = RunTool({"call", kSampleProxy, "echostring", R"("kept")", "--endpoint",
                                 closingService.Url("/sample"), "--options", "connectioncache=true",
                                 "--proxy-options", "address='" + proxy + "'", "--repeat", "50"});
    EXPECT_EQ(result.status, 0) << result.Describe() << tinyproxy.Log();
    EXPECT_EQ(Output(result), Json::parse(R"({"return":"kept","out":{}})"));
    EXPECT_NE(result.err.find("tssoap: 50 calls in "), std::string::npos) << result.err;
  }
  EXPECT_GE(oneAnswerProxy.Connections(), 50);
}

// --cacert makes an https service whose CA is the test's own trusted; without it the call fails
// as untrusted. Whatever fails, neither the output nor --wire shows the password.
TEST_F(ToolTest, CacertTrustsAPrivateCaAndNoOutputShowsThePassword) {
  TestCertificates certificates;
  ASSERT_TRUE(certificates.Made()) << certificates.Error();
  TlsLoopbackServer server(
      certificates.CertificateFile("good"), certificates.KeyFile("good"),
      HttpResponse(200, "OK", "text/xml",
                   SoapEnvelope("<ns:echoStringResponse><result>trusted</result>"
                                "</ns:echoStringResponse>")));
  ASSERT_TRUE(server.Started());
  const std::string closed = "http://127.0.0.1:" + std::to_string(PickFreePort()) + "/";
  const std::string options = "userid='agent', password='s3cr/et@x'";
  const struct {
    std::vector<std::string> arguments;
    int status;
    std::string part;  // of stdout
  } cases[] = {
      {{"--endpoint", server.Url("/svc"), "--cacert", certificates.CaFile()}, 0, "\"trusted\""},
      {{"--endpoint", server.Url("/svc")}, 1, "The TLS connection failed"},
      {{"--endpoint", closed}, 1, "Can't connect to"},
      {{"--endpoint", "http://127.0.0.1:1x/"}, 1, "has the port '1x'"},
      {{"--endpoint", closed, "--proxy-options", "address='127.0.0.1:1', " + options},
       1,
       "Can't connect to"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.part);
    std::vector<std::string> arguments = {"call",   kSampleProxy, "echostring", R"("x")",
                                          "--wire", "--options",  options};
    arguments.insert(arguments.end(), c.arguments.begin(), c.arguments.end());
    ToolResult result = RunTool(arguments);
    EXPECT_EQ(result.status, c.status) << result.Describe();
    EXPECT_NE(result.out.find(c.part), std::string::npos) << result.Describe();
    EXPECT_EQ((result.out + result.err).find("s3cr"), std::string::npos) << result.Describe();
  }
}

TEST_F(ToolTest, DescribeHelpAndDemoPrintTheirTextAndExitWithZero) {
  const struct {
    std::vector<std::string> arguments;
    std::vector<const char*> parts;  // each somewhere on stdout
  } cases[] = {
      {{"describe", kSampleProxy},
       {"proxy class sampleproxy (", "  BindingStyle = \"rpc\"\n",
        "  function string exchangestrings(string input, ref string output, ref string both)\n"
        "      exchangeStrings([in] xsd:string input, [out] xsd:string output, [in,out] "
        "xsd:string both) return xsd:string result@urn:tssoap-sample\n",
        "  function any echostringarray(string[] input)\n", "  subroutine ping()\n"}},
      {{"--help"},
       {"tssoap call PROXYFILE FUNCTION [ARG ...]", "tssoap describe", "tssoap demo",
        "--proxy-options", "--repeat N", "--wire",
        "{\"base64\": ", "Exit status:", "TSSOAP_EXTENSION", "tssoap --version"}},
      {{"--version"}, {"tssoap 1."}},
      // The demo starts a service of its own and stops it.
      {{"demo", "--wire"},
       {"> echostring(\"Hello from tssoap\")\n  return \"Hello from tssoap\"\n",
        "  out    both = \"pong/inout\"\n",
        "  soapexception\n    text           \"the demo asks for a fault\"\n",
        "    | POST http://127.0.0.1:", "calls, each as expected.\n"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.arguments[0]);
    ToolResult result = RunTool(c.arguments);
    EXPECT_EQ(result.status, 0) << result.Describe();
    for (const char* part : c.parts) {
      EXPECT_NE(result.out.find(part), std::string::npos) << part << "\n" << result.out;
    }
  }
}

}  // namespace
}  // namespace tssoap::test
