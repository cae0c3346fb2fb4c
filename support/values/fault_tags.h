// The pseudo-tags of a packed fault text, which the library writes around a SOAP fault's code,
// string and detail and the extension cuts the parts out of. No XML: searched for as exact,
// case-sensitive texts.
#pragma once

#include <string>
#include <string_view>

#include "support/values/packed_fault_escape.h"

namespace tssoap {

inline constexpr std::string_view kFaultCodeOpen = "<tssp_fcode>";
inline constexpr std::string_view kFaultCodeClose = "</tssp_fcode>";
inline constexpr std::string_view kFaultStringOpen = "<tssp_fstring>";
inline constexpr std::string_view kFaultStringClose = "</tssp_fstring>";
inline constexpr std::string_view kDetailMessageOpen = "<tssp_fdetailmessage>";
inline constexpr std::string_view kDetailMessageClose = "</tssp_fdetailmessage>";

// The text between the first opening and the first closing tag of details (both searched from
// the beginning); all text after the opening tag when the closing one stands before it; the
// whole of details when either tag is missing. A part between tags is unescaped
// (support/values/packed_fault_escape.h): it comes back as the server sent it.
inline std::string FaultPart(std::string_view details, std::string_view openTag,
                             std::string_view closeTag) {
  const size_t open = details.find(openTag);
  const size_t close = details.find(closeTag);
  if (open == std::string_view::npos || close == std::string_view::npos) {
    return std::string(details);
  }
  const size_t start = open + openTag.size();
  if (close < start) return packed_fault_escape::Unescape(details.substr(start));
  return packed_fault_escape::Unescape(details.substr(start, close - start));
}

}  // namespace tssoap
