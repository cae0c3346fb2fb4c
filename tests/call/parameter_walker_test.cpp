// The parameter walks on their own: the request tree they build from a description and the host's
// arguments, and what the response walk writes back from a response tree. The host is the
// reference host with the extension's core linked in; the field walks are tested with the object
// path (tests/composite).
#include "call/parameter_walker.h"

#include <gtest/gtest.h>

#include <memory>
#include <regex>
#include <sstream>
#include <string>
#include <variant>
#include <vector>

#include "easysoap/xml_composer.h"
#include "host/entry_points.h"
#include "support/values/soap_exception.h"
#include "testhost/testhost.h"

namespace tssoap {
namespace {

using testhost::Arguments;
using testhost::Runtime;
using testhost::Value;

constexpr const char* kMethodNamespace = "urn:m";

class ParameterWalkerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    XMLComposer::SetAddWhiteSpace(false);
    proxy_ = host_.NewInstance(
        host_.DefineProxyClass("walkproxy", {{"xsd", "http://www.w3.org/2001/XMLSchema"}}));
  }

  // The children of the method element that the request walk builds, as the composer writes them
  // (without type attributes: the rows write those), or "(end of text)".
  std::string Request(const std::string& parameterText, const std::vector<Value>& values) {
    Arguments arguments(host_, values);
    HostCallInfo info{&arguments, nullptr, nullptr};
    SOAPMethod method("m", kMethodNamespace, nullptr, false);
    try {
      ParameterWalker(proxy_, host_).WalkRequest(method, info, parameterText);
    } catch (const SoapScannerException&) {
      return "(end of text)";
    }
    for (const SOAPParameter* child : method.GetParams()) {
      EXPECT_STREQ(child->GetName().GetNamespace().CStr(), kMethodNamespace);
    }
    const std::string xml = XMLComposer::ComposeRequest(method);
    const size_t open = xml.find('>', xml.find("<ns1:m")) + 1;
    if (xml.find("</ns1:m>") == std::string::npos) return "";  // <ns1:m/>
    return std::regex_replace(xml.substr(open, xml.find("</ns1:m>") - open),
                              std::regex(" xsi:type=\"[^\"]*\""), "");
  }

  Runtime host_{{&TSX_GetDescription, &TSX_CreateNonVisualObject}};
  HostObject proxy_ = 0;
};

// Arguments go by position, whatever is sent; "in" anywhere in the direction block sends one.
TEST_F(ParameterWalkerTest, RequestSendsTheInParametersInTheirOrder) {
  const struct {
    const char* parameterText;
    const char* children;
  } cases[] = {
      {"([out] xsd:string a, [in] xsd:string b, [in,out] xsd:string c, [] xsd:string d)",
       "<b xsi:nil=\"true\"/><c>C</c>"},
      {"()", ""},
      {"( )", ""},
      {"([in] xsd:string a,)", "<a>A</a>"},
      {"([in]xsd:string a ,[ out , in ]xsd:string c)", "<a>A</a><c xsi:nil=\"true\"/>"},
      {"([In] xsd:string a, [IN] xsd:string b)", ""},
      // A name is taken by its text, whatever keyword it is.
      {"([in] xsd:string return, [in] xsd:string in) return xsd:string r",
       "<return>A</return><in xsi:nil=\"true\"/>"},
      // Not a parameter list: nothing is read.
      {"[in] xsd:string a", ""},
      // Running out of tokens inside a parameter.
      {"(", "(end of text)"},
      {"([in] xsd:string a", "(end of text)"},
      {"(xsd:string a)", "(end of text)"},
      {"([in] xsd:string[SoapElementName=x a)", "(end of text)"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Request(c.parameterText, {Value::String("A"), Value::Null(kHostString),
                                        Value::String("C"), Value::String("D")}),
              c.children)
        << c.parameterText;
  }
}

// One attribute per block, optionally with the items' name (its prefix dropped); what follows has
// no effect.
TEST_F(ParameterWalkerTest, ArrayBlocksChooseTheLayoutAndTheItemName) {
  const struct {
    const char* block;
    const char* request;
  } cases[] = {
      {"[]", "<p>x</p>"},
      {"[XMLElementName=v]", "<p>x</p>"},
      {"[ SoapElementName = tns:e ]", "<p SOAP-ENC:arrayType=\"xsd:string[1]\"><e>x</e></p>"},
      {"[SoapElementName=e ElementName]", "<p SOAP-ENC:arrayType=\"xsd:string[1]\"><e>x</e></p>"},
      {"[ElementName=]", "<p><item>x</item></p>"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Request(std::string("([in] xsd:string") + c.block + " p)",
                      {Value::Array(kHostString, {Value::String("x")})}),
              c.request)
        << c.block;
  }
}

// Out arguments are found by name until one is missing ("in" only ones are never written, nil
// ones keep their value); the result under its own name, "return" or its type's local name.
TEST_F(ParameterWalkerTest, ResponseWritesBackWhatItFindsByName) {
  const struct {
    const char* parameterText;
    const char* children;  // "name=text", or "name" alone for a nil element
    // The arguments "A B C D" and the result "old" after the walk; a result that the walk writes
    // back from its flags-only snapshot shows as 0.
    const char* outcome;
  } cases[] = {
      {"([in] xsd:string a, [out] xsd:string b, [in,out] xsd:string c, [in, out] xsd:string d)",
       "d c=C2 b=B2 a=A2 extra=E", "A B2 C2 D, old"},
      {"([out] xsd:string a, [out] xsd:string b, [out] xsd:string c)", "a=A2 c=C2",
       "A2 B C D, old; The element 'mResponse' has no child element named 'b'"},
      {"() return xsd:string result", "string=S return=R result=N", "A B C D, N"},
      {"() return xsd:string result", "string=S return=R", "A B C D, R"},
      {"() return xsd:string result", "string=S", "A B C D, S"},
      {"() return xsd:string", "string=S", "A B C D, 0"},
      {"() return xsd:string result ", "result=N", "A B C D, 0"},
      {"()", "result=N", "A B C D, old"},
      {"() return xsd:string result", "other=O",
       "A B C D, old; The element 'mResponse' has no child element named 'string'"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.parameterText);
    SOAPParameter response;
    response.SetName("mResponse", kMethodNamespace);
    std::istringstream children(c.children);
    for (std::string child; children >> child;) {
      const size_t equals = child.find('=');
      SOAPParameter& element = response.AddParameter(child.substr(0, equals).c_str());
      if (equals == std::string::npos) {
        element.SetNull(true);
      } else {
        element.SetString(child.substr(equals + 1).c_str());
      }
    }
    Arguments arguments(
        host_, {Value::String("A"), Value::String("B"), Value::String("C"), Value::String("D")});
    const std::unique_ptr<Runtime::Cell> result = host_.MakeCell(Value::String("old"));
    HostCallInfo info{&arguments, result.get(), nullptr};
    std::string failure;
    try {
      ParameterWalker(proxy_, host_).WalkResponse(response, info, c.parameterText);
    } catch (const SOAPException& thrown) {
      failure = std::string("; ") + thrown.What();
    }
    std::string outcome;
    for (size_t i = 0; i < 4; ++i) outcome += host_.ReadCell(arguments.Cell(i)).AsString() + " ";
    outcome.back() = ',';
    const Value written = host_.ReadCell(*result);
    outcome += std::holds_alternative<std::string>(written.data) ? " " + written.AsString() : " 0";
    EXPECT_EQ(outcome + failure, c.outcome);
  }
}

}  // namespace
}  // namespace tssoap
