#include "call/method_description_scanner.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace tssoap {
namespace {

struct Token {
  int16_t id;
  std::string text;
};

// Reads every token up to the end of the text, which must be reported by the exception.
std::vector<Token> ReadAll(SoapScanner& scanner) {
  std::vector<Token> tokens;
  for (int guard = 0; guard < 1000; ++guard) {
    try {
      const int16_t id = scanner.NextToken();
      tokens.push_back({id, scanner.GetTokenText()});
    } catch (const SoapScannerException&) {
      return tokens;
    }
  }
  ADD_FAILURE() << "the scanner never reported the end of the text";
  return tokens;
}

struct ScanCase {
  const char* name;
  const char* text;
  std::vector<Token> tokens;
};

void ExpectTokens(SoapScanner& scanner, const ScanCase& c) {
  const std::vector<Token> got = ReadAll(scanner);
  ASSERT_EQ(got.size(), c.tokens.size()) << c.name;
  for (size_t i = 0; i < got.size(); ++i) {
    EXPECT_EQ(got[i].id, c.tokens[i].id) << c.name << " token " << i;
    EXPECT_EQ(got[i].text, c.tokens[i].text) << c.name << " token " << i;
  }
}

TEST(MethodScanner, ReadsTokensAndReportsTheEndOfText) {
  const ScanCase cases[] = {
      {"empty text", "", {}},
      {"white space only", " \t\n\v\f\r", {}},
      {"a lone delimiter at the end", "(", {{kMethodOpen, "("}}},
      {"a full parameter text",
       "([in] xsd:string text) return xsd:string result",
       {{kMethodOpen, "("},
        {kMethodBracketOpen, "["},
        {kMethodIn, "in"},
        {kMethodBracketClose, "]"},
        {kMethodWord, "xsd:string"},
        {kMethodWord, "text"},
        {kMethodClose, ")"},
        {kMethodReturn, "return"},
        {kMethodWord, "xsd:string"},
        {kMethodWord, "result"}}},
      {"delimiters end words without white space",
       "[in]xsd:string a ,b",
       {{kMethodBracketOpen, "["},
        {kMethodIn, "in"},
        {kMethodBracketClose, "]"},
        {kMethodWord, "xsd:string"},
        {kMethodWord, "a"},
        {kMethodComma, ","},
        {kMethodWord, "b"}}},
      {"blanks inside a block",
       "[ in , out ]",
       {{kMethodBracketOpen, "["},
        {kMethodIn, "in"},
        {kMethodComma, ","},
        {kMethodOut, "out"},
        {kMethodBracketClose, "]"}}},
      {"an array block behind a type",
       "xsd:int[]",
       {{kMethodWord, "xsd:int"}, {kMethodBracketOpen, "["}, {kMethodBracketClose, "]"}}},
      {"attribute keywords and the equals sign",
       "[SoapElementName=tns:entry][ElementName][XMLElementName]",
       {{kMethodBracketOpen, "["},
        {kMethodSoapElementName, "SoapElementName"},
        {kMethodEquals, "="},
        {kMethodWord, "tns:entry"},
        {kMethodBracketClose, "]"},
        {kMethodBracketOpen, "["},
        {kMethodElementName, "ElementName"},
        {kMethodBracketClose, "]"},
        {kMethodBracketOpen, "["},
        {kMethodXmlElementName, "XMLElementName"},
        {kMethodBracketClose, "]"}}},
      {"keywords are case-sensitive and whole",
       "In in returned return xmlelementname",
       {{kMethodWord, "In"},
        {kMethodIn, "in"},
        {kMethodWord, "returned"},
        {kMethodReturn, "return"},
        {kMethodWord, "xmlelementname"}}},
      {"colon, dot, slash and hash are word characters", "a:b.c/d#e", {{kMethodWord, "a:b.c/d#e"}}},
      {"a last word followed by one blank is lost", "result ", {}},
      {"a last word followed by two blanks is kept", "result  ", {{kMethodWord, "result"}}},
      {"a word lost behind a delimiter", "x) r ", {{kMethodWord, "x"}, {kMethodClose, ")"}}},
      {"every kind of white space separates",
       "a\tb\nc\vd\fe\rf",
       {{kMethodWord, "a"},
        {kMethodWord, "b"},
        {kMethodWord, "c"},
        {kMethodWord, "d"},
        {kMethodWord, "e"},
        {kMethodWord, "f"}}},
  };
  for (const ScanCase& c : cases) {
    const std::string text = c.text;
    SoapMethodScanner scanner(text);
    ExpectTokens(scanner, c);
  }
}

TEST(StructScanner, ReadsFieldListsWithItsOwnIds) {
  const ScanCase cases[] = {
      {"a field list",
       "(xsd:string street, xsd:int[XMLElementName=line] lines)",
       {{kStructOpen, "("},
        {kStructWord, "xsd:string"},
        {kStructWord, "street"},
        {kStructComma, ","},
        {kStructWord, "xsd:int"},
        {kStructBracketOpen, "["},
        {kStructXmlElementName, "XMLElementName"},
        {kStructEquals, "="},
        {kStructWord, "line"},
        {kStructBracketClose, "]"},
        {kStructWord, "lines"},
        {kStructClose, ")"}}},
      {"directions are plain words",
       "in out return",
       {{kStructWord, "in"}, {kStructWord, "out"}, {kStructWord, "return"}}},
      {"element attributes",
       "ElementName SoapElementName",
       {{kStructElementName, "ElementName"}, {kStructSoapElementName, "SoapElementName"}}},
  };
  for (const ScanCase& c : cases) {
    const std::string text = c.text;
    SoapStructScanner scanner(text);
    ExpectTokens(scanner, c);
  }
}

TEST(Scanners, KeepReportingTheEndOnceReached) {
  const std::string text = "x";
  SoapMethodScanner scanner(text);
  EXPECT_EQ(scanner.NextToken(), kMethodWord);
  EXPECT_THROW(scanner.NextToken(), SoapScannerException);
  EXPECT_THROW(scanner.NextToken(), SoapScannerException);
  EXPECT_EQ(scanner.GetTokenText(), "");
}

TEST(Scanners, ReadLongWordsWhole) {
  const std::string word(1000, 'w');
  const std::string text = word + ")";
  SoapMethodScanner scanner(text);
  EXPECT_EQ(scanner.NextToken(), kMethodWord);
  EXPECT_EQ(scanner.GetTokenText(), word);
  EXPECT_EQ(scanner.NextToken(), kMethodClose);
}

struct SplitCase {
  const char* description;
  const char* methodName;
  const char* parameterText;
  const char* methodNamespace;
  std::optional<std::string> soapAction;
  const char* soapElementName;
  const char* soapElementNamespace;
};

TEST(SplitMethodDescription, CutsNameParametersNamespaceActionAndElement) {
  const SplitCase cases[] = {
      {"echoText([in] xsd:string text) return xsd:string result@urn:echo@urn:echo#echoText",
       "echoText", "([in] xsd:string text) return xsd:string result", "urn:echo",
       "urn:echo#echoText", "", ""},
      {"putItems([in] xsd:int[] values)@urn:shop", "putItems", "([in] xsd:int[] values)",
       "urn:shop", std::nullopt, "", ""},
      {"Ping()@urn:shop@*PingRequest*urn:shop:messages", "Ping", "()", "urn:shop", "",
       "PingRequest", "urn:shop:messages"},
      {"f()@ns@", "f", "()", "ns", "", "", ""},
      {"f()@ns@\"\"", "f", "()", "ns", "", "", ""},
      {"f()@ns@\"x\"", "f", "()", "ns", "\"x\"", "", ""},
      {"f()@ns*Element", "f", "()", "ns", std::nullopt, "Element", ""},
      {"f()@ns@a@b", "f", "()", "ns", "a@b", "", ""},
      {"f()@ns*E@x*N", "f", "()", "ns", std::nullopt, "E@x", "N"},
      {"f(xsd:string a)", "f", "(xsd:string a)", "f(xsd:string a)", std::nullopt, "", ""},
      {"(x)@", "", "(x)", "", std::nullopt, "", ""},
  };
  for (const SplitCase& c : cases) {
    const MethodDescriptionParts parts = SplitMethodDescription(c.description);
    EXPECT_EQ(parts.methodName, c.methodName) << c.description;
    EXPECT_EQ(parts.parameterText, c.parameterText) << c.description;
    EXPECT_EQ(parts.methodNamespace, c.methodNamespace) << c.description;
    EXPECT_EQ(parts.soapAction, c.soapAction) << c.description;
    EXPECT_EQ(parts.soapElementName, c.soapElementName) << c.description;
    EXPECT_EQ(parts.soapElementNamespace, c.soapElementNamespace) << c.description;
  }
}

TEST(SplitMethodDescription, HandsTheLibraryNoActionAnEmptyOneOrTheText) {
  const struct {
    const char* description;
    const char* expected;  // null: no action at all
  } cases[] = {
      {"f()@ns", nullptr},
      {"f()@ns@", ""},
      {"f()@ns@\"\"", ""},
      {"f()@ns@urn:x#f", "urn:x#f"},
  };
  for (const auto& c : cases) {
    const MethodDescriptionParts parts = SplitMethodDescription(c.description);
    const char* action = parts.SoapActionArgument();
    if (c.expected == nullptr) {
      EXPECT_EQ(action, nullptr) << c.description;
    } else {
      ASSERT_NE(action, nullptr) << c.description;
      EXPECT_STREQ(action, c.expected) << c.description;
    }
  }
}

TEST(SplitMethodDescription, RefusesAMethodPartWithoutParameterList) {
  for (const char* description : {"ping@urn:x@urn:x#ping", "", "@urn:x", "ping"}) {
    EXPECT_THROW(SplitMethodDescription(description), SoapScannerException) << description;
  }
}

}  // namespace
}  // namespace tssoap
