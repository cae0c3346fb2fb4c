// The eight row operations on rows of the table against the reference host: what each writes into
// an element or the host array, and what a failure leaves behind.
#include "types/row_operations.h"

#include <gtest/gtest.h>

#include "host/type_namespace_buffer.h"
#include "types_test_support.h"

namespace tssoap {
namespace {

using testhost::Value;
using types_test::AttributeText;
using types_test::Bits;
using types_test::MessageOf;
using types_test::Record;

class RowOperationsTest : public ::testing::Test {
 protected:
  void SetUp() override { SetTypeNamespace("urn:types"); }
  void TearDown() override {
    EXPECT_EQ(host.runtime.OutstandingArrayInfos(), 0);
    EXPECT_TRUE(host.runtime.Misuses().empty());
  }

  HostValueRecord Array(HostValueKind kind, Value::Items items, bool bounded = false) {
    HostValueRecord record = Record(kind);
    record.isArray = 1;
    record.value.handle = host.runtime.MakeArray(Value::Array(kind, std::move(items), bounded));
    return record;
  }
  // Runs operation of row on parameter and record, with parent as the enclosing element.
  void Run(RowOperation operation, const char* row, SOAPParameter& parameter,
           HostValueRecord& record, SOAPParameter* parent = nullptr) {
    ConversionContext context = host.Context(parameter, record, row);
    context.elementName = "item";
    context.elementNamespace = "urn:items";
    context.parentParameter = parent;
    operation(context);
  }
  Value::Items ItemsOf(const HostValueRecord& record) {
    return host.runtime.ReadArray(record.value.handle).AsItems();
  }

