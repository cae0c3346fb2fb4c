// soapconnection through the reference host: createinstance in both forms with its three results,
// the copied settings of the marshaler, and the methods that do nothing.
#include "connection/soap_connection.h"

#include <gtest/gtest.h>

#include <tuple>

#include "connection/soap_marshaler.h"
#include "host/entry_points.h"
#include "testhost/testhost.h"

namespace tssoap {
namespace {

using testhost::Runtime;
using testhost::Value;

// Each case runs against the extension linked in and against the built library loaded with dlopen.
class CreateInstanceTest : public ::testing::TestWithParam<bool> {
 protected:
  CreateInstanceTest()
      : rt(GetParam() ? std::make_unique<Runtime>()
                      : std::make_unique<Runtime>(testhost::ExtensionEntryPoints{
                            &TSX_GetDescription, &TSX_CreateNonVisualObject})) {
    rt->DefineProxyClass("svc", {{"endpoint", "http://127.0.0.1:1/"}});
    // A group of the proxy's name whose class has another name, and a structure group.
    rt->DefineClass("mismatch", kGroupProxy, "other", {});
    rt->DefineStructure("structonly", {});
    connection = rt->CreateConnection();
  }
  void TearDown() override {
    for (const std::string& misuse : rt->Misuses()) ADD_FAILURE() << "host misuse: " << misuse;
  }

  std::unique_ptr<Runtime> rt;
  HostObject connection = 0;
};

// Proxy name, NewProxyObject failing, result; result 0 alone makes a proxy with a marshaler.
TEST_P(CreateInstanceTest, ResultsAndTheReferenceArgument) {
  const std::tuple<const char*, bool, int32_t> cases[] = {
      {"svc", false, 0},        {"SVC", false, 0},          {"Svc", false, 0},
      {"nosuch", false, 100},   {nullptr, false, 100},      {"", false, 100},
      {"mismatch", false, 100}, {"structonly", false, 100}, {"svc", true, 101},
  };
  for (const auto& [proxyName, failNewProxyObject, result] : cases) {
    for (bool withPort : {false, true}) {
      SCOPED_TRACE(std::string(proxyName != nullptr ? proxyName : "(null)") +
                   (withPort ? " with port" : ""));
      rt->FailNewProxyObject(failNewProxyObject);
      int attached = rt->CallCount("AttachMarshaler");
      Runtime::CreateResult created = withPort ? rt->CreateInstance(connection, proxyName, "p")
                                               : rt->CreateInstance(connection, proxyName);
      EXPECT_EQ(created.result, result);
      EXPECT_EQ(created.proxy != 0, result == 0);
      EXPECT_EQ(rt->MarshalerOf(created.proxy) != nullptr, result == 0);
      EXPECT_EQ(rt->CallCount("AttachMarshaler") - attached, result == 0 ? 1 : 0);
    }
  }
}

// generateproxy and numbers beyond the class description do nothing, on both classes: no argument
// is read and the result stays as it was.
TEST_P(CreateInstanceTest, OtherMethodNumbersDoNothingAndAnswerZero) {
  HostObject exception = rt->NewInstance("soapexception");
  const std::pair<HostObject, uint16_t> cases[] = {
      {connection, 0}, {connection, 5}, {connection, 0xFFFF}, {exception, 4}, {exception, 0xFFFF}};
  for (const auto& [object, method] : cases) {
    SCOPED_TRACE(method);
    int argumentReads = rt->CallCount("GetAt");
    Runtime::InvokeOutcome outcome = rt->InvokeExtensionMethod(
        object, method, {Value::String("wsdl"), Value::String("service")}, Value::Long(-7));
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.result, Value::Long(-7));
    EXPECT_EQ(rt->CallCount("GetAt"), argumentReads);
  }
}

INSTANTIATE_TEST_SUITE_P(LinkedAndLoaded, CreateInstanceTest, ::testing::Bool(),
                         [](const ::testing::TestParamInfo<bool>& info) {
                           return info.param ? "Dlopened" : "Linked";
                         });

// The marshaler's fields are checked on the linked extension, where its type is ours.
class MarshalerSettingsTest : public ::testing::Test {
 protected:
  MarshalerSettingsTest() {
    rt.DefineProxyClass("svc", {});
    connection = rt.CreateConnection();
  }
  SoapMarshaler& MarshalerOf(HostObject proxy) {
    auto* marshaler = dynamic_cast<SoapMarshaler*>(rt.MarshalerOf(proxy));
    if (marshaler == nullptr) throw std::logic_error("no SoapMarshaler attached");
    return *marshaler;
  }

  Runtime rt{{&TSX_GetDescription, &TSX_CreateNonVisualObject}};
  HostObject connection = 0;
};

// The marshaler copies every setting at creation, the port name in its case (none for two
// arguments or a null third); a proxy keeps them when the connection's settings change and after
// the connection is gone.
TEST_F(MarshalerSettingsTest, MarshalerKeepsTheSettingsOfItsCreation) {
  ASSERT_EQ(
      rt.SetOptions(connection, "userid='User', password='Pw', timeout=42, connectioncache=true"),
      0);
  ASSERT_EQ(rt.SetProxyServerOptions(
                connection, "address='https://gate:8443/base', userid='pu', password='pp'"),
            0);
  HostObject before = rt.CreateInstance(connection, "SVC", "http://Host:81/P").proxy;
  ASSERT_EQ(rt.SetOptions(connection, "userid='new', timeout=0, connectioncache=false"), 0);
  ASSERT_EQ(rt.SetProxyServerOptions(connection, "address='other'"), 0);
  HostObject after = rt.CreateInstance(connection, "svc").proxy;
  HostObject nullPort = rt.CreateInstance(connection, "svc", nullptr).proxy;
  rt.DestroyObject(connection);

  SoapMarshaler& m = MarshalerOf(before);
  EXPECT_EQ(std::tie(m.className, m.portName, m.settings.userId, m.settings.password,
                     m.settings.proxyUserId, m.settings.proxyPassword),
            std::tie("svc", "http://Host:81/P", "User", "Pw", "pu", "pp"));
  EXPECT_EQ(std::tie(m.settings.proxyScheme, m.settings.proxyHost, m.settings.proxyPort,
                     m.settings.proxyPath),
            std::tie("https", "gate", "8443", "base"));
  EXPECT_EQ(m.settings.timeout, 42);
  EXPECT_TRUE(m.settings.connectionCache);
  EXPECT_EQ(m.soapProxy, nullptr);
  SoapMarshaler& later = MarshalerOf(after);
  EXPECT_EQ(std::tie(later.portName, later.settings.userId, later.settings.password,
                     later.settings.proxyHost),
            std::tie("", "new", "Pw", "other"));
  EXPECT_EQ(later.settings.timeout, 0);
  EXPECT_FALSE(later.settings.connectionCache);
  EXPECT_EQ(MarshalerOf(nullPort).portName, "");  // as for two arguments
  EXPECT_NE(m.GetModuleHandle(), nullptr);
}

}  // namespace
}  // namespace tssoap
