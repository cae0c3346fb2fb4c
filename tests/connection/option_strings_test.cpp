// The option strings of setoptions and setproxyserveroptions: input -> result -> settings. The
// cases walk every state of the key and value scanners.
#include "connection/option_strings.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <sstream>
#include <tuple>

#include "easysoap/soap_debugger.h"
#include "host/entry_points.h"
#include "testhost/testhost.h"

namespace tssoap {
namespace {

// The settings that differ from the defaults, as "name=value" words in field order.
std::string Changed(const ConnectionSettings& s) {
  const ConnectionSettings d;
  std::ostringstream out;
  auto add = [&out](const char* name, const auto& value, const auto& initial) {
    if (value != initial) out << (out.tellp() > 0 ? " " : "") << name << "=" << value;
  };
  add("userid", s.userId, d.userId);
  add("password", s.password, d.password);
  add("timeout", s.timeout, d.timeout);
  add("cache", s.connectionCache, d.connectionCache);
  add("proxyuserid", s.proxyUserId, d.proxyUserId);
  add("proxypassword", s.proxyPassword, d.proxyPassword);
  add("scheme", s.proxyScheme, d.proxyScheme);
  add("host", s.proxyHost, d.proxyHost);
  add("port", s.proxyPort, d.proxyPort);
  add("path", s.proxyPath, d.proxyPath);
  return out.str();
}

// Option string, result, and the settings it leaves behind, starting from the defaults.
using OptionCase = std::tuple<const char*, int32_t, const char*>;

TEST(SetOptions, ResultAndSettingsForEachString) {
  const OptionCase cases[] = {
      {"", 0, ""},
      {" \t\r\n\v\f ", 0, ""},
      {" USERID = ' a b ' , Password=\"b\"", 0, "userid= a b  password=b"},
      {"userid=\"o'neil\"", 0, "userid=o'neil"},
      {"password='C:\\dir \"x\"'", 0, "password=C:\\dir \"x\""},
      {"userid='a',userid='b'", 0, "userid=b"},
      {"userid='a', ", 0, "userid=a"},
      {"userid='a',", 50, ""},
      {"userid='a\"", 50, ""},
      {"userid='a' password='b'", 50, ""},
      {"userid=12", 50, ""},
      {"timeout = 30 , ", 0, "timeout=30"},
      {"timeout=2147483647", 0, "timeout=2147483647"},
      {"timeout=2147483648", 50, ""},
      {"timeout=99999999999999999999999", 50, ""},
      {"timeout=\"30\"", 50, ""},
      {"timeout=-1", 50, ""},
      {"timeout=3 0", 50, ""},
      {"timeout=30x", 50, ""},
      {"timeout=1.5", 50, ""},
      {"connectioncache=TRUE\t", 0, "cache=1"},
      {"connectioncache=tru1", 50, ""},
      {"connectioncache=true,connectioncache=False", 0, ""},
      {"connectioncache=1", 50, ""},
      {"connectioncache=yes", 50, ""},
      {"userid", 50, ""},
      {"userid=", 50, ""},
      {"user id='a'", 50, ""},
      {",userid='a'", 50, ""},
      {"user-id='a'", 50, ""},
      {"address='gate'", 50, ""},
      {"timeout=30,userid='u',timeout=x", 50, "userid=u timeout=30"},
  };
  for (const auto& [options, result, after] : cases) {
    SCOPED_TRACE(options);
    ConnectionSettings settings;
    EXPECT_EQ(ApplyOptions(options, settings), result);
    EXPECT_EQ(Changed(settings), after);
  }
  // Keys not named keep their values.
  ConnectionSettings settings;
  ASSERT_EQ(ApplyOptions("userid='u', password='p', timeout=5, connectioncache=true", settings), 0);
  ASSERT_EQ(ApplyOptions("password='q'", settings), 0);
  EXPECT_EQ(Changed(settings), "userid=u password=q timeout=5 cache=1");
}

TEST(SetProxyServerOptions, ResultAndSettingsForEachString) {
  const OptionCase cases[] = {
      {"address=\"gate\"", 0, "scheme=http host=gate port=80"},
      {"address=\"gate:8080\"", 0, "scheme=http host=gate port=8080"},
      {"address=\"https://gate/base/dir\"", 0, "scheme=https host=gate port=443 path=base/dir"},
      {"address=\"ftp://gate\"", 0, "scheme=ftp host=gate port=21"},
      {"address=\"http://gate:3128/p/q\"", 0, "scheme=http host=gate port=3128 path=p/q"},
      {"address=\"gate/x/y\"", 0, "scheme=http host=gate port=80 path=x/y"},
      {"address=\"gate:port\"", 0, "scheme=http host=gate port=port"},
      {"address=\"user@gate\"", 0, "scheme=http host=user@gate port=80"},
      {"address=\"\"", 0, "scheme=http port=80"},
      {"address=\"HTTP://gate\"", 50, "scheme=http port=80"},
      {"address=\"gate:1/p\", address=\"gopher://x\"", 50, "scheme=http port=80"},
      {"userid='pu', password='pp'", 0, "proxyuserid=pu proxypassword=pp"},
      {"timeout=5", 50, ""},
  };
  for (const auto& [options, result, after] : cases) {
    SCOPED_TRACE(options);
    ConnectionSettings settings;
    EXPECT_EQ(ApplyProxyServerOptions(options, settings), result);
    EXPECT_EQ(Changed(settings), after);
  }
}

// soaplog switches the process-wide log to the named file at once; an empty name closes it.
TEST(SetOptions, SoapLogOpensTheNamedFileAtOnce) {
  std::string path = ::testing::TempDir() + "tssoap_soaplog.log";
  ConnectionSettings settings;
  ASSERT_EQ(ApplyOptions("soaplog=\"" + path + "\"", settings), 0);
  SOAPDebugger::Write(1000, "one\n", 4);
  ASSERT_EQ(ApplyOptions("soaplog=''", settings), 0);
  SOAPDebugger::Write(1, "two\n", 4);
  std::ifstream file(path);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), "one\n");
  EXPECT_EQ(ApplyOptions("soaplog=log", settings), 50);
  std::remove(path.c_str());
}

