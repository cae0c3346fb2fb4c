// Where a call goes and with which credentials, through the reference host and the dlopened
// extension: the endpoint variable or the port name, the connection's user and password in the
// service address, and an HTTP proxy server between the extension and the service.
#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "call/call_test_support.h"
#include "common/loopback_http_server.h"
#include "common/tiny_proxy.h"
#include "testhost/testhost.h"

namespace tssoap::test {
namespace {

using testhost::CallOutcome;
using testhost::Runtime;
using testhost::Value;

const std::string kPing = SampleOperation("ping()");

LoopbackHttpServer PingAnswering() {
  return LoopbackHttpServer([](HttpConnection& connection, const HttpRequest&) {
    connection.Send(HttpResponse(
        200, "OK", "text/xml; charset=utf-8",
        "<SOAP-ENV:Envelope xmlns:SOAP-ENV=\"http://schemas.xmlsoap.org/soap/envelope/\">"
        "<SOAP-ENV:Body><pingResponse/></SOAP-ENV:Body></SOAP-ENV:Envelope>"));
  });
}

// "http://<user part>127.0.0.1:<port>/svc".
std::string Address(const LoopbackHttpServer& server, const std::string& userPart) {
  return "http://" + userPart + "127.0.0.1:" + std::to_string(server.Port()) + "/svc";
}

TEST(EndpointRoad, PutsTheConnectionsCredentialsIntoTheServiceAddress) {
  LoopbackHttpServer server = PingAnswering();
  ASSERT_TRUE(server.Started());
  const struct {
    const char* name;
    std::string endpoint;                 // the proxy's variable
    std::optional<std::string> portName;  // createinstance's third argument
    const char* options;
    const char* authorization;  // Basic credentials as sent; empty: none
  } cases[] = {
      {"no credentials", Address(server, ""), std::nullopt, "", ""},
      {"user and password", Address(server, ""), std::nullopt, "userid='u',password='p'",
       "Basic dTpw"},
      {"a user alone", Address(server, ""), std::nullopt, "userid='u'", "Basic dTo="},
      {"a password alone", Address(server, ""), std::nullopt, "password='p'", ""},
      {"the endpoint's own user gives way", Address(server, "x:y@"), std::nullopt,
       "userid='u',password='p'", "Basic dTpw"},
      {"the endpoint's own user without options", Address(server, "x:y@"), std::nullopt, "",
       "Basic eDp5"},
      {"a port name keeps its own user", "http://unused.invalid/", Address(server, "x:y@"),
       "userid='u',password='p'", "Basic eDp5"},
      {"a port name takes the options' user", "http://unused.invalid/", Address(server, ""),
       "userid='u',password='p'", "Basic dTpw"},
  };
  size_t requests = 0;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    Runtime host;
    host.DefineProxyClass("authproxy", {{"endpoint", c.endpoint}});
    const HostObject connection = host.CreateConnection();
    if (*c.options != '\0') {
      ASSERT_EQ(host.SetOptions(connection, c.options), 0);
    }
    const auto created = c.portName.has_value()
                             ? host.CreateInstance(connection, "authproxy", c.portName->c_str())
                             : host.CreateInstance(connection, "authproxy");
    ASSERT_EQ(created.result, 0);
    const CallOutcome outcome = host.Call(created.proxy, kPing, {});
    ASSERT_FALSE(outcome.exception.has_value()) << outcome.exception->text;
    ASSERT_EQ(server.Requests().size(), ++requests);
    const HttpRequest request = server.Requests().back();
    EXPECT_EQ(request.target, "/svc");
    EXPECT_EQ(request.Header("Authorization"), c.authorization);
  }
}

TEST(EndpointRoad, GoesThroughAnHttpProxyServer) {
  ServerProcess& service = SampleServer();
  ASSERT_TRUE(service.Started()) << service.Error();
  TinyProxy open;
  ASSERT_TRUE(open.Started()) << open.Error();
  TinyProxy guarded({"gate", "secret"});
  ASSERT_TRUE(guarded.Started()) << guarded.Error();

  const struct {
    const char* name;
    std::string proxyOptions;
    bool reaches;
  } cases[] = {
      {"host and port", "address='127.0.0.1:" + std::to_string(open.Port()) + "'", true},
      {"scheme, host and port", "address='http://127.0.0.1:" + std::to_string(open.Port()) + "'",
       true},
      {"with the proxy's credentials",
       "address='127.0.0.1:" + std::to_string(guarded.Port()) + "',userid='gate',password='secret'",
       true},
      {"without the proxy's credentials",
       "address='127.0.0.1:" + std::to_string(guarded.Port()) + "'", false},
      {"with a wrong password",
       "address='127.0.0.1:" + std::to_string(guarded.Port()) + "',userid='gate',password='no'",
       false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    Runtime host;
    host.DefineProxyClass("gatedproxy", {{"endpoint", service.Url("/")}});
    const HostObject connection = host.CreateConnection();
    ASSERT_EQ(host.SetProxyServerOptions(connection, c.proxyOptions.c_str()), 0);
    const auto created = host.CreateInstance(connection, "gatedproxy");
    ASSERT_EQ(created.result, 0);
    const CallOutcome outcome = host.Call(created.proxy, kPing, {});
    if (c.reaches) {
      EXPECT_FALSE(outcome.exception.has_value()) << outcome.exception->text << guarded.Log();
    } else {
      ASSERT_TRUE(outcome.exception.has_value());
      EXPECT_FALSE(outcome.exception->text.empty());
      EXPECT_EQ(outcome.exception->text.find("secret"), std::string::npos);
    }
  }
}

}  // namespace
}  // namespace tssoap::test
