// The eight row operations on rows of the table against the reference host: what each writes into
// an element, its siblings or the host array, and what a failure leaves behind.
#include "types/row_operations.h"

#include <gtest/gtest.h>

#include <sstream>

#include "host/type_namespace_buffer.h"
#include "types_test_support.h"

namespace tssoap {
namespace {

using testhost::Value;
using types_test::AttributeText;
using types_test::Bits;
using types_test::MessageOf;
using types_test::Record;

// An element in one line: name, text, nil mark, type attribute, array type, children.
std::string Tree(const SOAPParameter& element) {
  std::string tree = std::string(element.GetName().GetName().CStr()) + "{" +
                     element.GetName().GetNamespace().CStr() + "} '" + element.GetString().CStr() +
                     "'" + (element.IsNull() ? " nil" : "") + (element.IsStruct() ? " struct" : "");
  std::string ns;
  if (auto type = AttributeText(element, Vocabulary().type, &ns))
    tree += " " + *type + "{" + ns + "}";
  if (auto items = AttributeText(element, Vocabulary().arrayType, &ns))
    tree += " of " + *items + "{" + ns + "}";
  const char* separator = " [";
  for (const SOAPParameter* child : element.GetParams()) {
    tree += separator + Tree(*child);
    separator = ", ";
  }
  return element.GetParams().Size() > 0 ? tree + "]" : tree;
}

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
  // Runs operation of row on parameter and record, with parent as the enclosing element; the
  // message, or "ok". An operation of the way in reads parameter through a const view.
  template <typename Parameter>
  std::string Run(void (*operation)(BasicConversionContext<Parameter>&), const char* row,
                  SOAPParameter& parameter, HostValueRecord& record,
                  SOAPParameter* parent = nullptr) {
    BasicConversionContext<Parameter> context = host.Context<Parameter>(parameter, record, row);
    context.elementName = "item";
    context.elementNamespace = "urn:items";
    context.parentParameter = parent;
    return MessageOf([&] { operation(context); }).value_or("ok");
  }

