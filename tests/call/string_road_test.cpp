// String values on the whole road, through the reference host and the dlopened extension against
// the gSOAP sample service: arguments in each direction, string arrays in the three layouts, and
// results found under the other names a response may give them.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "call/call_test_support.h"
#include "testhost/testhost.h"

namespace tssoap::test {
namespace {

using testhost::CallOutcome;
using testhost::Runtime;
using testhost::Value;

// Text in the host's code page, which these tests set to UTF-8.
constexpr const char* kNonAscii =
    "gr\xC3\xBC\xC3\x9F"
    "e \xE2\x82\xAC";

class StringRoad : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(SampleServer().Started()) << SampleServer().Error();
    ASSERT_TRUE(locale_.Available()) << "the C.UTF-8 locale is missing";
    proxy_ = MakeSampleProxy(host_, SampleServer().Url("/"));
  }

  ScopedHostLocale locale_{"C.UTF-8"};
  Runtime host_;
  HostObject proxy_ = 0;
};

TEST_F(StringRoad, SendsInAndReadsBackOutArgumentsAndTheResult) {
  const std::string description = SampleOperation(
      "exchangeStrings([in] xsd:string input, [out] xsd:string output, "
      "[in,out] xsd:string both) return xsd:string result");
  const CallOutcome outcome = host_.Call(
      proxy_, description,
      {Value::String(kNonAscii), Value::String("not sent"), Value::String("b")}, Value::String(""));
  ASSERT_FALSE(outcome.exception.has_value()) << outcome.exception->text;
  ASSERT_EQ(outcome.arguments.size(), 3u);
  // The answer holds an element "input" too: an argument that only goes in is never written.
  EXPECT_EQ(outcome.arguments[0].AsString(), kNonAscii);
  EXPECT_EQ(outcome.arguments[1].AsString(), std::string(kNonAscii) + "/out");
  EXPECT_EQ(outcome.arguments[2].AsString(), "b/inout");
  EXPECT_EQ(outcome.result.AsString(), std::string(kNonAscii) + "/result");
}

TEST_F(StringRoad, ArgumentsTakeTheirPlaceFromTheDescription) {
  // Parameters that aren't sent still use up their argument: "both" is the third argument.
  const std::string description = SampleOperation(
      "exchangeStrings([] xsd:string unused, [in] xsd:string input, [in,out] xsd:string both, "
      "[out] xsd:string output,) return xsd:string result");
  const CallOutcome outcome =
      host_.Call(proxy_, description,
                 {Value::String("u"), Value::String("i"), Value::String("b"), Value::String("o")},
                 Value::String(""));
  ASSERT_FALSE(outcome.exception.has_value()) << outcome.exception->text;
  ASSERT_EQ(outcome.arguments.size(), 4u);
  EXPECT_EQ(outcome.arguments[0].AsString(), "u");
  EXPECT_EQ(outcome.arguments[1].AsString(), "i");
  EXPECT_EQ(outcome.arguments[2].AsString(), "b/inout");
  EXPECT_EQ(outcome.arguments[3].AsString(), "i/out");
  EXPECT_EQ(outcome.result.AsString(), "i/result");
}

