// The extension's two exported entry points, the only symbols of the library that the runtime
// sees. Both have C linkage and hold no state; they may run on any thread. Declared beside the
// runtime's interfaces; defined in connection/entry_points.cpp, beside the two classes they make.
#pragma once

#include "host/host_interfaces.h"

#define TSSOAP_EXPORT __attribute__((visibility("default")))

extern "C" {
// The class description: constant and zero-terminated; the pointer stays valid while the library
// is loaded.
TSSOAP_EXPORT const char* TSX_GetDescription();
// Makes an instance of "soapexception" or "soapconnection" (exact bytes, case respected) and
// stores it in *result, or a null pointer when there is no memory for it. Any other name leaves
// *result untouched. Always answers 0; session and object are not looked at. The host owns the
// instance and ends it with Destroy.
TSSOAP_EXPORT int32_t TSX_CreateNonVisualObject(IHostSession* session, HostObject object,
                                                const char* className,
                                                IHostNonVisualObject** result);
}
