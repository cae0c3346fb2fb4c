#include "easysoap/src/xml_escape.h"

#include <cstdint>

namespace easysoap_internal {

namespace {

enum ByteClass : uint8_t {
  kPlain,      // copied as it is
  kSpecial,    // has an escape in some context
  kControl,    // a control character XML 1.0 doesn't allow
  kMultiByte,  // part of a UTF-8 sequence, checked as a whole
};

constexpr auto kByteClasses = [] {
  struct Table {
    ByteClass value[256];
  } table{};
  for (int c = 0; c < 256; ++c) {
    table.value[c] = c < 0x20 ? kControl : c < 0x80 ? kPlain : kMultiByte;
  }
  for (unsigned char c : {'&', '<', '>', '"', '\t', '\n', '\r'}) table.value[c] = kSpecial;
  return table;
}();

// Per context, the bytes that are copied as they are: no escape, no check.
constexpr auto kPlainBytes = [] {
  struct Table {
    bool value[2][256];
  } table{};
  for (int context = 0; context < 2; ++context) {
    for (int c = 0x20; c < 0x80; ++c) table.value[context][c] = true;
    for (unsigned char c : {'&', '<', '>'}) table.value[context][c] = false;
  }
  // Quotes, tabs and line feeds are escaped in attribute values only.
  for (unsigned char c : {'"', '\t', '\n'}) {
    table.value[static_cast<int>(EscapeContext::kText)][c] = true;
    table.value[static_cast<int>(EscapeContext::kAttribute)][c] = false;
  }
  return table;
}();

// Length of the valid UTF-8 sequence at text[0], or 0 when it isn't one or stands for a character
// that XML excludes (surrogates, U+FFFE, U+FFFF).
size_t Utf8SequenceLength(const unsigned char* text, size_t available) {
  unsigned char lead = text[0];
  auto continuation = [&](size_t i, unsigned char low, unsigned char high) {
    return i < available && text[i] >= low && text[i] <= high;
  };
  if (lead >= 0xC2 && lead <= 0xDF) return continuation(1, 0x80, 0xBF) ? 2 : 0;
  if (lead >= 0xE0 && lead <= 0xEF) {
    unsigned char low = lead == 0xE0 ? 0xA0 : 0x80;
    unsigned char high = lead == 0xED ? 0x9F : 0xBF;
    if (!continuation(1, low, high) || !continuation(2, 0x80, 0xBF)) return 0;
    if (lead == 0xEF && text[1] == 0xBF && (text[2] == 0xBE || text[2] == 0xBF)) return 0;
    return 3;
  }
  if (lead >= 0xF0 && lead <= 0xF4) {
    unsigned char low = lead == 0xF0 ? 0x90 : 0x80;
    unsigned char high = lead == 0xF4 ? 0x8F : 0xBF;
    if (!continuation(1, low, high) || !continuation(2, 0x80, 0xBF) ||
        !continuation(3, 0x80, 0xBF)) {
      return 0;
    }
    return 4;
  }
  return 0;
}

const char* EscapeOf(unsigned char c, EscapeContext context) {
  switch (c) {
    case '&':
      return "&amp;";
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    case '\r':
      return "&#xD;";  // a raw one would turn into a line feed on the server's side
    case '"':
      return context == EscapeContext::kAttribute ? "&quot;" : nullptr;
    case '\t':
      return context == EscapeContext::kAttribute ? "&#x9;" : nullptr;
    case '\n':
      return context == EscapeContext::kAttribute ? "&#xA;" : nullptr;
    default:
      return nullptr;
  }
}

}  // namespace

size_t PlainLength(const char* text, EscapeContext context) {
  const bool* plain = kPlainBytes.value[static_cast<int>(context)];
  const auto* bytes = reinterpret_cast<const unsigned char*>(text);
  size_t length = 0;
  while (plain[bytes[length]]) ++length;
  return length;
}

EscapeError AppendEscaped(std::string& out, const char* text, size_t length,
                          EscapeContext context) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(text);
  size_t runStart = 0;
  size_t i = 0;
  while (i < length) {
    ByteClass byteClass = kByteClasses.value[bytes[i]];
    if (byteClass == kPlain) {
      ++i;
      continue;
    }
    if (byteClass == kMultiByte) {
      size_t sequence = Utf8SequenceLength(bytes + i, length - i);
      if (sequence == 0) {
        out.append(text + runStart, i - runStart);
        return {i, "not valid UTF-8 or a character that XML excludes"};
      }
      i += sequence;
      continue;
    }
    if (byteClass == kControl) {
      out.append(text + runStart, i - runStart);
      return {i, "a control character that XML can't carry"};
    }
    const char* escape = EscapeOf(bytes[i], context);
    if (escape == nullptr) {
      ++i;
      continue;
    }
    out.append(text + runStart, i - runStart);
    out.append(escape);
    runStart = ++i;
  }
  out.append(text + runStart, length - runStart);
  return {};
}

}  // namespace easysoap_internal
