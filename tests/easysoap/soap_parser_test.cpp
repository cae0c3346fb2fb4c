// The element tree (children by local name, deep copies, assignment, clearing, the value in
// force of a multi-reference element, changes to parsed elements) and parsing answers into it:
// namespaces and attributes, nil, multi-reference values, encodings, faults, the limits a
// hostile server can't push past, and the deadline.
#include "easysoap/soap_parser.h"

#include <expat.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <tuple>
#include <vector>

#include "common/misbehaving_servers.h"
#include "easysoap/library_test_support.h"
#include "easysoap/soap_parameter.h"

namespace tssoap::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

const SOAPParameter& Parse(const std::string& xml, SOAPResponse& response,
                           const char* charset = nullptr) {
  SOAPParser::ParseResponse(xml.data(), xml.size(), charset, response);
  return response.GetMethod();
}

Outcome ParseOutcome(const std::string& xml, const SOAPParser::Limits& limits = {}) {
  SOAPResponse response;
  return Attempt(
      [&] { SOAPParser::ParseResponse(xml.data(), xml.size(), nullptr, response, limits); });
}

// "text|namespace" of an attribute's value.
std::string Attribute(const SOAPParameter& element, const char* name, const char* ns) {
  auto found = element.GetAttributes().Find(SOAPQName(name, ns));
  if (found == element.GetAttributes().End()) return "<absent>";
  return std::string(found.Value().GetName().CStr()) + "|" + found.Value().GetNamespace().CStr();
}

// The method element is the Body's first element, even when a Fault follows it. A qualified-name
// value resolves its prefix (none: the default namespace; an undeclared one: the text alone; more
// in the multi-reference test); other values get no namespace. Only a true xsi:nil, 2001 or 1999,
// makes a nil.
TEST(SoapParserTest, ReadsNamesNamespacesTextAttributesAndNil) {
  SOAPResponse response;
  const SOAPParameter& method = Parse(
      "<e:Envelope xmlns:e='http://schemas.xmlsoap.org/soap/envelope/' xmlns:xsi='" +
          std::string(kXsiNamespace) +
          "' xmlns:x99='http://www.w3.org/1999/XMLSchema-instance'>"
          "<e:Header><h:token xmlns:h='urn:h'>secret</h:token></e:Header>"
          "<e:Body><r:answer xmlns:r='urn:r' xmlns='urn:d' plain='p' r:qualified='q'>\n"
          " <inDefault>1</inDefault><none xmlns=''>2</none><r:prefixed>3</r:prefixed>\n"
          " <empty></empty><blank>  </blank><s>\n  <a>1</a>\n </s>\n"
          "<b xsi:type='int'/><c xsi:type='nope:int'/><e other='xsd:int'/><f xsi:nil='true'/>"
          "<g xsi:nil='1'/><h x99:nil='true'/><i xsi:nil='false'/><j nil='true'/><k x99:null='1'/>"
          "</r:answer><e:Fault><faultcode>c</faultcode></e:Fault></e:Body></e:Envelope>",
      response);
  EXPECT_EQ(NameOf(method), "answer|urn:r");
  EXPECT_EQ(response.GetBody().GetParams().Size(), 2u) << "the Header is not part of the Body";
  EXPECT_EQ(Attribute(method, "plain", nullptr), "p|");
  EXPECT_EQ(Attribute(method, "plain", ""), "p|") << "null and empty namespaces are one";
  EXPECT_EQ(Attribute(method, "qualified", "urn:r"), "q|");
  EXPECT_EQ(Attribute(method, "qualified", nullptr), "<absent>");
  EXPECT_TRUE(method.GetString().IsNull()) << "layout white space is no text";
  EXPECT_THAT(Children(method),
              ElementsAre("inDefault|urn:d|1", "none||2", "prefixed|urn:r|3", "empty|urn:d|",
                          "blank|urn:d|  ", "s|urn:d|(null)", "b|urn:d|", "c|urn:d|", "e|urn:d|",
                          "f|urn:d|(nil)", "g|urn:d|(nil)", "h|urn:d|(nil)", "i|urn:d|", "j|urn:d|",
                          "k|urn:d|"));
  const char* xsi = kXsiNamespace;
  EXPECT_EQ(Attribute(method.GetParameter("b"), "type", xsi), "int|urn:d");
  EXPECT_EQ(Attribute(method.GetParameter("c"), "type", xsi), "nope:int|");
  EXPECT_EQ(Attribute(method.GetParameter("e"), "other", nullptr), "xsd:int|");
  EXPECT_EQ(Attribute(method.GetParameter("f"), "nil", xsi), "true|") << "the attribute stays";
}

