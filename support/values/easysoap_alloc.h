// The one allocator for buffers that cross between the extension and the library layer.
// Buffers of SOAPString and SOAPGrowArray are always allocated and released here.
#pragma once

#include <cstddef>

#include "support/values/easysoap_api.h"

// A block of size bytes, or null when there is no memory.
EASYSOAP_API void* easysoap_malloc(size_t size);
// Releases a block from easysoap_malloc; null is accepted.
EASYSOAP_API void easysoap_free(void* block);
