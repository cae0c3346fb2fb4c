// The reference host itself: its values, arrays numbered from 1, the rules it checks, the knobs,
// reading the class description, and a proxy call through a marshaler.
#include "testhost/testhost.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <tuple>

#include "call/address_types.h"
#include "host/entry_points.h"
#include "testhost/model.h"

namespace testhost {
namespace {

using ::testing::HasSubstr;
using ::testing::ThrowsMessage;

class TesthostTest : public ::testing::Test {
 protected:
  Runtime rt{{&TSX_GetDescription, &TSX_CreateNonVisualObject}};
};

TEST_F(TesthostTest, ArraysRoundTripWithTheirItemsAndForm) {
  rt.DefineStructure("tns__item", {});
  Value item = Value::Object(rt.NewInstance("tns__item"));
  item.className = "tns__item";
  const Value arrays[] = {
      Value::Array(kHostLong, {Value::Long(1), Value::Null(kHostLong), Value::Long(3)}),
      Value::Array(kHostString, {Value::String("a")}, /*bounded=*/true),
      Value::Array(kHostDate, {}),
      Value::ObjectArray("tns__item", {item, Value::NullObject("tns__item")}),
  };
  for (const Value& array : arrays) {
    SCOPED_TRACE(Describe(array));
    EXPECT_EQ(rt.ReadArray(rt.MakeArray(array)), array);
  }
  EXPECT_TRUE(rt.Misuses().empty());
}

// Items are numbered from 1, a bounded array doesn't grow, a reader of another kind is a misuse;
// items an unbounded array grew past without writing are null.
TEST_F(TesthostTest, ItemsAreNumberedFromOneAndBoundedArraysDontGrow) {
  HostArray bounded = rt.MakeArray(Value::Array(kHostLong, {Value::Long(10)}, true));
  HostArray unbounded = rt.NewUnboundedSimpleArray(kHostLong);
  HostBool isNull = 0;
  int32_t one = 1;
  EXPECT_EQ(rt.GetLongArrayItem(bounded, &one, &isNull), 10);
  enum Operation { kGetLong, kSetLong, kGetString };
  const std::tuple<HostArray, Operation, int32_t, bool> cases[] = {
      {bounded, kGetLong, 0, true},    {bounded, kGetLong, 2, true},
      {bounded, kSetLong, 2, true},    {bounded, kGetString, 1, true},
      {unbounded, kSetLong, 3, false}, {unbounded, kSetLong, 0, true},
      {12345, kGetLong, 1, true},
  };
  for (auto [array, operation, item, misuse] : cases) {
    SCOPED_TRACE(std::to_string(array) + " item " + std::to_string(item));
    size_t before = rt.Misuses().size();
    if (operation == kGetLong) rt.GetLongArrayItem(array, &item, &isNull);
    if (operation == kSetLong) rt.SetLongArrayItem(array, &item, 7);
    if (operation == kGetString) rt.GetStringArrayItem(array, &item, &isNull);
    EXPECT_EQ(rt.Misuses().size() > before, misuse);
  }
  EXPECT_EQ(
      rt.ReadArray(unbounded),
      Value::Array(kHostLong, {Value::Null(kHostLong), Value::Null(kHostLong), Value::Long(7)}));
}

TEST_F(TesthostTest, ArrayInfosAndDecimalTextsAreCountedUntilGivenBack) {
  HostArrayInfo* bounded = rt.GetArrayInfo(rt.MakeArray(Value::Array(kHostInt, {}, true)));
  HostArrayInfo* unbounded = rt.GetArrayInfo(rt.MakeArray(Value::Array(kHostString, {})));
  EXPECT_EQ(bounded->arrayForm, 0);
  EXPECT_NE(unbounded->arrayForm, 0);
  EXPECT_EQ(bounded->itemKind, kHostInt);
  EXPECT_EQ(rt.OutstandingArrayInfos(), 2);
  rt.ReleaseArrayInfo(bounded);
  rt.ReleaseArrayInfo(unbounded);
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

// The extension lower-cases the names it asks for, so the host must not; booleans answer the true
// value the test chose; operations are counted unless counting is off.
TEST_F(TesthostTest, FieldNamesAreComparedByteForByteAndBooleansAnswerTheTrueValue) {
  FieldSpec note = FieldSpec::Like("note", Value::Null(kHostString));
  note.initial = Value::Null(kHostString);
  HostClass cls =
      rt.DefineStructure("tns__s", {FieldSpec::Like("street", Value::String("")), note});
  HostObject object = rt.NewInstance(cls);
  rt.RecordOperations(true);
  EXPECT_EQ(rt.GetFieldId(cls, "street"), 0);
  EXPECT_EQ(rt.GetFieldId(cls, "Street"), kNoField);
  EXPECT_EQ(rt.FieldIdRequests(), (std::vector<std::string>{"street", "Street"}));
  rt.SetTrueValue(0x100);
  EXPECT_EQ(rt.IsFieldNull(object, 1), 0x100);
  EXPECT_EQ(rt.IsFieldNull(object, 0), 0);
  EXPECT_EQ(rt.GetField(object, "street"), Value::String(""));
  // Counting off keeps the counts so far and adds none; recording goes on.
  const int reads = rt.CallCount("IsFieldNull");
  rt.CountOperations(false);
  rt.IsFieldNull(object, 0);
  EXPECT_EQ(rt.CallCount("IsFieldNull"), reads);
  EXPECT_EQ(rt.Operations().back(), "IsFieldNull");
  rt.CountOperations(true);
  rt.IsFieldNull(object, 0);
  EXPECT_EQ(rt.CallCount("IsFieldNull"), reads + 1);
}

TEST_F(TesthostTest, ValueDeclaredAnyTakesTheKindOfWhatIsWritten) {
  auto any = rt.MakeCell(Value::Any());
  any->SetArray(rt.MakeArray(Value::Array(kHostDouble, {Value::Double(0.5)})));
  EXPECT_EQ(rt.ReadCell(*any), Value::Array(kHostDouble, {Value::Double(0.5)}));
  auto typed = rt.MakeCell(Value::Null(kHostLong));
  typed->SetStringText("no");
  EXPECT_EQ(rt.Misuses().size(), 1u);
}

// Does at the host what the call flow does: writes the result and an out argument and raises a
// soapexception.
class ScriptedMarshaler final : public IHostMarshaler {
 public:
  explicit ScriptedMarshaler(std::string& seen) : seen_(seen) {}
  int32_t InvokeRemoteMethod(IHostSession* session, HostObject, const char* description,
                             HostCallInfo* info) override {
    seen_ = description;
    info->arguments->GetAt(1)->SetLong(5);
    info->returnValue->SetStringText("done");
    HostGroup group = session->FindGroup("soapexception", kGroupException);
    HostClass cls = session->FindClass(group, "soapexception");
    HostObject exception = session->NewObject(cls);
    session->SetStringFieldText(exception, session->GetFieldId(cls, "text"), "boom");
    session->ThrowException(exception);
    return 0;
  }
  HostModuleHandle GetModuleHandle() override { return nullptr; }
  void Destroy() override { delete this; }

 private:
  std::string& seen_;
};

TEST_F(TesthostTest, CallHandsTheDescriptionToTheMarshalerAndReadsEverythingBack) {
  HostObject proxy = rt.NewProxyObject(rt.DefineProxyClass("svc", {}));
  std::string seen;
  rt.AttachMarshaler(proxy, new ScriptedMarshaler(seen));
  CallOutcome outcome = rt.Call(proxy, "m([in] xsd:string a, [out] xsd:int b) return xsd:string r",
                                {Value::String("in"), Value::Long(0)}, Value::Null(kHostString));
  EXPECT_EQ(seen, "m([in] xsd:string a, [out] xsd:int b) return xsd:string r");
  EXPECT_EQ(outcome.result, Value::String("done"));
  EXPECT_EQ(outcome.arguments, (std::vector<Value>{Value::String("in"), Value::Long(5)}));
  ASSERT_TRUE(outcome.exception.has_value());
  EXPECT_EQ(outcome.exception->text, "boom");
  EXPECT_EQ(rt.PendingException(), 0u);
  EXPECT_TRUE(rt.Misuses().empty());
}

// Release frees what was made since a mark and nothing holds: not what an older object holds
// (also through an array), nor the extension's objects. When nothing made since the mark is left,
// its handles are given out again, so that call after call takes no more room.
TEST_F(TesthostTest, ReleaseFreesWhatNothingHoldsAndGivesItsHandlesAgain) {
  using tssoap::test::Field;
  rt.DefineStructure("tns__node",
                     {Field("name", kHostString), Field("next", kHostUnknown, false, "tns__node"),
                      Field("all", kHostUnknown, true, "tns__node")});
  const HostObject keeper = rt.NewInstance("tns__node");
  const uint32_t mark = rt.HandleMark();
  auto node = [&](const char* name) {
    const HostObject made = rt.NewInstance("tns__node");
    rt.SetField(made, "name", Value::String(name));
    return made;
  };
  const HostObject held = node("held");
  const HostObject inArray = node("in an array");
  const HostObject dropped = node("dropped");
  rt.SetField(dropped, "next", Value::Object(held));  // holding doesn't make it held
  rt.SetField(keeper, "next", Value::Object(held));
  Value inArrayValue = Value::Object(inArray);
  inArrayValue.className = "tns__node";
  rt.SetField(keeper, "all", Value::ObjectArray("tns__node", {inArrayValue}));
  const HostString loose = rt.MakeString("loose");
  const HostObject connection = rt.NewInstance("soapconnection");

  rt.Release(mark);
  EXPECT_EQ(rt.GetField(held, "name"), Value::String("held"));
  EXPECT_EQ(rt.GetField(inArray, "name"), Value::String("in an array"));
  EXPECT_NE(rt.GetClass(connection), 0u);
  EXPECT_THROW(rt.GetField(dropped, "name"), std::out_of_range);
  EXPECT_THROW(rt.StringText(loose), std::invalid_argument);
  EXPECT_GT(rt.HandleMark(), mark) << "what is held keeps its handle";

  const uint32_t next = rt.HandleMark();
  for (int call = 0; call < 3; ++call) {
    rt.SetField(node("made in a call"), "next", Value::Object(node("and its next")));
    rt.MakeString("text of a call");
    rt.Release(next);
    EXPECT_EQ(rt.HandleMark(), next) << "nothing left: the handles are given again";
  }
  EXPECT_EQ(rt.GetField(keeper, "next").AsObject(), held);
  EXPECT_TRUE(rt.Misuses().empty());
}

// A library that isn't there, or a class description the runtime couldn't read, is refused.
// Handles come from one counter for every sort of thing, so a table holds them sparsely; a thing
// must stay where it was as the table grows (the finders remember its address).
TEST(TesthostHandleTable, FindsWhatItHoldsByHandleAndKeepsItInPlace) {
  HandleTable<std::string> table;
  EXPECT_EQ(table.find(0), nullptr);
  EXPECT_EQ(table.find(1000), nullptr);
  std::string* first = &table.emplace(3, "three").first->second;
  for (uint32_t handle = 5; handle < 5000; handle += 7)
    table.emplace(handle, std::to_string(handle));
  EXPECT_EQ(&table.at(3), first);
  EXPECT_EQ(*first, "three");
  EXPECT_FALSE(table.emplace(3, "again").second);
  EXPECT_EQ(table.at(4996), "4996");
  EXPECT_EQ(table.count(4), 0U);
  EXPECT_EQ(table.count(4999), 0U);
  table.erase(table.find(3));
  EXPECT_EQ(table.find(3), table.end());
  EXPECT_THROW(table.at(3), std::out_of_range);
  EXPECT_EQ(table[12], "12");
  EXPECT_EQ(table[6000], "");
}

TEST(TesthostDescription, WhatTheRuntimeCouldntLoadIsRefused) {
  static const char* text = nullptr;
  TSX_GetDescriptionFn describe = [] { return text; };
  const char* const bad[] = {
      nullptr,
      "class a from b\nend class",
      "class a from b\n",
      "class a from b\nfunction long f(ref x)\nend class\n",
  };
  for (const char* description : bad) {
    SCOPED_TRACE(description ? description : "(null)");
    text = description;
    EXPECT_THROW(Runtime({describe, &TSX_CreateNonVisualObject}), std::runtime_error);
  }
  EXPECT_THAT([] { ExtensionLibrary("/nonexistent/libnothing.so"); },
              ThrowsMessage<std::runtime_error>(HasSubstr("/nonexistent/libnothing.so")));
}

}  // namespace
}  // namespace testhost
