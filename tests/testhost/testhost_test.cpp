// The reference host itself: its values, arrays numbered from 1, the rules it checks, the knobs,
// reading the class description, and a proxy call through a marshaler.
#include "testhost/testhost.h"

#include <gtest/gtest.h>

#include <functional>

#include "host/entry_points.h"

namespace testhost {
namespace {

class TesthostTest : public ::testing::Test {
 protected:
  Runtime rt{{&TSX_GetDescription, &TSX_CreateNonVisualObject}};
};

TEST_F(TesthostTest, ArraysRoundTripWithTheirItemsAndForm) {
  rt.DefineStructure("tns__item", {});
  HostObject item = rt.NewInstance("tns__item");
  const Value arrays[] = {
      Value::Array(kHostLong, {Value::Long(1), Value::Null(kHostLong), Value::Long(3)}),
      Value::Array(kHostString, {Value::String("a")}, /*bounded=*/true),
      Value::Array(kHostDate, {}),
      Value::ObjectArray("tns__item", {Value::Object(item), Value::NullObject("tns__item")}),
  };
  for (const Value& array : arrays) {
    SCOPED_TRACE(Describe(array));
    Value back = rt.ReadArray(rt.MakeArray(array));
    EXPECT_EQ(back.isArray, true);
    EXPECT_EQ(back.bounded, array.bounded);
    ASSERT_EQ(back.AsItems().size(), array.AsItems().size());
    for (size_t i = 0; i < array.AsItems().size(); ++i) {
      EXPECT_EQ(back.AsItems()[i].isNull, array.AsItems()[i].isNull);
      if (!array.AsItems()[i].isNull && !array.isObject) {
        EXPECT_EQ(back.AsItems()[i], array.AsItems()[i]);
      }
    }
  }
  EXPECT_TRUE(rt.Misuses().empty());
}

TEST_F(TesthostTest, ItemsAreNumberedFromOneAndBoundedArraysDontGrow) {
  HostArray bounded = rt.MakeArray(Value::Array(kHostLong, {Value::Long(10)}, true));
  HostArray unbounded = rt.NewUnboundedSimpleArray(kHostLong);
  HostBool isNull = 0;
  int32_t item = 1;
  EXPECT_EQ(rt.GetLongArrayItem(bounded, &item, &isNull), 10);
  EXPECT_EQ(isNull, 0);
  EXPECT_TRUE(rt.Misuses().empty());

  struct Case {
    std::function<void()> call;
    bool misuse;
  };
  const Case cases[] = {
      {[&] {
         int32_t zero = 0;
         rt.GetLongArrayItem(bounded, &zero, &isNull);
       },
       true},
      {[&] {
         int32_t two = 2;
         rt.GetLongArrayItem(bounded, &two, &isNull);
       },
       true},
      {[&] {
         int32_t two = 2;
         rt.SetLongArrayItem(bounded, &two, 5);
       },
       true},
      {[&] {
         int32_t one = 1;
         rt.GetStringArrayItem(bounded, &one, &isNull);
       },
       true},
      {[&] {
         int32_t three = 3;
         rt.SetLongArrayItem(unbounded, &three, 7);
       },
       false},
      {[&] {
         int32_t zero = 0;
         rt.SetLongArrayItem(unbounded, &zero, 7);
       },
       true},
      {[&] { rt.GetArrayLength(12345); }, true},
  };
  for (size_t i = 0; i < std::size(cases); ++i) {
    size_t before = rt.Misuses().size();
    cases[i].call();
    EXPECT_EQ(rt.Misuses().size() > before, cases[i].misuse) << "case " << i;
  }
  // Items an unbounded array grew past without writing are null.
  EXPECT_EQ(
      rt.ReadArray(unbounded),
      Value::Array(kHostLong, {Value::Null(kHostLong), Value::Null(kHostLong), Value::Long(7)}));
}

TEST_F(TesthostTest, ArrayInfosAndDecimalTextsAreCountedUntilGivenBack) {
  HostArray bounded = rt.MakeArray(Value::Array(kHostInt, {}, true));
  HostArray unbounded = rt.MakeArray(Value::Array(kHostString, {}));
  HostArrayInfo* boundedInfo = rt.GetArrayInfo(bounded);
  HostArrayInfo* unboundedInfo = rt.GetArrayInfo(unbounded);
  EXPECT_EQ(boundedInfo->arrayForm, 0);
  EXPECT_NE(unboundedInfo->arrayForm, 0);
  EXPECT_EQ(boundedInfo->itemKind, kHostInt);
  EXPECT_EQ(rt.OutstandingArrayInfos(), 2);
  rt.ReleaseArrayInfo(boundedInfo);
  rt.ReleaseArrayInfo(unboundedInfo);
  EXPECT_EQ(rt.OutstandingArrayInfos(), 0);

  HostDecimal decimal = rt.NewDecimal();
  rt.SetDecimalText(decimal, "-0.125");
  char* text = rt.GetDecimalText(decimal);
  EXPECT_STREQ(text, "-0.125");
  EXPECT_EQ(rt.OutstandingDecimalTexts(), 1);
  rt.ReleaseDecimalText(text);
  EXPECT_EQ(rt.OutstandingDecimalTexts(), 0);
  EXPECT_TRUE(rt.Misuses().empty());
  rt.ReleaseDecimalText(text);
  EXPECT_EQ(rt.Misuses().size(), 1u);
}

TEST_F(TesthostTest, FieldNamesAreComparedByteForByteAndBooleansAnswerTheTrueValue) {
  HostClass cls = rt.DefineStructure(
      "tns__s",
      {FieldSpec{"street", kHostString, false, false, "", false, 0, std::nullopt},
       FieldSpec{"note", kHostString, false, false, "", false, 0, Value::Null(kHostString)}});
  HostObject object = rt.NewInstance(cls);
  EXPECT_EQ(rt.GetFieldId(cls, "street"), 0);
  EXPECT_EQ(rt.GetFieldId(cls, "Street"), kNoField);
  EXPECT_EQ(rt.FieldIdRequests(), (std::vector<std::string>{"street", "Street"}));
  for (HostBool trueValue : {HostBool{1}, HostBool{2}, HostBool{0xFFFF}}) {
    rt.SetTrueValue(trueValue);
    EXPECT_EQ(rt.IsFieldNull(object, 1), trueValue);
    EXPECT_EQ(rt.IsFieldNull(object, 0), 0);
  }
  EXPECT_EQ(rt.GetField(object, "street"), Value::String(""));
}

TEST_F(TesthostTest, NewProxyObjectFailsWhenToldTo) {
  HostClass cls = rt.DefineProxyClass("svc", {{"endpoint", "http://x/"}, {"ns1", std::nullopt}});
  HostObject proxy = rt.NewProxyObject(cls);
  ASSERT_NE(proxy, 0u);
  EXPECT_EQ(rt.GetField(proxy, "endpoint"), Value::String("http://x/"));
  EXPECT_TRUE(rt.GetField(proxy, "ns1").isNull);
  rt.FailNewProxyObject(true);
  EXPECT_EQ(rt.NewProxyObject(cls), 0u);
}

TEST_F(TesthostTest, ValueDeclaredAnyTakesTheKindOfWhatIsWritten) {
  auto any = rt.MakeCell(Value::Any());
  any->SetArray(rt.MakeArray(Value::Array(kHostDouble, {Value::Double(0.5)})));
  EXPECT_EQ(rt.ReadCell(*any), Value::Array(kHostDouble, {Value::Double(0.5)}));
  auto typed = rt.MakeCell(Value::Null(kHostLong));
  typed->SetStringText("no");
  EXPECT_EQ(rt.Misuses().size(), 1u);
}

// A marshaler that does what the call flow does at the host: writes the results and raises a
// soapexception with its text and details.
class ScriptedMarshaler final : public IHostMarshaler {
 public:
  using Body = std::function<void(IHostSession&, HostObject, const char*, HostCallInfo&)>;
  explicit ScriptedMarshaler(Body body) : body_(std::move(body)) {}
  int32_t InvokeRemoteMethod(IHostSession* session, HostObject proxy, const char* description,
                             HostCallInfo* info) override {
    body_(*session, proxy, description, *info);
    return 0;
  }
  HostModuleHandle GetModuleHandle() override { return nullptr; }
  void Destroy() override { delete this; }

