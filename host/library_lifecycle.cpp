#include "host/library_lifecycle.h"

#include <dlfcn.h>

#include "easysoap/soap_debugger.h"

namespace tssoap {
namespace {

HostModuleHandle gModuleHandle = nullptr;

// Nothing to do at start; at unload the call log closes, which is when a log file named by
// "soaplog" ends unless a later "soaplog" replaced it.
struct CallLogGuard {
  CallLogGuard() = default;
  CallLogGuard(const CallLogGuard&) = delete;
  CallLogGuard& operator=(const CallLogGuard&) = delete;
  ~CallLogGuard() { SOAPDebugger::Close(); }
};
CallLogGuard gCallLogGuard;

}  // namespace

HostModuleHandle ExtensionModuleHandle() { return gModuleHandle; }

namespace {

// An address inside this library, so that dladdr names the library and not its caller.
__attribute__((constructor)) void OnLibraryLoad() {
  Dl_info info{};
  if (dladdr(reinterpret_cast<const void*>(&OnLibraryLoad), &info) != 0) {
    gModuleHandle = info.dli_fbase;
  }
}

}  // namespace
}  // namespace tssoap