// Elements whose tags carry the same attributes as a recent tag share its table, as a record's
// fields do item after item; under a prefix declared anew a qualified-name value takes the new
// namespace, and back outside the old one again.
TEST(SoapParserTest, ElementsShareAttributeTablesOnlyWhereTheyMeanTheSame) {
  std::string fields;
  for (int i = 0; i < 3; ++i) {
    fields += "<a xsi:type='t:A'/><b xsi:type='t:B' n='1'/><c xsi:type='t:A' n='2'/>";
  }
  SOAPResponse response;
  const SOAPParameter& method =
      Parse("<e:Envelope xmlns:e='http://schemas.xmlsoap.org/soap/envelope/' xmlns:xsi='" +
                std::string(kXsiNamespace) + "' xmlns:t='urn:t1'><e:Body><m>" + fields +
                "<d xmlns:t='urn:t2'><a xsi:type='t:A'/><b xsi:type='t:B' n='1'/></d>" + fields +
                "</m></e:Body></e:Envelope>",
            response);
  auto shown = [](const SOAPParameter& element) {
    return NameOf(element) + " " + Attribute(element, "type", kXsiNamespace) + " " +
           Attribute(element, "n", nullptr);
  };
  const std::vector<std::string> record = {"a| t:A|urn:t1 <absent>", "b| t:B|urn:t1 1|",
                                           "c| t:A|urn:t1 2|"};
  std::vector<std::string> expected;
  for (int i = 0; i < 6; ++i) {
    if (i == 3) expected.push_back("d| <absent> <absent>");
    expected.insert(expected.end(), record.begin(), record.end());
  }
  std::vector<std::string> seen;
  for (const SOAPParameter* child : method.GetParams()) seen.push_back(shown(*child));
  EXPECT_EQ(seen, expected);
  const SOAPParameter& inner = method.GetParameter("d");
  EXPECT_EQ(shown(inner.GetParameter("a")), "a| t:A|urn:t2 <absent>");
  EXPECT_EQ(shown(inner.GetParameter("b")), "b| t:B|urn:t2 1|");
}

TEST(SoapParserTest, ResolvesMultiReferenceValuesAnywhereInTheBody) {
  SOAPResponse response;
  const SOAPParameter& result =
      Parse(SoapEnvelope(kMultiReferenceBody), response).GetParameter("result");
  EXPECT_THAT(Children(result), ElementsAre("text||shared", "number||7", "list||(null)"));
  EXPECT_EQ(Attribute(result, "type", kXsiNamespace), "ns:SampleStruct|urn:tssoap-sample")
      << "the attributes in force are the referenced element's";
  EXPECT_EQ(result.GetOwnValue().attributes.Count(), 1u) << "its own data keeps the href";
  SOAPParameter copy(result);  // carries the referenced data as its own
  EXPECT_EQ(&copy.GetValue(), &copy.GetOwnValue());
  EXPECT_EQ(Children(copy), Children(result));
  const SOAPParameter& list = result.GetParameter("list");  // a reference before its target
  EXPECT_THAT(Children(list), ElementsAre("item||one", "item||two", "item||three"));
  EXPECT_EQ(Attribute(list, "arrayType", kSoapEncodingNamespace),
            std::string("xsd:string[3]|") + kXsdNamespace);

  const SOAPParameter& chained = Parse(
      SoapEnvelope("<ns:r><a href='#b'/></ns:r><x id='b' href='#c'/><y id='c'><v>end</v></y>"),
      response);
  EXPECT_STREQ(chained.GetParameter("a").GetParameter("v").GetString().CStr(), "end");
}

TEST(SoapParserTest, ReadsTheEncodingsServersUse) {
  const std::string head =
      "<e:Envelope xmlns:e='http://schemas.xmlsoap.org/soap/envelope/'><e:Body><m><t>";
  const std::string tail = "</t></m></e:Body></e:Envelope>";
  std::string utf16 = "\xFF\xFE";  // little endian, with its byte order mark
  for (char c : head + "u" + tail) utf16 += {c, '\0'};
  // The document's own encoding beats the HTTP charset, which counts only when there is none.
  for (auto [document, charset, expectedUtf8] :
       std::vector<std::tuple<std::string, const char*, const char*>>{
           {utf16, "ISO-8859-1", "u"},
           {"<?xml version='1.0' encoding='windows-1252'?>" + head + "\x80\x93" + tail, nullptr,
            "\xE2\x82\xAC\xE2\x80\x9C"},
           {head + "\xE9" + tail, "ISO-8859-1", "\xC3\xA9"},
           {"<?xml version='1.0' encoding='UTF-8'?>" + head + "\xC3\xA9" + tail, "ISO-8859-1",
            "\xC3\xA9"}}) {
    SCOPED_TRACE(document.substr(0, 45));
    SOAPResponse response;
    EXPECT_STREQ(Parse(document, response, charset).GetParameter("t").GetString().CStr(),
                 expectedUtf8);
  }
}