 private:
  Body body_;
};

TEST_F(TesthostTest, CallHandsTheDescriptionToTheMarshalerAndReadsEverythingBack) {
  HostClass cls = rt.DefineProxyClass("svc", {});
  HostObject proxy = rt.NewProxyObject(cls);
  std::string seen;
  rt.AttachMarshaler(
      proxy, new ScriptedMarshaler([&](IHostSession& session, HostObject, const char* description,
                                       HostCallInfo& info) {
        seen = description;
        info.arguments->GetAt(1)->SetLong(5);
        info.returnValue->SetStringText("done");
        HostGroup group = session.FindGroup("soapexception", kGroupException);
        HostClass exceptionClass = session.FindClass(group, "soapexception");
        HostObject exception = session.NewObject(exceptionClass);
        session.SetStringFieldText(exception, session.GetFieldId(exceptionClass, "text"), "boom");
        HostMethodId method = session.GetMethodId(exceptionClass, "setdetails", 0, "", 0);
        HostCallInfo details{};
        session.InitCallInfo(exceptionClass, method, &details);
        details.arguments->GetAt(0)->SetStringText("<tssp_fcode>Client</tssp_fcode>");
        session.InvokeObjectFunction(exception, method, &details);
        session.FreeCallInfo(&details);
        session.ThrowException(exception);
      }));
  CallOutcome outcome = rt.Call(proxy, "m([in] xsd:string a, [out] xsd:int b) return xsd:string r",
                                {Value::String("in"), Value::Long(0)}, Value::Null(kHostString));
  EXPECT_EQ(seen, "m([in] xsd:string a, [out] xsd:int b) return xsd:string r");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.result, Value::String("done"));
  EXPECT_EQ(outcome.arguments, (std::vector<Value>{Value::String("in"), Value::Long(5)}));
  ASSERT_TRUE(outcome.exception.has_value());
  EXPECT_NE(outcome.exceptionObject, 0u);
  EXPECT_EQ(outcome.exception->text, "boom");
  EXPECT_EQ(outcome.exception->faultCode, "Client");
  EXPECT_EQ(outcome.exception->faultString, "<tssp_fcode>Client</tssp_fcode>");
  EXPECT_EQ(rt.PendingException(), 0u);
  EXPECT_EQ(rt.OutstandingCallInfos(), 0);
  EXPECT_TRUE(rt.Misuses().empty()) << rt.Misuses().front();
}

TEST(TesthostDescription, ClassDescriptionThatTheRuntimeCouldntReadIsRefused) {
  static const char* text = nullptr;
  TSX_GetDescriptionFn describe = [] { return text; };
  const char* const bad[] = {
      nullptr,
      "class a from b\nend class",
      "class a from b\nfunction long f(\nend class\n",
      "class a from b\n",
      "klass a from b\nend class\n",
      "class a from b\nfunction long f(ref x)\nend class\n",
  };
  for (const char* description : bad) {
    text = description;
    EXPECT_THROW(Runtime({describe, &TSX_CreateNonVisualObject}), std::runtime_error)
        << (description ? description : "(null)");
  }
}

TEST(TesthostLibrary, MissingLibraryIsReportedWithItsPath) {
  try {
    ExtensionLibrary library("/nonexistent/libnothing.so");
    FAIL() << "loaded a library that isn't there";
  } catch (const std::runtime_error& e) {
    EXPECT_NE(std::string(e.what()).find("/nonexistent/libnothing.so"), std::string::npos);
  }
}

}  // namespace
}  // namespace testhost
