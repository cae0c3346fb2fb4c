#include "call/method_description_scanner.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tssoap {
namespace {

// Every token up to the end of the text, separated by blanks: a word as its text, any other token
// in angle brackets, or every token as its id.
std::string Tokens(SoapScanner& scanner, bool ids = false) {
  std::string tokens;
  for (int guard = 0; guard < 1000; ++guard) {
    const int16_t id = scanner.ReadToken();
    if (id == scanner.GetEndToken()) return tokens;
    const std::string& text = scanner.GetTokenText();
    if (!tokens.empty()) tokens += ' ';
    tokens += ids ? std::to_string(id) : id == scanner.GetWordToken() ? text : "<" + text + ">";
  }
  ADD_FAILURE() << "the scanner never reported the end of the text";
  return tokens;
}

// A keyword's id is its index in its scanner's table; "in", "out" and "return" are no keywords of
// the structure scanner.
TEST(Scanners, NumberEachKeywordByItsTable) {
  const std::string text = "( ) , [ ] in out return = ElementName SoapElementName XMLElementName w";
  SoapMethodScanner method(text);
  EXPECT_EQ(Tokens(method, true), "0 1 2 3 4 5 6 7 8 9 10 11 13");
  SoapStructScanner structure(text);
  EXPECT_EQ(Tokens(structure, true), "0 1 2 3 4 10 10 10 5 6 7 8 10");
}

TEST(Scanners, ReadTokensAndReportTheEndOfText) {
  const std::string longWord(1000, 'w');
  const struct {
    const char* name;
    std::string text;
    std::string tokens;
  } cases[] = {
      {"white space only", " \t\n\v\f\r", ""},
      {"a parameter text", "([in] xsd:string text) return xsd:string result",
       "<(> <[> <in> <]> xsd:string text <)> <return> xsd:string result"},
      {"delimiters end words", "[in]xsd:string a ,b=c", "<[> <in> <]> xsd:string a <,> b <=> c"},
      {"keywords are case-sensitive and whole", "In in returned xmlelementname",
       "In <in> returned xmlelementname"},
      {"colon, dot, slash and hash are word characters", "a:b.c/d#e", "a:b.c/d#e"},
      {"a last word followed by one blank is lost", "result ", ""},
      {"a last word followed by two blanks is kept", "result  ", "result"},
      {"a word lost behind a delimiter", "x) r ", "x <)>"},
      {"every kind of white space separates", "a\tb\nc\vd\fe\rf", "a b c d e f"},
      {"long words are read whole", longWord + ")", longWord + " <)>"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    SoapMethodScanner scanner(c.text);
    EXPECT_EQ(Tokens(scanner), c.tokens);
    // Once reached, the end stays reported, with no token text.
    EXPECT_THROW(scanner.NextToken(), SoapScannerException);
    EXPECT_EQ(scanner.GetTokenText(), "");
    EXPECT_EQ(scanner.ReadToken(), kMethodEnd);
    EXPECT_EQ(scanner.GetTokenText(), "");
  }
}

// The parts as "name|parameters|namespace|action|element|element namespace"; "-" for no action.
TEST(SplitMethodDescription, CutsNameParametersNamespaceActionAndElement) {
  const struct {
    const char* description;
    const char* parts;
  } cases[] = {
      {"echoText([in] xsd:string text) return xsd:string result@urn:echo@urn:echo#echoText",
       "echoText|([in] xsd:string text) return xsd:string result|urn:echo|urn:echo#echoText||"},
      {"Ping()@urn:shop@*PingRequest*urn:shop:messages",
       "Ping|()|urn:shop||PingRequest|urn:shop:messages"},
      {"f()@ns", "f|()|ns|-||"},
      {"f()@ns@", "f|()|ns|||"},
      {"f()@ns@\"\"", "f|()|ns|||"},
      {"f()@ns@\"x\"", "f|()|ns|\"x\"||"},
      {"f()@ns*Element", "f|()|ns|-|Element|"},
      {"f()@ns@a@b", "f|()|ns|a@b||"},
      {"f()@ns*E@x*N", "f|()|ns|-|E@x|N"},
      {"f(xsd:string a)", "f|(xsd:string a)|f(xsd:string a)|-||"},
      {"(x)@", "|(x)||-||"},
  };
  for (const auto& c : cases) {
    const MethodDescriptionParts p = SplitMethodDescription(c.description);
    EXPECT_EQ(p.methodName + "|" + p.parameterText + "|" + p.methodNamespace + "|" +
                  p.soapAction.value_or("-") + "|" + p.soapElementName + "|" +
                  p.soapElementNamespace,
              c.parts)
        << c.description;
  }
  for (const char* description : {"ping@urn:x@urn:x#ping", "", "@urn:x", "ping"}) {
    EXPECT_THROW(SplitMethodDescription(description), SoapScannerException) << description;
  }
}

}  // namespace
}  // namespace tssoap
