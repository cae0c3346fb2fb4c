#include "call/method_description_scanner.h"

#include <array>

#include "support/ascii_chars.h"

namespace tssoap {
namespace {

// The six delimiters, the same for both scanners.
constexpr std::array<bool, 256> kDelimiters = [] {
  std::array<bool, 256> table{};
  for (const char c : std::string_view("(),[]=")) table[static_cast<unsigned char>(c)] = true;
  return table;
}();

bool IsDelimiter(char c) { return kDelimiters[static_cast<unsigned char>(c)]; }

// Indexed by token id. Every delimiter is a keyword, so a delimiter token always has an id.
constexpr std::string_view kMethodKeywords[] = {
    "(",
    ")",
    ",",
    "[",
    "]",
    "in",
    "out",
    "return",
    "=",
    "ElementName",
    "SoapElementName",
    "XMLElementName",
};
constexpr std::string_view kStructKeywords[] = {
    "(", ")", ",", "[", "]", "=", "ElementName", "SoapElementName", "XMLElementName",
};
static_assert(std::size(kMethodKeywords) == 12 && std::size(kStructKeywords) == 9);

}  // namespace

SoapScanner::SoapScanner(std::string_view text, const std::string_view* keywords)
    : text_(text), keywords_(keywords), position_(text.data()) {}

int16_t SoapScanner::LookUpToken() const {
  const int16_t count = GetKeywordCount();
  const std::string_view token = token_;
  for (int16_t id = 0; id < count; ++id) {
    const std::string_view keyword = keywords_[id];
    // Most words differ from a keyword in their length or first character.
    if (keyword.size() == token.size() && keyword[0] == token[0] && keyword == token) return id;
  }
  return -1;
}

int16_t SoapScanner::NextToken() {
  const int16_t id = ReadToken();
  if (id == GetEndToken()) throw SoapScannerException();
  return id;
}

int16_t SoapScanner::ReadToken() {
  token_.clear();
  const char* const end = text_.data() + text_.size();
  const char* p = position_;
  while (p < end && IsAsciiSpace(*p)) ++p;
  if (p == end) {
    position_ = p;
    return GetEndToken();
  }

  // A delimiter is a token of its own; the character behind it stays unread.
  if (IsDelimiter(*p)) {
    token_.assign(1, *p);
    position_ = p + 1;
    return LookUpToken();
  }

  // A word ends at white space, which is consumed, or at a delimiter, which stays unread.
  const char* const start = p;
  while (p < end && !IsAsciiSpace(*p) && !IsDelimiter(*p)) ++p;
  token_.assign(start, p);
  if (p < end && IsAsciiSpace(*p)) {
    ++p;
    // A word that exactly one white-space character separates from the end of the text is lost
    // with it.
    if (p == end) {
      position_ = p;
      return GetEndToken();
    }
  }
  position_ = p;
  const int16_t id = LookUpToken();
  return id >= 0 ? id : GetWordToken();
}

SoapMethodScanner::SoapMethodScanner(const std::string& text)
    : SoapScanner(text, kMethodKeywords) {}

SoapStructScanner::SoapStructScanner(const std::string& text)
    : SoapScanner(text, kStructKeywords) {}

MethodDescriptionParts SplitMethodDescription(std::string_view description) {
  MethodDescriptionParts parts;

  // Head: the method part. Tail: namespace, action and element. Without "@" both are the whole.
  std::string_view head = description;
  std::string_view tail = description;
  if (const size_t at = description.find('@'); at != std::string_view::npos) {
    head = description.substr(0, at);
    tail = description.substr(at + 1);
  }

  if (const size_t star = tail.find('*'); star != std::string_view::npos) {
    const std::string_view element = tail.substr(star + 1);
    if (const size_t second = element.find('*'); second != std::string_view::npos) {
      parts.soapElementName = element.substr(0, second);
      parts.soapElementNamespace = element.substr(second + 1);
    } else {
      parts.soapElementName = element;
    }
    tail = tail.substr(0, star);
  }

  // A generated proxy always writes the "("; without one there is no parameter text to read, and
  // the call fails like a description that ends early.
  const size_t open = head.find('(');
  if (open == std::string_view::npos) throw SoapScannerException();
  parts.methodName = head.substr(0, open);
  parts.parameterText = head.substr(open);

  if (const size_t at = tail.find('@'); at != std::string_view::npos) {
    const std::string_view action = tail.substr(at + 1);
    // `""` written out and nothing at all both mean an empty action, which differs from none.
    parts.soapAction.emplace(action == "\"\"" ? std::string_view() : action);
    tail = tail.substr(0, at);
  }
  parts.methodNamespace = tail;
  return parts;
}

}  // namespace tssoap
