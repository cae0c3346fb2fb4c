// The object path through the reference host: structures and arrays of structures written to
// element trees in the three layouts, and read back from element trees as a response would hold
// them. The elements are compared as compact dumps, so that names, namespaces, attributes, order
// and nil marks are all seen at once.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "call/address_types.h"
#include "call/parameter_walker.h"
#include "support/soap_vocabulary.h"
#include "support/values/soap_exception.h"
#include "testhost/testhost.h"

namespace tssoap::test {
namespace {

using testhost::Value;

constexpr const char* kShop = "urn:shop";

// "shop:" for urn:shop and so on; other namespaces in braces.
std::string Prefixed(const SOAPQName& name) {
  const std::string ns = name.GetNamespace().CStr();
  std::string prefix = ns.empty() ? "" : "{" + ns + "}";
  if (ns == kShop) prefix = "shop:";
  if (ns == kXsdNamespace2001) prefix = "xsd:";
  if (ns == kSoapEncNamespace) prefix = "enc:";
  if (ns == kXsiNamespace) prefix = "xsi:";
  return prefix + name.GetName().CStr();
}

// name @attribute=value... nil ='text' (children...), attributes sorted.
std::string Dump(const SOAPParameter& element) {
  std::string out = Prefixed(element.GetName());
  std::vector<std::string> attributes;
  const auto& map = element.GetAttributes();
  for (auto it = map.Begin(); it != map.End(); ++it) {
    attributes.push_back(" @" + Prefixed(it.Key()) + "=" + Prefixed(it.Value()));
  }
  std::sort(attributes.begin(), attributes.end());
  for (const std::string& attribute : attributes) out += attribute;
  if (element.IsNull()) out += " nil";
  if (!element.GetString().IsNull()) out += std::string("='") + element.GetString().CStr() + "'";
  const char* separator = " (";
  for (const SOAPParameter* child : element.GetParams()) {
    out += separator + Dump(*child);
    separator = " ";
  }
  if (!element.GetParams().IsEmpty()) out += ")";
  return out;
}

HostValueRecord ObjectRecord(HostObject object, bool isArray = false) {
  HostValueRecord record{};
  record.isObject = 1;
  record.isArray = isArray ? 1 : 0;
  record.isNull = object == 0 ? 1 : 0;
  record.value.handle = object;
  return record;
}

// The address types, a node that holds another, and types that are described wrongly or lack a
// class. Every test must leave the host without a complaint and every array info given back.
class StructObjectsTest : public ::testing::Test {
 protected:
  StructObjectsTest() {
    // "next" is a reserved word of the host language: the field lives in "ws_next".
    runtime_.DefineStructure("ns__node", {Field("name", kHostString),
                                          Field("ws_next", kHostUnknown, false, "ns__node")});
    proxy_ = runtime_.NewInstance(runtime_.DefineProxyClass(
        "shopproxy", DefineAddressTypes(runtime_, kShop,
                                        {{"__ns__ghost", "Ghost(xsd:string name)@ns"},
                                         {"__ns__node", "Node(xsd:string name, ns:Node next)@ns"},
                                         {"__ns__noparen", "NoParen@ns"},
                                         {"__ns__noat", "NoAt(xsd:string name)"},
                                         {"__ns__lostns", "LostNs(xsd:string name)@elsewhere"},
                                         {"__ns__nulldescription", std::nullopt}})));
    method_.SetName("echo", kShop);
    response_.SetName("echoResponse", kShop);
  }

  void TearDown() override {
    EXPECT_EQ(runtime_.Misuses(), std::vector<std::string>{});
    EXPECT_EQ(runtime_.OutstandingArrayInfos(), 0);
  }

  // A host array of phones (0: a null item), as an array record.
  HostValueRecord Phones(std::vector<HostObject> phones, bool bounded = false) {
    Value::Items items;
    for (HostObject phone : phones) {
      items.push_back(phone != 0 ? Value::Object(phone) : Value::NullObject("ns__phone"));
    }
    return ObjectRecord(runtime_.MakeArray(Value::ObjectArray("ns__phone", items, bounded)), true);
  }

  // Sends one value the way the request walk does: a child of the method named name (or, for
  // repeated elements, a free-standing element that only carries the name).
  void Send(const char* name, const char* typeName, HostValueRecord record,
            ArrayStyle style = kScalar, const char* elementName = "item") {
    SOAPParameter nameOnly;
    SOAPParameter& child = style == kRepeatedElements ? nameOnly : method_.AddParameter("");
    child.SetName(name, kShop);
    ParameterWalker(proxy_, runtime_)
        .DispatchOut(child, typeName, record, style, elementName, method_);
  }

