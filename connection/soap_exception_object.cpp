#include "connection/soap_exception_object.h"

#include "host/class_description.h"

namespace tssoap {

namespace {

constexpr char kEscape = '\\';
constexpr std::string_view kMarkerName = "tssp_";

// Whether part, from `from` on, holds one or more "\", an optional "/" and "tssp_": a tag text
// that the library escaped.
bool IsEscapedMarker(std::string_view part, size_t from) {
  if (from >= part.size() || part[from] != kEscape) return false;
  size_t at = part.find_first_not_of(kEscape, from);
  if (at == std::string_view::npos) return false;
  if (part[at] == '/') ++at;
  return part.substr(at, kMarkerName.size()) == kMarkerName;
}

// Takes one "\" off each escaped tag text, giving back the part as the server sent it.
std::string Unescape(std::string_view part) {
  std::string text;
  text.reserve(part.size());
  for (size_t i = 0; i < part.size(); ++i) {
    text.push_back(part[i]);
    if (part[i] == '<' && IsEscapedMarker(part, i + 1)) ++i;
  }
  return text;
}

}  // namespace

std::string FaultPart(std::string_view details, std::string_view openTag,
                      std::string_view closeTag) {
  size_t open = details.find(openTag);
  size_t close = details.find(closeTag);
  if (open == std::string_view::npos || close == std::string_view::npos) {
    return std::string(details);
  }
  size_t start = open + openTag.size();
  if (close < start) return Unescape(details.substr(start));
  return Unescape(details.substr(start, close - start));
}

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