// Each level holds `copies` references to the next, `levels` deep.
std::string ReferenceTree(int levels, int copies) {
  std::string body = "<ns:r><a href='#l0'/></ns:r>";
  for (int level = 0; level < levels; ++level) {
    body += "<l id='l" + std::to_string(level) + "'>";
    for (int i = 0; i < copies; ++i) body += "<c href='#l" + std::to_string(level + 1) + "'/>";
    body += "</l>";
  }
  return body + "<l id='l" + std::to_string(levels) + "'>leaf</l>";
}

// A Fault as a server writes it, and the packed text it is read into.
std::string Fault(const std::string& code, const std::string& text, const std::string& detail) {
  return SoapEnvelope("<SOAP-ENV:Fault><faultcode>" + code + "</faultcode><faultstring>" + text +
                      "</faultstring>" + detail + "</SOAP-ENV:Fault>");
}
std::string Packed(const std::string& code, const std::string& text, const std::string& detail) {
  return "<tssp_fcode>" + code + "</tssp_fcode><tssp_fstring>" + text +
         "</tssp_fstring><tssp_fdetailmessage>" + detail + "</tssp_fdetailmessage>";
}

// A fault is a SOAPFaultException with the packed text; what is no usable answer a SOAPException.
// Expat reading with namespaces: "" for a document it accepts, else its verdict as the parser
// words it.
std::string ExpatWithNamespaces(const std::string& document) {
  XML_Parser parser = XML_ParserCreateNS(nullptr, '\x01');
  std::string verdict;
  if (XML_Parse(parser, document.data(), static_cast<int>(document.size()), 1) != XML_STATUS_OK) {
    verdict = "The answer is not well-formed XML: " +
              std::string(XML_ErrorString(XML_GetErrorCode(parser))) + " at line " +
              std::to_string(XML_GetCurrentLineNumber(parser)) + ", column " +
              std::to_string(XML_GetCurrentColumnNumber(parser) + 1);
  }
  XML_ParserFree(parser);
  return verdict;
}

// The parser resolves prefixes itself; what it refuses, and where, is what expat reading with
// namespaces refuses, in the Header and in the Body, on one line or across several.
TEST(SoapParserTest, RefusesNamespaceMistakesAsExpatWould) {
  const std::string envelope =
      "<e:Envelope xmlns:e='http://schemas.xmlsoap.org/soap/envelope/'>\n<e:Body>";
  const char* const tags[] = {
      "<m/>",
      "<m xml:lang='en' xmlns:xml='http://www.w3.org/XML/1998/namespace'/>",
      "<m xmlns='urn:d'><n xmlns=''/></m>",
      "<p:m/>",
      "<m p:a='1'/>",
      "<xmlns:m/>",
      "<m xmlns:p='urn:p'/><p:n/>",
      "<m a:x='1' b:x='2' xmlns:a='urn:u' xmlns:b='urn:u'/>",
      "<m a:x='1' xmlns:a='urn:u' a:y='2' xmlns:b='urn:v' b:x='3'/>",
      "<m a:x='1' b:x='2' c:x='3' xmlns:a='urn:u' xmlns:b='urn:u'/>",
      "<m xmlns:a=''/>",
      "<m xmlns:xmlns='urn:p'/>",
      "<m xmlns:xml='urn:p'/>",
      "<m xmlns:p='http://www.w3.org/XML/1998/namespace'/>",
      "<m xmlns='http://www.w3.org/XML/1998/namespace'/>",
      "<m xmlns:p='http://www.w3.org/2000/xmlns/'/>",
      "<m xmlns='http://www.w3.org/2000/xmlns/'/>",
      "<a:b:c xmlns:a='urn:u'/>",
      "<:m/>",
      "<m:/>",
      "<m:1/>",
      "<m a::b='1'/>",
      "<m\n  x='1'\r\n  y:='2'/>",
      "<m x='\xC3\xA9' :y='2'/>",
      "<m xmlns:='urn:p'/>",
      "<m xmlns:p='urn:p' a='1' p:b:c='2'/>",
  };
  for (const char* tag : tags) {
    for (const std::string& document :
         {envelope + tag + "</e:Body></e:Envelope>",
          "<e:Envelope xmlns:e='http://schemas.xmlsoap.org/soap/envelope/'><e:Header>" +
              std::string(tag) + "</e:Header><e:Body/></e:Envelope>"}) {
      SCOPED_TRACE(document);
      EXPECT_EQ(ParseOutcome(document).text, ExpatWithNamespaces(document));
    }
  }
}

