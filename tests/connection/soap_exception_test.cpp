// soapexception: the packed fault text and how its getters take it apart.
#include <gtest/gtest.h>

#include "connection/soap_exception_object.h"
#include "host/entry_points.h"
#include "testhost/testhost.h"

namespace tssoap {
namespace {

using testhost::Value;

TEST(FaultPart, CutsEachPartOutOfThePackedText) {
  struct Case {
    const char* details;
    const char* code;
    const char* string;
    const char* detail;
  };
  const char* const kOnlyString = "x<tssp_fstring>Bad</tssp_fstring>y";
  const char* const kUpper = "<TSSP_FCODE>a</TSSP_FCODE>";
  const char* const kMismatched = "<tssp_fcode>a</tssp_fstring>";
  const Case cases[] = {
      {"", "", "", ""},
      {"plain text", "plain text", "plain text", "plain text"},
      {kOnlyString, kOnlyString, "Bad", kOnlyString},
      {"<tssp_fcode></tssp_fcode>", "", "<tssp_fcode></tssp_fcode>", "<tssp_fcode></tssp_fcode>"},
      {"<tssp_fdetailmessage>d</tssp_fdetailmessage><tssp_fstring>s</tssp_fstring>"
       "<tssp_fcode>c</tssp_fcode>",
       "c", "s", "d"},
      {"<tssp_fcode>a</tssp_fcode><tssp_fcode>b</tssp_fcode>", "a",
       "<tssp_fcode>a</tssp_fcode><tssp_fcode>b</tssp_fcode>",
       "<tssp_fcode>a</tssp_fcode><tssp_fcode>b</tssp_fcode>"},
      {"x</tssp_fcode>y<tssp_fcode>z", "z", "x</tssp_fcode>y<tssp_fcode>z",
       "x</tssp_fcode>y<tssp_fcode>z"},
      {kUpper, kUpper, kUpper, kUpper},
      {kMismatched, kMismatched, kMismatched, kMismatched},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.details);
    EXPECT_EQ(FaultPart(c.details, kFaultCodeOpen, kFaultCodeClose), c.code);
    EXPECT_EQ(FaultPart(c.details, kFaultStringOpen, kFaultStringClose), c.string);
    EXPECT_EQ(FaultPart(c.details, kDetailMessageOpen, kDetailMessageClose), c.detail);
  }
}

class SoapExceptionTest : public ::testing::Test {
 protected:
  void TearDown() override {
    for (const std::string& misuse : rt.Misuses()) ADD_FAILURE() << "host misuse: " << misuse;
  }
  testhost::Runtime::InvokeOutcome SetDetails(const Value& argument) {
    return rt.InvokeExtensionMethod(exception, 3, {argument}, Value::Null(kHostString));
  }

  testhost::Runtime rt{{&TSX_GetDescription, &TSX_CreateNonVisualObject}};
  HostObject exception = rt.NewInstance("soapexception");
};

TEST_F(SoapExceptionTest, NewInstanceAnswersEmptyTextsFromAllGetters) {
  testhost::ExceptionInfo info = rt.ReadException(exception);
  EXPECT_EQ(info.faultCode, "");
  EXPECT_EQ(info.faultString, "");
  EXPECT_EQ(info.detailMessage, "");
}

TEST_F(SoapExceptionTest, SetDetailsStoresTheTextAndAnswersTheNumberZero) {
  testhost::Runtime::InvokeOutcome outcome =
      SetDetails(Value::String("<tssp_fcode>Client</tssp_fcode><tssp_fstring>Bad</tssp_fstring>"));
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.result, Value::Long(0));
  testhost::ExceptionInfo info = rt.ReadException(exception);
  EXPECT_EQ(info.faultCode, "Client");
  EXPECT_EQ(info.faultString, "Bad");
  EXPECT_EQ(info.detailMessage, "<tssp_fcode>Client</tssp_fcode><tssp_fstring>Bad</tssp_fstring>");

  // A second SetDetails replaces the first; a null one changes nothing and writes no result.
  SetDetails(Value::String("second"));
  EXPECT_EQ(rt.ReadException(exception).faultCode, "second");
  testhost::Runtime::InvokeOutcome ignored = SetDetails(Value::Null(kHostString));
  EXPECT_TRUE(ignored.result.isNull);
  EXPECT_EQ(rt.ReadException(exception).faultCode, "second");
}

TEST_F(SoapExceptionTest, OtherMethodNumbersDoNothingAndAnswerZero) {
  SetDetails(Value::String("kept"));
  for (uint16_t method : {uint16_t{4}, uint16_t{99}, uint16_t{0xFFFF}}) {
    testhost::Runtime::InvokeOutcome outcome =
        rt.InvokeExtensionMethod(exception, method, {Value::String("x")}, Value::Long(-7));
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.result, Value::Long(-7));
  }
  EXPECT_EQ(rt.ReadException(exception).faultString, "kept");
}

// The call flow reaches setdetails the way the runtime offers it: by name, with a prepared call.
TEST_F(SoapExceptionTest, SetDetailsIsFoundByItsLowerCaseNameAndAPreparedCall) {
  HostClass cls = rt.GetClass(exception);
  HostMethodId method = rt.GetMethodId(cls, "setdetails", 0, "", 0);
  EXPECT_EQ(method, 3);
  HostCallInfo info{};
  rt.InitCallInfo(cls, method, &info);
  ASSERT_EQ(info.arguments->GetCount(), 1);
  IHostValue* argument = info.arguments->GetAt(0);
  ASSERT_EQ(argument->IsNull(), 0);
  argument->SetStringText("<tssp_fdetailmessage>deep</tssp_fdetailmessage>");
  rt.InvokeObjectFunction(exception, method, &info);
  rt.FreeCallInfo(&info);
  EXPECT_EQ(rt.OutstandingCallInfos(), 0);
  EXPECT_EQ(rt.ReadException(exception).detailMessage, "deep");
}

}  // namespace
}  // namespace tssoap
