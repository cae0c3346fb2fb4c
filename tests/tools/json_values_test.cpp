// The command line's value notation against the reference host: every host type read from JSON
// into a host value and written back, every way an argument can fail to fit its type, and the
// type names a proxy file may use.
#include "tools/tssoap/json_values.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <nlohmann/json.hpp>

#include "common/environment_locale.h"
#include "tools/tssoap/message_text.h"
#include "tools/tssoap/proxy_session.h"

namespace tssoap::cli {
namespace {

using Json = nlohmann::ordered_json;
using ::testing::StartsWith;
using ::testing::ThrowsMessage;

HostType Type(const char* name) {
  std::string problem;
  std::optional<HostType> type = ParseHostType(name, &problem);
  EXPECT_TRUE(type.has_value()) << name << ": " << problem;
  return type.value_or(HostType{});
}

class JsonValuesTest : public ::testing::Test {
 protected:
  void SetUp() override { DefineStructures(runtime_, proxy_); }

  testhost::Runtime runtime_;
  ProxyFile proxy_ = ProxyFile::Load(TSSOAP_SOURCE_DIR "/examples/sample.json");
  JsonValues values_{runtime_, proxy_};
};

TEST_F(JsonValuesTest, EveryHostTypeGoesToTheHostAndBack) {
  const struct {
    const char* type;
    const char* json;
    const char* back = nullptr;  // nullptr: the same as json
  } cases[] = {
      // The simple types' usual values travel end to end in the tool's tests; here the edges.
      {"longlong", "\"9007199254740993\"", "9007199254740993"},  // beyond a double's precision
      {"real", "\"NaN\""},
      {"double", "3", "3.0"},
      {"blob", R"({"base64":""})"},
      {"blob", R"({"base64":"Zm8="})"},
      {"blob", R"({"base64":"Zg"})", R"({"base64":"Zg=="})"},  // padding may be left out
      {"time", "\"00:00:00\""},
      {"any", "null"},
      {"string", "null"},
      {"ns__phone", "null"},
      {"long[]", "null"},
      {"long[]", "[1,null,3]"},
      {"string[2]", R"(["a","b"])"},
      {"ns__phone", R"({"kind":7})", R"({"number":"","kind":7})"},  // the rest keep defaults
      {"ns__phone[]", R"([{"number":"1","kind":1},null])"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.type) + " " + c.json);
    HostType type = Type(c.type);
    testhost::Value value = values_.ToHost(Json::parse(c.json), type, "argument 1 (x)");
    EXPECT_EQ(values_.ToJson(value, type), Json::parse(c.back ? c.back : c.json));
  }
  EXPECT_TRUE(runtime_.Misuses().empty());
}

TEST_F(JsonValuesTest, AnArgumentThatDoesNotFitSaysWhereAndWhy) {
  // Type, JSON texts, and the start of the message after "argument 1 (x)".
  const struct {
    const char* type;
    std::vector<const char*> jsons;
    const char* message;
  } cases[] = {
      {"int", {"32768"}, ": 32768 doesn't fit an int (-32768 to 32767)"},
      {"ulong", {"4294967296"}, ": 4294967296 doesn't fit a ulong (0 to 4294967295)"},
      {"longlong", {"\"99999999999999999999\""}, ": \"99999999999999999999\" doesn't fit"},
      {"longlong", {"\"12x\""}, ": \"12x\" is no whole number"},
      {"int", {"1.5"}, ": an int takes a whole number, not 1.5"},
      {"boolean", {"1"}, ": a boolean takes true or false, not 1"},
      {"real", {"1e39"}, ": 1e+39 doesn't fit a real"},
      {"double", {"\"nan\""}, ": a double takes a number, or \"NaN\", \"INF\" or \"-INF\""},
      {"decimal", {"1.5", "\"1.2.3\"", "\"\""}, ": a decimal is written as a string"},
      {"string", {"5"}, ": a string takes a JSON string in double quotes, not 5"},
      {"blob", {"\"AAEC\"", R"({"base64":"AAEC","x":1})"}, ": a blob is written as {\"base64\""},
      {"blob", {R"({"base64":"A"})"}, " at /base64: \"A\" is not base64"},
      {"date",
       {"\"2003-02-29\"", "\"2003-13-01\"", "\"2003-7-14\"", "\"0000-01-01\""},
       ": a date is a string such as \"2003-07-14\""},
      {"time",
       {"\"24:00:00\"", "\"13:60:00\"", "\"13:05\"", "\"13:05:09.\""},
       ": a time is a string such as \"13:05:09.5\""},
      {"datetime",
       {"\"2003-07-14 13:05:09\"", "\"2003-07-14\""},
       ": a datetime is a string such as"},
      {"any", {"5"}, ": an any value takes null"},
      {"long[]", {"5"}, ": a long[] takes a JSON array, not a number"},
      {"long[2]", {"[1]"}, ": the bounded array long[2] takes exactly 2 items, not 1"},
      {"long[]", {"[1,\"x\"]"}, " at /1: a long takes a whole number, not \"x\""},
      {"ns__phone", {"[]"}, ": a ns__phone takes a JSON object keyed by its fields, not an array"},
      {"ns__phone", {R"({"no":1})"}, ": ns__phone has no field \"no\" (its fields: number, kind)"},
      {"ns__address", {R"({"phone":{"kind":"x"}})"}, " at /phone/kind: a long takes"},
  };
  for (const auto& c : cases) {
    for (const char* json : c.jsons) {
      SCOPED_TRACE(std::string(c.type) + " " + json);
      EXPECT_THAT([&] { values_.ToHost(Json::parse(json), Type(c.type), "x"); },
                  ThrowsMessage<ArgumentError>(StartsWith(std::string("x") + c.message)));
    }
  }
}

bool IsNaN(const testhost::Value& value) {
  return !value.isArray && (value.kind == kHostReal || value.kind == kHostDouble) &&
         std::isnan(value.AsDouble());
}

// Whatever the tool prints for a host value it reads back as the same value.
TEST_F(JsonValuesTest, EveryTypesExtremesReadBackAsPrinted) {
  using testhost::Value;
  using limits = std::numeric_limits<double>;
  using floats = std::numeric_limits<float>;
  std::vector<uint8_t> allBytes(256);
  for (size_t i = 0; i < allBytes.size(); ++i) allBytes[i] = static_cast<uint8_t>(i);
  const struct {
    const char* type;
    std::vector<Value> values;
  } cases[] = {
      {"int", {Value::Int(-32768), Value::Int(32767)}},
      {"uint", {Value::Uint(0), Value::Uint(65535)}},
      {"long", {Value::Long(std::numeric_limits<int32_t>::min()), Value::Long(2147483647)}},
      {"ulong", {Value::Ulong(0), Value::Ulong(4294967295u)}},
      {"longlong",
       {Value::LongLong(std::numeric_limits<int64_t>::min()),
        Value::LongLong(std::numeric_limits<int64_t>::max())}},
      {"real",
       {Value::Real(floats::max()), Value::Real(-floats::max()), Value::Real(floats::min()),
        Value::Real(floats::denorm_min()), Value::Real(-0.0f), Value::Real(floats::infinity()),
        Value::Real(-floats::infinity()), Value::Real(floats::quiet_NaN())}},
      {"double",
       {Value::Double(limits::max()), Value::Double(-limits::max()), Value::Double(limits::min()),
        Value::Double(limits::denorm_min()), Value::Double(limits::epsilon()),
        Value::Double(-limits::infinity()), Value::Double(limits::quiet_NaN())}},
      {"boolean", {Value::Boolean(false), Value::Boolean(true)}},
      {"decimal", {Value::Decimal("-999999999999999999.999999999"), Value::Decimal("0")}},
      {"string", {Value::String(""), Value::String("h\xC3\xA9llo \xE2\x98\x83 \"\\\n")}},
      {"blob", {Value::Blob({}), Value::Blob(allBytes)}},
      {"date", {Value::Date(1, 1, 1), Value::Date(9999, 12, 31)}},
      {"time", {Value::Time(0, 0, 0), Value::Time(23, 59, 59.999999)}},
      {"datetime",
       {Value::DateTime(1, 1, 1, 0, 0, 0), Value::DateTime(9999, 12, 31, 23, 59, 59.999999)}},
      {"longlong[]",
       {Value::Array(kHostLongLong, {Value::LongLong(-1), Value::Null(kHostLongLong)})}},
  };
  test::EnvironmentLocale utf8("C.UTF-8");
  JsonValues values(runtime_, proxy_);
  for (const auto& c : cases) {
    for (const Value& value : c.values) {
      std::string printed = DumpJson(values.ToJson(value, Type(c.type)));
      SCOPED_TRACE(std::string(c.type) + " " + printed);
      Value read = values.ToHost(ParseJsonText(printed, "x"), Type(c.type), "x");
      EXPECT_TRUE(read == value || (IsNaN(read) && IsNaN(value))) << testhost::Describe(read);
    }
  }
}

// JSON text is UTF-8 and the host's text is in the locale's code page: strings are converted on
// the way in and out, and a character the code page lacks is refused, not replaced.
TEST_F(JsonValuesTest, StringsCrossIntoTheLocalesCodePageAndBack) {
  const struct {
    const char* locale;
    const char* json;
    const char* host;  // nullptr: refused with message
    const char* message = "";
  } cases[] = {
      {"de_DE.ISO-8859-1", "\"h\u00e9llo\"", "h\xE9llo"},
      {"de_DE.ISO-8859-1", "\"\u00ff\u00a0\"", "\xFF\xA0"},
      {"de_DE.UTF-8", "\"h\u20acllo\"", "h\xE2\x82\xACllo"},
      {"de_DE.ISO-8859-1", "\"h\u20acllo\"", nullptr,
       "x at /1: \"h\u20acllo\" holds \"\u20ac\" (U+20AC), which the host's code page ISO-8859-1 "
       "can't hold"},
      {"C", "\"caf\u00e9\"", nullptr, "x at /1: \"caf\u00e9\" holds \"\u00e9\" (U+00E9)"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.locale) + " " + c.json);
    test::EnvironmentLocale locale(c.locale);
    if (!locale.available) GTEST_SKIP() << c.locale << " is not installed";
    JsonValues values(runtime_, proxy_);
    Json json = Json::array({"ascii", Json::parse(c.json)});
    if (c.host == nullptr) {
      EXPECT_THAT([&] { values.ToHost(json, Type("string[]"), "x"); },
                  ThrowsMessage<ArgumentError>(StartsWith(c.message)));
      continue;
    }
    testhost::Value value = values.ToHost(json, Type("string[]"), "x");
    EXPECT_EQ(value.AsItems().at(1).AsString(), c.host);
    EXPECT_EQ(values.ToJson(value, Type("string[]")), json);
  }
  test::EnvironmentLocale latin1("de_DE.ISO-8859-1");
  JsonValues values(runtime_, proxy_);
  // A byte that is no character of the code page (here UTF-8's) is shown as U+FFFD.
  test::EnvironmentLocale utf8("C.UTF-8");
  JsonValues utf8Values(runtime_, proxy_);
  EXPECT_EQ(utf8Values.TextToUtf8("a\xE9z"), "a\xEF\xBF\xBDz");
  EXPECT_EQ(values.TextToUtf8("a\xE9z"), "a\xC3\xA9z");
}

