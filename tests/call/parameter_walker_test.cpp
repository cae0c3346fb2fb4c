// The parameter walks on their own: the request tree they build from a description and the host's
// arguments, what the response walk writes back from a response tree, and the field walks of a
// structure. The host is the reference host with the extension's core linked in.
#include "call/parameter_walker.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "easysoap/xml_composer.h"
#include "host/entry_points.h"
#include "support/values/soap_exception.h"
#include "testhost/testhost.h"

namespace tssoap {
namespace {

using testhost::Runtime;
using testhost::Value;

constexpr const char* kMethodNamespace = "urn:m";

// The arguments of one call, held in cells of the reference host.
class Arguments final : public IHostArguments {
 public:
  Arguments(Runtime& host, const std::vector<Value>& values) {
    for (const Value& value : values) cells_.push_back(host.MakeCell(value));
  }
  int16_t GetCount() override { return static_cast<int16_t>(cells_.size()); }
  IHostValue* GetAt(int16_t index) override { return cells_.at(index).get(); }
  const Runtime::Cell& Cell(size_t index) const { return *cells_.at(index); }

 private:
  std::vector<std::unique_ptr<Runtime::Cell>> cells_;
};

class ParameterWalkerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    XMLComposer::SetAddWhiteSpace(false);
    proxy_ = host_.NewInstance(
        host_.DefineProxyClass("walkproxy", {{"xsd", "http://www.w3.org/2001/XMLSchema"}}));
  }

  // The children of the method element that the walk builds for parameterText and values, as
  // the composer writes them.
  std::string Request(const std::string& parameterText, const std::vector<Value>& values) {
    Arguments arguments(host_, values);
    HostCallInfo info{&arguments, nullptr, nullptr};
    SOAPMethod method("m", kMethodNamespace, nullptr, false);
    ParameterWalker(proxy_, host_).WalkRequest(method, info, parameterText);
    const std::string xml = XMLComposer::ComposeRequest(method);
    const size_t open = xml.find('>', xml.find("<ns1:m"));
    const size_t close = xml.find("</ns1:m>");
    if (open == std::string::npos || close == std::string::npos) return xml;
    return xml.substr(open + 1, close - open - 1);
  }

  Runtime host_{{&TSX_GetDescription, &TSX_CreateNonVisualObject}};
  HostObject proxy_ = 0;
};

// The children of a request method element, as "name=text" or "name=nil", in order.
std::string Children(const SOAPParameter& element) {
  std::string children;
  for (const SOAPParameter* child : element.GetParams()) {
    if (!children.empty()) children += ' ';
    children += child->GetName().GetName().CStr();
    children += '=';
    children += child->IsNull() ? "nil" : child->GetString().CStr();
  }
  return children;
}

TEST_F(ParameterWalkerTest, RequestSendsTheInParametersInTheirOrder) {
  const std::vector<Value> abcd = {Value::String("A"), Value::String("B"), Value::String("C"),
                                   Value::String("D")};
  const struct {
    const char* parameterText;
    std::vector<Value> arguments;
    const char* children;
  } cases[] = {
      {"([out] xsd:string a, [in] xsd:string b, [in,out] xsd:string c, [] xsd:string d)", abcd,
       "b=B c=C"},
      {"()", {}, ""},
      {"( )", abcd, ""},
      {"([in] xsd:string a,)", abcd, "a=A"},
      {"([in]xsd:string a ,[ in ]xsd:string b)", abcd, "a=A b=B"},
      {"([out, in] xsd:string a)", abcd, "a=A"},
      {"([In] xsd:string a, [IN] xsd:string b)", abcd, ""},
      // A name is taken by its text, whatever keyword it is.
      {"([in] xsd:string return, [in] xsd:string in)", abcd, "return=A in=B"},
      {"([in] xsd:string a) return xsd:string r", abcd, "a=A"},
      {"([in] xsd:string a)", {Value::Null(kHostString)}, "a=nil"},
      // Not a parameter list: nothing is read.
      {"[in] xsd:string a", abcd, ""},
  };
  for (const auto& c : cases) {
    Arguments arguments(host_, c.arguments);
    HostCallInfo info{&arguments, nullptr, nullptr};
    SOAPMethod method("m", kMethodNamespace, nullptr, false);
    const std::string text = c.parameterText;
    ParameterWalker(proxy_, host_).WalkRequest(method, info, text);
    EXPECT_EQ(Children(method), c.children) << c.parameterText;
    for (const SOAPParameter* child : method.GetParams()) {
      EXPECT_STREQ(child->GetName().GetNamespace().CStr(), kMethodNamespace) << c.parameterText;
    }
  }
}

