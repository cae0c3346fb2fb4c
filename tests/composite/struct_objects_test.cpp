// The object path through the reference host: structures and arrays of structures written to
// element trees in the three layouts, and read back from element trees as a response would hold
// them. The elements are compared as compact dumps, so that names, namespaces, attributes, order
// and nil marks are all seen at once.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "call/parameter_walker.h"
#include "support/soap_vocabulary.h"
#include "support/values/soap_exception.h"
#include "testhost/testhost.h"

namespace tssoap {
namespace {

using testhost::FieldSpec;
using testhost::Runtime;
using testhost::Value;

constexpr const char* kShop = "urn:shop";

// "shop:" for urn:shop and so on; other namespaces in braces.
std::string Prefixed(const SOAPQName& name) {
  const std::string ns = name.GetNamespace().CStr();
  std::string prefix;
  if (ns == kShop) prefix = "shop:";
  if (ns == kXsdNamespace2001) prefix = "xsd:";
  if (ns == kSoapEncNamespace) prefix = "enc:";
  if (ns == kXsiNamespace) prefix = "xsi:";
  if (prefix.empty() && !ns.empty()) prefix = "{" + ns + "}";
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
  if (!element.GetParams().IsEmpty()) {
    out += " (";
    bool first = true;
    for (const SOAPParameter* child : element.GetParams()) {
      if (!first) out += " ";
      out += Dump(*child);
      first = false;
    }
    out += ")";
  }
  return out;
}

HostValueRecord ObjectRecord(HostObject object) {
  HostValueRecord record{};
  record.isObject = 1;
  record.isNull = object == 0 ? 1 : 0;
  record.value.handle = object;
  return record;
}

HostValueRecord ObjectArrayRecord(HostArray array) {
  HostValueRecord record = ObjectRecord(array);
  record.isArray = 1;
  return record;
}

// A proxy that describes a phone, an address that holds one, and types that are described wrongly
// or lack a class; the host knows the structure classes of phone and address.
class StructObjectsTest : public ::testing::Test {
 protected:
  StructObjectsTest() {
    runtime_.DefineStructure("tns__phone",
                             {Field("number", kHostString), Field("kind", kHostLong)});
    FieldSpec tags = Field("tags", kHostString);
    tags.isArray = true;
    FieldSpec phone = Field("phone", kHostUnknown);
    phone.isObject = true;
    phone.className = "tns__phone";
    // "next" is a reserved word of the host language: the field lives in "ws_next".
    FieldSpec next = Field("ws_next", kHostUnknown);
    next.isObject = true;
    next.className = "tns__node";
    runtime_.DefineStructure("tns__node", {Field("name", kHostString), next});
    runtime_.DefineStructure("tns__address",
                             {Field("street", kHostString), Field("zip", kHostLong), tags, phone});
    const HostClass proxyClass = runtime_.DefineProxyClass(
        "shopproxy", {{"xsd", kXsdNamespace2001},
                      {"tns", kShop},
                      {"__tns__phone", "Phone(xsd:string number, xsd:int kind)@tns"},
                      {"__tns__address",
                       "Address(xsd:string street, xsd:int zip, xsd:string[SoapElementName] tags, "
                       "tns:Phone phone)@tns"},
                      {"__tns__ghost", "Ghost(xsd:string name)@tns"},
                      {"__tns__node", "Node(xsd:string name, tns:Node next)@tns"},
                      {"__tns__noparen", "NoParen@tns"},
                      {"__tns__noat", "NoAt(xsd:string name)"},
                      {"__tns__lostns", "LostNs(xsd:string name)@elsewhere"},
                      {"__tns__nulldescription", std::nullopt}});
    proxy_ = runtime_.NewInstance(proxyClass);
    method_.SetName("echo", kShop);
  }

  static FieldSpec Field(const char* name, HostValueKind kind) {
    FieldSpec field;
    field.name = name;
    field.kind = kind;
    return field;
  }

  HostObject Phone(const char* number, int32_t kind) {
    const HostObject phone = runtime_.NewInstance("tns__phone");
    runtime_.SetField(phone, "number", Value::String(number));
    runtime_.SetField(phone, "kind", Value::Long(kind));
    return phone;
  }