  types_test::TypesHost host;
};

// Name, text, nil mark and type attribute of an element, for comparing in one line.
std::string Shape(const SOAPParameter& element) {
  std::string ns;
  const std::optional<std::string> type = AttributeText(element, Vocabulary().type, &ns);
  return std::string(element.GetName().GetName().CStr()) + "{" +
         element.GetName().GetNamespace().CStr() + "} '" + element.GetString().CStr() + "'" +
         (element.IsNull() ? " nil" : "") + (type ? " " + *type + "{" + ns + "}" : "");
}

TEST_F(RowOperationsTest, ScalarOutTypesValuesAndMarksNullsNil) {
  SOAPParameter null;
  null.SetString("before");
  HostValueRecord nullRecord = Record(kHostBoolean, {}, true);
  Run(&ScalarOut, "boolean", null, nullRecord);
  EXPECT_EQ(Shape(null), "{} 'before' nil");  // no type, and no ClearValue for a null

  SOAPParameter typed;
  HostValueRecord value = Record(kHostBoolean, Bits(1));
  Run(&ScalarOut, "boolean", typed, value);
  EXPECT_EQ(Shape(typed), "{} 'true' boolean{urn:types}");

  SOAPParameter untouched;
  untouched.SetString("before");
  HostValueRecord tooLarge = Record(kHostUint, Bits(300));
  EXPECT_EQ(MessageOf([&] { Run(&ScalarOut, "unsignedByte", untouched, tooLarge); }),
            "Value exceeds XML unsignedByte");
  EXPECT_EQ(Shape(untouched), "{} 'before'");
}

TEST_F(RowOperationsTest, ScalarInTakesNilAsNullAndParsesByTheDeclaredRow) {
  SOAPParameter nil;
  nil.SetNull(true);
  HostValueRecord record = Record(kHostLong, Bits(5));
  Run(&ScalarIn, "int", nil, record);
  EXPECT_EQ(record.isNull, 1);
  EXPECT_EQ(record.value.int32, 5);

  SOAPParameter element;
  element.SetString("42");
  element.AddAttribute(Vocabulary().type).Set("string", kXsdNamespace2001);  // not consulted
  HostValueRecord parsed{};
  Run(&ScalarIn, "int", element, parsed);
  EXPECT_EQ(parsed.value.int32, 42);
}

TEST_F(RowOperationsTest, EncodedArrayOutWritesATypedSoapArray) {
  SOAPParameter parameter;
  HostValueRecord record =
      Array(kHostBoolean, {Value::Boolean(true), Value::Null(kHostBoolean), Value::Boolean(false)});
  Run(&EncodedArrayOut, "boolean", parameter, record);
  std::string ns;
  EXPECT_EQ(Shape(parameter), "{} '' Array{" + std::string(kSoapEncNamespace) + "}");
  EXPECT_EQ(AttributeText(parameter, Vocabulary().arrayType, &ns), "boolean[3]");
  EXPECT_EQ(ns, "urn:types");
  EXPECT_TRUE(parameter.IsStruct());
  std::vector<std::string> items;
  for (const SOAPParameter* child : parameter.GetParams()) items.push_back(Shape(*child));
  EXPECT_EQ(items, (std::vector<std::string>{"item{} 'true'", "item{} '' nil", "item{} 'false'"}));

  SOAPParameter empty;
  HostValueRecord null = Record(kHostBoolean, {}, true);
  Run(&EncodedArrayOut, "boolean", empty, null);
  EXPECT_EQ(AttributeText(empty, Vocabulary().arrayType), "boolean[0]");
  EXPECT_EQ(empty.GetParams().Size(), 0u);

  // Every item is converted before the parameter is touched.
  SOAPParameter untouched;
  untouched.SetString("before");
  HostValueRecord tooLarge = Array(kHostUint, {Value::Uint(1), Value::Uint(300)});
  EXPECT_EQ(MessageOf([&] { Run(&EncodedArrayOut, "unsignedByte", untouched, tooLarge); }),
            "Value exceeds XML unsignedByte");
  EXPECT_EQ(Shape(untouched), "{} 'before'");
}

TEST_F(RowOperationsTest, EveryArrayOperationRefusesABoundedArray) {
  for (RowOperation operation :
       {&EncodedArrayOut, &RepeatedOut, &WrappedOut, &EncodedArrayIn, &RepeatedIn}) {
    SOAPParameter parameter;
    SOAPParameter parent;
    HostValueRecord record = Array(kHostBoolean, {Value::Boolean(true)}, true);
    EXPECT_EQ(MessageOf([&] { Run(operation, "boolean", parameter, record, &parent); }),
              "SoapClient Error: Can't support Bounded array");
    EXPECT_EQ(parameter.GetParams().Size() + parent.GetParams().Size(), 0u);
  }
}

TEST_F(RowOperationsTest, EncodedArrayInWritesEachSlotAndStopsAtAFailingItem) {
  SOAPParameter strings;
  strings.AddParameter("item").SetString("a");
  strings.AddParameter("item").SetNull(true);
  strings.AddParameter("item").SetString("");
  HostValueRecord record = Array(kHostString, {});
  Run(&EncodedArrayIn, "string", strings, record);
  EXPECT_EQ(ItemsOf(record),
            (Value::Items{Value::String("a"), Value::Null(kHostString), Value::String("")}));

  SOAPParameter numbers;
  for (const char* text : {"1", "x", "3"}) numbers.AddParameter("item").SetString(text);
  HostValueRecord longs = Array(kHostLong, {});
  EXPECT_EQ(MessageOf([&] { Run(&EncodedArrayIn, "int", numbers, longs); }),
            "Invalid number format: x");
  EXPECT_EQ(ItemsOf(longs), (Value::Items{Value::Long(1)}));

  // A duration's items are read as nothing and written as 0.0, a nil one included.
  HostValueRecord durations = Array(kHostDouble, {});
  Run(&EncodedArrayIn, "duration", strings, durations);
  EXPECT_EQ(ItemsOf(durations), (Value::Items(3, Value::Double(0))));
}

TEST_F(RowOperationsTest, RepeatedOutAddsOneTypedSiblingPerItem) {
  SOAPParameter method;
  method.SetName("call", "urn:method");
  SOAPParameter parameter;
  parameter.SetName("flag", "urn:method");
  HostValueRecord record = Array(kHostBoolean, {Value::Boolean(false), Value::Null(kHostBoolean)});
  Run(&RepeatedOut, "boolean", parameter, record, &method);
  ASSERT_EQ(method.GetParams().Size(), 2u);
  EXPECT_EQ(Shape(*method.GetParams()[0]), "flag{urn:method} 'false' boolean{urn:types}");
  EXPECT_EQ(Shape(*method.GetParams()[1]), "flag{urn:method} '' nil");
  EXPECT_EQ(parameter.GetParams().Size(), 0u);

  SOAPParameter empty;
  HostValueRecord none = Array(kHostBoolean, {});
  Run(&RepeatedOut, "boolean", parameter, none, &empty);
  EXPECT_EQ(empty.GetParams().Size(), 0u);
}

TEST_F(RowOperationsTest, RepeatedInTakesMatchingChildrenAndEndsQuietly) {
  SOAPParameter response;
  for (const auto& [name, text] : std::initializer_list<std::pair<const char*, const char*>>{
           {"a", "1"}, {"b", "2"}, {"a", "3"}, {"a", "x"}, {"a", "5"}}) {
    response.AddParameter(name).SetString(text);
  }
  SOAPParameter parameter;
  parameter.SetName("a", "");  // an empty namespace matches the children's absent one
  HostValueRecord record = Array(kHostLong, {});
  EXPECT_EQ(MessageOf([&] { Run(&RepeatedIn, "int", parameter, record, &response); }),
            std::nullopt);
  // "x" ends the walk: the items before it stay, the rest is dropped.
  EXPECT_EQ(ItemsOf(record), (Value::Items{Value::Long(1), Value::Long(3)}));

  parameter.SetName("a", "urn:elsewhere");
  HostValueRecord none = Array(kHostLong, {});
  Run(&RepeatedIn, "int", parameter, none, &response);
  EXPECT_TRUE(ItemsOf(none).empty());
}

TEST_F(RowOperationsTest, WrappedOutWritesTypedItemsInTheItemNamespace) {
  SOAPParameter wrapper;
  HostValueRecord record = Array(kHostBoolean, {Value::Boolean(true)});
  Run(&WrappedOut, "boolean", wrapper, record);
  ASSERT_EQ(wrapper.GetParams().Size(), 1u);
  EXPECT_EQ(Shape(*wrapper.GetParams()[0]), "item{urn:items} 'true' boolean{urn:types}");
  EXPECT_EQ(Shape(wrapper), "{} ''");

  SOAPParameter empty;
  HostValueRecord null = Record(kHostBoolean, {}, true);
  Run(&WrappedOut, "boolean", empty, null);
  EXPECT_EQ(Shape(empty), "{} ''");
  EXPECT_EQ(empty.GetParams().Size(), 0u);
}

}  // namespace
}  // namespace tssoap