TEST_F(ParameterWalkerTest, RequestRunsOutOfTokensInsideAParameter) {
  const char* texts[] = {
      "(",
      "([in] xsd:string a",
      "([in] xsd:string",
      "([in",
      "(xsd:string a)",
      "([in] xsd:string a,",
      "([in] xsd:string[SoapElementName=x a)",
  };
  for (const char* text : texts) {
    Arguments arguments(host_, {Value::String("A")});
    HostCallInfo info{&arguments, nullptr, nullptr};
    SOAPMethod method("m", kMethodNamespace, nullptr, false);
    const std::string parameterText = text;
    EXPECT_THROW(ParameterWalker(proxy_, host_).WalkRequest(method, info, parameterText),
                 SoapScannerException)
        << text;
  }
}

TEST_F(ParameterWalkerTest, ArrayBlocksChooseTheLayoutAndTheItemName) {
  const Value items = Value::Array(kHostString, {Value::String("x"), Value::String("y")});
  const struct {
    const char* block;
    const char* request;
  } cases[] = {
      {"[]", "<p xsi:type=\"xsd:string\">x</p><p xsi:type=\"xsd:string\">y</p>"},
      {"[XMLElementName=v]", "<p xsi:type=\"xsd:string\">x</p><p xsi:type=\"xsd:string\">y</p>"},
      {"[SoapElementName=entry]",
       "<p xsi:type=\"SOAP-ENC:Array\" SOAP-ENC:arrayType=\"xsd:string[2]\">"
       "<entry>x</entry><entry>y</entry></p>"},
      {"[ SoapElementName = tns:entry ]",
       "<p xsi:type=\"SOAP-ENC:Array\" SOAP-ENC:arrayType=\"xsd:string[2]\">"
       "<entry>x</entry><entry>y</entry></p>"},
      {"[SoapElementName]",
       "<p xsi:type=\"SOAP-ENC:Array\" SOAP-ENC:arrayType=\"xsd:string[2]\">"
       "<item>x</item><item>y</item></p>"},
      // One attribute per block: what follows its value has no effect.
      {"[SoapElementName=entry ElementName]",
       "<p xsi:type=\"SOAP-ENC:Array\" SOAP-ENC:arrayType=\"xsd:string[2]\">"
       "<entry>x</entry><entry>y</entry></p>"},
      {"[ElementName=]",
       "<p><item xsi:type=\"xsd:string\">x</item><item xsi:type=\"xsd:string\">y</item></p>"},
      {"[ElementName=order]",
       "<p><order xsi:type=\"xsd:string\">x</order><order xsi:type=\"xsd:string\">y</order></p>"},
  };
  for (const auto& c : cases) {
    const std::string text = std::string("([in] xsd:string") + c.block + " p)";
    EXPECT_EQ(Request(text, {items}), c.request) << c.block;
  }
}

class ResponseWalk : public ParameterWalkerTest {
 protected:
  // A response element with the given children ("nil" marks a nil one).
  static SOAPParameter Response(const std::vector<std::pair<const char*, const char*>>& children) {
    SOAPParameter response;
    response.SetName("mResponse", kMethodNamespace);
    for (const auto& [name, text] : children) {
      SOAPParameter& child = response.AddParameter(name);
      if (std::string_view(text) == "nil") {
        child.SetNull(true);
      } else {
        child.SetString(text);
      }
    }
    return response;
  }
};

TEST_F(ResponseWalk, WritesBackOutArgumentsFoundByName) {
  const std::string text =
      "([in] xsd:string a, [out] xsd:string b, [in,out] xsd:string c, [in, out] xsd:string d)";
  const SOAPParameter response =
      Response({{"d", "nil"}, {"c", "C2"}, {"b", "B2"}, {"a", "A2"}, {"extra", "E"}});
  Arguments arguments(
      host_, {Value::String("A"), Value::String("B"), Value::String("C"), Value::String("D")});
  HostCallInfo info{&arguments, nullptr, nullptr};
  ParameterWalker(proxy_, host_).WalkResponse(response, info, text);
  // "a" only goes in, and "d" came back nil: both keep their values.
  EXPECT_EQ(host_.ReadCell(arguments.Cell(0)).AsString(), "A");
  EXPECT_EQ(host_.ReadCell(arguments.Cell(1)).AsString(), "B2");
  EXPECT_EQ(host_.ReadCell(arguments.Cell(2)).AsString(), "C2");
  EXPECT_EQ(host_.ReadCell(arguments.Cell(3)).AsString(), "D");
  EXPECT_FALSE(arguments.Cell(0).Touched());
}

