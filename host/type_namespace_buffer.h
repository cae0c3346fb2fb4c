// The per-thread block of 1024 bytes that carries the namespace of the XML type being written
// from the request drivers to the row operations. Reached through a thread-local slot (a pthread
// key) that the library allocates at load; the key's destructor frees a thread's block when the
// thread ends. A thread that has no block (one that existed before the load, or one whose block
// couldn't be allocated) gets one on its first SetTypeNamespace.
#pragma once

#include <cstddef>
#include <string_view>

namespace tssoap {

inline constexpr size_t kTypeNamespaceBufferSize = 1024;

// Stores text in the calling thread's block, creating the block if needed: at most 1023 bytes
// and a terminator, so that nothing is written past the block. Null stores the empty text.
// Does nothing when the block can't be had.
void SetTypeNamespace(const char* text);
// The same for a text of known length.
void SetTypeNamespace(std::string_view text);
// The calling thread's block, or null when the thread has none.
const char* GetTypeNamespace();

// Load and unload of the library (host/library_lifecycle.cpp). Creating allocates the slot and
// gives the calling thread a zeroed block; false when no slot is available. Deleting frees the
// calling thread's block, then the slot; blocks of threads still running stay theirs.
bool CreateTypeNamespaceSlot();
void DeleteTypeNamespaceSlot();

}  // namespace tssoap
