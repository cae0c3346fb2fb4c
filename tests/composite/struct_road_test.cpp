// Structures on the whole road, through the reference host and the dlopened extension against the
// gSOAP sample service: a structure with a scalar, an array and a nested structure, and arrays of
// structures in the three layouts, each sent and read back.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "common/server_process.h"
#include "testhost/testhost.h"

namespace tssoap::test {
namespace {

using testhost::CallOutcome;
using testhost::FieldSpec;
using testhost::Runtime;
using testhost::Value;

// Started on first use and ended with the program; it also ends when its stdin pipe closes.
ServerProcess& Service() {
  static ServerProcess* service = new ServerProcess(StartSampleService());
  return *service;
}

std::string Operation(const std::string& head) {
  return head + "@urn:tssoap-sample@urn:tssoap-sample#" + head.substr(0, head.find('('));
}

FieldSpec Field(const char* name, HostValueKind kind) {
  FieldSpec field;
  field.name = name;
  field.kind = kind;
  return field;
}

class StructRoad : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(Service().Started()) << Service().Error();
    host_.DefineStructure("ns__phone", {Field("number", kHostString), Field("kind", kHostLong)});
    FieldSpec tags = Field("tags", kHostString);
    tags.isArray = true;
    FieldSpec phone = Field("phone", kHostUnknown);
    phone.isObject = true;
    phone.className = "ns__phone";
    host_.DefineStructure("ns__address",
                          {Field("street", kHostString), Field("zip", kHostLong), tags, phone});
    host_.DefineProxyClass(
        "sampleproxy",
        {{"endpoint", Service().Url("/")},
         {"BindingStyle", "rpc"},
         {"xsd", kXsdNamespace},
         {"ns", kSampleNamespace},
         {"__ns__phone", "Phone(xsd:string number, xsd:int kind)@ns"},
         {"__ns__address",
          "Address(xsd:string street, xsd:int zip, xsd:string[SoapElementName] tags, "
          "ns:Phone phone)@ns"}});
    const HostObject connection = host_.CreateConnection();
    const Runtime::CreateResult created = host_.CreateInstance(connection, "sampleproxy");
    ASSERT_EQ(created.result, 0);
    proxy_ = created.proxy;
  }

  void TearDown() override {
    // Anything the host had to complain of is a fault of the extension.
    for (const std::string& misuse : host_.Misuses()) ADD_FAILURE() << "host misuse: " << misuse;
  }

  // The TCP connections the service has accepted, each call making one of its own.
  int64_t Connections() {
    const CallOutcome outcome = host_.Call(
        proxy_, Operation("getConnectionCount() return xsd:int count"), {}, Value::Long(0));
    EXPECT_FALSE(outcome.exception.has_value()) << outcome.exception->text;
    return outcome.result.AsInt();
  }

  HostObject Phone(const std::string& number, int32_t kind) {
    const HostObject phone = host_.NewInstance("ns__phone");
    host_.SetField(phone, "number", Value::String(number));
    host_.SetField(phone, "kind", Value::Long(kind));
    return phone;
  }

  // "number/kind", or "null".
  std::string PhoneText(const Value& phone) {
    if (phone.isNull) return "null";
    return host_.GetField(phone.AsObject(), "number").AsString() + "/" +
           std::to_string(host_.GetField(phone.AsObject(), "kind").AsInt());
  }

  std::vector<std::string> PhoneTexts(const Value& phones) {
    std::vector<std::string> texts;
    for (const Value& phone : phones.AsItems()) texts.push_back(PhoneText(phone));
    return texts;
  }

  Runtime host_;
  HostObject proxy_ = 0;
};

TEST_F(StructRoad, StructureWithArrayAndNestedStructureComesBack) {
  const HostObject address = host_.NewInstance("ns__address");
  host_.SetField(address, "street", Value::String("Main Street <1>"));
  host_.SetField(address, "zip", Value::Long(12345));
  host_.SetField(address, "tags",
                 Value::Array(kHostString, {Value::String("home"), Value::String("")}));
  host_.SetField(address, "phone", Value::Object(Phone("555-0100", 2)));

  const CallOutcome outcome =
      host_.Call(proxy_, Operation("echoAddress([in] ns:Address input) return ns:Address result"),
                 {Value::Object(address)}, Value::NullObject("ns__address"));
  ASSERT_FALSE(outcome.exception.has_value()) << outcome.exception->text;
  ASSERT_FALSE(outcome.result.isNull);
  const HostObject echoed = outcome.result.AsObject();
  EXPECT_NE(echoed, address);
  EXPECT_EQ(host_.GetField(echoed, "street").AsString(), "Main Street <1>");
  EXPECT_EQ(host_.GetField(echoed, "zip").AsInt(), 12345);
  EXPECT_EQ(host_.GetField(echoed, "tags"),
            Value::Array(kHostString, {Value::String("home"), Value::String("")}));
  EXPECT_EQ(PhoneText(host_.GetField(echoed, "phone")), "555-0100/2");
}

