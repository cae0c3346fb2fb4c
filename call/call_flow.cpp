#include "call/call_flow.h"

namespace tssoap {

// Placeholder until the call flow lands: answers 0 and does nothing.
int32_t InvokeRemoteMethod(SoapMarshaler&, IHostSession*, HostObject, const char*, HostCallInfo*) {
  return 0;
}

}  // namespace tssoap
