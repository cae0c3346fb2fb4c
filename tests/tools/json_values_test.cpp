// The command line's value notation against the reference host: every host type read from JSON
// into a host value and written back, and every way an argument can fail to fit its type.
#include "tools/tssoap/json_values.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace tssoap::cli {
namespace {

using Json = nlohmann::ordered_json;

const char kProxy[] = R"({
  "class": "valuesproxy",
  "variables": {
    "__tns__pair": "Pair(xsd:string key, xsd:int value)@tns",
    "__tns__nest": "Nest(tns:Pair pair, tns:Pair[] pairs, xsd:string[] names)@tns"
  },
  "structures": {
    "tns__pair": { "key": "string", "value": "long" },
    "tns__nest": { "pair": "tns__pair", "pairs": "tns__pair[]", "names": "string[]" }
  },
  "functions": []
})";

HostType Type(const char* name) {
  std::string problem;
  std::optional<HostType> type = ParseHostType(name, &problem);
  EXPECT_TRUE(type.has_value()) << name << ": " << problem;
  return type.value_or(HostType{});
}

class JsonValuesTest : public ::testing::Test {
 protected:
  testhost::Runtime runtime_;
  ProxyFile proxy_ = ProxyFile::Parse(kProxy, "values.json");
  JsonValues values_{runtime_, proxy_};

  void SetUp() override {
    for (const Structure& structure : proxy_.structures) {
      std::vector<testhost::FieldSpec> fields;
      for (const StructureField& field : structure.fields) {
        fields.push_back(ToFieldSpec(field.name, field.type));
      }
      runtime_.DefineStructure(structure.name, std::move(fields));
    }
  }

  std::string RoundTrip(const char* type, const char* json) {
    HostType hostType = Type(type);
    testhost::Value value = values_.ToHost(Json::parse(json), hostType, "argument 1 (x)");
    return values_.ToJson(value, hostType).dump();
  }
};

TEST_F(JsonValuesTest, EveryHostTypeGoesToTheHostAndBack) {
  const struct {
    const char* type;
    const char* json;
    const char* back;  // nullptr: the same as json
  } cases[] = {
      {"int", "-32768", nullptr},
      {"uint", "65535", nullptr},
      {"long", "-2147483648", nullptr},
      {"ulong", "4294967295", nullptr},
      {"longlong", "9223372036854775807", nullptr},
      {"longlong", "\"-42\"", "-42"},
      {"longlong", "\"9007199254740993\"", "9007199254740993"},
      {"boolean", "true", nullptr},
      {"boolean", "false", nullptr},
      {"real", "1.1", nullptr},  // a float printed as the shortest text that reads back
      {"real", "-2.5e-07", nullptr},
      {"real", "\"NaN\"", nullptr},
      {"double", "0.1", nullptr},
      {"double", "1e+300", nullptr},
      {"double", "\"INF\"", nullptr},
      {"double", "\"-INF\"", nullptr},
      {"double", "3", "3.0"},
      {"decimal", "\"123.45\"", nullptr},
      {"decimal", "\"-0.5\"", nullptr},
      {"string", "\"h\\u00e9llo \\\"quoted\\\"\"", nullptr},
      {"string", "\"\"", nullptr},
      {"blob", R"({"base64":"AAEC/w=="})", nullptr},
      {"blob", R"({"base64":""})", nullptr},
      {"date", "\"2003-07-14\"", nullptr},
      {"date", "\"2000-02-29\"", nullptr},
      {"time", "\"13:05:09.5\"", nullptr},
      {"time", "\"00:00:00\"", nullptr},
      {"time", "\"23:59:59.25\"", nullptr},
      {"datetime", "\"2003-07-14T13:05:09\"", nullptr},
      {"any", "null", nullptr},
      {"string", "null", nullptr},
      {"tns__pair", "null", nullptr},
      {"long[]", "[1,null,3]", nullptr},
      {"long[]", "[]", nullptr},
      {"long[]", "null", nullptr},
      {"string[2]", R"(["a","b"])", nullptr},
      {"tns__pair", R"({"key":"a","value":1})", nullptr},
      {"tns__pair", R"({"value":7})", R"({"key":"","value":7})"},  // the rest keep defaults
      {"tns__pair[]", R"([{"key":"a","value":1},null])", nullptr},
      {"tns__nest",
       R"({"pair":{"key":"p","value":2},"pairs":[{"key":"q","value":3}],"names":["n"]})", nullptr},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.type) + " " + c.json);
    EXPECT_EQ(RoundTrip(c.type, c.json), Json::parse(c.back ? c.back : c.json).dump());
  }
  EXPECT_TRUE(runtime_.Misuses().empty());
}

