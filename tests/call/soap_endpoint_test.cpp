#include "call/soap_endpoint.h"

#include <gtest/gtest.h>

#include <string>

namespace tssoap {
namespace {

TEST(AddCredentials, PutsTheUserIntoTheServiceAddress) {
  const struct {
    const char* address;
    bool fromProxyVariable;
    const char* userId;
    const char* password;
    const char* expected;
  } cases[] = {
      {"http://host/svc", false, "u", "p", "http://u:p@host/svc"},
      {"http://host/svc", true, "u", "p", "http://u:p@host/svc"},
      {"http://host/svc", false, "u", "", "http://u@host/svc"},
      {"http://x:y@host/svc", false, "u", "p", "http://x:y@host/svc"},
      {"http://x:y@host/svc", true, "u", "p", "http://u:p@host/svc"},
      {"http://x@host/svc", true, "u", "", "http://u@host/svc"},
      {"http://host/svc", false, "", "p", "http://host/svc"},
      {"http://x:y@host/svc", true, "", "p", "http://x:y@host/svc"},
      // Nothing is escaped: the texts go in as they are.
      {"https://host:8443/a", false, "d\\u s", "p@:w", "https://d\\u s:p@:w@host:8443/a"},
      // Only the first "//" counts.
      {"http://host//svc", false, "u", "p", "http://u:p@host//svc"},
      // No scheme: the credential goes in front.
      {"host/svc", false, "u", "p", "u:p@host/svc"},
      {"x@host/svc", true, "u", "p", "u:p@host/svc"},
      {"", false, "u", "", "u@"},
      // An "@" in front of the "//" is no user part.
      {"a@b//host", true, "u", "", "a@b//u@host"},
  };
  for (const auto& c : cases) {
    std::string address = c.address;
    AddCredentials(address, c.fromProxyVariable, c.userId, c.password);
    EXPECT_EQ(address, c.expected) << c.address << " from variable " << c.fromProxyVariable
                                   << " user '" << c.userId << "' password '" << c.password << "'";
  }
}

TEST(ComposeProxyAddress, BuildsTheProxyServerUrlWithDefaults) {
  const struct {
    ProxyServerAddress server;  // scheme, host, port, path, user, password
    const char* expected;
  } cases[] = {
      {{"", "", "", "", "", ""}, ""},
      {{"https", "  ", "8080", "dir", "u", "p"}, ""},
      {{"", "gate", "", "", "", ""}, "http://gate:80"},
      {{" ", "gate", " ", " ", " ", "p"}, "http://gate:80"},
      {{"https", "gate", "8080", "base/dir", "u", "p"}, "https://u:p@gate:8080/base/dir"},
      {{"http", "gate", "3128", "", "u", ""}, "http://u@gate:3128"},
      // A password alone has no effect.
      {{"http", "gate", "3128", "", "", "p"}, "http://gate:3128"},
      // Only blanks are blank: a tab is a host.
      {{"", "\t", "", "", "", ""}, "http://\t:80"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(ComposeProxyAddress(c.server), c.expected)
        << "host '" << c.server.host << "' port '" << c.server.port << "'";
  }
}

}  // namespace
}  // namespace tssoap
