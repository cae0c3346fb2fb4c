// Structures on the whole road, through the reference host and the dlopened extension against the
// gSOAP sample service: a structure with a scalar, an array and a nested structure, and arrays of
// structures in the three layouts, each sent and read back.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "common/server_process.h"
#include "call/address_types.h"
#include "testhost/testhost.h"

namespace tssoap::test {
namespace {

using testhost::CallOutcome;
using testhost::Value;

// Started on first use and ended with the program; it also ends when its stdin pipe closes.
ServerProcess& Service() {
  static ServerProcess* service = new ServerProcess(StartSampleService());
  return *service;
}

std::string Operation(const std::string& head) {
  return head + "@urn:tssoap-sample@urn:tssoap-sample#" + head.substr(0, head.find('('));
}

class StructRoad : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(Service().Started()) << Service().Error();
    host_.DefineProxyClass("sampleproxy", DefineAddressTypes(host_, kSampleNamespace,
                                                             {{"endpoint", Service().Url("/")},
                                                              {"BindingStyle", "rpc"}}));
    const auto created = host_.CreateInstance(host_.CreateConnection(), "sampleproxy");
    ASSERT_EQ(created.result, 0);
    proxy_ = created.proxy;
  }

  // Anything the host had to complain of is a fault of the extension.
  void TearDown() override { EXPECT_EQ(host_.Misuses(), std::vector<std::string>{}); }

  testhost::Runtime host_;
  HostObject proxy_ = 0;
};

// The answer fills the out argument in place and a new object for the result, nested one and all.
TEST_F(StructRoad, StructureWithArrayAndNestedStructureComesBack) {
  const HostObject address = host_.NewInstance("ns__address");
  host_.SetField(address, "street", Value::String("Main Street <1>"));
  host_.SetField(address, "zip", Value::Long(12345));
  host_.SetField(address, "tags",
                 Value::Array(kHostString, {Value::String("home"), Value::String("")}));
  host_.SetField(address, "phone", Value::Object(NewPhone(host_, "555-0100", 2)));
  const HostObject held = host_.NewInstance("ns__address");

  const CallOutcome outcome =
      host_.Call(proxy_,
                 Operation("echoAddress([in] ns:Address input, [out] ns:Address result) "
                           "return ns:Address result"),
                 {Value::Object(address), Value::Object(held)}, Value::NullObject("ns__address"));
  ASSERT_FALSE(outcome.exception.has_value()) << outcome.exception->text;
  ASSERT_FALSE(outcome.result.isNull);
  EXPECT_EQ(outcome.arguments.at(1).AsObject(), held);
  for (const HostObject echoed : {outcome.result.AsObject(), held}) {
    EXPECT_NE(echoed, address);
    EXPECT_EQ(host_.GetField(echoed, "street").AsString(), "Main Street <1>");
    EXPECT_EQ(host_.GetField(echoed, "zip").AsInt(), 12345);
    EXPECT_EQ(host_.GetField(echoed, "tags"), host_.GetField(address, "tags"));
    EXPECT_EQ(PhoneText(host_, host_.GetField(echoed, "phone")), "555-0100/2");
  }
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
    const Value phones =
        Value::ObjectArray("ns__phone", {Value::Object(NewPhone(host_, "1", 1)),
                                         Value::Object(NewPhone(host_, "two \xC3\xA9", 2)),
                                         Value::Object(NewPhone(host_, "", 3))});
    const CallOutcome outcome = host_.Call(proxy_, Operation(c.head), {phones}, Value::Any());
    ASSERT_FALSE(outcome.exception.has_value()) << outcome.exception->text;
    ASSERT_TRUE(outcome.result.isArray && outcome.result.isObject)
        << testhost::Describe(outcome.result);
    EXPECT_EQ(PhoneTexts(host_, outcome.result),
              (std::vector<std::string>{"1/1", "two \xC3\xA9/2", "/3"}));

    // Repeated elements send no element at all for an empty array, and none comes back to be
    // found by name.
    const CallOutcome empty =
        host_.Call(proxy_, Operation(c.head), {Value::ObjectArray("ns__phone", {})}, Value::Any());
    EXPECT_EQ(empty.exception.has_value(), c.layout == std::string("RepeatedElements"));
    if (!empty.exception.has_value()) {
      EXPECT_TRUE(empty.result.AsItems().empty());
    }
  }
}

}  // namespace
}  // namespace tssoap::test
