// The drivers: the kind check with its base-type fallback, the mapping failure, the namespace the
// type goes out in, the items' namespace, and the arrays made for a value of kind any.
#include "types/type_drivers.h"

#include <gtest/gtest.h>

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
    const std::optional<std::string> message =
        MessageOf([&] { ConvertScalarOut(parameter, host.runtime, host.proxy, typeName, record); });
    std::string ns;
    const std::optional<std::string> type = AttributeText(parameter, Vocabulary().type, &ns);
    if (typeAttribute == nullptr) {
      EXPECT_EQ(message, std::string("Can't map the XML data type: ") + typeName);
      EXPECT_EQ(type, std::nullopt) << typeName;
    } else {
      EXPECT_EQ(message, std::nullopt) << typeName;
      EXPECT_EQ(type.value_or("") + "{" + ns + "}", typeAttribute) << typeName;
    }
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

TEST(ArrayDrivers, MakeAnArrayOfTheDeclaredKindForAValueOfKindAny) {
  TypesHost host;
  SOAPParameter response;
  response.AddParameter("item").SetString("7");
  response.AddParameter("item").SetString("8");
  HostValueRecord record = Record(kHostAny);
  record.isArray = 1;
  ConvertEncodedArrayIn(response, host.runtime, host.proxy, "xsd:int", record, "item");
  EXPECT_EQ(record.kind, kHostLong);
  EXPECT_EQ(host.runtime.ReadArray(record.value.handle).AsItems(),
            (Value::Items{Value::Long(7), Value::Long(8)}));
  // No row and no structure class for the type: nothing to make the array of.
  HostValueRecord unknown = Record(kHostAny);
  unknown.isArray = 1;
  EXPECT_EQ(MessageOf([&] {
              ConvertWrappedArrayIn(response, host.runtime, host.proxy, "tns:Nothing", unknown,
                                    "item");
            }),
            "Can't map the XML data type: tns:Nothing");
  EXPECT_EQ(host.runtime.OutstandingArrayInfos(), 0);
}

TEST(ArrayDrivers, MakeAnArrayOfTheHostsOwnKindWhenTheValueHoldsNone) {
  TypesHost host;
  SOAPParameter response;
  response.AddParameter("item").SetString("a");
  response.AddParameter("item").SetString("b");
  // A typed array result is read flags-only, and a null array argument holds no handle either.
  for (const bool isNull : {false, true}) {
    HostValueRecord record = Record(kHostString, {}, isNull);
    record.isArray = 1;
    ConvertWrappedArrayIn(response, host.runtime, host.proxy, "xsd:string", record, "item");
    EXPECT_EQ(record.isNull, 0);
    EXPECT_EQ(host.runtime.ReadArray(record.value.handle).AsItems(),
              (Value::Items{Value::String("a"), Value::String("b")}));
  }
  // A type that doesn't serve the host's kind is refused before any array is made.
  HostValueRecord mismatch = Record(kHostLong);
  mismatch.isArray = 1;
  const int arraysBefore = host.runtime.CallCount("NewUnboundedSimpleArray");
  EXPECT_EQ(MessageOf([&] {
              ConvertEncodedArrayIn(response, host.runtime, host.proxy, "xsd:string", mismatch,
                                    "item");
            }),
            "Can't map the XML data type: xsd:string");
  EXPECT_EQ(host.runtime.CallCount("NewUnboundedSimpleArray"), arraysBefore);
  EXPECT_EQ(host.runtime.OutstandingArrayInfos(), 0);
}

}  // namespace
}  // namespace tssoap
