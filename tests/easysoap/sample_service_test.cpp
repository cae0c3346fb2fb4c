// Calls to the bundled gSOAP sample service through SOAPProxy: echo operations, a fault with a
// detail, chunked answers, and connection reuse as the server counts it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "common/server_process.h"
#include "easysoap/soap_proxy.h"
#include "support/values/soap_exception.h"

namespace tssoap::test {
namespace {

using ::testing::HasSubstr;

constexpr long kTimeoutSeconds = 20;

struct ProxyDeleter {
  void operator()(SOAPProxy* proxy) const { DeleteSOAPProxy(proxy); }
};
using ProxyPtr = std::unique_ptr<SOAPProxy, ProxyDeleter>;

// A parameter as the extension writes a typed scalar.
SOAPParameter& AddTyped(SOAPParameter& parent, const char* name, const char* type,
                        const char* text) {
  SOAPParameter& child = parent.AddParameter("");
  child.SetName(name, kSampleNamespace);
  child.AddAttribute(SOAPQName("type", kXsiNamespace)).Set(type, kXsdNamespace);
  child.SetString(text);
  return child;
}

SOAPMethod Method(const char* name) {
  std::string action = std::string(kSampleNamespace) + "#" + name;
  SOAPMethod method(name, kSampleNamespace, action.c_str(), false);
  method.bindingStyle = 2;
  return method;
}

class SampleServiceTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(service_.Started()) << service_.Error(); }
  ProxyPtr NewProxy() const {
    return ProxyPtr(InitSOAPProxy(service_.Url("/sample").c_str(), kTimeoutSeconds, 2));
  }
  int ConnectionCount(SOAPProxy& proxy) const {
    SOAPMethod method = Method("getConnectionCount");
    return std::atoi(proxy.Execute(method).GetMethod().GetParameter("count").GetString().CStr());
  }

  ServerProcess service_ = StartSampleService();
};

TEST_F(SampleServiceTest, EchoesStringsAndInts) {
  struct Case {
    const char* operation;
    const char* type;
    const char* text;
  };
  const Case cases[] = {
      {"echoString", "string", "hello"},
      {"echoString", "string", "a<b & c>d \"q\" 'x'"},
      {"echoString", "string", "gr\xC3\xBC\xC3\x9F \xE2\x82\xAC \xF0\x9F\x98\x80"},
      {"echoString", "string", ""},
      {"echoInt", "int", "-2147483648"},
      {"echoInt", "int", "42"},
  };
  ProxyPtr proxy = NewProxy();
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    SOAPMethod method = Method(c.operation);
    AddTyped(method, "input", c.type, c.text);
    const SOAPParameter& response = proxy->Execute(method).GetMethod();
    EXPECT_EQ(std::string(response.GetName().GetName().CStr()),
              std::string(c.operation) + "Response");
    EXPECT_STREQ(response.GetName().GetNamespace().CStr(), kSampleNamespace);
    EXPECT_STREQ(response.GetParameter("result").GetString().CStr(), c.text);
  }
}

TEST_F(SampleServiceTest, EchoesAnEncodedStringArray) {
  SOAPMethod method = Method("echoStringArray");
  SOAPParameter& input = method.AddParameter("");
  input.SetName("input", kSampleNamespace);
  input.AddAttribute(SOAPQName("type", kXsiNamespace)).Set("Array", kSoapEncodingNamespace);
  input.AddAttribute(SOAPQName("arrayType", kSoapEncodingNamespace))
      .Set("string[3]", kXsdNamespace);
  input.SetIsStruct();
  for (const char* item : {"one", "", "three & more"}) input.AddParameter("item").SetString(item);

  ProxyPtr proxy = NewProxy();
  const SOAPParameter& result = proxy->Execute(method).GetMethod().GetParameter("result");
  ASSERT_EQ(result.GetParams().Size(), 3u);
  EXPECT_STREQ(result.GetParams()[0]->GetString().CStr(), "one");
  EXPECT_STREQ(result.GetParams()[1]->GetString().CStr(), "");
  EXPECT_STREQ(result.GetParams()[2]->GetString().CStr(), "three & more");
  auto arrayType = result.GetAttributes().Find(SOAPQName("arrayType", kSoapEncodingNamespace));
  ASSERT_NE(arrayType, result.GetAttributes().End());
  EXPECT_THAT(arrayType.Value().GetName().CStr(), HasSubstr("string[3]"));
  EXPECT_STREQ(arrayType.Value().GetNamespace().CStr(), kXsdNamespace);
}

