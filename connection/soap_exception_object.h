// SoapException: the class behind the host's soapexception (a runtimeerror). Besides the `text`
// that every runtimeerror has, it keeps the whole SOAP fault as one packed text in which the
// library put the fault's code, string and detail between pseudo-tags; its getters cut the parts
// out. Created by TSX_CreateNonVisualObject, owned by the host, ended by Destroy.
#pragma once

#include <string>
#include <string_view>

#include "host/host_non_visual_object.h"
#include "support/values/fault_tags.h"

namespace tssoap {

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