TEST(SoapParserTest, ReadsFaultsAndRefusesWhatItCantUse) {
  std::string deep;
  for (int i = 0; i < 300; ++i) deep = "<d>" + deep + "</d>";
  std::string items;
  for (int i = 0; i < 100; ++i) items += "<i/>";
  const SOAPParser::Limits small{.maxBytes = 4096, .maxElements = 50};
  struct Case {
    std::string document;
    std::string messagePart;  // a packed fault text, or empty for an answer accepted
    SOAPParser::Limits limits = {};
  };
  const Case cases[] = {
      {Fault("SOAP-ENV:Server", "No &lt;luck&gt;",
             "<detail><ns:problem><code xsi:type='xsd:int'>42</code></ns:problem></detail>"),
       Packed("SOAP-ENV:Server", "No <luck>",
              "<ns:problem xmlns:ns=\"urn:tssoap-sample\"><code xsi:type=\"xsd:int\" "
              "xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" "
              "xmlns:xsd=\"http://www.w3.org/2001/XMLSchema\">42</code></ns:problem>")},
      {Fault("Client", "bad", ""), Packed("Client", "bad", "")},
      // Tag texts in a part get one more "\\" behind their "<"; any other "\\" stays.
      {Fault("&lt;/tssp_fcode>", "a\\b &lt;\\tssp_", "<detail><tssp_x/></detail>"),
       Packed("<\\/tssp_fcode>", "a\\b <\\\\tssp_", "<\\tssp_x><\\/tssp_x>")},
      {Fault("c", "s", "<detail>a &amp; b</detail>"), Packed("c", "s", "a &amp; b")},
      {"<html><body>hi</body></html>",
       "not a SOAP envelope: its root element is 'html' in the namespace ''"},
      {"<e:Envelope xmlns:e='http://www.w3.org/2003/05/soap-envelope'/>",
       "SOAP 1.2 envelope; this client speaks SOAP 1.1"},
      {"<!DOCTYPE e [<!ENTITY x SYSTEM 'file:///etc/passwd'>]><e:Envelope "
       "xmlns:e='http://schemas.xmlsoap.org/soap/envelope/'><e:Body><m>&x;</m></e:Body>"
       "</e:Envelope>",
       "document type declaration"},
      {SoapEnvelope(deep), "nests elements deeper than the limit of 256 levels"},
      {SoapEnvelope("<ns:r>" + items + "</ns:r>"), "more than the limit of 50 elements", small},
      {SoapEnvelope("<ns:r>" + items.substr(0, 4 * 40) + "</ns:r>"), "", small},
      {SoapEnvelope("<ns:r>" + std::string(5000, 'x') + "</ns:r>"),
       "larger than the limit of 4096 bytes", small},
      {SoapEnvelope("<ns:r><a href='#nowhere'/></ns:r>"),
       "'#nowhere' in the answer points at no element"},
      {SoapEnvelope("<ns:r><a href='#x'/></ns:r><b id='x' href='#y'/><c id='y' href='#x'/>"),
       "form a cycle"},
      {SoapEnvelope(
           "<ns:r><a href='#x'/></ns:r><b id='x'><c href='#y'/></b><d id='y'><e href='#x'/></d>"),
       "make a value contain itself"},
      {SoapEnvelope("<ns:r><a id='x'/><b id='x'/></ns:r>"), "gives the id 'x' to more than one"},
      {SoapEnvelope(ReferenceTree(24, 2)), "expand to more than the limit of 2000000 elements"},
      {SoapEnvelope(ReferenceTree(300, 1)), "nest values deeper than the limit of 256 levels"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.messagePart);
    Outcome outcome = ParseOutcome(c.document, c.limits);
    EXPECT_EQ(outcome.thrown, c.messagePart.empty()                   ? ""
                              : c.messagePart.rfind("<tssp_", 0) == 0 ? "SOAPFaultException"
                                                                      : "SOAPException");
    EXPECT_THAT(outcome.text, HasSubstr(c.messagePart));
  }

  // A long fault is cut inside the detail, between characters, and keeps every tag.
  std::string lines;
  for (int i = 0; i < 500; ++i) lines += "<line>\xC3\xA9t\xC3\xA9</line>";
  std::string text =
      ParseOutcome(Fault("Server", std::string(300, 's'), "<detail>" + lines + "</detail>")).text;
  EXPECT_LE(text.size(), SOAPException::kMessageLimit - 1);
  EXPECT_THAT(text, HasSubstr("<tssp_fstring>" + std::string(300, 's') + "</tssp_fstring>"));
  EXPECT_THAT(text, HasSubstr("<tssp_fdetailmessage><line>"));
  const std::string end = "</tssp_fdetailmessage>";
  ASSERT_EQ(text.rfind(end), text.size() - end.size());
  EXPECT_NE(static_cast<unsigned char>(text[text.size() - end.size() - 1]), 0xC3);

  // Escapes count against the limit too, and the cut falls in the text as the server sent it:
  // the detail packed is whole escaped tags, "<\tssp_t>" and "<\/tssp_t>", and then the start of
  // one more, escaped only once it holds all of "tssp_".
  std::string tags;
  for (int i = 0; i < 1000; ++i) tags += "<tssp_t/>";
  text = ParseOutcome(Fault("Server", "s", "<detail>" + tags + "</detail>")).text;
  EXPECT_LE(text.size(), SOAPException::kMessageLimit - 1);
  ASSERT_EQ(text.rfind(end), text.size() - end.size());
  const size_t start = text.find("<tssp_fdetailmessage>") + 21;
  std::string rest = text.substr(start, text.size() - end.size() - start);
  for (const std::string piece : {"<\\tssp_t>", "<\\/tssp_t>"}) {
    for (size_t at = rest.find(piece); at != std::string::npos; at = rest.find(piece)) {
      rest.erase(at, piece.size());
    }
  }
  bool startOfATag = false;
  for (const std::string tag : {"<tssp_t>", "</tssp_t>", "<\\tssp_t>", "<\\/tssp_t>"}) {
    startOfATag = startOfATag || tag.rfind(rest, 0) == 0;
  }
  EXPECT_TRUE(startOfATag) << rest;
  EXPECT_TRUE(rest.find('\\') == std::string::npos || rest.find("tssp_") != std::string::npos)
      << rest;
}

