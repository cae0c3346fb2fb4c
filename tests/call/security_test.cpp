// What a script's credentials and a server's fault texts become on their way: user and password
// of any shape reach the service and the proxy server byte for byte; no failure shows a password
// in the exception or the call log; and a fault whose texts hold the tags of the packed fault
// text comes back to the script exactly as the server sent it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>

#include "common/loopback_http_server.h"
#include "common/misbehaving_servers.h"
#include "common/tls_loopback_server.h"
#include "easysoap/soap_encoders.h"
#include "testhost/testhost.h"

namespace tssoap::test {
namespace {

using testhost::CallOutcome;
using testhost::Runtime;
using testhost::Value;
using ::testing::HasSubstr;
using ::testing::Not;

const std::string kEchoString =
    "echoString([in] xsd:string input) return xsd:string result@urn:tssoap-sample@urn:tssoap-"
    "sample#echoString";

// Declares "sampleproxy" with the endpoint, makes a connection with the option strings and a
// proxy object with it, and calls echoString once.
CallOutcome CallEcho(const std::string& endpoint, const std::string& options,
                     const std::string& proxyOptions = "") {
  Runtime host;
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
  const Runtime::CreateResult created = host.CreateInstance(connection, "SampleProxy");
  EXPECT_EQ(created.result, 0);
  return host.Call(created.proxy, kEchoString, {Value::String("x")}, Value::String(""));
}

// A quoted option value: the option strings have no escapes, so the quote is one the text lacks.
std::string Quoted(const std::string& text) {
  const char quote = text.find('\'') == std::string::npos ? '\'' : '"';
  return quote + text + quote;
}

std::string Basic(const std::string& user, const std::string& password) {
  SOAPString encoded;
  const std::string pair = user + ":" + password;
  SOAPBase64Base::Encode(pair.data(), static_cast<unsigned int>(pair.size()), encoded);
  return std::string("Basic ") + encoded.CStr();
}

std::string XmlText(const std::string& text) {
  std::string escaped;
  for (char c : text) {
    escaped += c == '<' ? "&lt;" : c == '&' ? "&amp;" : c == '>' ? "&gt;" : std::string(1, c);
  }
  return escaped;
}

LoopbackHttpServer::Responder EchoAnswer() {
  return AnswerWith(200, "text/xml",
                    SoapEnvelope("<ns:echoStringResponse><result>ok</result>"
                                 "</ns:echoStringResponse>"));
}

// The same user and password for the service and for the proxy server: the loopback server plays
// the proxy server, so one request shows both headers and the address it was meant for.
TEST(Credentials, ReachTheServiceAndTheProxyServerByteForByte) {
  LoopbackHttpServer gate(EchoAnswer());
  ASSERT_TRUE(gate.Started());
  const struct {
    const char* user;
    const char* password;
  } cases[] = {
      {"u", "pa/ss"},
      {"u", "p?q#r"},
      {"corp/svc", "pw"},
      {"u", "%41%2F"},
      {"u@corp.example", "p@ss:w@rd"},
      {"dom\\user", "back\\slash"},
      {"us er", " spaced out "},
      {"u", "x@evil.example/steal"},
      {"u", "@127.0.0.1:1/"},
      {"u", "a://b"},
      {"u", "it's"},
      {"caf\xC3\xA9", "\xE9t\xE9 \xE2\x82\xAC"},
      {"u", ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.user) + " / " + c.password);
    const std::string credentials = "userid=" + Quoted(c.user) + ",password=" + Quoted(c.password);
    const CallOutcome outcome =
        CallEcho("http://service.invalid:8080/svc?wsdl=1", credentials,
                 "address='127.0.0.1:" + std::to_string(gate.Port()) + "'," + credentials);
    ASSERT_FALSE(outcome.exception.has_value()) << outcome.exception->text;
    const HttpRequest request = gate.Requests().back();
    EXPECT_EQ(request.target, "http://service.invalid:8080/svc?wsdl=1");
    EXPECT_EQ(request.Header("Authorization"), Basic(c.user, c.password));
    EXPECT_EQ(request.Header("Proxy-Authorization"), Basic(c.user, c.password));
  }
}

std::string ReadFile(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

// Every way a call with credentials can fail: the password shows in no text the script or the
// call log gets.
TEST(Credentials, NoFailureShowsThePassword) {
  const std::string password = "s3cr/et?#@x";
  const std::string credentials = "userid='agent',password='" + password + "'";
  LoopbackHttpServer plain(AnswerWith(401, "text/plain", "who are you"));
  LoopbackHttpServer demanding(AnswerWith(407, "text/plain", "credentials, please"));
  LoopbackHttpServer faulting(
      AnswerWith(500, "text/xml",
                 SoapEnvelope("<SOAP-ENV:Fault><faultcode>SOAP-ENV:Client</faultcode>"
                              "<faultstring>no</faultstring></SOAP-ENV:Fault>")));
  TestCertificates certificates;
  ASSERT_TRUE(certificates.Made()) << certificates.Error();
  TlsLoopbackServer untrusted(certificates.CertificateFile("selfsigned"),
                              certificates.KeyFile("selfsigned"), "");
  ASSERT_TRUE(plain.Started() && demanding.Started() && faulting.Started() && untrusted.Started());
  const std::string closed = "127.0.0.1:" + std::to_string(PickFreePort());
  const std::string gateOptions = "address='" + closed + "'," + credentials;
  const struct {
    const char* name;
    std::string endpoint;
    std::string proxyOptions;
    const char* messagePart;
  } cases[] = {
      {"port not a number", "http://127.0.0.1:80x/svc", "", "has the port '80x'"},
      {"no host behind the user part", "http://bad host/svc", "", "no host name"},
      {"another scheme", "ftp://127.0.0.1/svc", "", "has the scheme 'ftp'"},
      {"refused", "http://" + closed + "/svc", "", "Can't connect to"},
      {"unknown host", "http://no-such-host.invalid/svc", "", "no-such-host.invalid:80"},
      {"untrusted certificate", untrusted.Url("/svc"), "", "The TLS connection failed"},
      {"credentials refused", plain.Url("/svc"), "", "HTTP 401"},
      {"proxy server refused", "http://service.invalid/svc", gateOptions, "Can't connect to"},
      {"proxy server wants others", "http://service.invalid/svc",
       "address='127.0.0.1:" + std::to_string(demanding.Port()) + "'," + credentials, "407"},
      {"a fault", faulting.Url("/svc"), "", "no"},
  };
  const std::string log = ::testing::TempDir() + "tssoap-secrets-" + std::to_string(getpid());
  Runtime logSwitch;
  ASSERT_EQ(logSwitch.SetOptions(logSwitch.CreateConnection(), ("soaplog='" + log + "'").c_str()),
            0);
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const CallOutcome outcome = CallEcho(c.endpoint, credentials, c.proxyOptions);
    ASSERT_TRUE(outcome.exception.has_value());
    const testhost::ExceptionInfo& e = *outcome.exception;
    EXPECT_THAT(e.text, HasSubstr(c.messagePart));
    for (const std::string& text : {e.text, e.faultCode, e.faultString, e.detailMessage}) {
      EXPECT_THAT(text, Not(HasSubstr("s3cr"))) << text;
    }
  }
  logSwitch.SetOptions(logSwitch.CreateConnection(), "soaplog=''");
  const std::string written = ReadFile(log);
  EXPECT_THAT(written, HasSubstr("POST " + faulting.Url("/svc")));
  EXPECT_THAT(written, Not(HasSubstr("s3cr")));
  std::filesystem::remove(log);
}

// Fault texts that hold the packed text's own tags, and the escape, come back as sent: the
// exception's text, getFaultCode, getFaultString and getDetailMessage.
TEST(FaultTexts, ComeBackExactlyAsTheServerSentThem) {
  const struct {
    std::string code;
    std::string string;
    std::string detail;  // XML content of <detail>
  } cases[] = {
      {"</tssp_fcode><tssp_fstring>SPOOFED</tssp_fstring>", "real", ""},
      {"c", "</tssp_fstring><tssp_fcode>SPOOFED</tssp_fcode>", "<d>x</d>"},
      {"c", "s", "<tssp_fdetailmessage>in</tssp_fdetailmessage>tail"},
      {"c", "<\\tssp_fstring> <\\\\/tssp_x> <\\/tssp_", "<tssp_fcode>d</tssp_fcode>"},
      {"C:\\dir\\file", "a <b> \\ c <tssp", "<x>\\</x>"},
      {"", "", ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.code + " | " + c.string + " | " + c.detail);
    LoopbackHttpServer server(AnswerWith(
        500, "text/xml",
        SoapEnvelope("<SOAP-ENV:Fault><faultcode>" + XmlText(c.code) + "</faultcode><faultstring>" +
                     XmlText(c.string) + "</faultstring><detail>" + c.detail +
                     "</detail></SOAP-ENV:Fault>")));
    ASSERT_TRUE(server.Started());
    const CallOutcome outcome = CallEcho(server.Url("/svc"), "");
    ASSERT_TRUE(outcome.exception.has_value());
    EXPECT_EQ(outcome.exception->text, c.string);
    EXPECT_EQ(outcome.exception->faultCode, c.code);
    EXPECT_EQ(outcome.exception->faultString, c.string);
    EXPECT_EQ(outcome.exception->detailMessage, c.detail);
  }
}

}  // namespace
}  // namespace tssoap::test
