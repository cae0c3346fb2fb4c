// Escaping of character data and attribute values for the XML the library writes: requests, and
// the detail of a fault handed back as XML text. Input is UTF-8; bytes that XML 1.0 can't carry
// (invalid UTF-8, control characters other than tab, line feed and carriage return, U+FFFE and
// U+FFFF) are refused, since a request that a server can't parse would only fail later and less
// clearly.
#pragma once

#include <cstddef>
#include <string>

namespace easysoap_internal {

enum class EscapeContext {
  kText,       // element content: & < > and carriage return
  kAttribute,  // attribute value in double quotes: also ", tab and line feed
};

// Where an escape failed: the byte offset in the input and what is wrong there.
struct EscapeError {
  size_t offset = 0;
  const char* reason = nullptr;  // static text; null when the text was fine
};

// The length of the start of the NUL-terminated text that is written as it is in context: it
// ends at the terminator or at the first byte that needs an escape or a closer look.
size_t PlainLength(const char* text, EscapeContext context);

// Appends the escaped form of text[0, length) to out. On a byte XML can't carry it stops, leaves
// what it appended so far, and reports the place; the caller decides how to tell the user.
EscapeError AppendEscaped(std::string& out, const char* text, size_t length, EscapeContext context);

}  // namespace easysoap_internal
