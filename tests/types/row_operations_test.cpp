// The eight row operations, run on the rows of the table against the reference host: what each
// writes into an element or the host array, in which order, and what a failure leaves behind.
#include "types/row_operations.h"

#include <gtest/gtest.h>

#include "host/type_namespace_buffer.h"
#include "types_test_support.h"

namespace tssoap {
namespace {

using testhost::Value;
using types_test::AttributeText;
using types_test::MessageOf;
using types_test::Record;
using types_test::RowNamed;
using types_test::TypesHost;

constexpr const char* kTypeNamespace = "urn:types";
constexpr const char* kBounded = "SoapClient Error: Can't support Bounded array";

class RowOperationsTest : public ::testing::Test {
 protected:
  void SetUp() override { SetTypeNamespace(kTypeNamespace); }

  HostValueRecord ArrayRecord(HostValueKind kind, Value::Items items, bool bounded = false) {
    HostValueRecord record = Record(kind);
    record.isArray = 1;
    record.value.handle = host.runtime.MakeArray(Value::Array(kind, std::move(items), bounded));
    return record;
  }

  ConversionContext Context(SOAPParameter& parameter, HostValueRecord& record, const char* row,
                            SOAPParameter* parent = nullptr) {
    ConversionContext context = host.Context(parameter, typeName, record, RowNamed(row));
    context.elementName = "item";
    context.elementNamespace = "urn:items";
    context.parentParameter = parent;
    return context;
  }

  Value::Items ItemsOf(const HostValueRecord& record) {
    return host.runtime.ReadArray(record.value.handle).AsItems();
  }

  void ExpectHostClean() {
    EXPECT_EQ(host.runtime.OutstandingArrayInfos(), 0);
    EXPECT_TRUE(host.runtime.Misuses().empty());
  }

