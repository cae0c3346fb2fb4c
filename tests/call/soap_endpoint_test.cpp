#include "call/soap_endpoint.h"

#include <gtest/gtest.h>

#include <string>

namespace tssoap {
namespace {

TEST(AddCredentials, PutsTheUserIntoTheServiceAddress) {
  const struct {
    const char* address;
    bool fromProxyVariable;  // else from the port name
    const char* userId;
    const char* password;
    const char* expected;
  } cases[] = {
      {"http://host/svc", false, "u", "p", "http://u:p@host/svc"},
      {"http://host/svc", true, "u", "", "http://u@host/svc"},
      // The port name's own user stays; the endpoint variable's gives way.
      {"http://x:y@host/svc", false, "u", "p", "http://x:y@host/svc"},
      {"http://x@host/svc", true, "u", "p", "http://u:p@host/svc"},
      // No user: nothing changes, whatever the password.
      {"http://x:y@host/svc", true, "", "p", "http://x:y@host/svc"},
      // Nothing is escaped, and only the first "//" counts.
      {"https://h:1//a", false, "d\\u s", "p@:w", "https://d\\u s:p@:w@h:1//a"},
      // No "//": the credential goes in front; an "@" in front of a "//" is no user part.
      {"x@host/svc", true, "u", "p", "u:p@host/svc"},
      {"a@b//host", true, "u", "", "a@b//u@host"},
  };
  for (const auto& c : cases) {
    std::string address = c.address;
    AddCredentials(address, c.fromProxyVariable, c.userId, c.password);
    EXPECT_EQ(address, c.expected) << c.address << " " << c.fromProxyVariable << " " << c.userId;
  }
}

TEST(ComposeProxyAddress, BuildsTheProxyServerUrlWithDefaults) {
  const struct {
    ProxyServerAddress server;  // scheme, host, port, path, user, password
    const char* expected;
  } cases[] = {
      {{"https", "  ", "8080", "dir", "u", "p"}, ""},
      {{" ", "gate", " ", " ", " ", "p"}, "http://gate:80"},
      {{"https", "gate", "8080", "base/dir", "u", "p"}, "https://u:p@gate:8080/base/dir"},
      {{"http", "gate", "3128", "", "u", ""}, "http://u@gate:3128"},
      // Only blanks are blank: a tab is a host.
      {{"", "\t", "", "", "", ""}, "http://\t:80"},
  };
  for (const auto& c : cases) EXPECT_EQ(ComposeProxyAddress(c.server), c.expected);
}

}  // namespace
}  // namespace tssoap