  HostArray Phones(std::vector<HostObject> phones, bool bounded = false) {
    Value::Items items;
    for (HostObject phone : phones) {
      items.push_back(phone != 0 ? Value::Object(phone) : Value::NullObject("tns__phone"));
    }
    return runtime_.MakeArray(Value::ObjectArray("tns__phone", items, bounded));
  }

  // Sends one value the way the request walk does: a child of the method named "input" (or, for
  // repeated elements, a free-standing element that only carries the name).
  void Send(const char* typeName, HostValueRecord record, ArrayStyle style,
            const char* elementName = "item", const char* name = "input") {
    ParameterWalker walker(proxy_, runtime_);
    const std::string type = typeName;
    if (style == kRepeatedElements) {
      SOAPParameter nameOnly;
      nameOnly.SetName(name, kShop);
      walker.DispatchOut(nameOnly, type, record, style, elementName, method_);
      return;
    }
    SOAPParameter& child = method_.AddParameter("");
    child.SetName(name, kShop);
    walker.DispatchOut(child, type, record, style, elementName, method_);
  }

  // Reads the element named name of response into record, the way the response walk does.
  void Receive(const SOAPParameter& response, const char* name, const char* typeName,
               HostValueRecord& record, ArrayStyle style, const char* elementName = "item") {
    ParameterWalker walker(proxy_, runtime_);
    walker.DispatchIn(response.GetParameter(name), typeName, record, style, elementName, response);
  }

  std::string Message(const std::function<void()>& action) {
    try {
      action();
    } catch (const SOAPException& failure) {
      return failure.What() != nullptr ? failure.What() : "(no message)";
    }
    return "(no failure)";
  }

