// The whole road of a proxy call, through the reference host and the extension loaded with
// dlopen, against the gSOAP sample service or a loopback server of the test's own: the call, every
// way it can fail, the connection cache and its log lines, the code page, string values in each
// direction and layout, and where a call goes with which credentials.
#include <gtest/gtest.h>
#include <unistd.h>

#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "common/loopback_http_server.h"
#include "common/server_process.h"
#include "common/tiny_proxy.h"
#include "testhost/testhost.h"

namespace tssoap::test {
namespace {

using testhost::CallOutcome;
using testhost::Runtime;
using testhost::Value;

const std::string kPing = SampleOperation("ping()");
const std::string kEchoString =
    SampleOperation("echoString([in] xsd:string input) return xsd:string result");
// In the host's code page, Latin-1 in these tests.
#define NON_ASCII "d\xE9j\xE0 vu"
constexpr const char* kNonAscii = NON_ASCII;

ServerProcess& SampleServer() { return SharedSampleService(); }

// A loopback server that answers every request with an echoString response holding result.
LoopbackHttpServer EchoAnswering(const std::string& result) {
  return LoopbackHttpServer([result](HttpConnection& connection, const HttpRequest&) {
    connection.Send(HttpResponse(
        200, "OK", "text/xml; charset=utf-8",
        "<SOAP-ENV:Envelope xmlns:SOAP-ENV=\"http://schemas.xmlsoap.org/soap/envelope/\" "
        "xmlns:ns=\"urn:tssoap-sample\"><SOAP-ENV:Body><ns:echoStringResponse><result>" +
            result + "</result></ns:echoStringResponse></SOAP-ENV:Body></SOAP-ENV:Envelope>"));
  });
}

// Declares the proxy class "sampleproxy" (endpoint, null when absent; xsd; BindingStyle "rpc"),
// creates a soapconnection with the given setoptions and setproxyserveroptions strings, and makes
// a proxy object with it, by the port name when one is given.
HostObject MakeProxy(Runtime& host, const std::optional<std::string>& endpoint,
                     const std::string& options = "", const std::string& proxyOptions = "",
                     const char* portName = nullptr) {
  host.DefineProxyClass("sampleproxy", {{"endpoint", endpoint},
                                        {"xsd", "http://www.w3.org/2001/XMLSchema"},
                                        {"BindingStyle", "rpc"}});
  const HostObject connection = host.CreateConnection();
  if (!options.empty()) {
    EXPECT_EQ(host.SetOptions(connection, options.c_str()), 0) << options;
  }
  if (!proxyOptions.empty()) {
    EXPECT_EQ(host.SetProxyServerOptions(connection, proxyOptions.c_str()), 0) << proxyOptions;
  }
  const Runtime::CreateResult created =
      portName != nullptr ? host.CreateInstance(connection, "SampleProxy", portName)
                          : host.CreateInstance(connection, "SampleProxy");
  EXPECT_EQ(created.result, 0);
  return created.proxy;
}

// The host's code page is the environment's: Latin-1 here, so that a text the extension didn't
// convert shows. scripts/install-deps.sh generates the locale.
class CallRoad : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(SampleServer().Started()) << SampleServer().Error();
    setenv("LC_ALL", "en_US.ISO-8859-1", 1);
    ASSERT_NE(std::setlocale(LC_ALL, ""), nullptr) << "the locale en_US.ISO-8859-1 is missing";
    std::setlocale(LC_ALL, "C");
  }
  void TearDown() override {
    unsetenv("LC_ALL");
    // The log is the process's: an empty name closes it and opens none.
    if (!logPath_.empty()) host_.SetOptions(host_.CreateConnection(), "soaplog=''");
    std::filesystem::remove(logPath_);
  }

  // Switches the call log into a new file of the test's own.
  void StartLog(const std::string& name) {
    logPath_ = ::testing::TempDir() + "tssoap-" + std::to_string(getpid()) + "-" + name + ".log";
    EXPECT_EQ(host_.SetOptions(host_.CreateConnection(), ("soaplog='" + logPath_ + "'").c_str()),
              0);
  }
  // How often text occurs in the log.
  size_t LogCount(const std::string& text) const {
    std::ostringstream read;
    read << std::ifstream(logPath_, std::ios::binary).rdbuf();
    const std::string log = read.str();
    size_t count = 0;
    for (size_t at = log.find(text); at != std::string::npos; at = log.find(text, at + 1)) ++count;
    return count;
  }

  Runtime host_;
  const std::string url_ = SampleServer().Url("/");
  std::string logPath_;
};

