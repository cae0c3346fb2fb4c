// soapconnection through the reference host: createinstance in both forms with its three results,
// the copied settings of the marshaler, and the methods that do nothing.
#include "connection/soap_connection.h"

#include <gtest/gtest.h>

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

TEST_P(CreateInstanceTest, ResultsAndTheReferenceArgument) {
  struct Case {
    const char* proxyName;
    bool failNewProxyObject;
    int32_t result;
    bool madeProxy;
  };
  const Case cases[] = {
      {"svc", false, 0, true},         {"SVC", false, 0, true},           {"Svc", false, 0, true},
      {"nosuch", false, 100, false},   {nullptr, false, 100, false},      {"", false, 100, false},
      {"mismatch", false, 100, false}, {"structonly", false, 100, false}, {"svc", true, 101, false},
  };
  for (const Case& c : cases) {
    for (bool withPort : {false, true}) {
      SCOPED_TRACE(std::string(c.proxyName != nullptr ? c.proxyName : "(null)") +
                   (withPort ? " with port" : ""));
      rt->FailNewProxyObject(c.failNewProxyObject);
      int attachedBefore = rt->CallCount("AttachMarshaler");
      Runtime::CreateResult created = withPort ? rt->CreateInstance(connection, c.proxyName, "p")
                                               : rt->CreateInstance(connection, c.proxyName);
      EXPECT_EQ(created.result, c.result);
      EXPECT_EQ(created.proxy != 0, c.madeProxy);
      EXPECT_EQ(rt->CallCount("AttachMarshaler") - attachedBefore, c.madeProxy ? 1 : 0);
      if (c.madeProxy) {
        EXPECT_NE(rt->MarshalerOf(created.proxy), nullptr);
      }
    }
  }
  rt->FailNewProxyObject(false);
}

TEST_P(CreateInstanceTest, ProxyOutlivesItsConnection) {
  Runtime::CreateResult created = rt->CreateInstance(connection, "svc", "http://Host/Path");
  ASSERT_EQ(created.result, 0);
  rt->DestroyObject(connection);
  IHostMarshaler* marshaler = rt->MarshalerOf(created.proxy);
  ASSERT_NE(marshaler, nullptr);
  EXPECT_NE(marshaler->GetModuleHandle(), nullptr);
  rt->DestroyObject(created.proxy);
}

TEST_P(CreateInstanceTest, OtherMethodNumbersDoNothingAndAnswerZero) {
  for (uint16_t method : {uint16_t{0}, uint16_t{5}, uint16_t{100}, uint16_t{0xFFFF}}) {
    SCOPED_TRACE(method);
    int argumentReads = rt->CallCount("GetAt");
    Runtime::InvokeOutcome outcome = rt->InvokeExtensionMethod(
        connection, method, {Value::String("wsdl"), Value::String("service")}, Value::Long(-7));
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

TEST_F(MarshalerSettingsTest, MarshalerCopiesEverySettingAndThePortNameCase) {
  ASSERT_EQ(
      rt.SetOptions(connection, "userid='User', password='Pw', timeout=42, connectioncache=true"),
      0);
  ASSERT_EQ(rt.SetProxyServerOptions(connection,
                                     "address='https://gate:8443/base', userid='pu', "
                                     "password='pp'"),
            0);
  Runtime::CreateResult created = rt.CreateInstance(connection, "SVC", "http://Host:81/Path");
  ASSERT_EQ(created.result, 0);
  const SoapMarshaler& m = MarshalerOf(created.proxy);
  EXPECT_EQ(m.className, "svc");
  EXPECT_EQ(m.portName, "http://Host:81/Path");
  EXPECT_EQ(m.userId, "User");
  EXPECT_EQ(m.password, "Pw");
  EXPECT_EQ(m.timeout, 42);
  EXPECT_TRUE(m.connectionCache);
  EXPECT_EQ(m.proxyScheme, "https");
  EXPECT_EQ(m.proxyHost, "gate");
  EXPECT_EQ(m.proxyPort, "8443");
  EXPECT_EQ(m.proxyPath, "base");
  EXPECT_EQ(m.proxyUserId, "pu");
  EXPECT_EQ(m.proxyPassword, "pp");
  EXPECT_EQ(m.soapProxy, nullptr);
}

TEST_F(MarshalerSettingsTest, PortNameIsEmptyForTwoArgumentsOrANullThird) {
  EXPECT_EQ(MarshalerOf(rt.CreateInstance(connection, "svc").proxy).portName, "");
  EXPECT_EQ(MarshalerOf(rt.CreateInstance(connection, "svc", nullptr).proxy).portName, "");
}

TEST_F(MarshalerSettingsTest, LaterSettingsDontReachAnExistingProxy) {
  ASSERT_EQ(rt.SetOptions(connection, "userid='old', password='old'"), 0);
  HostObject before = rt.CreateInstance(connection, "svc").proxy;
  ASSERT_EQ(rt.SetOptions(connection, "userid='new', password='new', connectioncache=true"), 0);
  ASSERT_EQ(rt.SetProxyServerOptions(connection, "address='gate'"), 0);
  HostObject after = rt.CreateInstance(connection, "svc").proxy;

  EXPECT_EQ(MarshalerOf(before).userId, "old");
  EXPECT_EQ(MarshalerOf(before).password, "old");
  EXPECT_FALSE(MarshalerOf(before).connectionCache);
  EXPECT_EQ(MarshalerOf(before).proxyHost, "");
  EXPECT_EQ(MarshalerOf(after).userId, "new");
  EXPECT_TRUE(MarshalerOf(after).connectionCache);
  EXPECT_EQ(MarshalerOf(after).proxyHost, "gate");

  // The proxy keeps its settings after the connection is gone.
  rt.DestroyObject(connection);
  EXPECT_EQ(MarshalerOf(before).userId, "old");
  EXPECT_EQ(MarshalerOf(before).GetModuleHandle(), MarshalerOf(after).GetModuleHandle());
}

}  // namespace
}  // namespace tssoap
