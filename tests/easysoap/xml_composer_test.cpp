// Request composition: the envelope per binding style, qualified-name attributes, nil, escaping,
// white space, and text that XML can't carry.
#include "easysoap/xml_composer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "common/server_process.h"
#include "easysoap/soap_parser.h"
#include "support/values/soap_exception.h"

namespace tssoap::test {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

constexpr const char* kEnvelopeStart =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>"
    "<SOAP-ENV:Envelope xmlns:SOAP-ENV=\"http://schemas.xmlsoap.org/soap/envelope/\""
    " xmlns:SOAP-ENC=\"http://schemas.xmlsoap.org/soap/encoding/\""
    " xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\""
    " xmlns:xsd=\"http://www.w3.org/2001/XMLSchema\"";

class ComposerTest : public ::testing::Test {
 protected:
  void SetUp() override { XMLComposer::SetAddWhiteSpace(false); }
  void TearDown() override { XMLComposer::SetAddWhiteSpace(false); }
};

// A string parameter as the extension's scalar conversion writes it.
SOAPParameter& AddTyped(SOAPParameter& parent, const char* name, const char* type,
                        const char* text) {
  SOAPParameter& child = parent.AddParameter("");
  child.SetName(name, kSampleNamespace);
  child.AddAttribute(SOAPQName("type", kXsiNamespace)).Set(type, kXsdNamespace);
  child.SetString(text);
  return child;
}

struct StyleCase {
  const char* name;
  int style;
  const char* elementName;  // for SetSoapElementName; empty for none
  const char* elementNamespace;
  std::string expectedBody;
};

TEST_F(ComposerTest, WritesTheBodyElementByBindingStyle) {
  const std::string rpcBody =
      "<SOAP-ENV:Body><ns1:echoString SOAP-ENV:encodingStyle=\"http://schemas.xmlsoap.org/soap/"
      "encoding/\"><input xsi:type=\"xsd:string\">hi</input></ns1:echoString></SOAP-ENV:Body>";
  const StyleCase cases[] = {
      {"unstated is rpc", 0, "", "", rpcBody},
      {"rpc", 2, "", "", rpcBody},
      {"rpc ignores the element name", 2, "EchoRequest", "urn:doc", rpcBody},
      {"document without element name", 1, "", "",
       "<SOAP-ENV:Body><ns1:echoString><ns1:input xsi:type=\"xsd:string\">hi</ns1:input>"
       "</ns1:echoString></SOAP-ENV:Body>"},
      {"document with element name", 1, "EchoRequest", "urn:doc",
       "<SOAP-ENV:Body><ns1:EchoRequest><ns2:input xsi:type=\"xsd:string\">hi</ns2:input>"
       "</ns1:EchoRequest></SOAP-ENV:Body>"},
      {"document element without namespace takes the method's", 1, "EchoRequest", "",
       "<SOAP-ENV:Body><ns1:EchoRequest><ns1:input xsi:type=\"xsd:string\">hi</ns1:input>"
       "</ns1:EchoRequest></SOAP-ENV:Body>"},
  };
  for (const StyleCase& c : cases) {
    SCOPED_TRACE(c.name);
    SOAPMethod method("echoString", kSampleNamespace, "", false);
    method.SetSoapElementName(c.elementName, c.elementNamespace);
    method.bindingStyle = c.style;
    AddTyped(method, "input", "string", "hi");
    std::string xml = XMLComposer::ComposeRequest(method);
    EXPECT_THAT(xml, HasSubstr(c.expectedBody));
    EXPECT_EQ(xml.rfind(kEnvelopeStart, 0), 0u) << xml;
    EXPECT_THAT(xml, HasSubstr("=\"urn:tssoap-sample\""));
  }
}

TEST_F(ComposerTest, StyleArgumentOverridesTheMethodsMember) {
  SOAPMethod method("echoString", kSampleNamespace, nullptr, false);
  AddTyped(method, "input", "string", "hi");
  std::string xml;
  XMLComposer::ComposeRequest(method, XMLComposer::kDocumentStyle, xml);
  EXPECT_THAT(xml, Not(HasSubstr("encodingStyle")));
  XMLComposer::ComposeRequest(method, XMLComposer::kRpcStyle, xml);
  EXPECT_THAT(xml, HasSubstr("encodingStyle"));
  EXPECT_EQ(xml.find("<?xml"), 0u) << "the buffer is replaced, not appended to";
}

struct FragmentCase {
  const char* name;
  std::function<void(SOAPMethod&)> build;
  std::string expected;
};

TEST_F(ComposerTest, WritesValuesAttributesAndStructures) {
  const FragmentCase cases[] = {
      {"nil element carries xsi:nil and no text",
       [](SOAPMethod& m) { m.AddParameter("gone").SetNull(); }, "<gone xsi:nil=\"true\"/>"},
      {"a nil mark in the attributes is not written twice",
       [](SOAPMethod& m) {
         SOAPParameter& p = m.AddParameter("gone");
         p.AddAttribute(SOAPQName("nil", kXsiNamespace)).SetName("true");
         p.SetNull();
       },
       "<gone xsi:nil=\"true\"/>"},
      {"a nil attribute without the mark is dropped",
       [](SOAPMethod& m) {
         m.AddParameter("here").AddAttribute(SOAPQName("nil", kXsiNamespace)).SetName("true");
       },
       "<here/>"},
      {"empty text is an empty element", [](SOAPMethod& m) { m.AddParameter("e").SetString(""); },
       "<e/>"},
      {"text is escaped",
       [](SOAPMethod& m) { m.AddParameter("t").SetString("a<b & c>d \"q\" 'a'\r\n\t"); },
       "<t>a&lt;b &amp; c&gt;d \"q\" 'a'&#xD;\n\t</t>"},
      {"attribute text is escaped",
       [](SOAPMethod& m) {
         m.AddParameter("t").AddAttribute(SOAPQName("note", nullptr)).SetName("<\"&\">\t\n\r");
       },
       "<t note=\"&lt;&quot;&amp;&quot;&gt;&#x9;&#xA;&#xD;\"/>"},
      {"UTF-8 text passes unchanged",
       [](SOAPMethod& m) {
         m.AddParameter("t").SetString("gr\xC3\xBC\xC3\x9F \xE2\x82\xAC \xF0\x9F\x98\x80");
       },
       "<t>gr\xC3\xBC\xC3\x9F \xE2\x82\xAC \xF0\x9F\x98\x80</t>"},
      {"encoded array: QName-valued type and arrayType with declared prefixes",
       [](SOAPMethod& m) {
         SOAPParameter& a = m.AddParameter("list");
         a.AddAttribute(SOAPQName("type", kXsiNamespace)).Set("Array", kSoapEncodingNamespace);
         a.AddAttribute(SOAPQName("arrayType", kSoapEncodingNamespace))
             .Set("string[2]", kXsdNamespace);
         a.SetIsStruct();
         a.AddParameter("item").SetString("x");
         a.AddParameter("item").SetNull();
       },
       "<item>x</item><item xsi:nil=\"true\"/></list>"},
      {"a type in a namespace of its own gets a declared prefix",
       [](SOAPMethod& m) {
         m.AddParameter("p")
             .AddAttribute(SOAPQName("type", kXsiNamespace))
             .Set("Phone", "urn:types");
       },
       "<p xsi:type=\"ns2:Phone\"/>"},
      {"a QName value that kept its prefix from a parse is written with ours",
       [](SOAPMethod& m) {
         m.AddParameter("p")
             .AddAttribute(SOAPQName("type", kXsiNamespace))
             .Set("xsd:int", kXsdNamespace);
       },
       "<p xsi:type=\"xsd:int\"/>"},
      {"nested structure",
       [](SOAPMethod& m) {
         SOAPParameter& s = m.AddParameter("s");
         s.SetIsStruct();
         s.AddParameter("text").SetString("t");
         SOAPParameter& inner = s.AddParameter("inner");
         inner.AddParameter("n").SetString("1");
       },
       "<s><text>t</text><inner><n>1</n></inner></s>"},
  };
  for (const FragmentCase& c : cases) {
    SCOPED_TRACE(c.name);
    SOAPMethod method("m", kSampleNamespace, nullptr, false);
    method.bindingStyle = 2;
    c.build(method);
    std::string xml = XMLComposer::ComposeRequest(method);
    EXPECT_THAT(xml, HasSubstr(c.expected));
  }
}

TEST_F(ComposerTest, DeclaresEveryNamespaceOnceOnTheEnvelope) {
  SOAPMethod method("m", "urn:a", nullptr, false);
  for (const char* type : {"T1", "T2", "T3"}) {
    method.AddParameter("p").AddAttribute(SOAPQName("type", kXsiNamespace)).Set(type, "urn:b");
  }
  method.AddParameter("q").AddAttribute(SOAPQName("type", kXsiNamespace)).Set("T", "urn:a");
  std::string xml = XMLComposer::ComposeRequest(method);
  EXPECT_THAT(xml, HasSubstr(" xmlns:ns1=\"urn:a\" xmlns:ns2=\"urn:b\">"));
  EXPECT_THAT(xml, HasSubstr("<q xsi:type=\"ns1:T\"/>"));
  EXPECT_EQ(xml.find("xmlns:ns3"), std::string::npos);
}

TEST_F(ComposerTest, WhiteSpaceSwitchIndentsElementsButNotText) {
  SOAPMethod method("m", kSampleNamespace, nullptr, false);
  SOAPParameter& s = method.AddParameter("s");
  s.AddParameter("text").SetString("two  blanks");
  XMLComposer::SetAddWhiteSpace(true);
  std::string indented = XMLComposer::ComposeRequest(method);
  EXPECT_THAT(indented, HasSubstr("\n      <s>\n        <text>two  blanks</text>\n      </s>\n"));
  EXPECT_TRUE(XMLComposer::GetAddWhiteSpace());
  XMLComposer::SetAddWhiteSpace(false);
  EXPECT_EQ(XMLComposer::ComposeRequest(method).find('\n'), std::string::npos);
}

TEST_F(ComposerTest, RefusesWhatXmlCantCarry) {
  struct BadCase {
    const char* name;
    std::function<void(SOAPMethod&)> build;
    const char* messagePart;
  };
  const BadCase cases[] = {
      {"control character", [](SOAPMethod& m) { m.AddParameter("t").SetString("a\x01z"); },
       "byte 1 is a control character"},
      {"invalid UTF-8", [](SOAPMethod& m) { m.AddParameter("t").SetString("ok\xC3("); },
       "byte 2 is not valid UTF-8"},
      {"UTF-8 surrogate", [](SOAPMethod& m) { m.AddParameter("t").SetString("\xED\xA0\x80"); },
       "not valid UTF-8"},
      {"overlong UTF-8", [](SOAPMethod& m) { m.AddParameter("t").SetString("\xC0\xAF"); },
       "not valid UTF-8"},
      {"U+FFFF", [](SOAPMethod& m) { m.AddParameter("t").SetString("\xEF\xBF\xBF"); },
       "not valid UTF-8"},
      {"control character in an attribute",
       [](SOAPMethod& m) {
         m.AddParameter("t").AddAttribute(SOAPQName("a", nullptr)).SetName("\x1b");
       },
       "control character"},
      {"element name with a blank", [](SOAPMethod& m) { m.AddParameter("two words"); },
       "'two words': it isn't an XML name"},
      {"empty element name", [](SOAPMethod& m) { m.AddParameter(""); }, "it isn't an XML name"},
      {"name beginning with a digit", [](SOAPMethod& m) { m.AddParameter("1st"); },
       "it isn't an XML name"},
  };
  for (const BadCase& c : cases) {
    SCOPED_TRACE(c.name);
    SOAPMethod method("m", kSampleNamespace, nullptr, false);
    c.build(method);
    try {
      XMLComposer::ComposeRequest(method);
      ADD_FAILURE() << "composed without complaint";
    } catch (const SOAPException& e) {
      EXPECT_THAT(e.What(), HasSubstr(c.messagePart));
    }
  }
}

// What the composer writes, the parser reads back unchanged: text, nil, attributes and their
// QName values, structure and order.
TEST_F(ComposerTest, ComposedRequestParsesBackToTheSameTree) {
  for (bool whiteSpace : {false, true}) {
    SCOPED_TRACE(whiteSpace ? "indented" : "compact");
    XMLComposer::SetAddWhiteSpace(whiteSpace);
    SOAPMethod method("m", kSampleNamespace, nullptr, false);
    AddTyped(method, "a", "string", "  <&>\r\n\"' \xE2\x82\xAC  ");
    method.AddParameter("b").SetNull();
    SOAPParameter& list = method.AddParameter("list");
    list.AddAttribute(SOAPQName("arrayType", kSoapEncodingNamespace)).Set("int[2]", kXsdNamespace);
    list.AddParameter("item").SetString("1");
    list.AddParameter("item").SetString("");

    SOAPResponse response;
    std::string xml = XMLComposer::ComposeRequest(method);
    SOAPParser::ParseResponse(xml.data(), xml.size(), nullptr, response);
    const SOAPParameter& parsed = response.GetMethod();
    EXPECT_EQ(std::string(parsed.GetName().GetName().CStr()), "m");
    EXPECT_EQ(std::string(parsed.GetName().GetNamespace().CStr()), kSampleNamespace);
    ASSERT_EQ(parsed.GetParams().Size(), 3u);
    EXPECT_STREQ(parsed.GetParameter("a").GetString().CStr(), "  <&>\r\n\"' \xE2\x82\xAC  ");
    auto type = parsed.GetParameter("a").GetAttributes().Find(SOAPQName("type", kXsiNamespace));
    ASSERT_NE(type, parsed.GetParameter("a").GetAttributes().End());
    EXPECT_STREQ(type.Value().GetName().CStr(), "xsd:string");
    EXPECT_STREQ(type.Value().GetNamespace().CStr(), kXsdNamespace);
    EXPECT_TRUE(parsed.GetParameter("b").IsNull());
    const SOAPParameter& parsedList = parsed.GetParameter("list");
    ASSERT_EQ(parsedList.GetParams().Size(), 2u);
    EXPECT_STREQ(parsedList.GetParams()[0]->GetString().CStr(), "1");
    EXPECT_FALSE(parsedList.GetParams()[1]->GetString().IsNull()) << "an empty item stays empty";
    auto arrayType =
        parsedList.GetAttributes().Find(SOAPQName("arrayType", kSoapEncodingNamespace));
    ASSERT_NE(arrayType, parsedList.GetAttributes().End());
    EXPECT_STREQ(arrayType.Value().GetName().CStr(), "xsd:int[2]");
  }
}

}  // namespace
}  // namespace tssoap::test
