// MessageStore: the storage of one message, parsed or built. Elements, attribute entries and texts
// are carved out of a few large blocks instead of one block each, and names, namespaces and
// qualified-name values are kept once however often they occur, so that the tree of a message
// costs a small multiple of its size. Everything goes at once, with the message; Rewind keeps the
// blocks for the next message, so that a message of the same size takes nothing new from the
// system.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <string_view>
#include <utility>
#include <vector>

#include "easysoap/src/address_slot.h"

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
  void* Allocate(size_t bytes) {
    bytes = bytes == 0 ? kAlignment : (bytes + kAlignment - 1) & ~(kAlignment - 1);
    if (bytes > left_) return AllocateInNewBlock(bytes);
    char* result = next_;
    next_ += bytes;
    left_ -= bytes;
    return result;
  }
  template <typename T, typename... Args>
  T* New(Args&&... args) {
    return new (Allocate(sizeof(T))) T(std::forward<Args>(args)...);
  }
  // A NUL-terminated copy of text.
  const char* Copy(std::string_view text);
  // The one copy of text, made on its first use.
  Interned& Intern(std::string_view text);
  // The same for a NUL-terminated text. The texts of a message come again and again from the
  // same places (the names of an array's items, the type names of its fields): a text met at an
  // address lately, and still the same there, is found without hashing it. Each address has two
  // places (TwoWaySlot), so that the dozen addresses of a record's texts don't push each other
  // out.
  Interned& Intern(const char* text) {
    bool found = false;
    Recent& recent = TwoWaySlot(
        recent_, kRecentBits, text,
        [](const Recent& slot) { return static_cast<const void*>(slot.source); }, found);
    if (found && std::strcmp(recent.interned->text, text) == 0) return *recent.interned;
    Interned& interned = Intern(std::string_view(text));
    recent = {text, &interned};
    return interned;
  }
  // The copy of text when there is one, else null.
  Interned* FindInterned(std::string_view text) const;

  // bytes in a block of their own, which goes with the message or earlier by FreeAlone: a list
  // that keeps growing gives its last block back as it moves to the next.
  void* AllocateAlone(size_t bytes);
  // Frees a block that AllocateAlone gave for bytes; a block it didn't give stays.
  void FreeAlone(void* block, size_t bytes);

  // Bytes taken from the system for the message: the blocks in use and the table of kept texts.
  size_t Footprint() const { return footprint_; }
  // How many distinct texts are kept.
  size_t InternedCount() const { return interned_; }
  // Frees everything.
  void Reset();
  // Forgets everything but keeps up to keepBytes of blocks (and a small table of kept texts) for
  // the next message.
  void Rewind(size_t keepBytes);

  // A small memory of values found once and asked for again (the attribute table of a request's
  // elements with equal attributes), keyed by up to four pointers into this storage; a slot may
  // be overwritten by another key at any time. Forgotten with everything else.
  void* Recall(const void* const key[4]) const;
  void Remember(const void* const key[4], void* value);

 private:
  struct Block {
    char* data;
    size_t size;
  };
  struct Recent {
    const char* source;
    Interned* interned;
  };
  struct Memo {
    const void* key[4];
    void* value;
  };
  static constexpr int kMemoBits = 4;
  static constexpr size_t kMemoSlots = size_t{1} << kMemoBits;
  static constexpr int kRecentBits = 7;
  static constexpr size_t kRecentSlots = size_t{1} << kRecentBits;
  static constexpr size_t kAlignment = alignof(void*);  // enough for every object of the tree

  Interned** Slot(std::string_view text, uint32_t tableHash) const;
  void GrowTable();
  void* AllocateInNewBlock(size_t bytes);
  char* TakeBlock(size_t size);
  // The two places where key may be remembered.
  static std::pair<size_t, size_t> MemoSlots(const void* const key[4]);

  std::vector<Block> blocks_;  // the blocks of the chain, in the order they are used
  size_t inUse_ = 0;           // how many of blocks_ this message has taken
  std::vector<char*> alone_;   // blocks of one large request or one long list each
  char* next_ = nullptr;
  size_t left_ = 0;
  size_t footprint_ = 0;
  std::vector<Interned*> table_;  // open addressing, a power of two, at most half full
  size_t interned_ = 0;
  Recent recent_[kRecentSlots] = {};
  Memo memo_[kMemoSlots] = {};
};

// How often an element of any storage was changed in a way that may have given it a part outside
// its storage (a text, list or attribute map of its own): the owner of a storage notes the count
// when its tree begins, and when the count is still the same as the tree goes, all of the tree
// goes with the storage, unwalked.
std::atomic<uint64_t>& OutsideChanges();

}  // namespace easysoap_internal
