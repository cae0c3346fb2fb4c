// What the library does when it is loaded and unloaded. On Linux ELF constructors and destructors
// stand for the process attach and detach events: here the module handle is recorded and the call
// log closed at unload; the thread-local slot has its own pair beside it
// (host/type_namespace_buffer.cpp). The per-thread events have no counterpart, so a thread gets
// its TypeNamespaceBuffer on first use and the pthread key's destructor frees it when the thread
// ends.
#pragma once

#include "host/host_interfaces.h"

namespace tssoap {

// The extension's own library handle (its load address), recorded at load; what a marshaler's
// GetModuleHandle answers.
HostModuleHandle ExtensionModuleHandle();

}  // namespace tssoap