  // Reads the element named name of the response into record, the way the response walk does.
  void Receive(const char* name, const char* typeName, HostValueRecord& record,
               ArrayStyle style = kScalar) {
    ParameterWalker(proxy_, runtime_)
        .DispatchIn(response_.GetParameter(name), typeName, record, style, "item", response_);
  }

  static std::string Message(const std::function<void()>& action) {
    try {
      action();
    } catch (const SOAPException& failure) {
      return failure.What() != nullptr ? failure.What() : "(no message)";
    }
    return "(no failure)";
  }

  // A phone of a response as gSOAP writes it: unqualified children, the type on the element.
  SOAPParameter& AddPhone(SOAPParameter& parent, const char* name, const char* number,
                          const char* kind) {
    SOAPParameter& phone = parent.AddParameter(name);
    phone.AddAttribute(Vocabulary().type).Set("Phone", kShop);
    if (number != nullptr) phone.AddParameter("number").SetString(number);
    if (kind != nullptr) phone.AddParameter("kind").SetString(kind);
    return phone;
  }

  testhost::Runtime runtime_;
  HostObject proxy_ = 0;
  SOAPParameter method_;
  SOAPParameter response_;
};

// Fields in list order, nil for null objects, and arrays of structures (with a null item, and null
// or empty) in the three layouts.
TEST_F(StructObjectsTest, StructuresGoOutInTheirLayouts) {
  const HostObject address = runtime_.NewInstance("ns__address");
  runtime_.SetField(address, "street", Value::String("Main"));
  runtime_.SetField(address, "tags", Value::Array(kHostString, {Value::String("a")}));
  Send("address", "ns:Address", ObjectRecord(address));
  Send("nothing", "ns:Phone", ObjectRecord(0));
  Send("encoded", "ns:Phone", Phones({NewPhone(runtime_, "1", 1), 0}), kEncodedArray, "p");
  Send("repeated", "ns:Phone", Phones({NewPhone(runtime_, "1", 1), 0}), kRepeatedElements);
  Send("wrapped", "ns:Phone", Phones({NewPhone(runtime_, "1", 1), 0}), kWrappedArray, "ns:p");
  Send("noencoded", "ns:Phone", ObjectRecord(0, true), kEncodedArray);
  Send("norepeated", "ns:Phone", Phones({}), kRepeatedElements);
  Send("nowrapped", "ns:Phone", ObjectRecord(0, true), kWrappedArray);

  EXPECT_EQ(Dump(method_),
            "shop:echo (shop:address @xsi:type=shop:Address (shop:street @xsi:type=xsd:string="
            "'Main' shop:zip @xsi:type=xsd:int='0' shop:tags @enc:arrayType=xsd:string[1] "
            "@xsi:type=enc:Array (item='a') shop:phone nil) shop:nothing nil "
            "shop:encoded @enc:arrayType=shop:Phone[2] @xsi:type=enc:Array ("
            "p (number @xsi:type=xsd:string='1' kind @xsi:type=xsd:int='1') p nil) "
            "shop:repeated @xsi:type=shop:Phone (shop:number @xsi:type=xsd:string='1' "
            "shop:kind @xsi:type=xsd:int='1') shop:repeated nil shop:wrapped (shop:p "
            "@xsi:type=shop:Phone (shop:number @xsi:type=xsd:string='1' shop:kind "
            "@xsi:type=xsd:int='1') shop:p nil) shop:noencoded @enc:arrayType=shop:Phone[0] "
            "@xsi:type=enc:Array shop:nowrapped)");
}

TEST_F(StructObjectsTest, RefusesWhatItCantMapOrHold) {
  const HostObject phone = NewPhone(runtime_, "1", 1);
  // A type the proxy doesn't describe, or describes without field list or namespace, can't be
  // mapped; a bounded host array can't be sent in any layout.
  for (const std::string type :
       {"ns:Unknown", "ns:NullDescription", "ns:NoParen", "ns:NoAt", "ns:LostNs"}) {
    EXPECT_EQ(Message([&] { Send("p", type.c_str(), ObjectRecord(phone)); }),
              "Can't map the XML data type: " + type);
  }
  EXPECT_EQ(Message([&] { Send("p", "ns:Unknown", Phones({phone}), kEncodedArray); }),
            "Can't map the XML data type: ns:Unknown");
  for (const ArrayStyle style : {kEncodedArray, kRepeatedElements, kWrappedArray}) {
    EXPECT_EQ(Message([&] { Send("p", "ns:Phone", Phones({phone}, true), style); }),
              "SoapCLient Error: Can't support Bounded array");
  }

  // On the way in, a type without a structure class can't be mapped, but in repeated elements an
  // item that fails ends the walk without a word; a bounded host array is refused for repeated
  // elements only: the other two layouts write into it as the host lets them.
  AddPhone(response_, "phones", "r1", "1");
  AddPhone(response_.AddParameter("wrapped"), "item", "w1", "1");
  HostValueRecord ghost = ObjectRecord(0);
  EXPECT_EQ(Message([&] { Receive("wrapped", "ns:Ghost", ghost); }),
            "Can't map the XML data type: ns:Ghost");
  HostValueRecord ghosts = Phones({});
  EXPECT_EQ(Message([&] { Receive("wrapped", "ns:Ghost", ghosts, kWrappedArray); }),
            "Can't map the XML data type: ns:Ghost");
  EXPECT_EQ(Message([&] { Receive("phones", "ns:Ghost", ghosts, kRepeatedElements); }),
            "(no failure)");
  EXPECT_TRUE(runtime_.ReadArray(ghosts.value.handle).AsItems().empty());
  HostValueRecord bounded = Phones({0}, true);
  EXPECT_EQ(Message([&] { Receive("phones", "ns:Phone", bounded, kRepeatedElements); }),
            "SoapClient Error: Can't support Bounded array");
}

// A structure is filled in place: a field the answer lacks, or that doesn't convert, keeps its
// value, and the elements the type doesn't list are passed over. Repeated elements take the
// siblings of their name only.
TEST_F(StructObjectsTest, ResponsesFillStructuresInPlace) {
  SOAPParameter& result = response_.AddParameter("result");
  result.AddAttribute(Vocabulary().type).Set("DerivedAddress", kShop);  // not read
  result.AddParameter("zip").SetString("not a number");
  result.AddParameter("unlisted").SetString("x");
  result.AddParameter("tags").AddParameter("item").SetString("t1");
  AddPhone(result, "phone", "777", "4");
  AddPhone(response_, "phones", "r1", "1");
  response_.AddParameter("between").SetString("x");
  AddPhone(response_, "phones", "r2", nullptr);

  const HostObject address = runtime_.NewInstance("ns__address");
  runtime_.SetField(address, "street", Value::String("kept"));
  runtime_.SetField(address, "zip", Value::Long(7));
  HostValueRecord record = ObjectRecord(address);
  Receive("result", "ns:Address", record);
  EXPECT_EQ(record.value.handle, address);
  EXPECT_EQ(runtime_.GetField(address, "street").AsString(), "kept");
  EXPECT_EQ(runtime_.GetField(address, "zip").AsInt(), 7);
  EXPECT_EQ(runtime_.GetField(address, "tags"), Value::Array(kHostString, {Value::String("t1")}));
  EXPECT_EQ(PhoneText(runtime_, runtime_.GetField(address, "phone")), "777/4");

  HostValueRecord phones = Phones({});
  Receive("phones", "ns:Phone", phones, kRepeatedElements);
  EXPECT_EQ(PhoneTexts(runtime_, runtime_.ReadArray(phones.value.handle)),
            (std::vector<std::string>{"r1/1", "r2/0"}));
}

// A recursive type nests as deep as its data: a cycle among the host's objects on the way out, or
// a deeply nested response on the way in, meets the nesting limit instead of the stack's end.
TEST_F(StructObjectsTest, NestingIsBoundedBothWays) {
  const HostObject node = runtime_.NewInstance("ns__node");
  runtime_.SetField(node, "ws_next", Value::Object(node));
  EXPECT_EQ(Message([&] { Send("node", "ns:Node", ObjectRecord(node)); }),
            "Structures nested deeper than 256 levels, at the type Node");

  SOAPParameter* level = &response_.AddParameter("result");
  for (int depth = 1; depth <= 1000; ++depth) {
    level->AddParameter("name").SetString(std::to_string(depth).c_str());
    level = &level->AddParameter("next");
  }
  HostValueRecord record = ObjectRecord(0);
  EXPECT_EQ(Message([&] { Receive("result", "ns:Node", record); }), "(no failure)");
  // The levels within the limit are filled; the field of the last one that could go deeper stays
  // null, as a field that fails to convert keeps its value.
  int depth = 0;
  for (Value current = Value::Object(record.value.handle); !current.isNull;
       current = runtime_.GetField(current.AsObject(), "ws_next")) {
    EXPECT_EQ(runtime_.GetField(current.AsObject(), "name").AsString(), std::to_string(++depth));
  }
  EXPECT_EQ(depth, 256);
}

}  // namespace
}  // namespace tssoap::test