// A request that can't be built is never sent; only a SOAP fault has details, in the host's code
// page like its text.
TEST_F(CallRoad, ReportsEachWayOfFailingAsASoapException) {
  LoopbackHttpServer unreached = EchoAnswering("never");
  ASSERT_TRUE(unreached.Started());
  const struct {
    const char* name;
    std::optional<std::string> endpoint;
    std::string head;  // of a sample operation
    const char* text;  // the exception's text; null: any text
  } cases[] = {
      {"a SOAP fault", url_, "failWithDetail([in] xsd:string reason) return xsd:string result",
       kNonAscii},
      {"a refused connection", "http://127.0.0.1:" + std::to_string(PickFreePort()) + "/", "ping()",
       nullptr},
      {"an address the library can't use", "gopher://127.0.0.1/", "ping()", nullptr},
      {"a null endpoint", std::nullopt, "ping()", "The proxy variable endpoint is null"},
      {"an unknown XML type", unreached.Url(), "echoString([in] xsd:strng input)",
       "Can't map the XML data type: xsd:strng"},
      {"a type in capitals", unreached.Url(), "echoString([in] xsd:String input)",
       "Can't map the XML data type: xsd:String"},
      {"a description that ends early", unreached.Url(), "echoString([in] xsd:string input",
       "Unexpected end of alias string in the proxy"},
      {"a method part without parameter list", unreached.Url(), "ping",
       "Unexpected end of alias string in the proxy"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    Runtime host;
    const CallOutcome outcome = host.Call(MakeProxy(host, c.endpoint), SampleOperation(c.head),
                                          {Value::String(kNonAscii)}, Value::String("unchanged"));
    EXPECT_EQ(outcome.status, 0);
    ASSERT_TRUE(outcome.exception.has_value());
    EXPECT_EQ(c.text != nullptr ? outcome.exception->text : "", c.text != nullptr ? c.text : "");
    EXPECT_FALSE(outcome.exception->text.empty());
    EXPECT_EQ(outcome.result.AsString(), "unchanged");
    const bool fault = c.head.starts_with("failWithDetail");
    EXPECT_EQ(outcome.exception->faultString, fault ? kNonAscii : "");
    EXPECT_EQ(outcome.exception->faultCode.find("Server") != std::string::npos, fault);
    EXPECT_EQ(outcome.exception->detailMessage.find("42") != std::string::npos, fault);
    EXPECT_EQ(outcome.exception->detailMessage.find(kNonAscii) != std::string::npos, fault);
    EXPECT_EQ(host.OutstandingCallInfos(), 0);
  }
  EXPECT_TRUE(unreached.Requests().empty());
  EXPECT_EQ(unreached.Connections(), 0);
}

// With the cache, N calls reach the server over one TCP connection and log N "Connection
// Cached"; without it, N connections and N "Connection Disconnected". A failed call still logs its
// line, and the next call builds a new proxy.
TEST_F(CallRoad, CachesTheConnectionOrNotAndLogsEveryCall) {
  constexpr int kCalls = 3;
  for (const bool cached : {true, false}) {
    SCOPED_TRACE(cached ? "cached" : "not cached");
    Runtime host;
    StartLog(cached ? "cached" : "not-cached");
    const HostObject proxy =
        MakeProxy(host, url_, cached ? "connectioncache=true" : "connectioncache=false");
    const std::string line = cached ? "Connection Cached\n" : "Connection Disconnected\n";
    // How many TCP connections the sample service has accepted, asked through the proxy itself.
    const std::string count = SampleOperation("getConnectionCount() return xsd:int count");
    const auto connections = [&] {
      return host.Call(proxy, count, {}, Value::Long(0)).result.AsInt();
    };
    const int64_t before = connections();
    for (int i = 0; i < kCalls; ++i) {
      const CallOutcome outcome = host.Call(proxy, kPing, {});
      EXPECT_EQ(outcome.status, 0);
      EXPECT_FALSE(outcome.exception.has_value()) << outcome.exception->text;
    }
    EXPECT_EQ(connections(), before + (cached ? 0 : kCalls + 1));
    EXPECT_EQ(LogCount(line), kCalls + 2u);
    EXPECT_EQ(LogCount(cached ? "Connection Disconnected\n" : "Connection Cached\n"), 0u);

    EXPECT_TRUE(host.Call(proxy, SampleOperation("failWithDetail([in] xsd:string reason)"),
                          {Value::String("no")})
                    .exception.has_value());
    EXPECT_TRUE(host.Call(proxy, SampleOperation("ping("), {}).exception.has_value());
    const CallOutcome next =
        host.Call(proxy, kEchoString, {Value::String("again")}, Value::String(""));
    EXPECT_FALSE(next.exception.has_value()) << next.exception->text;
    EXPECT_EQ(next.result.AsString(), "again");
    EXPECT_EQ(LogCount(line), kCalls + 5u);
  }
}

// In, out and in-out arguments (an argument that only goes in is never written, although the
// answer holds an element of its name), and a result found as "return" or under its type's name.
TEST_F(CallRoad, SendsInAndReadsBackOutArgumentsAndTheResult) {
  const HostObject proxy = MakeProxy(host_, url_);
  const struct {
    const char* head;
    std::vector<const char*> arguments;
    const char* outcome;  // the arguments after the call, and the result
  } cases[] = {
      {"exchangeStrings([in] xsd:string input, [out] xsd:string output, [in,out] xsd:string both)",
       {NON_ASCII, "not sent", "b"},
       NON_ASCII "|" NON_ASCII "/out|b/inout -> " NON_ASCII "/result"},
      {"resultAsReturn([in] xsd:string input)", {"x"}, "x -> x/return"},
      {"resultAsTypeName([in] xsd:string input)", {"x"}, "x -> x/string"},
  };
  for (const auto& c : cases) {
    std::vector<Value> arguments;
    for (const char* text : c.arguments) arguments.push_back(Value::String(text));
    const CallOutcome outcome =
        host_.Call(proxy, SampleOperation(std::string(c.head) + " return xsd:string result"),
                   arguments, Value::String(""));
    ASSERT_FALSE(outcome.exception.has_value()) << outcome.exception->text;
    std::string texts;
    for (const Value& argument : outcome.arguments)
      texts += (texts.empty() ? "" : "|") + argument.AsString();
    EXPECT_EQ(texts + " -> " + outcome.result.AsString(), c.outcome) << c.head;
  }
}

// A function that returns an array returns it as any: the extension makes the array. Repeated
// elements send no element for an empty array, and none comes back to be found by name.
TEST_F(CallRoad, StringArraysTravelInEachLayout) {
  const HostObject proxy = MakeProxy(host_, url_);
  const Value::Items items = {Value::String("a"), Value::Null(kHostString), Value::String(""),
                              Value::String(kNonAscii), Value::String("<&>")};
  for (const char* head :
       {"echoNullableStringArray([in] xsd:string[SoapElementName] input) "
        "return xsd:string[SoapElementName] result",
        "echoStringsRepeated([in] xsd:string[] values) return xsd:string[] values",
        "echoStringList([in] xsd:string[ElementName] input) return xsd:string[ElementName] "
        "result"}) {
    SCOPED_TRACE(head);
    const bool repeated = std::string(head).starts_with("echoStringsRepeated");
    for (const Value::Items& sent : {items, Value::Items{}}) {
      const CallOutcome outcome =
          host_.Call(proxy, SampleOperation(head), {Value::Array(kHostString, sent)}, Value::Any());
      if (repeated && sent.empty()) {
        EXPECT_TRUE(outcome.exception.has_value());
        continue;
      }
      ASSERT_FALSE(outcome.exception.has_value()) << outcome.exception->text;
      EXPECT_EQ(outcome.result, Value::Array(kHostString, sent))
          << testhost::Describe(outcome.result);
    }
  }
}

// What goes on the wire: the connection's user and password in the endpoint's address, where an
// own user part gives way, but not in a port name's (the request shows them as Basic
// credentials); and "\xE9" of the Latin-1 host as the two bytes of its UTF-8 form.
TEST_F(CallRoad, SendsCredentialsAndUtf8OnTheWire) {
  LoopbackHttpServer server = EchoAnswering("");
  ASSERT_TRUE(server.Started());
  const std::string address = "127.0.0.1:" + std::to_string(server.Port()) + "/svc";
  const struct {
    const char* name;
    std::string endpoint;
    std::string portName;  // empty: none
    const char* authorization;
  } cases[] = {
      {"user and password", "http://" + address, "", "Basic dTpw"},
      {"the endpoint's own user gives way", "http://x:y@" + address, "", "Basic dTpw"},
      {"a port name keeps its own user", "http://unused.invalid/", "http://x:y@" + address,
       "Basic eDp5"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    Runtime host;
    const HostObject proxy = MakeProxy(host, c.endpoint, "userid='u',password='p'", "",
                                       c.portName.empty() ? nullptr : c.portName.c_str());
    const CallOutcome outcome =
        host.Call(proxy, kEchoString, {Value::String("caf\xE9")}, Value::String(""));
    ASSERT_FALSE(outcome.exception.has_value()) << outcome.exception->text;
    const HttpRequest request = server.Requests().back();
    EXPECT_EQ(request.target, "/svc");
    EXPECT_EQ(request.Header("Authorization"), c.authorization);
    EXPECT_NE(request.body.find(">caf\xC3\xA9<"), std::string::npos) << request.body;
    EXPECT_EQ(request.body.find('\xE9'), std::string::npos) << request.body;
  }
}

// Only a proxy server that demands credentials shows that the call went through it.
TEST_F(CallRoad, GoesThroughAnHttpProxyServerWithItsCredentials) {
  TinyProxy gate({"gate", "secret"});
  ASSERT_TRUE(gate.Started()) << gate.Error();
  for (const char* password : {"secret", "secretx"}) {
    SCOPED_TRACE(password);
    Runtime host;
    const std::string options = "address='127.0.0.1:" + std::to_string(gate.Port()) +
                                "',userid='gate',password='" + password + "'";
    const CallOutcome outcome = host.Call(MakeProxy(host, url_, "", options), kPing, {});
    const bool refused = std::string(password) != "secret";
    ASSERT_EQ(outcome.exception.has_value(), refused) << gate.Log();
    // A refusal names no password.
    EXPECT_EQ(refused ? outcome.exception->text.find(password) : std::string::npos,
              std::string::npos);
  }
}

}  // namespace
}  // namespace tssoap::test
