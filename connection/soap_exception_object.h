// SoapException: the class behind the host's soapexception (a runtimeerror). Besides the `text`
// that every runtimeerror has, it keeps the whole SOAP fault as one packed text in which the
// library put the fault's code, string and detail between pseudo-tags; its getters cut the parts
// out. Created by TSX_CreateNonVisualObject, owned by the host, ended by Destroy.
#pragma once

#include <string>
#include <string_view>

#include "host/host_non_visual_object.h"

namespace tssoap {

// The pseudo-tags of a packed fault text. No XML: searched for as exact, case-sensitive texts.
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
std::string FaultPart(std::string_view details, std::string_view openTag,
                      std::string_view closeTag);

class SoapException final : public HostNonVisualObjectBase {
 public:
  const std::string& Details() const { return details_; }

 private:
  // getFaultCode, getFaultString, getDetailMessage, SetDetails.
  void Run(IHostSession& session, uint16_t methodNumber, HostCallInfo& info) override;
  void WriteFaultPart(HostCallInfo& info, std::string_view openTag, std::string_view closeTag);
  void SetDetails(IHostSession& session, HostCallInfo& info);

  std::string details_;  // the packed fault text, in the host's code page
};

}  // namespace tssoap