  types_test::TypesHost host;
};

TEST_F(RowOperationsTest, OutOperationsWriteTheElementItsChildrenOrItsSiblings) {
  const Value T = Value::Boolean(true), F = Value::Boolean(false), N = Value::Null(kHostBoolean);
  const HostValueRecord null = Record(kHostBoolean, {}, true);
  const std::string enc = kSoapEncNamespace;
  // Operation, row, host value, then the message, the element "flag" (which starts with the text
  // "before") and the method element around it, after the call.
  const std::tuple<RowOperation, const char*, HostValueRecord, std::string> cases[] = {
      {&ScalarOut, "boolean", null, "ok | flag{urn:m} 'before' nil | call{urn:m} ''"},
      {&ScalarOut, "boolean", Record(kHostBoolean, Bits(1)),
       "ok | flag{urn:m} 'true' boolean{urn:types} | call{urn:m} ''"},
      {&ScalarOut, "unsignedByte", Record(kHostUint, Bits(300)),
       "Value exceeds XML unsignedByte | flag{urn:m} 'before' | call{urn:m} ''"},
      {&EncodedArrayOut, "boolean", Array(kHostBoolean, {T, N, F}),
       "ok | flag{urn:m} '' struct Array{" + enc +
           "} of boolean[3]{urn:types} [item{} 'true', item{} '' nil, item{} 'false'] | "
           "call{urn:m} ''"},
      {&EncodedArrayOut, "boolean", null,
       "ok | flag{urn:m} '' struct Array{" + enc + "} of boolean[0]{urn:types} | call{urn:m} ''"},
      // Every item is converted before the parameter is touched.
      {&EncodedArrayOut, "unsignedByte", Array(kHostUint, {Value::Uint(1), Value::Uint(300)}),
       "Value exceeds XML unsignedByte | flag{urn:m} 'before' | call{urn:m} ''"},
      {&RepeatedOut, "boolean", Array(kHostBoolean, {F, N}),
       "ok | flag{urn:m} 'before' | call{urn:m} '' [flag{urn:m} 'false' boolean{urn:types}, "
       "flag{urn:m} '' nil]"},
      {&RepeatedOut, "boolean", Array(kHostBoolean, {}),
       "ok | flag{urn:m} 'before' | call{urn:m} ''"},
      {&WrappedOut, "boolean", Array(kHostBoolean, {T}),
       "ok | flag{urn:m} 'before' [item{urn:items} 'true' boolean{urn:types}] | call{urn:m} ''"},
      {&WrappedOut, "boolean", null, "ok | flag{urn:m} 'before' | call{urn:m} ''"},
  };
  for (auto [operation, row, record, after] : cases) {
    SOAPParameter method;
    method.SetName("call", "urn:m");
    SOAPParameter parameter;
    parameter.SetName("flag", "urn:m");
    parameter.SetString("before");
    const std::string message = Run(operation, row, parameter, record, &method);
    EXPECT_EQ(message + " | " + Tree(parameter) + " | " + Tree(method), after);
  }
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

TEST_F(RowOperationsTest, ArrayInOperationsWriteEachSlotOfTheHostArray) {
  // Operation, row, the children of the element ("name=text", or "name" for a nil one), the
  // namespace of the name RepeatedIn looks for, then the message and the host array.
  const std::tuple<ResponseRowOperation, const char*, const char*, const char*, const char*,
                   const char*>
      cases[] = {
          {&EncodedArrayIn, "string", "item=a item item=", "", "ok",
           R"(array of string [string "a", null string, string ""])"},
          {&EncodedArrayIn, "int", "item=1 item=x item=3", "", "Invalid number format: x",
           "array of long [long 1]"},
          // A duration's items are read as nothing and written as 0.0, a nil one included.
          {&EncodedArrayIn, "duration", "item=a item item=", "", "ok",
           "array of double [double 0, double 0, double 0]"},
          // Children named otherwise are skipped, an empty namespace matches the children's
          // absent one, and "x" ends the walk quietly: the items before it stay, the rest is
          // dropped.
          {&RepeatedIn, "int", "a=1 b=2 a=3 a=x a=5", "", "ok", "array of long [long 1, long 3]"},
          {&RepeatedIn, "int", "a=1", "urn:elsewhere", "ok", "array of long []"},
      };
  for (const auto& [operation, row, children, ns, message, items] : cases) {
    SOAPParameter element;
    std::istringstream words(children);
    for (std::string child; words >> child;) {
      const size_t equals = child.find('=');
      SOAPParameter& added = element.AddParameter(child.substr(0, equals).c_str());
      equals == std::string::npos ? added.SetNull(true) : added.SetString(&child[equals + 1]);
    }
    SOAPParameter name;
    name.SetName("a", ns);
    HostValueRecord record = Array(types_test::RowNamed(row).hostKind, {});
    EXPECT_EQ(Run(operation, row, operation == &RepeatedIn ? name : element, record, &element),
              message);
    EXPECT_EQ(testhost::Describe(host.runtime.ReadArray(record.value.handle)), items);
  }
}

TEST_F(RowOperationsTest, EveryArrayOperationRefusesABoundedArray) {
  const auto refuses = [&](auto operation) {
    SOAPParameter parameter;
    SOAPParameter parent;
    HostValueRecord record = Array(kHostBoolean, {Value::Boolean(true)}, true);
    EXPECT_EQ(Run(operation, "boolean", parameter, record, &parent),
              "SoapClient Error: Can't support Bounded array");
    EXPECT_EQ(parameter.GetParams().Size() + parent.GetParams().Size(), 0u);
  };
  for (RowOperation operation : {&EncodedArrayOut, &RepeatedOut, &WrappedOut}) refuses(operation);
  for (ResponseRowOperation operation : {&EncodedArrayIn, &RepeatedIn}) refuses(operation);
}

}  // namespace
}  // namespace tssoap
