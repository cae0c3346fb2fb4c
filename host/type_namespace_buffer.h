// The per-thread block of 1024 bytes that carries the namespace of the XML type being written
// from the request drivers to the row operations. Reached through a thread-local slot that the
// library allocates at load; a thread that has no block gets one on first SetTypeNamespace.
#pragma once

#include <cstddef>

namespace tssoap {

inline constexpr size_t kTypeNamespaceBufferSize = 1024;

// Clears the calling thread's block, creating it if needed, and copies text in: at most 1023
// bytes, so that nothing is written past the block. Null stores the empty text.
void SetTypeNamespace(const char* text);
// The calling thread's block, or null when the thread has none.
const char* GetTypeNamespace();

}  // namespace tssoap
