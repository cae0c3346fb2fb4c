// HTTPS against loopback servers whose certificates a CA of the test's own signed: a call
// succeeds when the environment names the CA the way curl's users know (CURL_CA_BUNDLE,
// SSL_CERT_FILE, SSL_CERT_DIR), and every certificate that can't be trusted is refused, with
// verification on whatever the environment says.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <string>

#include "common/misbehaving_servers.h"
#include "common/tls_loopback_server.h"
#include "easysoap/library_test_support.h"

namespace tssoap::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;

constexpr const char* kCaVariables[] = {"CURL_CA_BUNDLE", "SSL_CERT_FILE", "SSL_CERT_DIR"};

// Sets the given CA variables for its lifetime and clears the others.
class CaEnvironment {
 public:
  explicit CaEnvironment(const std::map<std::string, std::string>& values) {
    for (const char* name : kCaVariables) unsetenv(name);
    for (const auto& [name, value] : values) setenv(name.c_str(), value.c_str(), 1);
  }
  ~CaEnvironment() {
    for (const char* name : kCaVariables) unsetenv(name);
  }
  CaEnvironment(const CaEnvironment&) = delete;
  CaEnvironment& operator=(const CaEnvironment&) = delete;
};

TEST(TlsTest, TrustsTheCaTheEnvironmentNamesAndRefusesWhatItCantTrust) {
  TestCertificates certificates;
  ASSERT_TRUE(certificates.Made()) << certificates.Error();
  const std::string ca = certificates.CaFile();
  const std::string answer =
      HttpResponse(200, "OK", "text/xml", SoapEnvelope("<ns:r><result>over TLS</result></ns:r>"));
  const struct {
    const char* name;
    const char* certificate;
    std::map<std::string, std::string> environment;
    const char* messagePart;  // empty: the call succeeds
  } cases[] = {
      {"a bundle file", "good", {{"CURL_CA_BUNDLE", ca}}, ""},
      {"the OpenSSL file variable", "good", {{"SSL_CERT_FILE", ca}}, ""},
      {"a hashed directory", "good", {{"SSL_CERT_DIR", certificates.CaDirectory()}}, ""},
      {"curl's variable first",
       "good",
       {{"CURL_CA_BUNDLE", ca}, {"SSL_CERT_FILE", "/nonexistent/ca.pem"}},
       ""},
      {"untrusted: the system's CAs alone", "good", {}, "certificate"},
      {"untrusted: self-signed", "selfsigned", {{"CURL_CA_BUNDLE", ca}}, "certificate"},
      {"another host's name", "otherhost", {{"CURL_CA_BUNDLE", ca}}, "127.0.0.1"},
      {"expired", "expired", {{"CURL_CA_BUNDLE", ca}}, "expired"},
      {"a bundle that isn't there",
       "good",
       {{"CURL_CA_BUNDLE", "/nonexistent/ca.pem"}},
       "CURL_CA_BUNDLE=/nonexistent/ca.pem"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    TlsLoopbackServer server(certificates.CertificateFile(c.certificate),
                             certificates.KeyFile(c.certificate), answer);
    ASSERT_TRUE(server.Started());
    CaEnvironment environment(c.environment);
    SOAPMethod method("echoString", kSampleNamespace, "", false);
    Outcome outcome = Call(*NewProxy(server.Url("/svc"), 10), method);
    if (*c.messagePart == '\0') {
      EXPECT_EQ(outcome.thrown, "") << outcome.text;
      EXPECT_EQ(outcome.text, "over TLS");
      ASSERT_EQ(server.Requests().size(), 1u);
      EXPECT_EQ(server.Requests()[0].rfind("POST /svc HTTP/1.1\r\n", 0), 0u);
    } else {
      EXPECT_EQ(outcome.thrown, "SOAPSocketException");
      EXPECT_THAT(outcome.text, AllOf(HasSubstr("The TLS connection failed with 127.0.0.1:" +
                                                std::to_string(server.Port())),
                                      HasSubstr(c.messagePart)));
      EXPECT_TRUE(server.Requests().empty()) << "nothing is sent to a server not trusted";
    }
  }
}

}  // namespace
}  // namespace tssoap::test