TEST_F(ResponseWalk, AMissingOutElementEndsTheWalkAfterTheOnesBeforeIt) {
  const std::string text = "([out] xsd:string a, [out] xsd:string b, [out] xsd:string c)";
  const SOAPParameter response = Response({{"a", "A2"}, {"c", "C2"}});
  Arguments arguments(host_, {Value::String("A"), Value::String("B"), Value::String("C")});
  HostCallInfo info{&arguments, nullptr, nullptr};
  try {
    ParameterWalker(proxy_, host_).WalkResponse(response, info, text);
    ADD_FAILURE() << "the missing element was not reported";
  } catch (const SOAPException& failure) {
    EXPECT_NE(std::string(failure.What()).find('b'), std::string::npos) << failure.What();
  }
  EXPECT_EQ(host_.ReadCell(arguments.Cell(0)).AsString(), "A2");
  EXPECT_EQ(host_.ReadCell(arguments.Cell(2)).AsString(), "C");
}

TEST_F(ResponseWalk, LooksForTheResultUnderThreeNames) {
  const struct {
    const char* name;
    std::vector<std::pair<const char*, const char*>> children;
    const char* parameterText;
    const char* expected;  // null: a SOAPException
  } cases[] = {
      {"own name first",
       {{"string", "S"}, {"return", "R"}, {"result", "N"}},
       "() return xsd:string result",
       "N"},
      {"then return", {{"string", "S"}, {"return", "R"}}, "() return xsd:string result", "R"},
      {"then the type's local name", {{"string", "S"}}, "() return xsd:string result", "S"},
      {"no name behind the type", {{"string", "S"}}, "() return xsd:string", "old"},
      {"blank in front of the end", {{"result", "N"}}, "() return xsd:string result ", "old"},
      {"no return part", {{"result", "N"}}, "()", "old"},
      {"none of the three", {{"other", "O"}}, "() return xsd:string result", nullptr},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const SOAPParameter response = Response(c.children);
    Arguments arguments(host_, {});
    const std::unique_ptr<Runtime::Cell> result = host_.MakeCell(Value::String("old"));
    HostCallInfo info{&arguments, result.get(), nullptr};
    const std::string text = c.parameterText;
    if (c.expected == nullptr) {
      EXPECT_THROW(ParameterWalker(proxy_, host_).WalkResponse(response, info, text),
                   SOAPException);
      EXPECT_EQ(host_.ReadCell(*result).AsString(), "old");
      continue;
    }
    ParameterWalker(proxy_, host_).WalkResponse(response, info, text);
    if (std::string_view(c.expected) != "old") {
      EXPECT_EQ(host_.ReadCell(*result).AsString(), c.expected);
    }
  }
}

testhost::FieldSpec Field(const char* name, HostValueKind kind) {
  testhost::FieldSpec field;
  field.name = name;
  field.kind = kind;
  return field;
}

TEST_F(ParameterWalkerTest, FieldWalksCarryAStructureBothWays) {
  host_.DefineStructure("tns__address", {Field("street", kHostString), Field("zip", kHostLong),
                                         Field("ws_end", kHostString)});
  const HostObject address = host_.NewInstance("tns__address");
  host_.SetField(address, "street", Value::String("Main"));
  host_.SetField(address, "zip", Value::Long(12345));
  host_.SetField(address, "ws_end", Value::String("E"));
  const std::string fields = "(xsd:string street, xsd:int zip, xsd:string end)";

  SOAPParameter parent;
  parent.SetName("address", "urn:a");
  ParameterWalker(proxy_, host_).WalkStructOut(parent, address, fields);
  EXPECT_EQ(Children(parent), "street=Main zip=12345 end=E");
  for (const SOAPParameter* child : parent.GetParams()) {
    EXPECT_STREQ(child->GetName().GetNamespace().CStr(), "urn:a");
  }

  // A field that is missing, or that doesn't convert, keeps its value and is not reported.
  SOAPParameter answer;
  answer.AddParameter("street").SetString("Side");
  answer.AddParameter("zip").SetString("not a number");
  ParameterWalker(proxy_, host_).WalkStructIn(answer, address, fields);
  EXPECT_EQ(host_.GetField(address, "street").AsString(), "Side");
  EXPECT_EQ(host_.GetField(address, "zip").AsInt(), 12345);
  EXPECT_EQ(host_.GetField(address, "ws_end").AsString(), "E");
}

}  // namespace
}  // namespace tssoap