// count copies of unit, each "{i}" in it replaced by the copy's number.
std::string Repeated(const std::string& unit, int count) {
  std::string text;
  for (int i = 0; i < count; ++i) {
    std::string copy = unit;
    for (size_t mark = copy.find("{i}"); mark != std::string::npos; mark = copy.find("{i}"))
      copy.replace(mark, 3, std::to_string(i));
    text += copy;
  }
  return text;
}

// Shapes of answers that cost far more memory or time than their size, each stopped by a limit
// before it can, beside the largest that pass.
TEST(SoapParserTest, StopsAnswersThatWouldCostMoreThanTheirShare) {
  std::string letters;
  for (char c = 'a'; c <= 'z'; ++c) letters += std::string(" ") + c + "='' " + char(c - 32) + "=''";
  const std::string huge(1100 * 1024, 'v');
  struct Case {
    const char* shape;
    std::string body;
    std::string messagePart;  // empty for an answer accepted
    SOAPParser::Limits limits = {};
  };
  SOAPParser::Limits past;
  past.deadline = SOAPParser::Clock::now() - std::chrono::seconds(1);
  const Case cases[] = {
      {"elements with 52 attributes each", Repeated("<a z0='{i}'" + letters + "/>", 2500),
       "needs more memory than the limit of"},
      {"the same 52 attributes on every element", Repeated("<a" + letters + "/>", 2500), ""},
      {"empty elements", "<ns:r>" + Repeated("<a/>", 100000) + "</ns:r>",
       "needs more memory than the limit of"},
      {"an element with too many attributes", "<ns:r" + Repeated(" a{i}=''", 1025) + "/>",
       "more than the limit of 1024 attributes"},
      {"an element with as many as allowed", "<ns:r" + Repeated(" a{i}=''", 1024) + "/>", ""},
      {"an element with too many declarations",
       "<ns:r" + Repeated(" xmlns:p{i}='urn:x'", 1025) + "/>",
       "more than the limit of 1024 namespaces on an element"},
      {"declarations spread over elements",
       "<ns:r>" + Repeated("<p{i}:a xmlns:p{i}='urn:x'/>", 3000) + "</ns:r>", ""},
      {"a tag longer than 1 MiB", "<ns:r v='" + huge + "'/>",
       "tag longer than the limit of 1048576 bytes at byte 318"},
      {"the same length in a comment, CDATA and text",
       "<ns:r><!--" + huge + "--><![CDATA[<'" + huge + "]]>" + huge + "</ns:r>", ""},
      {"quoted '>' inside a tag", "<ns:r v='>" + std::string(2000, '>') + "'/>", ""},
      {"a deadline that has passed", "<ns:r/>", "reading the answer took longer than the time-out",
       past},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.shape);
    Outcome outcome = ParseOutcome(SoapEnvelope(c.body), c.limits);
    EXPECT_EQ(outcome.thrown, c.messagePart.empty()                ? ""
                              : c.limits.deadline != past.deadline ? "SOAPException"
                                                                   : "SOAPSocketException");
    EXPECT_THAT(outcome.text, HasSubstr(c.messagePart));
  }
}