TEST_F(JsonValuesTest, AnArgumentThatDoesNotFitSaysWhereAndWhy) {
  const struct {
    const char* type;
    const char* json;
    const char* message;  // after "argument 1 (x)"
  } cases[] = {
      {"int", "32768", ": 32768 doesn't fit an int (-32768 to 32767)"},
      {"uint", "-1", ": -1 doesn't fit a uint (0 to 65535)"},
      {"long", "2147483648", ": 2147483648 doesn't fit a long (-2147483648 to 2147483647)"},
      {"ulong", "4294967296", ": 4294967296 doesn't fit a ulong (0 to 4294967295)"},
      {"longlong", "9223372036854775808", ": 9223372036854775808 doesn't fit a longlong"},
      {"longlong", "\"99999999999999999999\"", ": \"99999999999999999999\" doesn't fit a longlong"},
      {"longlong", "\"12x\"", ": \"12x\" is no whole number"},
      {"int", "1.5", ": an int takes a whole number, not 1.5"},
      {"long", "\"5\"", ": a long takes a whole number, not \"5\""},
      {"boolean", "1", ": a boolean takes true or false, not 1"},
      {"real", "1e39", ": 1e+39 doesn't fit a real"},
      {"double", "\"nan\"", ": a double takes a number, or \"NaN\", \"INF\" or \"-INF\""},
      {"decimal", "1.5", ": a decimal is written as a string"},
      {"decimal", "\"1.2.3\"", ": a decimal is written as a string"},
      {"decimal", "\"\"", ": a decimal is written as a string"},
      {"string", "5", ": a string takes a JSON string in double quotes, not 5"},
      {"blob", "\"AAEC\"", ": a blob is written as {\"base64\": \"...\"}"},
      {"blob", R"({"base64":"A"})", " at /base64: \"A\" is not base64"},
      {"blob", R"({"base64":"AA=A"})", " at /base64: \"AA=A\" is not base64"},
      {"blob", R"({"base64":"AAEC","extra":1})", ": a blob is written as"},
      {"date", "\"2003-02-29\"", ": a date is a string such as \"2003-07-14\""},
      {"date", "\"2003-13-01\"", ": a date is a string"},
      {"date", "\"2003-7-14\"", ": a date is a string"},
      {"date", "\"0000-01-01\"", ": a date is a string"},
      {"time", "\"24:00:00\"", ": a time is a string such as \"13:05:09.5\""},
      {"time", "\"13:60:00\"", ": a time is a string"},
      {"time", "\"13:05\"", ": a time is a string"},
      {"time", "\"13:05:09.\"", ": a time is a string"},
      {"datetime", "\"2003-07-14 13:05:09\"", ": a datetime is a string such as"},
      {"datetime", "\"2003-07-14\"", ": a datetime is a string"},
      {"any", "5", ": an any value takes null"},
      {"long[]", "5", ": a long[] takes a JSON array, not a number"},
      {"long[2]", "[1]", ": the bounded array long[2] takes exactly 2 items, not 1"},
      {"long[]", "[1,\"x\"]", " at /1: a long takes a whole number, not \"x\""},
      {"tns__pair", "[]", ": a tns__pair takes a JSON object keyed by its fields, not an array"},
      {"tns__pair", R"({"nokey":1})",
       ": tns__pair has no field \"nokey\" (its fields: key, value)"},
      {"tns__nest", R"({"pairs":[{"value":"x"}]})", " at /pairs/0/value: a long takes"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.type) + " " + c.json);
    try {
      values_.ToHost(Json::parse(c.json), Type(c.type), "argument 1 (x)");
      ADD_FAILURE() << "accepted";
    } catch (const ArgumentError& error) {
      std::string expected = std::string("argument 1 (x)") + c.message;
      EXPECT_EQ(std::string(error.what()).substr(0, expected.size()), expected);
    }
  }
}