TEST_F(StructRoad, OutStructureIsFilledInPlaceAndKeepsWhatTheAnswerLacks) {
  const HostObject address = host_.NewInstance("ns__address");
  host_.SetField(address, "street", Value::String("Side Road"));
  // The nested structure is null: it goes as a nil element and nothing comes back for it.
  const HostObject held = host_.NewInstance("ns__address");
  host_.SetField(held, "street", Value::String("old"));
  host_.SetField(held, "zip", Value::Long(7));
  host_.SetField(held, "phone", Value::Object(Phone("kept", 9)));
  const CallOutcome outcome =
      host_.Call(proxy_, Operation("echoAddress([in] ns:Address input, [out] ns:Address result)"),
                 {Value::Object(address), Value::Object(held)});
  ASSERT_FALSE(outcome.exception.has_value()) << outcome.exception->text;
  ASSERT_EQ(outcome.arguments.size(), 2u);
  EXPECT_EQ(outcome.arguments[1].AsObject(), held);
  EXPECT_EQ(host_.GetField(held, "street").AsString(), "Side Road");
  EXPECT_EQ(host_.GetField(held, "zip").AsInt(), 0);
  EXPECT_EQ(PhoneText(host_.GetField(held, "phone")), "kept/9");
  EXPECT_EQ(PhoneText(host_.GetField(address, "phone")), "null");
}

TEST_F(StructRoad, ArraysOfStructuresTravelInEachLayout) {
  const struct {
    const char* layout;
    const char* head;
  } cases[] = {
      {"EncodedArray",
       "echoPhoneArray([in] ns:Phone[SoapElementName] input) "
       "return ns:Phone[SoapElementName] result"},
      {"RepeatedElements", "echoPhonesRepeated([in] ns:Phone[] phones) return ns:Phone[] phones"},
      {"WrappedArray",
       "echoPhoneList([in] ns:Phone[ElementName] input) return ns:Phone[ElementName] result"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.layout);
    const Value phones = Value::ObjectArray(
        "ns__phone", {Value::Object(Phone("1", 1)), Value::Object(Phone("two \xC3\xA9", 2)),
                      Value::Object(Phone("", 3))});
    const CallOutcome outcome = host_.Call(proxy_, Operation(c.head), {phones}, Value::Any());
    ASSERT_FALSE(outcome.exception.has_value()) << outcome.exception->text;
    ASSERT_TRUE(outcome.result.isArray && outcome.result.isObject)
        << testhost::Describe(outcome.result);
    EXPECT_EQ(PhoneTexts(outcome.result),
              (std::vector<std::string>{"1/1", "two \xC3\xA9/2", "/3"}));

    const CallOutcome empty =
        host_.Call(proxy_, Operation(c.head), {Value::ObjectArray("ns__phone", {})}, Value::Any());
    if (std::string(c.layout) == "RepeatedElements") {
      // No element at all goes out, and none comes back to be found by name.
      ASSERT_TRUE(empty.exception.has_value());
    } else {
      ASSERT_FALSE(empty.exception.has_value()) << empty.exception->text;
      EXPECT_TRUE(PhoneTexts(empty.result).empty());
    }
  }
}

TEST_F(StructRoad, UnknownStructureTypeFailsBeforeAnythingIsSent) {
  const HostObject address = host_.NewInstance("ns__address");
  const int64_t before = Connections();
  const CallOutcome outcome =
      host_.Call(proxy_, Operation("echoAddress([in] ns:Adress input) return ns:Address result"),
                 {Value::Object(address)}, Value::NullObject("ns__address"));
  ASSERT_TRUE(outcome.exception.has_value());
  EXPECT_EQ(outcome.exception->text, "Can't map the XML data type: ns:Adress");
  EXPECT_EQ(Connections(), before + 1);
}

}  // namespace
}  // namespace tssoap::test