// The whole tree under element: name, text, attribute count and xsi:type of each element.
std::string Tree(const SOAPParameter& element) {
  const SOAPString& text = element.GetString();
  std::string tree = NameOf(element) + "|" +
                     (element.IsNull() ? "(nil)"
                      : text.IsNull()  ? "(null)"
                                       : text.CStr()) +
                     "|" + std::to_string(element.GetAttributes().Count()) + "|" +
                     Attribute(element, "type", kXsiNamespace) + "{";
  for (const SOAPParameter* child : element.GetParams()) tree += Tree(*child);
  return tree + "}";
}

// A parser kept from answer to answer (a proxy's) reads each as a new parser does, whatever the
// answer before it left behind: a fault, a stopped or broken parse, another encoding, namespaces
// declared, an answer too large to keep the parser for. Twice round, so that each follows each.
TEST(SoapParserTest, KeptParserReadsEachAnswerAsANewOne) {
  std::string items;
  for (int i = 0; items.size() <= SOAPParser::kKeptParserBytes; ++i)
    items += "<item xsi:type='xsd:int'>" + std::to_string(i) + "</item>";
  const SOAPParser::Limits small{.maxElements = 50};
  const struct {
    std::string document;
    const char* charset;
    SOAPParser::Limits limits;
  } answers[] = {
      {SoapEnvelope("<ns:r><result xsi:type='xsd:string'>hello</result></ns:r>"), nullptr, {}},
      {SoapEnvelope(kMultiReferenceBody), nullptr, {}},
      {Fault("SOAP-ENV:Server", "no", "<detail><ns:p><c xsi:type='xsd:int'>4</c></ns:p></detail>"),
       nullptr,
       {}},
      {"<e:Envelope xmlns:e='http://schemas.xmlsoap.org/soap/envelope/'><e:Body><m><t>",
       nullptr,
       {}},
      {"<e:Envelope xmlns:e='http://schemas.xmlsoap.org/soap/envelope/'/>", nullptr, {}},
      {"<!DOCTYPE e><e:Envelope xmlns:e='http://schemas.xmlsoap.org/soap/envelope/'/>",
       nullptr,
       {}},
      {SoapEnvelope("<ns:r>" + items.substr(0, 2000) + "</ns:r>"), nullptr, small},
      {"<?xml version='1.0' encoding='windows-1252'?><e:Envelope "
       "xmlns:e='http://schemas.xmlsoap.org/soap/envelope/'><e:Body><m><t>\x80</t></m></e:Body>"
       "</e:Envelope>",
       nullptr,
       {}},
      {"<e:Envelope xmlns:e='http://schemas.xmlsoap.org/soap/envelope/' xmlns='urn:d'><e:Body>"
       "<m a='1' b='x'><t>\xE9</t></m></e:Body></e:Envelope>",
       "ISO-8859-1",
       {}},
      {SoapEnvelope("<ns:r>" + items + "</ns:r>"), nullptr, {}},
      {SoapEnvelope("<ns:r><a href='#x'/></ns:r><b id='x'>shared</b>"), nullptr, {}},
  };
  SOAPParser kept;
  SOAPResponse reused;  // kept too, as a proxy keeps it
  for (int round = 0; round < 2; ++round) {
    for (const auto& answer : answers) {
      SCOPED_TRACE(answer.document.substr(0, 120));
      const std::string& d = answer.document;
      SOAPResponse fresh;
      const Outcome expected = Attempt([&] {
        SOAPParser::ParseResponse(d.data(), d.size(), answer.charset, fresh, answer.limits);
      });
      const Outcome outcome =
          Attempt([&] { kept.Parse(d.data(), d.size(), answer.charset, reused, answer.limits); });
      EXPECT_EQ(outcome.thrown, expected.thrown);
      EXPECT_EQ(outcome.text, expected.text);
      if (expected.thrown.empty()) {
        EXPECT_EQ(Tree(reused.GetBody()), Tree(fresh.GetBody()));
      }
    }
  }
}

