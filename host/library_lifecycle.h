// What the library does when it is loaded and unloaded. On Linux an ELF constructor and
// destructor stand for the process attach and detach events; the per-thread events have no
// counterpart, so a thread gets its TypeNamespaceBuffer on first use and the pthread key's
// destructor frees it when the thread ends (host/type_namespace_buffer.h).
#pragma once

#include "host/host_interfaces.h"

namespace tssoap {

// The extension's own library handle (its load address), recorded at load; what a marshaler's
// GetModuleHandle answers.
HostModuleHandle ExtensionModuleHandle();

}  // namespace tssoap
