// The whole road of a proxy call, through the reference host and the extension loaded with
// dlopen, against the gSOAP sample service or a loopback server of the test's own: the call
// itself, every way it can fail, the connection cache and its log lines, and the code page.
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>

#include "call/call_test_support.h"
#include "common/loopback_http_server.h"
#include "common/server_process.h"
#include "testhost/testhost.h"

namespace tssoap::test {
namespace {

using testhost::CallOutcome;
using testhost::Runtime;
using testhost::Value;

const std::string kPing = SampleOperation("ping()");
const std::string kEchoString =
    SampleOperation("echoString([in] xsd:string input) return xsd:string result");
const std::string kFailWithDetail =
    SampleOperation("failWithDetail([in] xsd:string reason) return xsd:string result");

// A port on 127.0.0.1 that nothing listens on.
int ClosedPort() {
  const int fd = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  int port = 1;
  if (bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
      getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) == 0) {
    port = ntohs(address.sin_port);
  }
  close(fd);
  return port;
}

// A loopback server that answers every request with an echoString response holding result.
LoopbackHttpServer EchoAnswering(std::string result) {
  return LoopbackHttpServer([result](HttpConnection& connection, const HttpRequest&) {
    const std::string body =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>"
        "<SOAP-ENV:Envelope xmlns:SOAP-ENV=\"http://schemas.xmlsoap.org/soap/envelope/\" "
        "xmlns:ns=\"urn:tssoap-sample\"><SOAP-ENV:Body><ns:echoStringResponse><result>" +
        result + "</result></ns:echoStringResponse></SOAP-ENV:Body></SOAP-ENV:Envelope>";
    connection.Send(HttpResponse(200, "OK", "text/xml; charset=utf-8", body));
  });
}

class CallRoad : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(SampleServer().Started()) << SampleServer().Error(); }
  std::string ServiceUrl() const { return SampleServer().Url("/"); }

  Runtime host_;
};

TEST_F(CallRoad, CallsAFunctionWithoutArgumentsOrResult) {
  const HostObject proxy = MakeSampleProxy(host_, ServiceUrl());
  const CallOutcome outcome = host_.Call(proxy, kPing, {});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_FALSE(outcome.exception.has_value()) << outcome.exception->text;
  EXPECT_EQ(host_.OutstandingCallInfos(), 0);
}

