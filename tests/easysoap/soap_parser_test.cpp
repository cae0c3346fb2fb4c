// Parsing answers: namespaces and attributes, nil, multi-reference values, encodings, faults,
// and the limits a hostile server can't push past.
#include "easysoap/soap_parser.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "common/misbehaving_servers.h"
#include "common/server_process.h"
#include "support/values/soap_exception.h"

namespace tssoap::test {
namespace {

using ::testing::HasSubstr;

const SOAPParameter& Parse(const std::string& xml, SOAPResponse& response,
                           const char* charset = nullptr) {
  SOAPParser::ParseResponse(xml.data(), xml.size(), charset, response);
  return response.GetMethod();
}

// The parse's error text, or "" when it succeeded.
std::string ParseError(const std::string& xml, const SOAPParser::Limits& limits = {}) {
  SOAPResponse response;
  try {
    SOAPParser::ParseResponse(xml.data(), xml.size(), nullptr, response, limits);
  } catch (const SOAPFaultException& e) {
    return std::string("fault: ") + e.What();
  } catch (const SOAPException& e) {
    return e.What() != nullptr ? e.What() : "(no text)";
  }
  return "";
}

std::string AttributeText(const SOAPParameter& element, const char* name, const char* ns) {
  auto found = element.GetAttributes().Find(SOAPQName(name, ns));
  return found == element.GetAttributes().End() ? "<absent>" : found.Value().GetName().CStr();
}

std::string AttributeNamespace(const SOAPParameter& element, const char* name, const char* ns) {
  auto found = element.GetAttributes().Find(SOAPQName(name, ns));
  return found == element.GetAttributes().End() ? "<absent>" : found.Value().GetNamespace().CStr();
}

TEST(SoapParserTest, ReadsNamesNamespacesAndAttributes) {
  SOAPResponse response;
  const SOAPParameter& method = Parse(
      "<e:Envelope xmlns:e='http://schemas.xmlsoap.org/soap/envelope/'>"
      "<e:Header><h:token xmlns:h='urn:h'>secret</h:token></e:Header>"
      "<e:Body><r:answer xmlns:r='urn:r' xmlns='urn:default' plain='p' r:qualified='q'>"
      "<inDefault>1</inDefault><none xmlns=''>2</none><r:prefixed>3</r:prefixed>"
      "</r:answer><second/></e:Body></e:Envelope>",
      response);
  EXPECT_STREQ(method.GetName().GetName().CStr(), "answer");
  EXPECT_STREQ(method.GetName().GetNamespace().CStr(), "urn:r");
  EXPECT_EQ(response.GetBody().GetParams().Size(), 2u) << "the Header is not part of the Body";
  EXPECT_EQ(AttributeText(method, "plain", nullptr), "p");
  EXPECT_EQ(AttributeText(method, "plain", ""), "p") << "null and empty namespaces are one";
  EXPECT_EQ(AttributeText(method, "qualified", "urn:r"), "q");
  EXPECT_EQ(AttributeText(method, "qualified", nullptr), "<absent>");

  struct ChildCase {
    const char* name;
    const char* ns;
    const char* text;
  };
  const ChildCase children[] = {
      {"inDefault", "urn:default", "1"}, {"none", "", "2"}, {"prefixed", "urn:r", "3"}};
  ASSERT_EQ(method.GetParams().Size(), 3u);
  for (uint32_t i = 0; i < 3; ++i) {
    SCOPED_TRACE(children[i].name);
    const SOAPParameter& child = *method.GetParams()[i];
    EXPECT_STREQ(child.GetName().GetName().CStr(), children[i].name);
    EXPECT_STREQ(child.GetName().GetNamespace().CStr(), children[i].ns);
    EXPECT_STREQ(child.GetString().CStr(), children[i].text);
  }
}

TEST(SoapParserTest, ResolvesPrefixesOfQNameValuedAttributes) {
  struct Case {
    const char* attribute;
    const char* expectedText;
    const char* expectedNamespace;
  };
  const Case cases[] = {
      {"xsi:type='xsd:int'", "xsd:int", kXsdNamespace},
      {"xsi:type='int'", "int", "urn:default"},  // unprefixed: the default namespace
      {"xsi:type='nope:int'", "nope:int", ""},   // undeclared prefix: text alone
      {"enc:arrayType='xsd:string[3]'", "xsd:string[3]", kXsdNamespace},
      {"other='xsd:int'", "xsd:int", ""},  // not QName-valued: no namespace
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.attribute);
    std::string xml = std::string(
                          "<e:Envelope xmlns:e='http://schemas.xmlsoap.org/soap/envelope/' "
                          "xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance' "
                          "xmlns:xsd='http://www.w3.org/2001/XMLSchema' "
                          "xmlns:enc='http://schemas.xmlsoap.org/soap/encoding/'>"
                          "<e:Body><m xmlns='urn:default' ") +
                      c.attribute + "/></e:Body></e:Envelope>";
    SOAPResponse response;
    const SOAPParameter& method = Parse(xml, response);
    ASSERT_EQ(method.GetAttributes().Count(), 1u);
    auto it = method.GetAttributes().Begin();
    EXPECT_STREQ(it.Value().GetName().CStr(), c.expectedText);
    EXPECT_STREQ(it.Value().GetNamespace().CStr(), c.expectedNamespace);
  }
}

TEST(SoapParserTest, MarksNilElementsAndKeepsTheAttribute) {
  struct Case {
    const char* attribute;
    bool nil;
  };
  const Case cases[] = {
      {"xsi:nil='true'", true},   {"xsi:nil='1'", true},      {"xsi99:null='1'", false},
      {"xsi99:nil='true'", true}, {"xsi:nil='false'", false}, {"nil='true'", false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.attribute);
    std::string xml = SoapEnvelope(
        std::string("<ns:r xmlns:xsi99='http://www.w3.org/1999/XMLSchema-instance'><v ") +
        c.attribute + "/></ns:r>");
    SOAPResponse response;
    const SOAPParameter& v = Parse(xml, response).GetParameter("v");
    EXPECT_EQ(v.IsNull(), c.nil);
    EXPECT_EQ(v.GetAttributes().Count(), 1u);
  }
}

TEST(SoapParserTest, LeavesKeepEmptyTextAndStructuresDropLayoutWhiteSpace) {
  SOAPResponse response;
  const SOAPParameter& method =
      Parse(SoapEnvelope("<ns:r>\n  <empty></empty>\n  <blank>  </blank>\n  <s>\n    <a>1</a>\n  "
                         "</s>\n</ns:r>"),
            response);
  EXPECT_FALSE(method.GetParameter("empty").GetString().IsNull());
  EXPECT_STREQ(method.GetParameter("empty").GetString().CStr(), "");
  EXPECT_STREQ(method.GetParameter("blank").GetString().CStr(), "  ");
  EXPECT_TRUE(method.GetParameter("s").GetString().IsNull());
  EXPECT_TRUE(method.GetString().IsNull());
}

TEST(SoapParserTest, ResolvesMultiReferenceValuesAnywhereInTheBody) {
  SOAPResponse response;
  const SOAPParameter& method = Parse(SoapEnvelope(kMultiReferenceBody), response);
  EXPECT_STREQ(method.GetName().GetName().CStr(), "echoStructResponse");
  const SOAPParameter& result = method.GetParameter("result");
  EXPECT_STREQ(result.GetParameter("text").GetString().CStr(), "shared");
  EXPECT_STREQ(result.GetParameter("number").GetString().CStr(), "7");
  EXPECT_EQ(AttributeText(result, "type", kXsiNamespace), "ns:SampleStruct")
      << "the attributes in force are the referenced element's";
  EXPECT_EQ(AttributeText(result, "href", nullptr), "<absent>");
  EXPECT_EQ(result.GetOwnValue().attributes.Count(), 1u) << "its own data keeps the href";
  const SOAPParameter& list = result.GetParameter("list");  // a reference before its target
  ASSERT_EQ(list.GetParams().Size(), 3u);
  EXPECT_STREQ(list.GetParams()[2]->GetString().CStr(), "three");
  EXPECT_EQ(AttributeNamespace(list, "arrayType", kSoapEncodingNamespace), kXsdNamespace);

  // A copy carries the referenced data as its own.
  SOAPParameter copy(result);
  EXPECT_EQ(&copy.GetValue(), &copy.GetOwnValue());
  EXPECT_STREQ(copy.GetParameter("list").GetParams()[0]->GetString().CStr(), "one");
}

TEST(SoapParserTest, FollowsReferencesToReferences) {
  SOAPResponse response;
  const SOAPParameter& method = Parse(
      SoapEnvelope("<ns:r><a href='#b'/></ns:r><x id='b' href='#c'/><y id='c'><v>end</v></y>"),
      response);
  EXPECT_STREQ(method.GetParameter("a").GetParameter("v").GetString().CStr(), "end");
}

TEST(SoapParserTest, RefusesBrokenOrExplodingReferences) {
  struct Case {
    const char* name;
    std::string body;
    const char* messagePart;
  };
  // Each level refers twice to the next: 2^24 elements once expanded, from 25 short lines.
  std::string doubling = "<ns:r><a href='#l0'/></ns:r>";
  for (int level = 0; level < 24; ++level) {
    doubling += "<l id='l" + std::to_string(level) + "'><p href='#l" + std::to_string(level + 1) +
                "'/><q href='#l" + std::to_string(level + 1) + "'/></l>";
  }
  doubling += "<l id='l24'>leaf</l>";
  // A chain of references, each one level deeper than the last.
  std::string deep = "<ns:r><a href='#d0'/></ns:r>";
  for (int level = 0; level < 300; ++level) {
    deep += "<d id='d" + std::to_string(level) + "'><c href='#d" + std::to_string(level + 1) +
            "'/></d>";
  }
  deep += "<d id='d300'/>";
  const Case cases[] = {
      {"dangling", "<ns:r><a href='#nowhere'/></ns:r>",
       "'#nowhere' in the answer points at no element"},
      {"reference cycle", "<ns:r><a href='#x'/></ns:r><b id='x' href='#y'/><c id='y' href='#x'/>",
       "form a cycle"},
      {"value containing itself", "<ns:r><a href='#x'/></ns:r><b id='x'><c href='#x'/></b>",
       "make a value contain itself"},
      {"values containing each other",
       "<ns:r><a href='#x'/></ns:r><b id='x'><c href='#y'/></b><d id='y'><e href='#x'/></d>",
       "make a value contain itself"},
      {"duplicate id", "<ns:r><a id='x'/><b id='x'/></ns:r>", "gives the id 'x' to more than one"},
      {"exponential sharing", doubling, "expand to more than the limit of 2000000 elements"},
      {"deep chain", deep, "nest values deeper than the limit of 256 levels"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_THAT(ParseError(SoapEnvelope(c.body)), HasSubstr(c.messagePart));
  }
}

std::string Utf16(const std::string& ascii, bool bigEndian, bool bom) {
  std::string out;
  if (bom) out = bigEndian ? "\xFE\xFF" : "\xFF\xFE";
  for (char c : ascii) {
    if (bigEndian) out.push_back('\0');
    out.push_back(c);
    if (!bigEndian) out.push_back('\0');
  }
  return out;
}

TEST(SoapParserTest, ReadsTheEncodingsServersUse) {
  const std::string envelopeHead =
      "<e:Envelope xmlns:e='http://schemas.xmlsoap.org/soap/envelope/'><e:Body><m><t>";
  const std::string envelopeTail = "</t></m></e:Body></e:Envelope>";
  struct Case {
    const char* name;
    std::string document;
    const char* charset;
    const char* expectedUtf8;
  };
  const Case cases[] = {
      {"UTF-8 with byte order mark", "\xEF\xBB\xBF" + envelopeHead + "\xC3\xBC" + envelopeTail,
       nullptr, "\xC3\xBC"},
      {"UTF-16 little endian", Utf16(envelopeHead + "u" + envelopeTail, false, true), nullptr, "u"},
      {"UTF-16 big endian", Utf16(envelopeHead + "u" + envelopeTail, true, true), nullptr, "u"},
      {"ISO-8859-1 declared",
       "<?xml version='1.0' encoding='ISO-8859-1'?>" + envelopeHead + "\xFC\xDF" + envelopeTail,
       nullptr, "\xC3\xBC\xC3\x9F"},
      {"windows-1252 declared",
       "<?xml version='1.0' encoding='windows-1252'?>" + envelopeHead + "\x80\x93" + envelopeTail,
       nullptr, "\xE2\x82\xAC\xE2\x80\x9C"},
      {"HTTP charset when the document states none", envelopeHead + "\xE9" + envelopeTail,
       "ISO-8859-1", "\xC3\xA9"},
      {"the document's declaration beats the HTTP charset",
       "<?xml version='1.0' encoding='UTF-8'?>" + envelopeHead + "\xC3\xA9" + envelopeTail,
       "ISO-8859-1", "\xC3\xA9"},
      {"character references", envelopeHead + "&#x20AC;&#233;&lt;" + envelopeTail, nullptr,
       "\xE2\x82\xAC\xC3\xA9<"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    SOAPResponse response;
    EXPECT_STREQ(Parse(c.document, response, c.charset).GetParameter("t").GetString().CStr(),
                 c.expectedUtf8);
  }
  EXPECT_THAT(
      ParseError("<?xml version='1.0' encoding='EBCDIC-XY'?>" + envelopeHead + envelopeTail),
      HasSubstr("not well-formed XML: unknown encoding"));
}

TEST(SoapParserTest, RefusesWhatIsNoUsableEnvelope) {
  struct Case {
    const char* name;
    std::string document;
    const char* messagePart;
  };
  const Case cases[] = {
      {"empty", "", "not well-formed XML: no element found at line 1"},
      {"plain text", "Service unavailable",
       "not well-formed XML: syntax error at line 1, column 1"},
      {"unclosed element", SoapEnvelope("<ns:r><a></ns:r>"), "mismatched tag at line 1"},
      {"not an envelope", "<html><body>hi</body></html>",
       "not a SOAP envelope: its root element is 'html' in the namespace ''"},
      {"SOAP 1.2", "<e:Envelope xmlns:e='http://www.w3.org/2003/05/soap-envelope'/>",
       "SOAP 1.2 envelope; this client speaks SOAP 1.1"},
      {"no Body",
       "<e:Envelope xmlns:e='http://schemas.xmlsoap.org/soap/envelope/'><e:Header/></e:Envelope>",
       "envelope has no Body"},
      {"billion laughs", kBillionLaughsDocument,
       "document type declaration, which SOAP doesn't allow"},
      {"external entity",
       "<!DOCTYPE e [<!ENTITY x SYSTEM 'file:///etc/passwd'>]><e:Envelope "
       "xmlns:e='http://schemas.xmlsoap.org/soap/envelope/'><e:Body><m>&x;</m></e:Body></"
       "e:Envelope>",
       "document type declaration"},
      {"undeclared entity", SoapEnvelope("<ns:r>&nope;</ns:r>"), "undefined entity"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_THAT(ParseError(c.document), HasSubstr(c.messagePart));
  }
}

TEST(SoapParserTest, EnforcesItsLimits) {
  std::string deep;
  for (int i = 0; i < 300; ++i) deep += "<d>";
  for (int i = 0; i < 300; ++i) deep += "</d>";
  std::string many;
  for (int i = 0; i < 100; ++i) many += "<i/>";

  SOAPParser::Limits small;
  small.maxElements = 50;
  small.maxBytes = 4096;
  SOAPParser::Limits tiny;
  tiny.maxBytes = 100;

  EXPECT_THAT(ParseError(SoapEnvelope(deep)),
              HasSubstr("nests elements deeper than the limit of 256 levels"));
  EXPECT_THAT(ParseError(SoapEnvelope("<ns:r>" + many + "</ns:r>"), small),
              HasSubstr("more than the limit of 50 elements"));
  EXPECT_THAT(ParseError(SoapEnvelope("<ns:r>" + std::string(5000, 'x') + "</ns:r>"), small),
              HasSubstr("larger than the limit of 4096 bytes"));
  EXPECT_THAT(ParseError(SoapEnvelope("<ns:r/>"), tiny),
              HasSubstr("larger than the limit of 100 bytes"));
  EXPECT_EQ(ParseError(SoapEnvelope("<ns:r>" + many.substr(0, 4 * 40) + "</ns:r>"), small), "");
}

TEST(SoapParserTest, PacksTheFaultIntoTheFaultText) {
  struct Case {
    const char* name;
    std::string body;
    std::string expected;
  };
  const Case cases[] = {
      {"code, string and detail",
       "<SOAP-ENV:Fault><faultcode>SOAP-ENV:Server</faultcode><faultstring>No &lt;luck&gt;"
       "</faultstring><detail><ns:problem><code xsi:type='xsd:int'>42</code></ns:problem>"
       "</detail></SOAP-ENV:Fault>",
       "<tssp_fcode>SOAP-ENV:Server</tssp_fcode><tssp_fstring>No <luck></tssp_fstring>"
       "<tssp_fdetailmessage><ns:problem xmlns:ns=\"urn:tssoap-sample\"><code xsi:type=\"xsd:int\""
       " xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\""
       " xmlns:xsd=\"http://www.w3.org/2001/XMLSchema\">42</code></ns:problem>"
       "</tssp_fdetailmessage>"},
      {"no detail",
       "<SOAP-ENV:Fault><faultcode>Client</faultcode><faultstring>bad</faultstring>"
       "</SOAP-ENV:Fault>",
       "<tssp_fcode>Client</tssp_fcode><tssp_fstring>bad</tssp_fstring>"
       "<tssp_fdetailmessage></tssp_fdetailmessage>"},
      {"text detail is escaped again",
       "<SOAP-ENV:Fault><faultcode>c</faultcode><faultstring>s</faultstring>"
       "<detail>a &amp; b</detail></SOAP-ENV:Fault>",
       "<tssp_fcode>c</tssp_fcode><tssp_fstring>s</tssp_fstring>"
       "<tssp_fdetailmessage>a &amp; b</tssp_fdetailmessage>"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(ParseError(SoapEnvelope(c.body)), "fault: " + c.expected);
  }
}

TEST(SoapParserTest, CutsALongFaultButKeepsEveryTag) {
  std::string longDetail;
  for (int i = 0; i < 500; ++i) longDetail += "<line>\xC3\xA9t\xC3\xA9</line>";
  std::string text = ParseError(SoapEnvelope(
      "<SOAP-ENV:Fault><faultcode>Server</faultcode><faultstring>" + std::string(300, 's') +
      "</faultstring><detail>" + longDetail + "</detail></SOAP-ENV:Fault>"));
  EXPECT_LE(text.size(), std::string("fault: ").size() + SOAPException::kMessageLimit - 1);
  EXPECT_THAT(text, HasSubstr("<tssp_fstring>" + std::string(300, 's') + "</tssp_fstring>"));
  EXPECT_THAT(text, HasSubstr("<tssp_fdetailmessage><line>"));
  EXPECT_EQ(text.rfind("</tssp_fdetailmessage>"), text.size() - 22);
  // The cut falls between characters, never inside one.
  size_t end = text.size() - 22;
  EXPECT_NE(static_cast<unsigned char>(text[end - 1]), 0xC3);
}

TEST(SoapParserTest, AFaultThatIsNotTheFirstElementIsAnAnswer) {
  SOAPResponse response;
  const SOAPParameter& method = Parse(
      SoapEnvelope("<ns:r>ok</ns:r><SOAP-ENV:Fault><faultcode>c</faultcode></SOAP-ENV:Fault>"),
      response);
  EXPECT_STREQ(method.GetString().CStr(), "ok");
}

TEST(SoapParserTest, ANewParseReplacesTheOldAnswer) {
  SOAPResponse response;
  Parse(SoapEnvelope("<ns:first><a>1</a></ns:first>"), response);
  EXPECT_THAT(ParseError("not xml"), HasSubstr("not well-formed"));
  const SOAPParameter& method = Parse(SoapEnvelope("<ns:second/>"), response);
  EXPECT_STREQ(method.GetName().GetName().CStr(), "second");
  EXPECT_EQ(response.GetBody().GetParams().Size(), 1u);
}

}  // namespace
}  // namespace tssoap::test
