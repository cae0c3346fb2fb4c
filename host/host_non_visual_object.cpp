#include "host/host_non_visual_object.h"

namespace tssoap {

int32_t HostNonVisualObjectBase::Invoke(IHostSession* session, HostObject, uint16_t methodNumber,
                                        HostCallInfo* info) {
  if (session == nullptr || info == nullptr) return 0;
  try {
    Run(*session, methodNumber, *info);
  } catch (...) {
    // Only an allocation of our own can fail here; the host must not see it.
  }
  return 0;
}

const char* HostNonVisualObjectBase::StringArgument(IHostSession& session, HostCallInfo& info,
                                                    int16_t index) {
  if (info.arguments == nullptr || info.arguments->GetCount() <= index) return nullptr;
  IHostValue* argument = info.arguments->GetAt(index);
  if (argument == nullptr) return nullptr;
  HostString string = argument->GetString();
  if (string == 0) return nullptr;
  return session.GetStringText(string);
}

void HostNonVisualObjectBase::SetLongResult(HostCallInfo& info, int32_t result) {
  if (info.returnValue != nullptr) info.returnValue->SetLong(result);
}

}  // namespace tssoap
