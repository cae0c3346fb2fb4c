#include "support/values/easysoap_alloc.h"

#include <cstdlib>

void* easysoap_malloc(size_t size) { return std::malloc(size); }

void easysoap_free(void* block) { std::free(block); }
