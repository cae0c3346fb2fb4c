// The packed fault text that SOAPFaultException carries: the fault's code, string and detail
// between the pseudo-tags <tssp_fcode>, <tssp_fstring> and <tssp_fdetailmessage>.
//
// Each part is escaped (support/values/packed_fault_escape.h), so that no part can end or forge a
// tag; ordinary texts are packed byte for byte.
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

}  // namespace easysoap_internal