// An answer read in pieces as they arrive (Begin, Feed, Finish) gives what the whole answer gives,
// wherever the pieces end: inside a comment, a CDATA section, a quoted value, a multi-byte
// character or a tag that is too long. Answers up to SOAPParser::kHeldBytes are held and read at
// their end, so each answer here begins with a longer comment, handed over as one piece; the rest
// is split in two at every byte, and in pieces of one byte, read by one kept parser.
TEST(SoapParserTest, ReadsAnAnswerSplitAnywhereAsAWhole) {
  const std::string padding = "<!--" + std::string(SOAPParser::kHeldBytes, 'p') + "-->\n";
  const std::string open =
      "<e:Envelope xmlns:e='http://schemas.xmlsoap.org/soap/envelope/'>" + padding + "<e:Body>";
  const std::string close = "</e:Body></e:Envelope>";
  auto answer = [&](const std::string& method) { return open + method + close; };
  std::string utf16 = "\xFF\xFE";
  for (char c : answer("<m><t>u</t></m>")) utf16 += {c, '\0'};
  const std::string x50(50, 'x');
  const SOAPParser::Limits tags80{.maxTagBytes = 80};
  const std::string at = std::to_string(open.size() + 3);
  const struct {
    std::string document;
    const char* charset;
    std::string expected;  // part of the text thrown, or the tree's
    SOAPParser::Limits limits = {};
  } cases[] = {
      {"<?xml version='1.0' encoding='ISO-8859-1'?>" + answer("<m><t>\xE9</t></m>"), "UTF-8",
       "t||\xC3\xA9|"},
      {answer("<m><t>\xE9</t></m>"), "ISO-8859-1", "t||\xC3\xA9|"},
      {"\xEF\xBB\xBF" + answer("<m><t>\xC3\xA9</t></m>"), "ISO-8859-1", "t||\xC3\xA9|"},
      {"<?xml version='1.0' encoding='windows-1252'?>" + answer("<m><t>\x80</t></m>"), nullptr,
       "t||\xE2\x82\xAC|"},
      {utf16, "ISO-8859-1", "t||u|"},
      {answer("<m><!-- <b> 'c' " + x50 + x50 + " --><![CDATA[ <x> ]] > '" + x50 + x50 + "]]><?pi " +
              x50 + x50 + " ?><t a='>' b=\"'\">v</t></m>"),
       nullptr, "t||v|2|", tags80},
      {answer("<m><t a='" + std::string(71, 'v') + "'/></m>"), nullptr, "t|||1|", tags80},
      {answer("<m><t a='" + std::string(72, 'v') + "'/></m>"), nullptr,
       "tag longer than the limit of 80 bytes at byte " + at, tags80},
      {answer("<m><t a=\"" + x50 + "'" + x50 + "\"/></m>"), nullptr,
       "tag longer than the limit of 80 bytes at byte " + at, tags80},
      {answer("<m><t a='" + x50 + "<" + x50 + "'/></m>"), nullptr, "not well-formed", tags80},
      {answer("<m><a href='#x'/></m><b id='x'>shared</b>"), nullptr, "a||shared|1|"},
      {answer("<e:Fault><faultcode>e:Server</faultcode><faultstring>no</faultstring>"
              "<detail><p>1</p></detail></e:Fault>"),
       nullptr, "<tssp_fstring>no</tssp_fstring><tssp_fdetailmessage><p>1</p>"},
      {answer("<m><t>1</t></x>"), nullptr, "mismatched tag at line 2, column 22"},
      {"<e/", nullptr, "unclosed token"},
      {"", nullptr, "no element found"},
  };
  SOAPParser kept;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.document.substr(0, 100));
    const std::string& d = c.document;
    SOAPResponse whole;
    const Outcome expected =
        Attempt([&] { SOAPParser::ParseResponse(d.data(), d.size(), c.charset, whole, c.limits); });
    const std::string tree = expected.thrown.empty() ? Tree(whole.GetBody()) : "";
    EXPECT_THAT(expected.thrown.empty() ? tree : expected.text, HasSubstr(c.expected));
    // The first piece ends just before the end of the comment, in UTF-16 too.
    const size_t first = std::min({d.find("pp-"), d.find(std::string("p\0p\0-", 5)), d.size()});
    std::vector<std::vector<size_t>> cuts;  // where each piece ends
    for (size_t cut = first; cut <= d.size(); ++cut) cuts.push_back({first, cut, d.size()});
    cuts.push_back({first});
    for (size_t cut = first + 1; cut <= d.size(); ++cut) cuts.back().push_back(cut);
    for (const std::vector<size_t>& ends : cuts) {
      const size_t mark = ends.size() > 1 ? ends[1] : 0;
      SOAPResponse response;
      const Outcome outcome = Attempt([&] {
        kept.Begin(c.charset, response, c.limits);
        size_t begin = 0;
        for (size_t end : ends) {
          kept.Feed(d.data() + begin, end - begin);
          begin = end;
        }
        kept.Finish();
      });
      ASSERT_EQ(outcome.thrown, expected.thrown) << mark;
      ASSERT_EQ(outcome.text, expected.text) << mark;
      if (expected.thrown.empty()) {
        ASSERT_EQ(Tree(response.GetBody()), tree) << mark;
      }
    }
  }
}