  Runtime runtime_;
  HostObject proxy_ = 0;
  SOAPParameter method_;
};

TEST_F(StructObjectsTest, StructureGoesOutWithItsFieldsInListOrder) {
  const HostObject address = runtime_.NewInstance("tns__address");
  runtime_.SetField(address, "street", Value::String("Main"));
  runtime_.SetField(address, "zip", Value::Long(12345));
  runtime_.SetField(address, "tags",
                    Value::Array(kHostString, {Value::String("a"), Value::String("b")}));
  runtime_.SetField(address, "phone", Value::Object(Phone("555", 2)));

  Send("tns:Address", ObjectRecord(address), kScalar);

  EXPECT_EQ(Dump(method_),
            "shop:echo (shop:input @xsi:type=shop:Address ("
            "shop:street @xsi:type=xsd:string='Main' "
            "shop:zip @xsi:type=xsd:int='12345' "
            "shop:tags @enc:arrayType=xsd:string[2] @xsi:type=enc:Array (item='a' item='b') "
            "shop:phone @xsi:type=shop:Phone ("
            "shop:number @xsi:type=xsd:string='555' shop:kind @xsi:type=xsd:int='2')))");
  EXPECT_TRUE(runtime_.Misuses().empty());
}

TEST_F(StructObjectsTest, NullObjectsGoOutAsNilElements) {
  const HostObject address = runtime_.NewInstance("tns__address");
  runtime_.SetField(address, "street", Value::String("Main"));
  Send("tns:Address", ObjectRecord(address), kScalar);
  Send("tns:Phone", ObjectRecord(0), kScalar, "item", "nothing");

  EXPECT_EQ(Dump(method_),
            "shop:echo (shop:input @xsi:type=shop:Address ("
            "shop:street @xsi:type=xsd:string='Main' "
            "shop:zip @xsi:type=xsd:int='0' "
            "shop:tags @enc:arrayType=xsd:string[0] @xsi:type=enc:Array "
            "shop:phone nil) "
            "shop:nothing nil)");
  EXPECT_TRUE(runtime_.Misuses().empty());
}

// The three layouts of an array of structures, with a null item, and of empty and null arrays.
TEST_F(StructObjectsTest, ArraysOfStructuresGoOutInTheirLayouts) {
  struct Case {
    const char* name;
    ArrayStyle style;
    const char* elementName;
    bool empty;
    bool null;
    const char* dump;
  };
  const Case cases[] = {
      {"encoded", kEncodedArray, "p", false, false,
       "shop:echo (shop:input @enc:arrayType=shop:Phone[3] @xsi:type=enc:Array ("
       "p (number @xsi:type=xsd:string='1' kind @xsi:type=xsd:int='1') "
       "p nil "
       "p (number @xsi:type=xsd:string='3' kind @xsi:type=xsd:int='3')))"},
      {"repeated", kRepeatedElements, "item", false, false,
       "shop:echo ("
       "shop:input @xsi:type=shop:Phone ("
       "shop:number @xsi:type=xsd:string='1' shop:kind @xsi:type=xsd:int='1') "
       "shop:input nil "
       "shop:input @xsi:type=shop:Phone ("
       "shop:number @xsi:type=xsd:string='3' shop:kind @xsi:type=xsd:int='3'))"},
      {"wrapped", kWrappedArray, "tns:p", false, false,
       "shop:echo (shop:input ("
       "shop:p @xsi:type=shop:Phone ("
       "shop:number @xsi:type=xsd:string='1' shop:kind @xsi:type=xsd:int='1') "
       "shop:p nil "
       "shop:p @xsi:type=shop:Phone ("
       "shop:number @xsi:type=xsd:string='3' shop:kind @xsi:type=xsd:int='3')))"},
      {"encoded empty", kEncodedArray, "p", true, false,
       "shop:echo (shop:input @enc:arrayType=shop:Phone[0] @xsi:type=enc:Array)"},
      {"encoded null", kEncodedArray, "p", false, true,
       "shop:echo (shop:input @enc:arrayType=shop:Phone[0] @xsi:type=enc:Array)"},
      {"repeated empty", kRepeatedElements, "item", true, false, "shop:echo"},
      {"repeated null", kRepeatedElements, "item", false, true, "shop:echo"},
      {"wrapped empty", kWrappedArray, "p", true, false, "shop:echo (shop:input)"},
      {"wrapped null", kWrappedArray, "p", false, true, "shop:echo (shop:input)"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    method_.ClearValue();
    HostValueRecord record = ObjectArrayRecord(0);
    if (!c.null) {
      record = ObjectArrayRecord(c.empty ? Phones({}) : Phones({Phone("1", 1), 0, Phone("3", 3)}));
    }
    Send("tns:Phone", record, c.style, c.elementName);
    EXPECT_EQ(Dump(method_), c.dump);
  }
  EXPECT_TRUE(runtime_.Misuses().empty());
  EXPECT_EQ(runtime_.OutstandingArrayInfos(), 0);
}

TEST_F(StructObjectsTest, RefusesWhatItCantSend) {
  struct Case {
    const char* name;
    const char* typeName;
    ArrayStyle style;
    bool boundedArray;
    const char* message;
  };
  const Case cases[] = {
      {"bounded, encoded", "tns:Phone", kEncodedArray, true,
       "SoapCLient Error: Can't support Bounded array"},
      {"bounded, repeated", "tns:Phone", kRepeatedElements, true,
       "SoapCLient Error: Can't support Bounded array"},
      {"bounded, wrapped", "tns:Phone", kWrappedArray, true,
       "SoapCLient Error: Can't support Bounded array"},
      {"no description", "tns:Unknown", kScalar, false, "Can't map the XML data type: tns:Unknown"},
      {"null description", "tns:NullDescription", kScalar, false,
       "Can't map the XML data type: tns:NullDescription"},
      {"no field list", "tns:NoParen", kScalar, false, "Can't map the XML data type: tns:NoParen"},
      {"no namespace variable named", "tns:NoAt", kScalar, false,
       "Can't map the XML data type: tns:NoAt"},
      {"namespace variable missing", "tns:LostNs", kScalar, false,
       "Can't map the XML data type: tns:LostNs"},
      {"no description, encoded array", "tns:Unknown", kEncodedArray, false,
       "Can't map the XML data type: tns:Unknown"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    method_.ClearValue();
    const HostObject phone = Phone("1", 1);
    HostValueRecord record = c.style == kScalar
                                 ? ObjectRecord(phone)
                                 : ObjectArrayRecord(Phones({phone}, c.boundedArray));
    EXPECT_EQ(Message([&] { Send(c.typeName, record, c.style); }), c.message);
  }
  EXPECT_EQ(runtime_.OutstandingArrayInfos(), 0);
}

// A response as gSOAP writes it: unqualified children, types on the items.
class StructResponseTest : public StructObjectsTest {
 protected:
  StructResponseTest() { response_.SetName("echoResponse", kShop); }

  SOAPParameter& AddPhone(SOAPParameter& parent, const char* name, const char* number,
                          const char* kind) {
    SOAPParameter& phone = parent.AddParameter(name);
    phone.AddAttribute(Vocabulary().type).Set("Phone", kShop);
    if (number != nullptr) phone.AddParameter("number").SetString(number);
    if (kind != nullptr) phone.AddParameter("kind").SetString(kind);
    return phone;
  }

  Value::Items ReadPhones(HostArray array) {
    Value::Items phones;
    const Value items = runtime_.ReadArray(array);
    for (const Value& item : items.AsItems()) {
      if (item.isNull) {
        phones.push_back(Value::NullObject("tns__phone"));
        continue;
      }
      phones.push_back(
          Value::String(runtime_.GetField(item.AsObject(), "number").AsString() + "/" +
                        std::to_string(runtime_.GetField(item.AsObject(), "kind").AsInt())));
    }
    return phones;
  }

  SOAPParameter response_;
};

TEST_F(StructResponseTest, StructureIsFilledInPlaceAndNestedOnesAreMade) {
  SOAPParameter& result = response_.AddParameter("result");
  result.AddAttribute(Vocabulary().type).Set("DerivedAddress", kShop);  // not read
  result.AddParameter("zip").SetString("99");
  result.AddParameter("unlisted").SetString("x");
  SOAPParameter& tags = result.AddParameter("tags");
  tags.AddAttribute(Vocabulary().arrayType).Set("xsd:string[2]", nullptr);
  tags.AddParameter("item").SetString("t1");
  tags.AddParameter("item").SetString("t2");
  AddPhone(result, "phone", "777", "4");

  const HostObject address = runtime_.NewInstance("tns__address");
  runtime_.SetField(address, "street", Value::String("kept"));
  HostValueRecord record = ObjectRecord(address);
  Receive(response_, "result", "tns:Address", record, kScalar);

  EXPECT_EQ(record.value.handle, address);
  EXPECT_EQ(runtime_.GetField(address, "street").AsString(), "kept");
  EXPECT_EQ(runtime_.GetField(address, "zip").AsInt(), 99);
  EXPECT_EQ(runtime_.GetField(address, "tags"),
            Value::Array(kHostString, {Value::String("t1"), Value::String("t2")}));
  const Value phone = runtime_.GetField(address, "phone");
  ASSERT_FALSE(phone.isNull);
  EXPECT_EQ(runtime_.GetField(phone.AsObject(), "number").AsString(), "777");
  EXPECT_EQ(runtime_.GetField(phone.AsObject(), "kind").AsInt(), 4);

  // With no instance in hand, one is made of the declared class.
  HostValueRecord fresh = ObjectRecord(0);
  Receive(response_, "result", "tns:Address", fresh, kScalar);
  ASSERT_NE(fresh.value.handle, 0u);
  EXPECT_EQ(fresh.isNull, 0);
  EXPECT_EQ(runtime_.GetClass(fresh.value.handle), runtime_.GetClass(address));
  EXPECT_EQ(runtime_.GetField(fresh.value.handle, "zip").AsInt(), 99);
  EXPECT_TRUE(runtime_.Misuses().empty());
}

// Arrays of structures coming in: encoded and wrapped arrays take every child whatever its name
// and whatever array attributes it carries; repeated elements take the siblings of the name.
TEST_F(StructResponseTest, ArraysOfStructuresAreReadInTheirLayouts) {
  SOAPParameter& encoded = response_.AddParameter("encoded");
  encoded.AddAttribute(Vocabulary().arrayType).Set("Phone[5]", kShop);
  encoded.AddAttribute(Vocabulary().offset).SetName("[3]");
  AddPhone(encoded, "item", "1", "1").AddAttribute(Vocabulary().position).SetName("[4]");
  encoded.AddParameter("other").SetNull(true);
  AddPhone(encoded, "item", "3", nullptr);
  SOAPParameter& wrapped = response_.AddParameter("wrapped");
  AddPhone(wrapped, "p", "w1", "1");
  AddPhone(response_, "phones", "r1", "1");
  response_.AddParameter("between").SetString("x");
  AddPhone(response_, "phones", "r2", "2");

  struct Case {
    const char* name;
    ArrayStyle style;
    Value::Items phones;
  };
  const Case cases[] = {
      {"encoded", kEncodedArray, {Value::String("1/1"), Value::String("/0"), Value::String("3/0")}},
      {"wrapped", kWrappedArray, {Value::String("w1/1")}},
      {"phones", kRepeatedElements, {Value::String("r1/1"), Value::String("r2/2")}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    HostValueRecord record = ObjectArrayRecord(
        runtime_.NewUnboundedObjectArray(runtime_.GetClass(runtime_.NewInstance("tns__phone"))));
    Receive(response_, c.name, "tns:Phone", record, c.style);
    EXPECT_EQ(ReadPhones(record.value.handle), c.phones);
  }
  EXPECT_TRUE(runtime_.Misuses().empty());
  EXPECT_EQ(runtime_.OutstandingArrayInfos(), 0);
}

TEST_F(StructResponseTest, RefusesWhatItCantRead) {
  AddPhone(response_, "phones", "r1", "1");
  SOAPParameter& wrapped = response_.AddParameter("wrapped");
  AddPhone(wrapped, "item", "w1", "1");

  // A bounded host array is refused for repeated elements only; the other two layouts write
  // into it as the host lets them.
  HostValueRecord bounded = ObjectArrayRecord(Phones({0}, true));
  EXPECT_EQ(Message([&] { Receive(response_, "phones", "tns:Phone", bounded, kRepeatedElements); }),
            "SoapClient Error: Can't support Bounded array");
  // A type without a structure class can't be mapped.
  HostValueRecord ghost = ObjectRecord(0);
  EXPECT_EQ(Message([&] { Receive(response_, "wrapped", "tns:Ghost", ghost, kScalar); }),
            "Can't map the XML data type: tns:Ghost");
  HostValueRecord ghosts = ObjectArrayRecord(Phones({}));
  EXPECT_EQ(Message([&] { Receive(response_, "wrapped", "tns:Ghost", ghosts, kWrappedArray); }),
            "Can't map the XML data type: tns:Ghost");
  // In repeated elements an item that fails ends the walk without a word.
  HostValueRecord silent = ObjectArrayRecord(Phones({}));
  EXPECT_EQ(Message([&] { Receive(response_, "phones", "tns:Ghost", silent, kRepeatedElements); }),
            "(no failure)");
  EXPECT_TRUE(ReadPhones(silent.value.handle).empty());
  EXPECT_EQ(runtime_.OutstandingArrayInfos(), 0);
}

// A recursive type nests as deep as its data: a cycle among the host's objects on the way out, or
// a deeply nested response on the way in, meets the nesting limit instead of the stack's end.
TEST_F(StructResponseTest, NestingIsBoundedBothWays) {
  const HostObject node = runtime_.NewInstance("tns__node");
  runtime_.SetField(node, "ws_next", Value::Object(node));
  EXPECT_EQ(Message([&] { Send("tns:Node", ObjectRecord(node), kScalar); }),
            "Structures nested deeper than 256 levels, at the type Node");

  SOAPParameter* level = &response_.AddParameter("result");
  for (int depth = 1; depth <= 1000; ++depth) {
    level->AddParameter("name").SetString(std::to_string(depth).c_str());
    level = &level->AddParameter("next");
  }
  HostValueRecord record = ObjectRecord(0);
  EXPECT_EQ(Message([&] { Receive(response_, "result", "tns:Node", record, kScalar); }),
            "(no failure)");
  // The levels within the limit are filled; the field of the last one that could go deeper stays
  // null, as a field that fails to convert keeps its value.
  int depth = 0;
  for (Value current = Value::Object(record.value.handle); !current.isNull;
       current = runtime_.GetField(current.AsObject(), "ws_next")) {
    ++depth;
    EXPECT_EQ(runtime_.GetField(current.AsObject(), "name").AsString(), std::to_string(depth));
  }
  EXPECT_EQ(depth, 256);
}

}  // namespace
}  // namespace tssoap
