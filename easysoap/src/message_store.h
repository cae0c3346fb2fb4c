// MessageStore: the storage of one parsed message. Elements, attribute entries and texts are
// carved out of a few large blocks instead of one block each, and names, namespaces and
// qualified-name values are kept once however often they occur, so that the tree of an answer
// costs a small multiple of its size. Everything goes at once, with the message.
#pragma once

#include <cstddef>
#include <cstdint>
#include <new>
#include <string_view>
#include <utility>
#include <vector>

namespace easysoap_internal {

class MessageStore {
 public:
  // A text kept once. textHash is SOAPQName's hash of the text; binding is free for the parser
  // (the namespace declaration in force for a prefix).
  struct Interned {
    const char* text;  // NUL-terminated
    uint32_t length;
    uint32_t textHash;
    uint32_t tableHash;
    uint32_t binding;
  };

  MessageStore() = default;
  ~MessageStore();
  MessageStore(const MessageStore&) = delete;
  MessageStore& operator=(const MessageStore&) = delete;

  // bytes of storage aligned for any object of the tree; throws SOAPMemoryException.
  void* Allocate(size_t bytes);
  template <typename T, typename... Args>
  T* New(Args&&... args) {
    return new (Allocate(sizeof(T))) T(std::forward<Args>(args)...);
  }
  // A NUL-terminated copy of text.
  const char* Copy(std::string_view text);
  // The one copy of text, made on its first use.
  Interned& Intern(std::string_view text);
  // The copy of text when there is one, else null.
  Interned* FindInterned(std::string_view text) const;

  // Bytes taken from the system for the message: the blocks and the table of kept texts.
  size_t Footprint() const { return footprint_; }
  // How many distinct texts are kept.
  size_t InternedCount() const { return interned_; }
  // Frees everything.
  void Reset();

 private:
  Interned** Slot(std::string_view text, uint32_t tableHash) const;
  void GrowTable();

  std::vector<char*> blocks_;
  char* next_ = nullptr;
  size_t left_ = 0;
  size_t nextBlockSize_ = 0;
  size_t footprint_ = 0;
  std::vector<Interned*> table_;  // open addressing, a power of two, at most half full
  size_t interned_ = 0;
};

}  // namespace easysoap_internal