TEST_F(JsonValuesTest, AValueDeclaredAnyIsWrittenByTheKindItCarries) {
  // An array in an any result travels end to end in the tool's tests.
  EXPECT_EQ(values_.ToJson(testhost::Value::Long(7), Type("any")), 7);
  EXPECT_EQ(values_.ToJson(testhost::Value::Any(), Type("any")), nullptr);
}

TEST(ParseJsonText, RejectsWhatIsNotJsonWithAHintForBareWords) {
  const std::pair<const char*, const char*> cases[] = {
      {"hello",
       "x: hello is not JSON: a string is written in double quotes, as '\"hello\"' on the "
       "command line"},
      {"[1,", "x: [1, is not JSON"},
      {"", "x:  is not JSON"}};
  for (const auto& [text, message] : cases) {
    EXPECT_THAT([&] { ParseJsonText(text, "x"); }, ThrowsMessage<ArgumentError>(message));
  }
  EXPECT_EQ(ParseJsonText(" -5 ", "x").get<int>(), -5);
}

TEST(Base64, RefusesWhatIsNotBase64) {
  std::vector<uint8_t> bytes;
  for (const char* bad : {"Z", "Zg=", "Zg===", "Zm9v!", "Zm 9v", "Z=g="}) {
    EXPECT_FALSE(DecodeBase64(bad, &bytes)) << bad;
  }
}

TEST(HostTypes, ReadsNamesAndSaysWhatIsWrong) {
  // Text, then its Name() or the start of the reason it is refused.
  const std::pair<const char*, const char*> cases[] = {
      {"long", "long"},
      {"datetime[]", "datetime[]"},
      {"ns__phone[12]", "ns__phone[12]"},
      {"", "the type name is empty"},
      {"Long", "\"Long\" is neither a host type"},
      {"long[", "an array type ends in"},
      {"long[][]", "the host has no arrays of arrays"},
      {"long[x]", "the length of a bounded array"},
      {"long[1048577]", "the length of a bounded array"},
  };
  for (const auto& [text, result] : cases) {
    std::string problem;
    std::optional<HostType> type = ParseHostType(text, &problem);
    EXPECT_EQ(type ? type->Name() : problem.substr(0, std::strlen(result)), result) << text;
  }
}

}  // namespace
}  // namespace tssoap::cli
