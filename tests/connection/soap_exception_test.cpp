// soapexception: the packed fault text and how its getters take it apart.
#include <gtest/gtest.h>

#include <tuple>

#include "connection/soap_exception_object.h"
#include "host/class_description.h"
#include "host/entry_points.h"
#include "testhost/testhost.h"

namespace tssoap {
namespace {

using testhost::Value;

// Packed text, then the fault code, fault string and detail message cut out of it.
TEST(FaultPart, CutsEachPartOutOfThePackedText) {
  const char* const kOnlyString = "x<tssp_fstring>Bad</tssp_fstring>y";
  const char* const kTwoCodes = "<tssp_fcode>a</tssp_fcode><tssp_fcode>b</tssp_fcode>";
  const char* const kCloseFirst = "x</tssp_fcode>y<tssp_fcode>z";
  const char* const kUpper = "<TSSP_FCODE>a</TSSP_FCODE>";
  const char* const kMismatched = "<tssp_fcode>a</tssp_fstring>";
  const char* const kEscapedOutside = "x<\\/tssp_fcode>";
  const std::tuple<const char*, const char*, const char*, const char*> cases[] = {
      {"", "", "", ""},
      {"plain text", "plain text", "plain text", "plain text"},
      {kOnlyString, kOnlyString, "Bad", kOnlyString},
      {"<tssp_fdetailmessage>d</tssp_fdetailmessage><tssp_fstring>s</tssp_fstring>"
       "<tssp_fcode>c</tssp_fcode>",
       "c", "s", "d"},
      {kTwoCodes, "a", kTwoCodes, kTwoCodes},
      {kCloseFirst, "z", kCloseFirst, kCloseFirst},
      {kUpper, kUpper, kUpper, kUpper},
      {kMismatched, kMismatched, kMismatched, kMismatched},
      // Tag texts inside a part lose one escaping "\"; other texts, and a whole text, stay.
      {"<tssp_fcode><\\/tssp_fcode><\\tssp_fstring></tssp_fcode>"
       "<tssp_fstring><\\\\\\/tssp_x> <\\b> a\\b <tssp</tssp_fstring>"
       "<tssp_fdetailmessage><\\/tssp_fdetailmessage</tssp_fdetailmessage>",
       "</tssp_fcode><tssp_fstring>", "<\\\\/tssp_x> <\\b> a\\b <tssp", "</tssp_fdetailmessage"},
      {kEscapedOutside, kEscapedOutside, kEscapedOutside, kEscapedOutside},
  };
  for (const auto& [details, code, string, detail] : cases) {
    SCOPED_TRACE(details);
    EXPECT_EQ(FaultPart(details, kFaultCodeOpen, kFaultCodeClose), code);
    EXPECT_EQ(FaultPart(details, kFaultStringOpen, kFaultStringClose), string);
    EXPECT_EQ(FaultPart(details, kDetailMessageOpen, kDetailMessageClose), detail);
  }
}

// A new soapexception answers empty texts; SetDetails (method 3) stores the packed text and
// answers the number 0; a second one replaces it, a null one changes nothing and writes no result.
TEST(SoapExceptionObject, SetDetailsStoresThePackedTextForTheGetters) {
  testhost::Runtime rt{{&TSX_GetDescription, &TSX_CreateNonVisualObject}};
  HostObject exception = rt.NewInstance("soapexception");
  auto setDetails = [&](const Value& argument) {
    return rt.InvokeExtensionMethod(exception, kSetDetails, {argument}, Value::Null(kHostString));
  };
  auto texts = [&] {
    testhost::ExceptionInfo info = rt.ReadException(exception);
    return std::tuple(info.faultCode, info.faultString, info.detailMessage);
  };
  EXPECT_EQ(texts(), std::tuple("", "", ""));
  testhost::Runtime::InvokeOutcome outcome =
      setDetails(Value::String("<tssp_fcode>Client</tssp_fcode><tssp_fstring>Bad</tssp_fstring>"));
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.result, Value::Long(0));
  EXPECT_EQ(texts(), std::tuple("Client", "Bad",
                                "<tssp_fcode>Client</tssp_fcode><tssp_fstring>Bad</tssp_fstring>"));
  setDetails(Value::String("second"));
  EXPECT_TRUE(setDetails(Value::Null(kHostString)).result.isNull);
  EXPECT_EQ(texts(), std::tuple("second", "second", "second"));
  EXPECT_TRUE(rt.Misuses().empty());
}

}  // namespace
}  // namespace tssoap