  TypesHost host;
  const std::string typeName = "xsd:boolean";
};

std::string TextOf(const SOAPParameter& element) { return element.GetString().CStr(); }

TEST_F(RowOperationsTest, ScalarOutMarksNullNilWithoutTypeAndWritesValuesTyped) {
  SOAPParameter parameter;
  parameter.SetString("before");
  HostValueRecord null = types_test::NullRecord(kHostBoolean);
  ConversionContext nullContext = Context(parameter, null, "boolean");
  ScalarOut(nullContext);
  EXPECT_TRUE(parameter.IsNull());
  EXPECT_EQ(AttributeText(parameter, Vocabulary().type), std::nullopt);
  EXPECT_EQ(TextOf(parameter), "before");  // no ClearValue for a null

  SOAPParameter typed;
  HostValueRecord value = Record(kHostBoolean);
  value.value.uint16 = 1;
  ConversionContext context = Context(typed, value, "boolean");
  ScalarOut(context);
  std::string ns;
  EXPECT_EQ(AttributeText(typed, Vocabulary().type, &ns), "boolean");
  EXPECT_EQ(ns, kTypeNamespace);
  EXPECT_EQ(TextOf(typed), "true");
}

TEST_F(RowOperationsTest, ScalarOutLeavesTheParameterUntouchedWhenTheValueDoesntFit) {
  SOAPParameter parameter;
  parameter.SetString("before");
  HostValueRecord value = Record(kHostUint);
  value.value.uint16 = 300;
  ConversionContext context = Context(parameter, value, "unsignedByte");
  EXPECT_EQ(MessageOf([&] { ScalarOut(context); }), "Value exceeds XML unsignedByte");
  EXPECT_EQ(TextOf(parameter), "before");
  EXPECT_EQ(AttributeText(parameter, Vocabulary().type), std::nullopt);
}

TEST_F(RowOperationsTest, ScalarInTakesNilAsNullAndParsesByTheDeclaredRow) {
  SOAPParameter nil;
  nil.SetNull(true);
  HostValueRecord record = Record(kHostLong);
  record.value.int32 = 5;
  ConversionContext nilContext = Context(nil, record, "int");
  ScalarIn(nilContext);
  EXPECT_EQ(record.isNull, 1);
  EXPECT_EQ(record.kind, kHostLong);
  EXPECT_EQ(record.value.int32, 5);

  SOAPParameter element;
  element.SetString("42");
  element.AddAttribute(Vocabulary().type).Set("string", kXsdNamespace2001);  // not consulted
  HostValueRecord parsed{};
  ConversionContext context = Context(element, parsed, "int");
  ScalarIn(context);
  EXPECT_EQ(parsed.kind, kHostLong);
  EXPECT_EQ(parsed.value.int32, 42);
}

TEST_F(RowOperationsTest, EncodedArrayOutWritesATypedSoapArray) {
  SOAPParameter parameter;
  HostValueRecord record = ArrayRecord(
      kHostBoolean, {Value::Boolean(true), Value::Null(kHostBoolean), Value::Boolean(false)});
  ConversionContext context = Context(parameter, record, "boolean");
  EncodedArrayOut(context);
  std::string ns;
  EXPECT_EQ(AttributeText(parameter, Vocabulary().type, &ns), "Array");
  EXPECT_EQ(ns, kSoapEncNamespace);
  EXPECT_EQ(AttributeText(parameter, Vocabulary().arrayType, &ns), "boolean[3]");
  EXPECT_EQ(ns, kTypeNamespace);
  EXPECT_TRUE(parameter.IsStruct());
  const auto& children = parameter.GetParams();
  ASSERT_EQ(children.Size(), 3u);
  const std::pair<const char*, bool> expected[] = {{"true", false}, {"", true}, {"false", false}};
  for (uint32_t i = 0; i < 3; ++i) {
    EXPECT_STREQ(children[i]->GetName().GetName().CStr(), "item");
    EXPECT_STREQ(children[i]->GetName().GetNamespace().CStr(), "");
    EXPECT_EQ(TextOf(*children[i]), expected[i].first);
    EXPECT_EQ(children[i]->IsNull(), expected[i].second);
    EXPECT_EQ(AttributeText(*children[i], Vocabulary().type), std::nullopt);
  }
  ExpectHostClean();
}

TEST_F(RowOperationsTest, EncodedArrayOutOfNullGivesSizeZero) {
  SOAPParameter parameter;
  HostValueRecord record = types_test::NullRecord(kHostBoolean);
  record.isArray = 1;
  ConversionContext context = Context(parameter, record, "boolean");
  EncodedArrayOut(context);
  EXPECT_EQ(AttributeText(parameter, Vocabulary().arrayType), "boolean[0]");
  EXPECT_EQ(parameter.GetParams().Size(), 0u);
}

TEST_F(RowOperationsTest, EncodedArrayOutConvertsAllItemsBeforeTouchingTheParameter) {
  SOAPParameter parameter;
  parameter.SetString("before");
  HostValueRecord record = ArrayRecord(kHostUint, {Value::Uint(1), Value::Uint(300)});
  ConversionContext context = Context(parameter, record, "unsignedByte");
  EXPECT_EQ(MessageOf([&] { EncodedArrayOut(context); }), "Value exceeds XML unsignedByte");
  EXPECT_EQ(TextOf(parameter), "before");
  EXPECT_EQ(parameter.GetParams().Size(), 0u);
  ExpectHostClean();
}

TEST_F(RowOperationsTest, EveryArrayOperationRefusesABoundedArrayAndGivesTheInfoBack) {
  const RowOperation operations[] = {&EncodedArrayOut, &RepeatedOut, &WrappedOut, &EncodedArrayIn,
                                     &RepeatedIn};
  for (RowOperation operation : operations) {
    SOAPParameter parameter;
    SOAPParameter parent;
    HostValueRecord record = ArrayRecord(kHostBoolean, {Value::Boolean(true)}, true);
    ConversionContext context = Context(parameter, record, "boolean", &parent);
    EXPECT_EQ(MessageOf([&] { operation(context); }), kBounded);
    EXPECT_EQ(parameter.GetParams().Size(), 0u);
    EXPECT_EQ(parent.GetParams().Size(), 0u);
  }
  ExpectHostClean();
}

TEST_F(RowOperationsTest, EncodedArrayInWritesEachSlotAndStopsAtAFailingItem) {
  SOAPParameter parameter;
  for (const char* text : std::initializer_list<const char*>{"a", nullptr, ""}) {
    SOAPParameter& child = parameter.AddParameter("item");
    if (text == nullptr) {
      child.SetNull(true);
    } else {
      child.SetString(text);
    }
  }
  HostValueRecord strings = ArrayRecord(kHostString, {});
  ConversionContext context = Context(parameter, strings, "string");
  EncodedArrayIn(context);
  EXPECT_EQ(ItemsOf(strings),
            (Value::Items{Value::String("a"), Value::Null(kHostString), Value::String("")}));

  SOAPParameter numbers;
  for (const char* text : {"1", "x", "3"}) numbers.AddParameter("item").SetString(text);
  HostValueRecord longs = ArrayRecord(kHostLong, {});
  ConversionContext numbersContext = Context(numbers, longs, "int");
  EXPECT_EQ(MessageOf([&] { EncodedArrayIn(numbersContext); }), "Invalid number format: x");
  EXPECT_EQ(ItemsOf(longs), (Value::Items{Value::Long(1)}));
  ExpectHostClean();
}

TEST_F(RowOperationsTest, DurationItemsComeInAsZero) {
  SOAPParameter parameter;
  parameter.AddParameter("item").SetString("P1D");
  parameter.AddParameter("item").SetNull(true);
  HostValueRecord record = ArrayRecord(kHostDouble, {});
  ConversionContext context = Context(parameter, record, "duration");
  EncodedArrayIn(context);
  EXPECT_EQ(ItemsOf(record), (Value::Items{Value::Double(0), Value::Double(0)}));
}

TEST_F(RowOperationsTest, RepeatedOutAddsOneTypedSiblingPerItem) {
  SOAPParameter method;
  method.SetName("call", "urn:method");
  SOAPParameter parameter;
  parameter.SetName("flag", "urn:method");
  HostValueRecord record =
      ArrayRecord(kHostBoolean, {Value::Boolean(false), Value::Null(kHostBoolean)});
  ConversionContext context = Context(parameter, record, "boolean", &method);
  RepeatedOut(context);
  const auto& children = method.GetParams();
  ASSERT_EQ(children.Size(), 2u);
  EXPECT_STREQ(children[0]->GetName().GetName().CStr(), "flag");
  EXPECT_STREQ(children[0]->GetName().GetNamespace().CStr(), "urn:method");
  EXPECT_EQ(TextOf(*children[0]), "false");
  EXPECT_EQ(AttributeText(*children[0], Vocabulary().type), "boolean");
  EXPECT_TRUE(children[1]->IsNull());
  EXPECT_EQ(parameter.GetParams().Size(), 0u);

  SOAPParameter empty;
  HostValueRecord none = ArrayRecord(kHostBoolean, {});
  ConversionContext emptyContext = Context(parameter, none, "boolean", &empty);
  RepeatedOut(emptyContext);
  EXPECT_EQ(empty.GetParams().Size(), 0u);
  ExpectHostClean();
}

TEST_F(RowOperationsTest, RepeatedInTakesMatchingChildrenAndEndsQuietly) {
  SOAPParameter response;
  const std::pair<const char*, const char*> children[] = {
      {"a", "1"}, {"b", "2"}, {"a", "3"}, {"a", "x"}, {"a", "5"}};
  for (const auto& [name, text] : children) response.AddParameter(name).SetString(text);
  SOAPParameter parameter;
  parameter.SetName("a", "");  // an empty namespace matches the children's absent one
  HostValueRecord record = ArrayRecord(kHostLong, {});
  ConversionContext context = Context(parameter, record, "int", &response);
  EXPECT_EQ(MessageOf([&] { RepeatedIn(context); }), std::nullopt);
  // "x" ends the walk: the items before it stay, the rest is dropped.
  EXPECT_EQ(ItemsOf(record), (Value::Items{Value::Long(1), Value::Long(3)}));

  SOAPParameter other;
  other.SetName("a", "urn:elsewhere");
  HostValueRecord none = ArrayRecord(kHostLong, {});
  ConversionContext noneContext = Context(other, none, "int", &response);
  RepeatedIn(noneContext);
  EXPECT_TRUE(ItemsOf(none).empty());
  ExpectHostClean();
}

TEST_F(RowOperationsTest, WrappedOutWritesTypedItemsInTheItemNamespace) {
  SOAPParameter wrapper;
  HostValueRecord record = ArrayRecord(kHostBoolean, {Value::Boolean(true)});
  ConversionContext context = Context(wrapper, record, "boolean");
  context.elementName = "flag";
  WrappedOut(context);
  ASSERT_EQ(wrapper.GetParams().Size(), 1u);
  const SOAPParameter& item = *wrapper.GetParams()[0];
  EXPECT_STREQ(item.GetName().GetName().CStr(), "flag");
  EXPECT_STREQ(item.GetName().GetNamespace().CStr(), "urn:items");
  EXPECT_EQ(AttributeText(item, Vocabulary().type), "boolean");
  EXPECT_EQ(AttributeText(wrapper, Vocabulary().type), std::nullopt);

  SOAPParameter empty;
  HostValueRecord null = types_test::NullRecord(kHostBoolean);
  ConversionContext nullContext = Context(empty, null, "boolean");
  WrappedOut(nullContext);
  EXPECT_EQ(empty.GetParams().Size(), 0u);
  EXPECT_EQ(AttributeText(empty, Vocabulary().type), std::nullopt);
  ExpectHostClean();
}

}  // namespace
}  // namespace tssoap
