// The drivers: the kind check with its base-type fallback, the mapping failure, the namespace the
// type goes out in, the items' namespace, and the arrays made for a value of kind any.
#include <gtest/gtest.h>

#include "call/value_drivers.h"
#include "types_test_support.h"

namespace tssoap {
namespace {

using testhost::Value;
using types_test::AttributeText;
using types_test::Bits;
using types_test::MessageOf;
using types_test::Record;
using types_test::TypesHost;

TEST(ConvertScalarOut, ChecksTheKindAndFallsBackToTheBaseType) {
  TypesHost host;
  const HostValueRecord text = Record(kHostString, host.StringValue("12345"));
  const HostValueRecord number = Record(kHostLong, Bits(42));
  // Declared type, host value, and the type attribute it goes out with (none: mapping failure).
  const std::tuple<const char*, HostValueRecord, const char*> cases[] = {
      {"xsd:int", number, "int{http://www.w3.org/2001/XMLSchema}"},
      {"xsd:duration", Record(kHostDouble), "duration{http://www.w3.org/2001/XMLSchema}"},
      {"SOAP-ENC:string", text, "string{http://schemas.xmlsoap.org/soap/encoding/}"},
      // A user type based on a simple type goes out as the base row in the declared namespace.
      {"tns:Zip", text, "string{urn:tns}"},
      {"tns:Code", number, "int{urn:tns}"},
      {"xsd:short", number, nullptr},
      {"xsd:timeInstant", Record(kHostDateTime), nullptr},
      {"tns:Broken", text, nullptr},  // its base type isn't closed by ","
      {"tns:Undescribed", number, nullptr},
      {"int", number, nullptr},
      {"", number, nullptr}};
  for (auto [typeName, record, typeAttribute] : cases) {
    SOAPParameter parameter;
    std::string result = MessageOf([&] {
                           ConvertScalarOut(parameter, host.runtime, host.proxy, typeName, record);
                         }).value_or("");
    std::string ns;
    if (auto type = AttributeText(parameter, Vocabulary().type, &ns))
      result += *type + "{" + ns + "}";
    EXPECT_EQ(result, typeAttribute ? typeAttribute
                                    : "Can't map the XML data type: " + std::string(typeName));
  }
  EXPECT_TRUE(host.runtime.Misuses().empty());
}

TEST(ConvertScalarIn, ParsesByTheDeclaredTypeOrItsBaseAndRefusesKindAny) {
  TypesHost host;
  SOAPParameter element;
  element.SetString("42");
  HostValueRecord record = Record(kHostLong);
  ConvertScalarIn(element, host.runtime, host.proxy, "tns:Code", record);
  EXPECT_EQ(record.value.int32, 42);
  HostValueRecord any = Record(kHostAny);
  EXPECT_EQ(MessageOf([&] { ConvertScalarIn(element, host.runtime, host.proxy, "xsd:int", any); }),
            "Can't map the XML data type: xsd:int");
}

TEST(ArrayDrivers, ChooseTheItemsNamespaceInOrder) {
  TypesHost host;
  host.runtime.DefineProxyClass(
      "targetproxy", {{"xsd", kXsdNamespace2001}, {"ts__schematargetnamespace", "urn:target"}});
  const HostObject targetProxy = host.runtime.NewInstance("targetproxy");
  // Proxy, item name, the wrapper's namespace, and the item element's name.
  const std::tuple<HostObject, const char*, const char*, const char*> cases[] = {
      {host.proxy, "tns:entry", "urn:method", "entry{urn:tns}"},
      {targetProxy, "entry", "urn:method", "entry{urn:target}"},
      {host.proxy, "entry", "urn:method", "entry{urn:method}"},
      {host.proxy, "item", "", "item{}"}};
  for (const auto& [proxy, elementName, parameterNamespace, itemName] : cases) {
    SOAPParameter wrapper;
    wrapper.SetName("list", parameterNamespace);
    HostValueRecord record = Record(kHostLong);
    record.isArray = 1;
    record.value.handle = host.runtime.MakeArray(Value::Array(kHostLong, {Value::Long(1)}));
    ConvertWrappedArrayOut(wrapper, host.runtime, proxy, "xsd:int", record, elementName);
    ASSERT_EQ(wrapper.GetParams().Size(), 1u);
    const SOAPQName& name = wrapper.GetParams()[0]->GetName();
    EXPECT_EQ(std::string(name.GetName().CStr()) + "{" + name.GetNamespace().CStr() + "}",
              itemName);
  }
}

TEST(ArrayDrivers, MakeTheArrayAResponseNeedsOrRefuseTheType) {
  TypesHost host;
  SOAPParameter response;
  response.AddParameter("item").SetString("7");
  response.AddParameter("item").SetString("8");
  using Driver = decltype(&ConvertEncodedArrayIn);
  // Driver, the host value's kind and null flag (it holds no array), the declared type, and the
  // new host array after the call, or the message (and then no array is made).
  const std::tuple<Driver, HostValueKind, bool, const char*, const char*> cases[] = {
      // A value of kind any gets an array of the declared type's kind.
      {&ConvertEncodedArrayIn, kHostAny, false, "xsd:int", "array of long [long 7, long 8]"},
      // A typed array result is read flags-only, and a null array argument holds no handle
      // either: each gets a new array of the host's own kind.
      {&ConvertWrappedArrayIn, kHostString, false, "xsd:string",
       R"(array of string [string "7", string "8"])"},
      {&ConvertWrappedArrayIn, kHostString, true, "xsd:string",
       R"(array of string [string "7", string "8"])"},
      // No row and no structure class for the type, or a type that doesn't serve the host's kind.
      {&ConvertWrappedArrayIn, kHostAny, false, "tns:Nothing",
       "Can't map the XML data type: tns:Nothing"},
      {&ConvertEncodedArrayIn, kHostLong, false, "xsd:string",
       "Can't map the XML data type: xsd:string"},
  };
  for (const auto& [driver, kind, isNull, typeName, result] : cases) {
    HostValueRecord record = Record(kind, {}, isNull);
    record.isArray = 1;
    const int arraysBefore = host.runtime.CallCount("NewUnboundedSimpleArray");
    const std::optional<std::string> message =
        MessageOf([&] { driver(response, host.runtime, host.proxy, typeName, record, "item"); });
    if (message) {
      EXPECT_EQ(*message, result);
      EXPECT_EQ(host.runtime.CallCount("NewUnboundedSimpleArray"), arraysBefore) << typeName;
      continue;
    }
    const Value array = host.runtime.ReadArray(record.value.handle);
    EXPECT_EQ(testhost::Describe(array), result);
    EXPECT_EQ(record.kind, array.kind);
    EXPECT_EQ(record.isNull, 0);
  }
  EXPECT_EQ(host.runtime.OutstandingArrayInfos(), 0);
}

}  // namespace
}  // namespace tssoap
