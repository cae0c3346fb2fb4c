#include "connection/soap_exception_object.h"

#include "host/class_description.h"

namespace tssoap {

void SoapException::Run(IHostSession& session, uint16_t methodNumber, HostCallInfo& info) {
  switch (methodNumber) {
    case kGetFaultCode:
      WriteFaultPart(info, kFaultCodeOpen, kFaultCodeClose);
      break;
    case kGetFaultString:
      WriteFaultPart(info, kFaultStringOpen, kFaultStringClose);
      break;
    case kGetDetailMessage:
      WriteFaultPart(info, kDetailMessageOpen, kDetailMessageClose);
      break;
    case kSetDetails:
      SetDetails(session, info);
      break;
    default:
      break;
  }
}

void SoapException::WriteFaultPart(HostCallInfo& info, std::string_view openTag,
                                   std::string_view closeTag) {
  if (info.returnValue == nullptr) return;
  const std::string part = FaultPart(details_, openTag, closeTag);
  info.returnValue->SetStringText(part.c_str());
}

void SoapException::SetDetails(IHostSession& session, HostCallInfo& info) {
  const char* text = StringArgument(session, info, 0);
  if (text == nullptr) return;
  details_ = text;
  // The description declares a string result; the host gets this number all the same.
  SetLongResult(info, 0);
}

}  // namespace tssoap