TEST_F(CallRoad, ReportsEachWayOfFailingAsASoapException) {
  const std::string refused = "http://127.0.0.1:" + std::to_string(ClosedPort()) + "/";
  const struct {
    const char* name;
    std::string endpoint;
    std::string description;
    std::string argument;
    std::string text;           // the exception's text; empty: any non-empty text
    std::string faultString;    // getFaultString
    bool detailsAreWholeFault;  // getFaultCode and getDetailMessage cut parts out
  } cases[] = {
      {"a SOAP fault", ServiceUrl(), kFailWithDetail, "Bad input", "Bad input", "Bad input", true},
      {"a refused connection", refused, kPing, "", "", "", false},
      {"an address the library can't use", "gopher://127.0.0.1/", kPing, "", "", "", false},
      {"an unknown XML type", ServiceUrl(),
       SampleOperation("echoString([in] xsd:strng input) return xsd:string result"), "x",
       "Can't map the XML data type: xsd:strng", "", false},
      {"a description that ends early", ServiceUrl(),
       SampleOperation("echoString([in] xsd:string input"), "x",
       "Unexpected end of alias string in the proxy", "", false},
      {"a parameter without direction block", ServiceUrl(),
       SampleOperation("echoString(xsd:string input)"), "x",
       "Unexpected end of alias string in the proxy", "", false},
      {"a method part without parameter list", ServiceUrl(), SampleOperation("ping"), "",
       "Unexpected end of alias string in the proxy", "", false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    Runtime host;
    const HostObject proxy = MakeSampleProxy(host, c.endpoint);
    std::vector<Value> arguments;
    if (c.description.find("input") != std::string::npos ||
        c.description.find("reason") != std::string::npos) {
      arguments.push_back(Value::String(c.argument));
    }
    const CallOutcome outcome =
        host.Call(proxy, c.description, arguments, Value::String("unchanged"));
    EXPECT_EQ(outcome.status, 0);
    ASSERT_TRUE(outcome.exception.has_value());
    if (c.text.empty()) {
      EXPECT_FALSE(outcome.exception->text.empty());
    } else {
      EXPECT_EQ(outcome.exception->text, c.text);
    }
    EXPECT_EQ(outcome.result.AsString(), "unchanged");
    if (c.detailsAreWholeFault) {
      EXPECT_EQ(outcome.exception->faultString, c.faultString);
      EXPECT_NE(outcome.exception->faultCode.find("Server"), std::string::npos)
          << outcome.exception->faultCode;
      EXPECT_NE(outcome.exception->detailMessage.find("42"), std::string::npos)
          << outcome.exception->detailMessage;
      EXPECT_NE(outcome.exception->detailMessage.find(c.argument), std::string::npos)
          << outcome.exception->detailMessage;
    } else {
      // Only a SOAP fault has details: the getters answer the empty text.
      EXPECT_EQ(outcome.exception->faultString, "");
      EXPECT_EQ(outcome.exception->faultCode, "");
      EXPECT_EQ(outcome.exception->detailMessage, "");
    }
    EXPECT_EQ(host.OutstandingCallInfos(), 0);
  }
}

TEST_F(CallRoad, ReportsAProxyWithoutUsableEndpoint) {
  const struct {
    const char* name;
    std::optional<std::string> endpoint;  // nullopt: a null variable
    bool declared;
    const char* text;
  } cases[] = {
      {"no endpoint variable", std::nullopt, false, "The proxy has no variable endpoint"},
      {"a null endpoint", std::nullopt, true, "The proxy variable endpoint is null"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    Runtime host;
    std::vector<std::pair<std::string, std::optional<std::string>>> variables = {
        {"xsd", "http://www.w3.org/2001/XMLSchema"}};
    if (c.declared) variables.emplace_back("endpoint", c.endpoint);
    host.DefineProxyClass("lostproxy", variables);
    const auto created = host.CreateInstance(host.CreateConnection(), "lostproxy");
    ASSERT_EQ(created.result, 0);
    const CallOutcome outcome = host.Call(created.proxy, kPing, {});
    ASSERT_TRUE(outcome.exception.has_value());
    EXPECT_EQ(outcome.exception->text, c.text);
  }
}

TEST_F(CallRoad, SendsNothingWhenTheRequestCantBeBuilt) {
  LoopbackHttpServer server = EchoAnswering("never");
  ASSERT_TRUE(server.Started());
  for (const std::string& description :
       {SampleOperation("echoString([in] xsd:strng input) return xsd:string result"),
        SampleOperation("echoString([in] xsd:string input")}) {
    SCOPED_TRACE(description);
    Runtime host;
    const HostObject proxy = MakeSampleProxy(host, server.Url());
    const CallOutcome outcome = host.Call(proxy, description, {Value::String("x")});
    ASSERT_TRUE(outcome.exception.has_value());
  }
  EXPECT_TRUE(server.Requests().empty());
  EXPECT_EQ(server.Connections(), 0);
}

TEST_F(CallRoad, KeepsOneConnectionForAllCallsWhenCached) {
  constexpr int kCalls = 5;
  CallLogFile log(host_);
  const HostObject proxy = MakeSampleProxy(host_, ServiceUrl(), "connectioncache=true");
  const int64_t before = ServerConnections(host_, proxy);
  for (int i = 0; i < kCalls; ++i) {
    const CallOutcome outcome = host_.Call(proxy, kPing, {});
    EXPECT_FALSE(outcome.exception.has_value()) << outcome.exception->text;
  }
  EXPECT_EQ(ServerConnections(host_, proxy), before);
  EXPECT_EQ(log.Count("Connection Cached\n"), static_cast<size_t>(kCalls + 2));
  EXPECT_EQ(log.Count("Connection Disconnected\n"), 0u);
}

TEST_F(CallRoad, OpensAConnectionPerCallWhenNotCached) {
  constexpr int kCalls = 5;
  CallLogFile log(host_);
  const HostObject proxy = MakeSampleProxy(host_, ServiceUrl(), "connectioncache=false");
  const int64_t before = ServerConnections(host_, proxy);
  for (int i = 0; i < kCalls; ++i) {
    const CallOutcome outcome = host_.Call(proxy, kPing, {});
    EXPECT_FALSE(outcome.exception.has_value()) << outcome.exception->text;
  }
  EXPECT_EQ(ServerConnections(host_, proxy), before + kCalls + 1);
  EXPECT_EQ(log.Count("Connection Disconnected\n"), static_cast<size_t>(kCalls + 2));
  EXPECT_EQ(log.Count("Connection Cached\n"), 0u);
}

TEST_F(CallRoad, LogsAFailedCallAndBuildsANewProxyForTheNext) {
  for (const bool cached : {false, true}) {
    SCOPED_TRACE(cached ? "cached" : "not cached");
    Runtime host;
    CallLogFile log(host);
    const HostObject proxy = MakeSampleProxy(
        host, ServiceUrl(), cached ? "connectioncache=true" : "connectioncache=false");
    const char* line = cached ? "Connection Cached\n" : "Connection Disconnected\n";

    const CallOutcome fault = host.Call(proxy, kFailWithDetail, {Value::String("no")});
    ASSERT_TRUE(fault.exception.has_value());
    EXPECT_EQ(log.Count(line), 1u);
    const CallOutcome early = host.Call(proxy, SampleOperation("ping("), {});
    ASSERT_TRUE(early.exception.has_value());
    EXPECT_EQ(log.Count(line), 2u);

    const CallOutcome next =
        host.Call(proxy, kEchoString, {Value::String("again")}, Value::String(""));
    EXPECT_FALSE(next.exception.has_value()) << next.exception->text;
    EXPECT_EQ(next.result.AsString(), "again");
    EXPECT_EQ(log.Count(line), 3u);
  }
}

TEST_F(CallRoad, ConvertsTheHostCodePageToUtf8AndBack) {
  ScopedHostLocale latin1("en_US.ISO-8859-1");
  ASSERT_TRUE(latin1.Available()) << "run scripts/install-deps.sh to generate en_US.ISO-8859-1";
  LoopbackHttpServer server = EchoAnswering(
      "gr\xC3\xBC\xC3\x9F"
      "e");
  ASSERT_TRUE(server.Started());
  const HostObject proxy = MakeSampleProxy(host_, server.Url());

  const CallOutcome outcome =
      host_.Call(proxy, kEchoString, {Value::String("caf\xE9")}, Value::String(""));
  ASSERT_FALSE(outcome.exception.has_value()) << outcome.exception->text;
  ASSERT_EQ(server.Requests().size(), 1u);
  const std::string body = server.Requests()[0].body;
  EXPECT_NE(body.find(">caf\xC3\xA9<"), std::string::npos) << body;
  EXPECT_EQ(body.find('\xE9'), std::string::npos) << body;
  EXPECT_EQ(outcome.result.AsString(),
            "gr\xFC\xDF"
            "e");
}

TEST_F(CallRoad, ConvertsTheTextsOfAFaultToTheHostCodePage) {
  ScopedHostLocale latin1("en_US.ISO-8859-1");
  ASSERT_TRUE(latin1.Available()) << "run scripts/install-deps.sh to generate en_US.ISO-8859-1";
  const HostObject proxy = MakeSampleProxy(host_, ServiceUrl());
  const CallOutcome outcome =
      host_.Call(proxy, kFailWithDetail, {Value::String("d\xE9j\xE0 vu")}, Value::String(""));
  ASSERT_TRUE(outcome.exception.has_value());
  EXPECT_EQ(outcome.exception->text, "d\xE9j\xE0 vu");
  EXPECT_EQ(outcome.exception->faultString, "d\xE9j\xE0 vu");
  EXPECT_NE(outcome.exception->detailMessage.find("d\xE9j\xE0 vu"), std::string::npos)
      << outcome.exception->detailMessage;
}

}  // namespace
}  // namespace tssoap::test
