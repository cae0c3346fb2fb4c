// The option strings of setoptions and setproxyserveroptions: input -> result -> settings.
#include "connection/option_strings.h"

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <sstream>
#include <tuple>

#include "easysoap/soap_debugger.h"
#include "host/entry_points.h"
#include "testhost/testhost.h"

namespace tssoap {
namespace {

auto Fields(const ConnectionSettings& s) {
  return std::tie(s.userId, s.password, s.timeout, s.connectionCache, s.proxyUserId,
                  s.proxyPassword, s.proxyScheme, s.proxyHost, s.proxyPort, s.proxyPath);
}

std::string Show(const ConnectionSettings& s) {
  std::ostringstream out;
  out << "userId=" << s.userId << " password=" << s.password << " timeout=" << s.timeout
      << " cache=" << s.connectionCache << " proxyUserId=" << s.proxyUserId
      << " proxyPassword=" << s.proxyPassword << " scheme=" << s.proxyScheme
      << " host=" << s.proxyHost << " port=" << s.proxyPort << " path=" << s.proxyPath;
  return out.str();
}

struct OptionCase {
  const char* options;
  int32_t result;
  ConnectionSettings after;  // starting from the defaults
};

ConnectionSettings With(void (*change)(ConnectionSettings&)) {
  ConnectionSettings settings;
  change(settings);
  return settings;
}

TEST(SetOptions, ResultAndSettingsForEachString) {
  const OptionCase cases[] = {
      {"", 0, {}},
      {" \t\r\n\v\f ", 0, {}},
      {"USERID = 'a' , Password=\"b\"", 0, With([](auto& s) {
         s.userId = "a";
         s.password = "b";
       })},
      {"userid=\"o'neil\"", 0, With([](auto& s) { s.userId = "o'neil"; })},
      {"password='say \"hi\"'", 0, With([](auto& s) { s.password = "say \"hi\""; })},
      {"password='C:\\dir\\file'", 0, With([](auto& s) { s.password = "C:\\dir\\file"; })},
      {"userid=''", 0, {}},
      {"userid='a',userid='b'", 0, With([](auto& s) { s.userId = "b"; })},
      {"userid='a', ", 0, With([](auto& s) { s.userId = "a"; })},
      {"userid='a',", 50, {}},
      {"userid='a\"", 50, {}},
      {"userid='a' password='b'", 50, {}},
      {"userid=abc", 50, {}},
      {"userid=12", 50, {}},
      {"timeout=30", 0, With([](auto& s) { s.timeout = 30; })},
      {"timeout = 30 ,", 50, {}},
      {"timeout=30 , ", 0, With([](auto& s) { s.timeout = 30; })},
      {"timeout=0", 0, {}},
      {"timeout=2147483647", 0, With([](auto& s) { s.timeout = 2147483647; })},
      {"timeout=2147483648", 50, {}},
      {"timeout=99999999999999999999999", 50, {}},
      {"timeout=\"30\"", 50, {}},
      {"timeout=-1", 50, {}},
      {"timeout=3 0", 50, {}},
      {"timeout=30x", 50, {}},
      {"connectioncache=TRUE", 0, With([](auto& s) { s.connectionCache = true; })},
      {"connectioncache=true,connectioncache=False", 0, {}},
      {"connectioncache=1", 50, {}},
      {"connectioncache=\"true\"", 50, {}},
      {"connectioncache=yes", 50, {}},
      {"a=", 50, {}},
      {"userid", 50, {}},
      {"userid =", 50, {}},
      {"=x", 50, {}},
      {"user id='a'", 50, {}},
      {"user-id='a'", 50, {}},
      {"unknown='x'", 50, {}},
      {"address='gate'", 50, {}},
      {"timeout=30,userid='u',timeout=x", 50, With([](auto& s) {
         s.timeout = 30;
         s.userId = "u";
       })},
  };
  for (const OptionCase& c : cases) {
    SCOPED_TRACE(c.options);
    ConnectionSettings settings;
    EXPECT_EQ(ApplyOptions(c.options, settings), c.result);
    EXPECT_EQ(Fields(settings), Fields(c.after)) << Show(settings);
  }
}

TEST(SetOptions, KeysNotNamedKeepTheirValues) {
  ConnectionSettings settings;
  ASSERT_EQ(ApplyOptions("userid='u', password='p', timeout=5, connectioncache=true", settings), 0);
  ASSERT_EQ(ApplyOptions("password='q'", settings), 0);
  EXPECT_EQ(settings.userId, "u");
  EXPECT_EQ(settings.password, "q");
  EXPECT_EQ(settings.timeout, 5);
  EXPECT_TRUE(settings.connectionCache);
}

ConnectionSettings Proxy(const char* scheme, const char* host, const char* port, const char* path) {
  ConnectionSettings settings;
  settings.proxyScheme = scheme;
  settings.proxyHost = host;
  settings.proxyPort = port;
  settings.proxyPath = path;
  return settings;
}

TEST(SetProxyServerOptions, ResultAndSettingsForEachString) {
  const OptionCase cases[] = {
      {"address=\"gate\"", 0, Proxy("http", "gate", "80", "")},
      {"address=\"gate:8080\"", 0, Proxy("http", "gate", "8080", "")},
      {"address=\"https://gate/base/dir\"", 0, Proxy("https", "gate", "443", "base/dir")},
      {"address=\"ftp://gate\"", 0, Proxy("ftp", "gate", "21", "")},
      {"address=\"http://gate:3128/p/q\"", 0, Proxy("http", "gate", "3128", "p/q")},
      {"address=\"gate/x/y\"", 0, Proxy("http", "gate", "80", "x/y")},
      {"address=\"gate:port\"", 0, Proxy("http", "gate", "port", "")},
      {"address=\"user@gate\"", 0, Proxy("http", "user@gate", "80", "")},
      {"address=\"\"", 0, Proxy("http", "", "80", "")},
      {"address=\"HTTP://gate\"", 50, Proxy("http", "", "80", "")},
      {"address=\"gopher://gate\"", 50, Proxy("http", "", "80", "")},
      {"address=\"gate:1/p\", address=\"Https://x\"", 50, Proxy("http", "", "80", "")},
      {"userid='pu', password='pp'", 0, With([](auto& s) {
         s.proxyUserId = "pu";
         s.proxyPassword = "pp";
       })},
      {"timeout=5", 50, {}},
      {"soaplog='x'", 50, {}},
      {"address=gate", 50, {}},
  };
  for (const OptionCase& c : cases) {
    SCOPED_TRACE(c.options);
    ConnectionSettings settings;
    EXPECT_EQ(ApplyProxyServerOptions(c.options, settings), c.result);
    EXPECT_EQ(Fields(settings), Fields(c.after)) << Show(settings);
  }
}

TEST(OptionScanners, CursorStopsWhereTheGrammarSays) {
  struct KeyCase {
    const char* text;
    OptionKeyResult result;
    const char* key;
    const char* rest;  // where the cursor stands afterwards, for kKeyRead
  };
  const KeyCase keys[] = {
      {"", kEndOfOptions, "", ""},
      {"   ", kEndOfOptions, "", ""},
      {"Ab_9=x", kKeyRead, "ab_9", "x"},
      {"9a = 'x'", kKeyRead, "9a", " 'x'"},
      {"key=", kKeySyntaxError, "key", nullptr},
      {"key", kKeySyntaxError, "key", nullptr},
      {"ke y=", kKeySyntaxError, "ke", nullptr},
      {",key=", kKeySyntaxError, "", nullptr},
  };
  for (const KeyCase& c : keys) {
    SCOPED_TRACE(c.text);
    const char* cursor = c.text;
    std::string key = "stale";
    EXPECT_EQ(ScanOptionKey(cursor, c.text + std::strlen(c.text), key), c.result);
    EXPECT_EQ(key, c.key);
    if (c.rest != nullptr) {
      EXPECT_STREQ(cursor, c.rest);
    }
  }

  struct ValueCase {
    const char* text;
    OptionValueKind kind;
    const char* value;
    const char* rest;
  };
  const ValueCase values[] = {
      {"", kValueSyntaxError, "", nullptr},
      {" 'a b' , next", kQuotedValue, "a b", " next"},
      {"\"\"", kQuotedValue, "", ""},
      {"'x\"", kValueSyntaxError, "x\"", nullptr},
      {"123 ,k", kNumberValue, "123", "k"},
      {"123", kNumberValue, "123", ""},
      {"abc\t", kWordValue, "abc", ""},
      {"abc,", kValueSyntaxError, "abc", nullptr},
      {"ab1", kValueSyntaxError, "ab", nullptr},
      {"-1", kValueSyntaxError, "", nullptr},
      {"1.5", kValueSyntaxError, "1", nullptr},
  };
  for (const ValueCase& c : values) {
    SCOPED_TRACE(c.text);
    const char* cursor = c.text;
    std::string value = "stale";
    EXPECT_EQ(ScanOptionValue(cursor, c.text + std::strlen(c.text), value), c.kind);
    EXPECT_EQ(value, c.value);
    if (c.rest != nullptr) {
      EXPECT_STREQ(cursor, c.rest);
    }
  }
}

std::string FileText(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

// soaplog switches the process-wide log to the named file at once; a second one takes over.
TEST(SetOptions, SoapLogOpensTheNamedFileAndASecondOneTakesOver) {
  std::string first = ::testing::TempDir() + "tssoap_first.log";
  std::string second = ::testing::TempDir() + "tssoap_second.log";
  std::remove(first.c_str());
  std::remove(second.c_str());
  ConnectionSettings settings;
  ASSERT_EQ(ApplyOptions("soaplog='" + first + "'", settings), 0);
  SOAPDebugger::Write(1000, "one\n", 4);
  ASSERT_EQ(ApplyOptions("soaplog=\"" + second + "\"", settings), 0);
  SOAPDebugger::Write(1, "two\n", 4);
  ASSERT_EQ(ApplyOptions("soaplog=''", settings), 0);
  SOAPDebugger::Write(1, "three\n", 6);
  EXPECT_EQ(FileText(first), "one\n");
  EXPECT_EQ(FileText(second), "two\n");
  EXPECT_EQ(ApplyOptions("soaplog=log", settings), 50);
  std::remove(first.c_str());
  std::remove(second.c_str());
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
