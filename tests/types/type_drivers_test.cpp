// The drivers: the kind check with its base-type fallback, the mapping failure, the namespace the
// type goes out in, the items' name and namespace, and the arrays made for a value of kind any.
#include "types/type_drivers.h"

#include <gtest/gtest.h>

#include "types_test_support.h"

namespace tssoap {
namespace {

using testhost::Value;
using types_test::AttributeText;
using types_test::MessageOf;
using types_test::Record;
using types_test::TypesHost;

HostValueRecord LongRecord(int32_t value) {
  HostValueRecord record = Record(kHostLong);
  record.value.int32 = value;
  return record;
}

TEST(ConvertScalarOut, ChecksTheKindAndFallsBackToTheBaseType) {
  TypesHost host;
  struct Case {
    const char* typeName;
    HostValueRecord record;
    const char* typeAttribute;  // null: the mapping failure
    const char* typeNamespace;
  };
  const Case cases[] = {
      {"xsd:int", LongRecord(42), "int", kXsdNamespace2001},
      {"xsd:duration", Record(kHostDouble), "duration", kXsdNamespace2001},
      {"SOAP-ENC:string", Record(kHostString, host.StringValue("s")), "string", kSoapEncNamespace},
      // A user type based on a simple type goes out as the base row in the declared namespace.
      {"tns:Zip", Record(kHostString, host.StringValue("12345")), "string", "urn:tns"},
      {"tns:Code", LongRecord(7), "int", "urn:tns"},
      {"xsd:short", LongRecord(1), nullptr, nullptr},
      {"xsd:timeInstant", Record(kHostDateTime), nullptr, nullptr},
      {"xsd:nosuch", LongRecord(1), nullptr, nullptr},
      {"tns:Broken", Record(kHostString, host.StringValue("x")), nullptr, nullptr},
      {"tns:Undescribed", LongRecord(1), nullptr, nullptr},
      {"int", LongRecord(1), nullptr, nullptr},
      {"", LongRecord(1), nullptr, nullptr},
  };
  for (Case c : cases) {
    SOAPParameter parameter;
    parameter.SetString("before");
    const std::optional<std::string> message = MessageOf(
        [&] { ConvertScalarOut(parameter, host.runtime, host.proxy, c.typeName, c.record); });
    if (c.typeAttribute == nullptr) {
      EXPECT_EQ(message, std::string("Can't map the XML data type: ") + c.typeName);
      EXPECT_STREQ(parameter.GetString().CStr(), "before") << c.typeName;
      EXPECT_EQ(AttributeText(parameter, Vocabulary().type), std::nullopt) << c.typeName;
    } else {
      EXPECT_EQ(message, std::nullopt) << c.typeName;
      std::string ns;
      EXPECT_EQ(AttributeText(parameter, Vocabulary().type, &ns), c.typeAttribute) << c.typeName;
      EXPECT_EQ(ns, c.typeNamespace) << c.typeName;
    }
  }
  EXPECT_TRUE(host.runtime.Misuses().empty());
}

TEST(ConvertScalarIn, ParsesByTheDeclaredTypeOrItsBase) {
  TypesHost host;
  SOAPParameter element;
  element.SetString("42");
  HostValueRecord record = LongRecord(0);
  ConvertScalarIn(element, host.runtime, host.proxy, "tns:Code", record);
  EXPECT_EQ(record.value.int32, 42);
  HostValueRecord mismatch = Record(kHostString);
  EXPECT_EQ(
      MessageOf([&] { ConvertScalarIn(element, host.runtime, host.proxy, "xsd:int", mismatch); }),
      "Can't map the XML data type: xsd:int");
  // A scalar of kind any meets no row.
  HostValueRecord any = Record(kHostAny);
  EXPECT_EQ(MessageOf([&] { ConvertScalarIn(element, host.runtime, host.proxy, "xsd:int", any); }),
            "Can't map the XML data type: xsd:int");
}

TEST(ArrayDrivers, ChooseTheItemsNamespaceInOrder) {
  TypesHost host;
  host.runtime.DefineProxyClass("targetproxy", {{"xsd", kXsdNamespace2001},
                                                {"tns", "urn:tns"},
                                                {"ts__schematargetnamespace", "urn:target"}});
  const HostObject targetProxy = host.runtime.NewInstance("targetproxy");
  struct Case {
    HostObject proxy;
    const char* elementName;
    const char* parameterNamespace;
    const char* itemName;
    const char* itemNamespace;
  };
  const Case cases[] = {
      {host.proxy, "tns:entry", "urn:method", "entry", "urn:tns"},
      {targetProxy, "entry", "urn:method", "entry", "urn:target"},
      {host.proxy, "entry", "urn:method", "entry", "urn:method"},
      {host.proxy, "item", "", "item", ""},
  };
  for (const Case& c : cases) {
    SOAPParameter wrapper;
    wrapper.SetName("list", c.parameterNamespace);
    HostValueRecord record = Record(kHostLong);
    record.isArray = 1;
    record.value.handle = host.runtime.MakeArray(Value::Array(kHostLong, {Value::Long(1)}));
    ConvertWrappedArrayOut(wrapper, host.runtime, c.proxy, "xsd:int", record, c.elementName);
    ASSERT_EQ(wrapper.GetParams().Size(), 1u) << c.elementName;
    const SOAPQName& name = wrapper.GetParams()[0]->GetName();
    EXPECT_STREQ(name.GetName().CStr(), c.itemName) << c.elementName;
    EXPECT_STREQ(name.GetNamespace().CStr(), c.itemNamespace) << c.elementName;
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
  EXPECT_TRUE(host.runtime.Misuses().empty());
}

TEST(ArrayDrivers, ReadRepeatedElementsFromTheEnclosingElement) {
  TypesHost host;
  SOAPParameter response;
  response.AddParameter("n").SetString("1");
  response.AddParameter("m").SetString("9");
  response.AddParameter("n").SetString("2");
  SOAPParameter name;
  name.SetName("n", nullptr);
  HostValueRecord record = Record(kHostLong);
  record.isArray = 1;
  record.value.handle = host.runtime.MakeArray(Value::Array(kHostLong, {}));
  ConvertRepeatedElementsIn(name, host.runtime, host.proxy, "xsd:int", record, "item", response);
  EXPECT_EQ(host.runtime.ReadArray(record.value.handle).AsItems(),
            (Value::Items{Value::Long(1), Value::Long(2)}));
}

}  // namespace
}  // namespace tssoap