TEST_F(JsonValuesTest, AValueIsWrittenByTheKindItCarries) {
  // A result declared any holds whatever the extension made of it, an array most of all.
  HostType any = Type("any");
  EXPECT_EQ(values_.ToJson(testhost::Value::Array(kHostString, {testhost::Value::String("a")}), any)
                .dump(),
            R"(["a"])");
  EXPECT_EQ(values_.ToJson(testhost::Value::Long(7), any).dump(), "7");
  EXPECT_EQ(values_.ToJson(testhost::Value::Any(), any).dump(), "null");
  EXPECT_EQ(values_.ToJson(testhost::Value::DateTime(2003, 7, 14, 1, 2, 3.75), any).dump(),
            "\"2003-07-14T01:02:03.75\"");
}

TEST(ParseJsonText, RejectsWhatIsNotJsonWithAHintForBareWords) {
  const struct {
    const char* text;
    const char* message;
  } cases[] = {
      {"hello",
       "argument 2 (s): hello is not JSON: a string is written in double quotes, as "
       "'\"hello\"' on the command line"},
      {"[1,", "argument 2 (s): [1, is not JSON"},
      {"", "argument 2 (s):  is not JSON"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    try {
      ParseJsonText(c.text, "argument 2 (s)");
      ADD_FAILURE() << "accepted";
    } catch (const ArgumentError& error) {
      EXPECT_STREQ(error.what(), c.message);
    }
  }
  EXPECT_EQ(ParseJsonText(" -5 ", "a").get<int>(), -5);
}

TEST(Base64, EncodesAndDecodesTheStandardAlphabet) {
  const struct {
    const char* bytes;
    const char* text;
  } cases[] = {
      {"", ""},
      {"f", "Zg=="},
      {"fo", "Zm8="},
      {"foo", "Zm9v"},
      {"foob", "Zm9vYg=="},
      {"fooba", "Zm9vYmE="},
      {"\xff\xfe", "//4="},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    std::string bytes = c.bytes;
    EXPECT_EQ(EncodeBase64(std::vector<uint8_t>(bytes.begin(), bytes.end())), c.text);
    std::vector<uint8_t> decoded;
    ASSERT_TRUE(DecodeBase64(c.text, &decoded));
    EXPECT_EQ(std::string(decoded.begin(), decoded.end()), bytes);
  }
  std::vector<uint8_t> decoded;
  EXPECT_TRUE(DecodeBase64("Zg", &decoded));  // padding may be left out
  EXPECT_EQ(decoded, std::vector<uint8_t>{'f'});
  for (const char* bad : {"Z", "Zg=", "Zg===", "Zm9v!", "Zm 9v", "Z=g="}) {
    EXPECT_FALSE(DecodeBase64(bad, &decoded)) << bad;
  }
}

TEST(HostTypes, ReadsNamesAndSaysWhatIsWrong) {
  const struct {
    const char* text;
    const char* name;     // Name() of the result; nullptr when refused
    const char* problem;  // the start of the reason when refused
  } cases[] = {
      {"long", "long", nullptr},
      {"datetime[]", "datetime[]", nullptr},
      {"tns__pair[12]", "tns__pair[12]", nullptr},
      {"", nullptr, "the type name is empty"},
      {"Long", nullptr, "\"Long\" is neither a host type"},
      {"long[", nullptr, "an array type ends in"},
      {"long[][]", nullptr, "the host has no arrays of arrays"},
      {"long[-1]", nullptr, "the length of a bounded array"},
      {"long[x]", nullptr, "the length of a bounded array"},
      {"long[1048577]", nullptr, "the length of a bounded array"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    std::string problem;
    std::optional<HostType> type = ParseHostType(c.text, &problem);
    if (c.name != nullptr) {
      ASSERT_TRUE(type.has_value()) << problem;
      EXPECT_EQ(type->Name(), c.name);
    } else {
      EXPECT_FALSE(type.has_value());
      EXPECT_EQ(problem.rfind(c.problem, 0), 0u) << problem;
    }
  }
}

}  // namespace
}  // namespace tssoap::cli
