// The escape of the parts of a packed fault text, shared by the library that packs a fault and
// the soapexception that takes it apart, so that the two directions can't drift apart.
//
// A part can't end its own tags or forge another's: a "<" in a part that is followed by any
// number of "\", an optional "/" and "tssp_" gets one more "\" behind it ("</tssp_fcode>" becomes
// "<\/tssp_fcode>", "<\tssp_x" becomes "<\\tssp_x"). Every other text, a "\" elsewhere included,
// stays as it is, so that ordinary fault texts are packed byte for byte.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace packed_fault_escape {

inline constexpr char kEscape = '\\';
inline constexpr std::string_view kTagName = "tssp_";

// Whether text, from `from` on, holds at least minEscapes "\", an optional "/" and "tssp_": what
// stands behind the "<" of a tag (minEscapes 0) or of an escaped one (1).
inline bool IsTagBehind(std::string_view text, size_t from, size_t minEscapes) {
  size_t at = from;
  while (at < text.size() && text[at] == kEscape) ++at;
  if (at - from < minEscapes) return false;
  if (at < text.size() && text[at] == '/') ++at;
  return text.substr(at, kTagName.size()) == kTagName;
}

inline std::string Escape(std::string_view part) {
  std::string escaped;
  escaped.reserve(part.size());
  for (size_t i = 0; i < part.size(); ++i) {
    escaped.push_back(part[i]);
    if (part[i] == '<' && IsTagBehind(part, i + 1, 0)) escaped.push_back(kEscape);
  }
  return escaped;
}

// The part as it was before Escape.
inline std::string Unescape(std::string_view part) {
  std::string text;
  text.reserve(part.size());
  for (size_t i = 0; i < part.size(); ++i) {
    text.push_back(part[i]);
    if (part[i] == '<' && IsTagBehind(part, i + 1, 1)) ++i;
  }
  return text;
}

}  // namespace packed_fault_escape
