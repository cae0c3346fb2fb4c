#include "host/type_namespace_buffer.h"

#include <pthread.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace tssoap {
namespace {

pthread_key_t gSlot;
// Written at load and unload only, when no call into the extension runs.
bool gSlotReady = false;

void FreeBlock(void* block) { std::free(block); }

char* NewBlock() { return static_cast<char*>(std::calloc(1, kTypeNamespaceBufferSize)); }

char* GiveThreadBlock() {
  char* block = NewBlock();
  if (block != nullptr && pthread_setspecific(gSlot, block) != 0) {
    std::free(block);
    block = nullptr;
  }
  return block;
}

}  // namespace

bool CreateTypeNamespaceSlot() {
  if (gSlotReady) return true;
  if (pthread_key_create(&gSlot, &FreeBlock) != 0) return false;
  gSlotReady = true;
  // Without memory now the thread simply gets its block on first use.
  GiveThreadBlock();
  return true;
}

void DeleteTypeNamespaceSlot() {
  if (!gSlotReady) return;
  std::free(pthread_getspecific(gSlot));
  pthread_setspecific(gSlot, nullptr);
  pthread_key_delete(gSlot);
  gSlotReady = false;
}

void SetTypeNamespace(const char* text) {
  SetTypeNamespace(text != nullptr
                       ? std::string_view(text, strnlen(text, kTypeNamespaceBufferSize - 1))
                       : std::string_view());
}

void SetTypeNamespace(std::string_view text) {
  if (!gSlotReady) return;
  auto* block = static_cast<char*>(pthread_getspecific(gSlot));
  if (block == nullptr) block = GiveThreadBlock();
  if (block == nullptr) return;
  const size_t length = std::min(text.size(), kTypeNamespaceBufferSize - 1);
  if (length != 0) std::memcpy(block, text.data(), length);
  block[length] = '\0';
}

const char* GetTypeNamespace() {
  if (!gSlotReady) return nullptr;
  return static_cast<const char*>(pthread_getspecific(gSlot));
}

namespace {

// Process attach and detach. They live beside the slot, so that whatever links the slot gets
// them too, also a program that links the extension's objects statically. Without a slot every
// thread runs without a block: the ELF loader offers no way to refuse the load from here.
__attribute__((constructor)) void OnLoadCreateSlot() { CreateTypeNamespaceSlot(); }
__attribute__((destructor)) void OnUnloadDeleteSlot() { DeleteTypeNamespaceSlot(); }

}  // namespace

}  // namespace tssoap