// A refused string says where (from 0) and why: to the caller, and to the call log when one is
// open. CheckOptions tells the same without applying anything.
TEST(SetOptions, RefusalSaysWhereAndWhy) {
  const std::tuple<const char*, bool, const char*> cases[] = {
      {"timeout=30, timout=30", false, "at 12: unknown key 'timout'"},
      {"timeout='30'", false, "at 8: 'timeout' takes a number"},
      {"timeout=99999999999", false, "at 8: 'timeout' is beyond 2147483647 seconds"},
      {"connectioncache=maybe", false, "at 16: 'connectioncache' is neither true nor false"},
      {"time-out=1", false, "at 4: a key is letters, digits and '_'"},
      {"userid", false, "at 6: the text ends inside the option"},
      {"userid='me", false, "at 7: the value is missing or its quote isn't closed"},
      {"userid=me!", false, "at 9: a value is a quoted text, a number or a word"},
      {"address='gopher://gate'", true,
       "at 8: 'address' is a scheme other than http, https and ftp"},
      {"timeout=1", true, "at 0: unknown key 'timeout'"},
  };
  for (const auto& [text, proxyServer, expected] : cases) {
    ConnectionSettings settings;
    OptionsFailure failure;
    const int32_t result = proxyServer ? ApplyProxyServerOptions(text, settings, &failure)
                                       : ApplyOptions(text, settings, &failure);
    EXPECT_EQ(result, kOptionsInvalid) << text;
    EXPECT_EQ(DescribeOptionsFailure(failure), expected) << text;
    const std::optional<OptionsFailure> checked = CheckOptions(text, proxyServer);
    ASSERT_TRUE(checked.has_value()) << text;
    EXPECT_EQ(DescribeOptionsFailure(*checked), expected) << text;
  }
  EXPECT_FALSE(CheckOptions("timeout=5, connectioncache=true", false).has_value());

  const std::string path = ::testing::TempDir() + "tssoap_refusal.log";
  ConnectionSettings settings;
  EXPECT_EQ(ApplyOptions("soaplog='" + path + "', timout=30", settings), kOptionsInvalid);
  EXPECT_FALSE(CheckOptions("soaplog='" + path + ".not'", false).has_value());
  ASSERT_EQ(ApplyOptions("soaplog=''", settings), kOptionsValid);
  std::ifstream file(path);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}),
            "setoptions: at " + std::to_string(path.size() + 12) + ": unknown key 'timout'\n");
  std::ifstream notOpened(path + ".not");
  EXPECT_FALSE(notOpened.is_open()) << "a check opens no log";
  std::remove(path.c_str());
}

// Through the host: the long result, and nothing written for a null argument.
TEST(SetOptions, HostSeesTheLongResultOrNothingForANullString) {
  testhost::Runtime rt({&TSX_GetDescription, &TSX_CreateNonVisualObject});
  HostObject connection = rt.CreateConnection();
  EXPECT_EQ(rt.SetOptions(connection, "timeout=1"), 0);
  EXPECT_EQ(rt.SetOptions(connection, "timeout=x"), 50);
  EXPECT_EQ(rt.SetOptions(connection, nullptr), std::nullopt);
  EXPECT_EQ(rt.SetProxyServerOptions(connection, "address='p:1'"), 0);
  EXPECT_EQ(rt.SetProxyServerOptions(connection, "timeout=1"), 50);
  EXPECT_EQ(rt.SetProxyServerOptions(connection, nullptr), std::nullopt);
  EXPECT_TRUE(rt.Misuses().empty());
}

}  // namespace
}  // namespace tssoap
