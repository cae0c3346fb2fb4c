// Calls to the bundled gSOAP sample service through SOAPProxy, directly and through an HTTP proxy
// server (tinyproxy started by the test): echo operations, a fault with a detail, connection
// reuse as the server counts it, and the proxy server's credentials.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "common/tiny_proxy.h"
#include "easysoap/library_test_support.h"

namespace tssoap::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

class SampleServiceTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(service_.Started()) << service_.Error(); }

  // An operation of the service, with its SOAP action "urn:tssoap-sample#<name>".
  static SOAPMethod Method(const char* name) {
    std::string action = std::string(kSampleNamespace) + "#" + name;
    return SOAPMethod(name, kSampleNamespace, action.c_str(), false);
  }
  ProxyPtr NewSampleProxy(const std::string& proxyServer = "") const {
    return NewProxy(service_.Url("/sample"), 20, 2, proxyServer.c_str());
  }
  // Calls operation with one typed input.
  static Outcome Echo(SOAPProxy& proxy, const char* operation, const char* type, const char* text) {
    SOAPMethod method = Method(operation);
    AddTyped(method, "input", type, text);
    return Call(proxy, method);
  }
  int ConnectionCount(SOAPProxy& proxy) const {
    SOAPMethod method = Method("getConnectionCount");
    return std::atoi(proxy.Execute(method).GetMethod().GetParameter("count").GetString().CStr());
  }

  ServerProcess service_ = StartSampleService();
};

TEST_F(SampleServiceTest, EchoesEachKindOverOneKeptConnectionPerProxy) {
  ProxyPtr proxy = NewSampleProxy();
  const char* text = "a<b & c>d \"q\" 'x' gr\xC3\xBC\xC3\x9F \xE2\x82\xAC \xF0\x9F\x98\x80";
  EXPECT_EQ(Echo(*proxy, "echoString", "string", text).text, text);
  EXPECT_EQ(Echo(*proxy, "echoString", "string", "").text, "");
  EXPECT_EQ(Echo(*proxy, "echoInt", "int", "-2147483648").text, "-2147483648");

  SOAPMethod array = Method("echoStringArray");
  SOAPParameter& items = AddTyped(array, "input", "Array", nullptr, kSoapEncodingNamespace);
  items.AddAttribute(SOAPQName("arrayType", kSoapEncodingNamespace))
      .Set("string[3]", kXsdNamespace);
  for (const char* item : {"one", "", "three & more"}) items.AddParameter("item").SetString(item);
  EXPECT_THAT(Children(proxy->Execute(array).GetMethod().GetParameter("result")),
              ElementsAre("item||one", "item||", "item||three & more"));

  SOAPMethod structure = Method("echoStruct");
  SOAPParameter& fields = AddTyped(structure, "input", "SampleStruct", nullptr, kSampleNamespace);
  AddTyped(fields, "text", "string", "inside");
  AddTyped(fields, "number", "int", "-7");
  const SOAPParameter& answer = proxy->Execute(structure).GetMethod();
  EXPECT_EQ(NameOf(answer), "echoStructResponse|urn:tssoap-sample");
  EXPECT_THAT(Children(answer.GetParameter("result")), ElementsAre("text||inside", "number||-7"));

  // All of that went over one connection; a second proxy opens another, the first keeps its own.
  EXPECT_EQ(ConnectionCount(*proxy), 1);
  ProxyPtr second = NewSampleProxy();
  EXPECT_EQ(ConnectionCount(*second), 2);
  EXPECT_EQ(ConnectionCount(*proxy), 2);
}

TEST_F(SampleServiceTest, AFaultCarriesCodeStringAndDetailAndTheProxyAnswersAgain) {
  ProxyPtr proxy = NewSampleProxy();
  SOAPMethod method = Method("failWithDetail");
  AddTyped(method, "reason", "string", "No <luck> today");
  Outcome fault = Call(*proxy, method);
  EXPECT_EQ(fault.thrown, "SOAPFaultException");
  EXPECT_EQ(fault.text,
            "<tssp_fcode>SOAP-ENV:Server</tssp_fcode><tssp_fstring>No <luck> today</tssp_fstring>"
            "<tssp_fdetailmessage><ns:problem xmlns:ns=\"urn:tssoap-sample\"><code>42</code>"
            "<reason>No &lt;luck&gt; today</reason></ns:problem></tssp_fdetailmessage>");
  EXPECT_EQ(Echo(*proxy, "echoString", "string", "again").text, "again");
}

// The credentials come from the proxy server address's user part; a path in that address, as the
// extension may compose one, is ignored.
TEST_F(SampleServiceTest, CallsGoThroughAnHttpProxyServerWithItsCredentials) {
  TinyProxy tinyproxy(TinyProxy::Credentials{"alice", "s3cret"});
  ASSERT_TRUE(tinyproxy.Started()) << tinyproxy.Error();
  ProxyPtr allowed = NewSampleProxy(tinyproxy.Address("alice", "s3cret") + "/base/dir");
  EXPECT_EQ(Echo(*allowed, "echoString", "string", "via proxy").text, "via proxy");
  EXPECT_THAT(tinyproxy.Log(), HasSubstr("/sample"));
  for (const std::string& refused :
       {tinyproxy.Address("alice", "wrongpass"), tinyproxy.Address()}) {
    SCOPED_TRACE(refused);
    Outcome outcome = Echo(*NewSampleProxy(refused), "echoString", "string", "refused");
    EXPECT_EQ(outcome.thrown, "SOAPException");
    // tinyproxy answers 407 to a request without credentials, 401 to wrong ones.
    EXPECT_THAT(outcome.text, ::testing::ContainsRegex("answered HTTP 40[17] \\((the proxy server "
                                                       "wants other credentials|credentials "
                                                       "refused)\\)"));
    EXPECT_THAT(outcome.text,
                HasSubstr("through the proxy server " + tinyproxy.Address().substr(7)));
    EXPECT_THAT(outcome.text, ::testing::Not(HasSubstr("wrongpass")));
  }
}

}  // namespace
}  // namespace tssoap::test
