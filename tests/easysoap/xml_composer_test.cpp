// Request composition: the envelope per binding style, qualified-name attributes, nil, escaping,
// white space, and text that XML can't carry.
#include "easysoap/xml_composer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "easysoap/library_test_support.h"
#include "easysoap/soap_parser.h"

namespace tssoap::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

SOAPQName XsiType() { return SOAPQName("type", kXsiNamespace); }

TEST(ComposerTest, WritesTheBodyElementByBindingStyle) {
  const std::string rpcBody =
      "<SOAP-ENV:Body><ns1:echoString SOAP-ENV:encodingStyle=\"http://schemas.xmlsoap.org/soap/"
      "encoding/\"><input xsi:type=\"xsd:string\">hi</input></ns1:echoString></SOAP-ENV:Body>";
  // Style 0, unstated, is rpc; rpc ignores the element name; a document element without a
  // namespace of its own takes the method's.
  for (auto [style, elementName, elementNamespace, expectedBody] :
       std::vector<std::tuple<int, const char*, const char*, std::string>>{
           {0, "", "", rpcBody},
           {2, "EchoRequest", "urn:doc", rpcBody},
           {1, "", "",
            "<SOAP-ENV:Body><ns1:echoString><ns1:input xsi:type=\"xsd:string\">hi</ns1:input>"
            "</ns1:echoString></SOAP-ENV:Body>"},
           {1, "EchoRequest", "urn:doc",
            "<SOAP-ENV:Body><ns1:EchoRequest><ns2:input xsi:type=\"xsd:string\">hi</ns2:input>"
            "</ns1:EchoRequest></SOAP-ENV:Body>"},
           {1, "EchoRequest", "",
            "<SOAP-ENV:Body><ns1:EchoRequest><ns1:input xsi:type=\"xsd:string\">hi</ns1:input>"
            "</ns1:EchoRequest></SOAP-ENV:Body>"}}) {
    SCOPED_TRACE(std::to_string(style) + " " + elementName + " " + elementNamespace);
    SOAPMethod method("echoString", kSampleNamespace, "", false);
    method.SetSoapElementName(elementName, elementNamespace);
    method.bindingStyle = style;
    AddTyped(method, "input", "string", "hi");
    std::string xml = XMLComposer::ComposeRequest(method);
    EXPECT_THAT(xml, HasSubstr(expectedBody));
  }
}

// Each child shows one rule; the fragments are what the composer must write for them.
TEST(ComposerTest, WritesValuesAttributesAndStructures) {
  SOAPMethod method("m", "urn:a", nullptr, false);
  method.AddParameter("nil").SetNull();
  SOAPParameter& marked = method.AddParameter("markedNil");  // the mark is not written twice
  marked.AddAttribute(SOAPQName("nil", kXsiNamespace)).SetName("true");
  marked.SetNull();
  method.AddParameter("unmarked").AddAttribute(SOAPQName("nil", kXsiNamespace)).SetName("true");
  method.AddParameter("empty").SetString("");
  method.AddParameter("text").SetString("a<b & c>d \"q\" 'a'\r\n\t");
  method.AddParameter("note").AddAttribute(SOAPQName("n", nullptr)).SetName("<\"&\">\t\n\r");
  SOAPParameter& array = method.AddParameter("array");
  array.AddAttribute(XsiType()).Set("Array", kSoapEncodingNamespace);
  array.AddParameter("item").SetString("x");
  array.AddParameter("item").SetNull();
  for (const char* type : {"T1", "T2"}) {  // one namespace, one declared prefix
    method.AddParameter("own").AddAttribute(XsiType()).Set(type, "urn:b");
  }
  method.AddParameter("methods").AddAttribute(XsiType()).Set("T", "urn:a");
  method.AddParameter("parsed").AddAttribute(XsiType()).Set("q:int", kXsdNamespace);
  SOAPParameter& structure = method.AddParameter("s");
  structure.AddParameter("inner").AddParameter("n").SetString("1");

  std::string xml = XMLComposer::ComposeRequest(method);
  for (const char* fragment : {
           " xmlns:ns1=\"urn:a\" xmlns:ns2=\"urn:b\"><SOAP-ENV:Body>",
           "<nil xsi:nil=\"true\"/><markedNil xsi:nil=\"true\"/><unmarked/><empty/>",
           "<text>a&lt;b &amp; c&gt;d \"q\" 'a'&#xD;\n\t</text>",
           "<note n=\"&lt;&quot;&amp;&quot;&gt;&#x9;&#xA;&#xD;\"/>",
           "<array xsi:type=\"SOAP-ENC:Array\"><item>x</item><item xsi:nil=\"true\"/></array>",
           "<own xsi:type=\"ns2:T1\"/><own xsi:type=\"ns2:T2\"/><methods xsi:type=\"ns1:T\"/>",
           "<parsed xsi:type=\"xsd:int\"/><s><inner><n>1</n></inner></s>",
       }) {
    EXPECT_THAT(xml, HasSubstr(fragment));
  }
}

TEST(ComposerTest, RefusesWhatXmlCantCarry) {
  for (auto [element, text, messagePart] :
       std::vector<std::tuple<const char*, const char*, const char*>>{
           {"t", "a\x01z", "byte 1 is a control character"},
           {"t", "ok\xC3(", "byte 2 is not valid UTF-8"},
           {"t", "\xED\xA0\x80", "not valid UTF-8"},  // a surrogate
           {"t", "\xC0\xAF", "not valid UTF-8"},      // overlong
           {"t", "\xEF\xBF\xBF", "not valid UTF-8"},  // U+FFFF
           {"two words", "", "'two words': it isn't an XML name"},
           {"1st", "", "it isn't an XML name"}}) {
    SCOPED_TRACE(element + std::string(" ") + text);
    SOAPMethod method("m", kSampleNamespace, nullptr, false);
    method.AddParameter(element).SetString(text);
    EXPECT_THAT(Attempt([&] { XMLComposer::ComposeRequest(method); }).text, HasSubstr(messagePart));
  }
}

// The white space switch indents elements, never text; either way the parser reads back what the
// composer wrote: text, nil, structure and order.
TEST(ComposerTest, ComposedRequestParsesBackToTheSameTree) {
  const std::string text = "  <&>\r\n\"' \xE2\x82\xAC  ";
  SOAPMethod method("m", kSampleNamespace, nullptr, false);
  AddTyped(method, "a", "string", text.c_str());
  method.AddParameter("b").SetNull();
  SOAPParameter& list = method.AddParameter("list");
  list.AddParameter("item").SetString("1");
  list.AddParameter("item").SetString("");
  for (bool whiteSpace : {false, true}) {
    SCOPED_TRACE(whiteSpace ? "indented" : "compact");
    XMLComposer::SetAddWhiteSpace(whiteSpace);
    SOAPResponse response;
    std::string xml = XMLComposer::ComposeRequest(method);
    EXPECT_EQ(xml.find("\n      <list>\n        <item>1</item>\n") != std::string::npos,
              whiteSpace);
    EXPECT_EQ(xml.find(">\n") == std::string::npos, !whiteSpace) << "no white space unless asked";
    SOAPParser::ParseResponse(xml.data(), xml.size(), nullptr, response);
    const SOAPParameter& parsed = response.GetMethod();
    EXPECT_THAT(Children(parsed), ElementsAre("a||" + text, "b||(nil)", "list||(null)"));
    EXPECT_THAT(Children(parsed.GetParameter("list")), ElementsAre("item||1", "item||"));
  }
  XMLComposer::SetAddWhiteSpace(false);
}

}  // namespace
}  // namespace tssoap::test