// Parsed elements keep their texts in the response's storage; changing one copies what changes,
// and the response ends cleanly with changed and added parts (ASan checks the leaks).
TEST(SoapParameterTest, ChangesParsedElementsLikeBuiltOnes) {
  SOAPResponse response;
  SOAPParameter& method = const_cast<SOAPParameter&>(Parse(
      SoapEnvelope("<ns:r a='1' xsi:type='xsd:int'><t>text</t><u>other</u></ns:r>"), response));
  SOAPParameter& t = const_cast<SOAPParameter&>(method.GetParameter("t"));
  t.GetStringRef().Append(" and more", 9);
  method.AddAttribute(SOAPQName("b", nullptr)).SetName("2");
  method.AddAttribute(SOAPQName("a", nullptr)).SetName("changed");
  method.SetName("renamed", "urn:n");
  method.AddParameter("added").SetString("new");
  const_cast<SOAPParameter&>(method.GetParameter("u")).SetString(nullptr);
  SOAPParameter copy(method);

  for (const SOAPParameter* element : {&method, &copy}) {
    EXPECT_EQ(NameOf(*element), "renamed|urn:n");
    EXPECT_THAT(Children(*element), ElementsAre("t||text and more", "u||(null)", "added||new"));
    EXPECT_EQ(Attribute(*element, "a", nullptr), "changed|");
    EXPECT_EQ(Attribute(*element, "b", nullptr), "2|");
    EXPECT_EQ(Attribute(*element, "type", kXsiNamespace), std::string("xsd:int|") + kXsdNamespace);
    EXPECT_EQ(element->GetAttributes().Count(), 3u);
  }
  response.Reset();
  EXPECT_STREQ(copy.GetParameter("t").GetString().CStr(), "text and more") << "copies own theirs";
  EXPECT_TRUE(response.GetMethod().GetParams().IsEmpty());
}

// root (urn:r, one attribute): a "1", b {inner "deep"}, a "second a".
SOAPParameter Sample() {
  SOAPParameter root;
  root.SetName("root", "urn:r");
  root.AddAttribute(SOAPQName("type", "urn:xsi")).Set("T", "urn:t");
  root.AddParameter("a").SetString("1");
  SOAPParameter& b = root.AddParameter("b");
  b.SetIsStruct();
  b.AddParameter("inner").SetString("deep");
  root.AddParameter("a").SetString("second a");
  return root;
}

// Children are found by local name, the first of equal names; copies are deep and independent;
// clearing keeps the attributes.
TEST(SoapParameterTest, FindsChildrenCopiesDeeplyAndClearsTheValue) {
  SOAPParameter found = Sample();
  found.AddParameter("").SetName("qualified", "urn:other");
  EXPECT_THAT(Children(found),
              ElementsAre("a||1", "b||(null)", "a||second a", "qualified|urn:other|(null)"));
  EXPECT_STREQ(found.GetParameter("a").GetString().CStr(), "1") << "the first of two";
  EXPECT_NE(found.FindParameter("qualified"), nullptr) << "the namespace plays no part";
  EXPECT_EQ(found.FindParameter(nullptr), nullptr);
  Outcome missing = Attempt([&] { found.GetParameter("missing"); });
  EXPECT_EQ(missing.text, "The element 'root' has no child element named 'missing'");

  SOAPParameter original = Sample();
  SOAPParameter copy(original);
  SOAPParameter assigned;
  assigned.AddParameter("old");
  assigned = original;
  for (SOAPParameter* changed : {&copy, &assigned}) {
    changed->AddParameter("extra");
    const_cast<SOAPParameter&>(changed->GetParameter("b").GetParameter("inner")).SetString("x");
    changed->AddAttribute(SOAPQName("type", "urn:xsi")).SetName("U");
  }
  EXPECT_EQ(original.GetParams().Size(), 3u);
  EXPECT_STREQ(original.GetParameter("b").GetParameter("inner").GetString().CStr(), "deep");
  EXPECT_TRUE(original.GetParameter("b").IsStruct());
  EXPECT_EQ(assigned.FindParameter("old"), nullptr) << "assignment replaces";
  EXPECT_STREQ(assigned.GetName().GetNamespace().CStr(), "urn:r");
  EXPECT_STREQ(original.GetAttributes().Begin().Value().GetName().CStr(), "T");

  SOAPParameter& self = original;
  original = self;
  EXPECT_EQ(original.GetParams().Size(), 3u);
  // Assigning a descendant to its ancestor copies it before the old children go.
  original = original.GetParameter("b");
  EXPECT_STREQ(original.GetParameter("inner").GetString().CStr(), "deep");

  // ClearValue empties the value but keeps the attributes.
  SOAPParameter root = Sample();
  root.SetNull();
  root.SetIsStruct();
  root.ClearValue();
  EXPECT_TRUE(root.GetParams().IsEmpty());
  EXPECT_TRUE(root.GetString().IsNull());
  EXPECT_FALSE(root.IsNull());
  EXPECT_FALSE(root.IsStruct());
  EXPECT_EQ(root.GetAttributes().Count(), 1u);
}

}  // namespace
}  // namespace tssoap::test
