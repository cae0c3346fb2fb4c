// The packed fault text that SOAPFaultException carries: the fault's code, string and detail
// between the pseudo-tags <tssp_fcode>, <tssp_fstring> and <tssp_fdetailmessage>.
//
// A part can't end its own tags or forge another's: a "<" in a part that is followed by any
// number of "\", an optional "/" and "tssp_" gets one more "\" behind it ("</tssp_fcode>"
// becomes "<\/tssp_fcode>", "<\tssp_x" becomes "<\\tssp_x"). Every other text, the "\"
// elsewhere included, is packed as it is. The extension's getters take the escape off again.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace easysoap_internal {

// The three parts packed, at most limit bytes in all. Parts that don't fit are cut at a UTF-8
// character boundary, the detail first and then the string, so that every tag stays whole and
// the code and the string survive a long detail.
std::string PackFaultText(std::string_view code, std::string_view string, std::string_view detail,
                          size_t limit);

inline constexpr char kFaultTextEscape = '\\';

// One part with its tag texts escaped, as above.
std::string EscapeFaultPart(std::string_view part);

}  // namespace easysoap_internal