TEST_F(StringRoad, StringArraysTravelInEachLayout) {
  const Value::Items items = {Value::String("a"), Value::Null(kHostString), Value::String(""),
                              Value::String(kNonAscii), Value::String("<&>")};
  const struct {
    const char* layout;
    const char* head;
  } cases[] = {
      {"EncodedArray",
       "echoNullableStringArray([in] xsd:string[SoapElementName] input) "
       "return xsd:string[SoapElementName] result"},
      {"RepeatedElements",
       "echoStringsRepeated([in] xsd:string[] values) return xsd:string[] values"},
      {"WrappedArray",
       "echoStringList([in] xsd:string[ElementName] input) return xsd:string[ElementName] result"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.layout);
    // A function that returns an array returns it as any: the extension makes the array.
    const CallOutcome outcome = host_.Call(proxy_, SampleOperation(c.head),
                                           {Value::Array(kHostString, items)}, Value::Any());
    ASSERT_FALSE(outcome.exception.has_value()) << outcome.exception->text;
    ASSERT_TRUE(outcome.result.isArray) << testhost::Describe(outcome.result);
    const Value::Items& got = outcome.result.AsItems();
    ASSERT_EQ(got.size(), items.size()) << testhost::Describe(outcome.result);
    for (size_t i = 0; i < items.size(); ++i) {
      EXPECT_EQ(got[i].isNull, items[i].isNull) << "item " << i + 1;
      if (!items[i].isNull) {
        EXPECT_EQ(got[i].AsString(), items[i].AsString()) << "item " << i + 1;
      }
    }
  }
}

TEST_F(StringRoad, EmptyArraysComeBackEmpty) {
  const char* heads[] = {
      "echoNullableStringArray([in] xsd:string[SoapElementName] input) "
      "return xsd:string[SoapElementName] result",
      "echoStringList([in] xsd:string[ElementName] input) return xsd:string[ElementName] result",
  };
  for (const char* head : heads) {
    SCOPED_TRACE(head);
    const CallOutcome outcome =
        host_.Call(proxy_, SampleOperation(head), {Value::Array(kHostString, {})}, Value::Any());
    ASSERT_FALSE(outcome.exception.has_value()) << outcome.exception->text;
    ASSERT_TRUE(outcome.result.isArray) << testhost::Describe(outcome.result);
    EXPECT_TRUE(outcome.result.AsItems().empty()) << testhost::Describe(outcome.result);
  }
}

TEST_F(StringRoad, FindsTheResultAsReturnOrUnderItsTypeName) {
  const struct {
    const char* head;
    const char* expected;
  } cases[] = {
      {"resultAsReturn([in] xsd:string input) return xsd:string result", "x/return"},
      {"resultAsTypeName([in] xsd:string input) return xsd:string result", "x/string"},
      {"echoString([in] xsd:string input) return xsd:string result", "x"},
  };
  for (const auto& c : cases) {
    const CallOutcome outcome =
        host_.Call(proxy_, SampleOperation(c.head), {Value::String("x")}, Value::String(""));
    ASSERT_FALSE(outcome.exception.has_value()) << c.head << ": " << outcome.exception->text;
    EXPECT_EQ(outcome.result.AsString(), c.expected) << c.head;
  }
}

TEST_F(StringRoad, FailsWhenNoElementHoldsTheResult) {
  // The response of ping has no element at all: the last of the three names is reported.
  const CallOutcome outcome = host_.Call(proxy_, SampleOperation("ping() return xsd:string result"),
                                         {}, Value::String("kept"));
  ASSERT_TRUE(outcome.exception.has_value());
  EXPECT_NE(outcome.exception->text.find("string"), std::string::npos) << outcome.exception->text;
  EXPECT_EQ(outcome.result.AsString(), "kept");
}

TEST_F(StringRoad, RefusesUnknownAndMistypedTypesBeforeSending) {
  const struct {
    const char* type;
  } cases[] = {{"xsd:strng"}, {"xsdd:string"}, {"string"}, {"xsd:String"}};
  for (const auto& c : cases) {
    const std::string description = SampleOperation(std::string("echoString([in] ") + c.type +
                                                    " input) return xsd:string result");
    const CallOutcome outcome =
        host_.Call(proxy_, description, {Value::String("x")}, Value::String("kept"));
    ASSERT_TRUE(outcome.exception.has_value()) << c.type;
    EXPECT_EQ(outcome.exception->text, std::string("Can't map the XML data type: ") + c.type);
    EXPECT_EQ(outcome.result.AsString(), "kept");
  }
}

}  // namespace
}  // namespace tssoap::test
