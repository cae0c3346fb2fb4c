// Calls through an HTTP proxy server (tinyproxy started by the test) to the sample service: no
// credentials, Basic credentials from the proxy address's user part, and wrong ones refused.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "common/server_process.h"
#include "common/tiny_proxy.h"
#include "easysoap/soap_proxy.h"
#include "support/values/soap_exception.h"

namespace tssoap::test {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

struct ProxyDeleter {
  void operator()(SOAPProxy* proxy) const { DeleteSOAPProxy(proxy); }
};
using ProxyPtr = std::unique_ptr<SOAPProxy, ProxyDeleter>;

class HttpProxyServerTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(service_.Started()) << service_.Error(); }

  // echoString through the proxy server at proxyAddress; the result, or the exception's text
  // behind "error: ".
  std::string Echo(const std::string& proxyAddress, const char* text) {
    ProxyPtr proxy(InitSOAPProxyEx(service_.Url("/sample").c_str(), proxyAddress.c_str(), 20, 2));
    SOAPMethod method("echoString", kSampleNamespace, "", false);
    method.AddParameter("input").SetString(text);
    try {
      return proxy->Execute(method).GetMethod().GetParameter("result").GetString().CStr();
    } catch (const SOAPException& e) {
      return std::string("error: ") + e.What();
    }
  }

  ServerProcess service_ = StartSampleService();
};

TEST_F(HttpProxyServerTest, CallsGoThroughTheProxyServer) {
  TinyProxy tinyproxy;
  ASSERT_TRUE(tinyproxy.Started()) << tinyproxy.Error();
  EXPECT_EQ(Echo(tinyproxy.Address(), "via proxy"), "via proxy");
  // A path in the proxy address, as the extension may compose one, is ignored.
  EXPECT_EQ(Echo(tinyproxy.Address() + "/base/dir", "with path"), "with path");
  EXPECT_THAT(tinyproxy.Log(), HasSubstr("/sample"));
}

TEST_F(HttpProxyServerTest, CredentialsComeFromTheProxyAddressUserPart) {
  TinyProxy tinyproxy(TinyProxy::Credentials{"alice", "s3cret"});
  ASSERT_TRUE(tinyproxy.Started()) << tinyproxy.Error();
  EXPECT_EQ(Echo(tinyproxy.Address("alice", "s3cret"), "allowed"), "allowed");

  struct Refused {
    const char* name;
    std::string address;
  };
  const Refused refused[] = {
      {"wrong password", tinyproxy.Address("alice", "wrongpass")},
      {"unknown user", tinyproxy.Address("mallory", "s3cret")},
      {"no credentials", tinyproxy.Address()},
  };
  for (const Refused& r : refused) {
    SCOPED_TRACE(r.name);
    std::string answer = Echo(r.address, "refused");
    EXPECT_THAT(answer, HasSubstr("error: "));
    // tinyproxy answers 407 to a request without credentials, 401 to wrong ones.
    EXPECT_THAT(answer, ::testing::ContainsRegex("answered HTTP 40[17] \\((the proxy server wants "
                                                 "other credentials|credentials refused)\\)"));
    EXPECT_THAT(answer, HasSubstr("through the proxy server 127.0.0.1:" +
                                  std::to_string(tinyproxy.Port())));
    EXPECT_THAT(answer, Not(HasSubstr("wrongpass")));
  }
}

}  // namespace
}  // namespace tssoap::test