TEST_F(SampleServiceTest, EchoesAStructure) {
  SOAPMethod method = Method("echoStruct");
  SOAPParameter& input = method.AddParameter("");
  input.SetName("input", kSampleNamespace);
  input.AddAttribute(SOAPQName("type", kXsiNamespace)).Set("SampleStruct", kSampleNamespace);
  input.SetIsStruct();
  AddTyped(input, "text", "string", "inside");
  AddTyped(input, "number", "int", "-7");

  ProxyPtr proxy = NewProxy();
  const SOAPParameter& result = proxy->Execute(method).GetMethod().GetParameter("result");
  EXPECT_STREQ(result.GetParameter("text").GetString().CStr(), "inside");
  EXPECT_STREQ(result.GetParameter("number").GetString().CStr(), "-7");
}

TEST_F(SampleServiceTest, AFaultCarriesCodeStringAndDetail) {
  SOAPMethod method = Method("failWithDetail");
  AddTyped(method, "reason", "string", "No <luck> today");
  ProxyPtr proxy = NewProxy();
  try {
    proxy->Execute(method);
    FAIL() << "no fault";
  } catch (const SOAPFaultException& e) {
    std::string text = e.What();
    EXPECT_THAT(text, HasSubstr("<tssp_fcode>SOAP-ENV:Server</tssp_fcode>"));
    EXPECT_THAT(text, HasSubstr("<tssp_fstring>No <luck> today</tssp_fstring>"));
    EXPECT_THAT(text, HasSubstr("<tssp_fdetailmessage><ns:problem xmlns:ns=\"urn:tssoap-sample\">"
                                "<code>42</code><reason>No &lt;luck&gt; today</reason>"
                                "</ns:problem></tssp_fdetailmessage>"));
  }
  // The proxy answers again after a fault.
  SOAPMethod echo = Method("echoString");
  AddTyped(echo, "input", "string", "again");
  EXPECT_STREQ(proxy->Execute(echo).GetMethod().GetParameter("result").GetString().CStr(), "again");
}

TEST_F(SampleServiceTest, OneKeptProxyUsesOneConnectionAndTwoProxiesUseTwo) {
  ProxyPtr first = NewProxy();
  for (int call = 0; call < 3; ++call) {
    SOAPMethod method = Method("echoInt");
    AddTyped(method, "input", "int", "1");
    first->Execute(method);
  }
  EXPECT_EQ(ConnectionCount(*first), 1);
  ProxyPtr second = NewProxy();
  EXPECT_EQ(ConnectionCount(*second), 2);
  EXPECT_EQ(ConnectionCount(*first), 2) << "the first proxy still has its connection";
  EXPECT_EQ(service_.Process().CountLines("CONNECTION "), 2u);
}

TEST(SampleServiceChunkedTest, ReadsChunkedAnswers) {
  ServerProcess service = StartSampleService({"--chunked"});
  ASSERT_TRUE(service.Started()) << service.Error();
  ProxyPtr proxy(InitSOAPProxy(service.Url("/sample").c_str(), kTimeoutSeconds, 2));
  std::string big(100000, 'z');
  for (const std::string& text : {std::string("small"), big}) {
    SOAPMethod method = Method("echoString");
    AddTyped(method, "input", "string", text.c_str());
    EXPECT_EQ(proxy->Execute(method).GetMethod().GetParameter("result").GetString().CStr(), text);
  }
}

}  // namespace
}  // namespace tssoap::test
