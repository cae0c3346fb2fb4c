// The tokenizer of method descriptions ("echoText([in] xsd:string text) return xsd:string
// result@urn:echo@urn:echo#echoText") and of structure field lists ("(xsd:string street,
// xsd:int[XMLElementName=line] lines)"), and the split of a description into its parts.
//
// A scanner reads a text it does not own: the caller keeps the text alive for the scanner's life.
// The delimiter strings and keyword tables are constant. The walks read the text token by token
// and never build a tree, so a scanner is cheap: one token buffer, which holds short tokens without
// allocating.
//
// Running out of tokens is an end token where the text may end (behind the ")" or the return
// part: every call reaches it, so it costs no exception), and SoapScannerException, an empty
// exception, where it ends a description early ("Unexpected end of alias string in the proxy").
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tssoap {

// The text ended where a token had to follow. Carries no text and no code.
class SoapScannerException {};

// Token ids of SoapMethodScanner: the index of the keyword in its table.
enum MethodToken : int16_t {
  kMethodOpen = 0,              // "("
  kMethodClose = 1,             // ")"
  kMethodComma = 2,             // ","
  kMethodBracketOpen = 3,       // "["
  kMethodBracketClose = 4,      // "]"
  kMethodIn = 5,                // "in"
  kMethodOut = 6,               // "out"
  kMethodReturn = 7,            // "return"
  kMethodEquals = 8,            // "="
  kMethodElementName = 9,       // "ElementName": a wrapped array
  kMethodSoapElementName = 10,  // "SoapElementName": a SOAP-encoded array
  kMethodXmlElementName = 11,   // "XMLElementName": repeated elements
  kMethodWord = 13,             // any other word
  kMethodEnd = 14,              // no token is left
};

// Token ids of SoapStructScanner. From "=" on they differ from the method scanner's.
enum StructToken : int16_t {
  kStructOpen = 0,             // "("
  kStructClose = 1,            // ")"
  kStructComma = 2,            // ","
  kStructBracketOpen = 3,      // "["
  kStructBracketClose = 4,     // "]"
  kStructEquals = 5,           // "="
  kStructElementName = 6,      // "ElementName"
  kStructSoapElementName = 7,  // "SoapElementName"
  kStructXmlElementName = 8,   // "XMLElementName"
  kStructWord = 10,            // any other word; "in", "out" and "return" are words here
  kStructEnd = 11,             // no token is left
};

// The abstract tokenizer. White space separates words; the six delimiters "(", ")", ",", "[",
// "]" and "=" are tokens of their own and end a word. Everything else (":", ".", "/", "#") is a
// word character, so "xsd:string" is one word. There is no quoting.
class SoapScanner {
 public:
  virtual ~SoapScanner() = default;
  SoapScanner(const SoapScanner&) = delete;
  SoapScanner& operator=(const SoapScanner&) = delete;

  virtual int16_t GetKeywordCount() const = 0;
  virtual int16_t GetWordToken() const = 0;
  virtual int16_t GetEndToken() const = 0;
  // Text of the token last read, keywords and delimiters included; valid until the next token.
  virtual const std::string& GetTokenText() const { return token_; }

  // Reads one token and returns its id (a keyword's index, or GetWordToken()), or GetEndToken()
  // when nothing but white space is left, and also when the text ends with a word followed by
  // exactly one white-space character: that word is lost.
  int16_t ReadToken();
  // The same where the text may not end: throws SoapScannerException instead of the end token.
  int16_t NextToken();

 protected:
  SoapScanner(std::string_view text, const std::string_view* keywords);

 private:
  // The keyword's id, or -1.
  int16_t LookUpToken() const;

  std::string_view text_;
  const std::string_view* keywords_;
  const char* position_;
  std::string token_;
};

// Reads the parameter text of a method description.
class SoapMethodScanner final : public SoapScanner {
 public:
  explicit SoapMethodScanner(const std::string& text);
  // The scanner keeps no copy of its text: a temporary would leave it reading freed memory.
  explicit SoapMethodScanner(std::string&&) = delete;
  int16_t GetKeywordCount() const override { return 12; }
  int16_t GetWordToken() const override { return kMethodWord; }
  int16_t GetEndToken() const override { return kMethodEnd; }
};

// Reads the field list of a structure's description.
class SoapStructScanner final : public SoapScanner {
 public:
  explicit SoapStructScanner(const std::string& text);
  explicit SoapStructScanner(std::string&&) = delete;
  int16_t GetKeywordCount() const override { return 9; }
  int16_t GetWordToken() const override { return kStructWord; }
  int16_t GetEndToken() const override { return kStructEnd; }
};

// A method description cut into its parts.
struct MethodDescriptionParts {
  std::string methodName;     // exactly as written, in front of the "("
  std::string parameterText;  // from the "(" to the end of the head; what the scanners read
  std::string methodNamespace;
  // Absent (no second "@"), empty (nothing or `""` behind it) or a text: three states that the
  // library keeps apart (no SOAPAction header, an empty one, a quoted one).
  std::optional<std::string> soapAction;
  std::string soapElementName;       // behind the first "*", else empty
  std::string soapElementNamespace;  // behind the second "*", else empty

  // The action as the SOAPMethod constructor takes it: null when absent.
  const char* SoapActionArgument() const {
    return soapAction.has_value() ? soapAction->c_str() : nullptr;
  }
};

// Splits "name(params) return part@namespace@action*element*elementNamespace". A method part
// without "(" throws SoapScannerException, like a description that ends early.
MethodDescriptionParts SplitMethodDescription(std::string_view description);

}  // namespace tssoap
