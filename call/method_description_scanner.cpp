#include "call/method_description_scanner.h"

#include "support/ascii_chars.h"

namespace tssoap {
namespace {

// The same six characters in both; each scanner keeps its own order.
constexpr const char kMethodDelimiters[] = "(),[]=";
constexpr const char kStructDelimiters[] = "()[],=";

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

// A token that reserves this much never reallocates for an ordinary description.
constexpr size_t kTokenReserve = 100;

}  // namespace

SoapScanner::SoapScanner(std::string_view text, const char* delimiters,
                         const std::string_view* keywords)
    : text_(text), delimiters_(delimiters), keywords_(keywords), position_(text.data()) {
  token_.reserve(kTokenReserve);
}

bool SoapScanner::IsDelimiter(const char* position) const {
  for (const char* d = delimiters_; *d != '\0'; ++d) {
    if (*d == *position) return true;
  }
  return false;
}

int16_t SoapScanner::LookUpToken() const {
  const int16_t count = GetKeywordCount();
  for (int16_t id = 0; id < count; ++id) {
    if (!keywords_[id].empty() && keywords_[id] == token_) return id;
  }
  return -1;
}

int16_t SoapScanner::NextToken() {
  const int16_t id = ReadToken();
  if (id == GetEndToken()) throw SoapScannerException();
  return id;
}

int16_t SoapScanner::ReadToken() {
  enum class State { kSkip, kDelimiter, kWord, kWordDone };

  token_.clear();
  const char* const end = text_.data() + text_.size();
  if (position_ >= end) return GetEndToken();

  State state = State::kSkip;
  for (; position_ < end; ++position_) {
    const char c = *position_;
    switch (state) {
      case State::kSkip:
        if (IsAsciiSpace(c)) break;
        token_.push_back(c);
        state = IsDelimiter(position_) ? State::kDelimiter : State::kWord;
        break;
      case State::kDelimiter:
        // The character behind the delimiter stays unread.
        return LookUpToken();
      case State::kWord:
        if (IsAsciiSpace(c)) {
          state = State::kWordDone;  // the white space is consumed
        } else if (IsDelimiter(position_)) {
          // The delimiter ends the word and stays unread for the next token.
          const int16_t id = LookUpToken();
          return id >= 0 ? id : GetWordToken();
        } else {
          token_.push_back(c);
        }
        break;
      case State::kWordDone: {
        const int16_t id = LookUpToken();
        return id >= 0 ? id : GetWordToken();
      }
    }
  }

  // The text has ended: only a word or a delimiter still being read is a token. A word that was
  // closed by white space at the very end is lost with it.
  if (state == State::kWord) {
    const int16_t id = LookUpToken();
    return id >= 0 ? id : GetWordToken();
  }
  if (state == State::kDelimiter) return LookUpToken();
  return GetEndToken();
}

SoapMethodScanner::SoapMethodScanner(const std::string& text)
    : SoapScanner(text, kMethodDelimiters, kMethodKeywords) {}

SoapStructScanner::SoapStructScanner(const std::string& text)
    : SoapScanner(text, kStructDelimiters, kStructKeywords) {}

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
