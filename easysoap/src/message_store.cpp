#include "easysoap/src/message_store.h"

#include <cstdlib>
#include <cstring>
#include <functional>

#include "support/values/soap_exception.h"
#include "support/values/soap_qname.h"

namespace easysoap_internal {

namespace {

constexpr size_t kAlignment = alignof(void*);  // enough for every object of the tree
constexpr size_t kFirstBlock = 16 * 1024;
constexpr size_t kLargestBlock = 1024 * 1024;

size_t Aligned(size_t bytes) { return (bytes + kAlignment - 1) & ~(kAlignment - 1); }

}  // namespace

MessageStore::~MessageStore() { Reset(); }

void MessageStore::Reset() {
  for (char* block : blocks_) std::free(block);
  blocks_.clear();
  blocks_.shrink_to_fit();
  table_.clear();
  table_.shrink_to_fit();
  next_ = nullptr;
  left_ = 0;
  nextBlockSize_ = kFirstBlock;
  footprint_ = 0;
  interned_ = 0;
}

void* MessageStore::Allocate(size_t bytes) {
  bytes = Aligned(bytes == 0 ? 1 : bytes);
  if (bytes > left_) {
    if (nextBlockSize_ < kFirstBlock) nextBlockSize_ = kFirstBlock;
    // A request larger than a quarter block gets a block of its own; the current one stays.
    bool alone = bytes > nextBlockSize_ / 4;
    size_t size = alone ? bytes : nextBlockSize_;
    blocks_.reserve(blocks_.size() + 1);
    auto* block = static_cast<char*>(std::malloc(size));
    if (block == nullptr) throw SOAPMemoryException();
    blocks_.push_back(block);
    footprint_ += size;
    if (alone) return block;
    next_ = block;
    left_ = size;
    if (nextBlockSize_ < kLargestBlock) nextBlockSize_ *= 2;
  }
  char* result = next_;
  next_ += bytes;
  left_ -= bytes;
  return result;
}

const char* MessageStore::Copy(std::string_view text) {
  auto* copy = static_cast<char*>(Allocate(text.size() + 1));
  if (!text.empty()) std::memcpy(copy, text.data(), text.size());  // an empty view may have no data
  copy[text.size()] = '\0';
  return copy;
}

MessageStore::Interned** MessageStore::Slot(std::string_view text, uint32_t tableHash) const {
  size_t mask = table_.size() - 1;
  for (size_t i = tableHash & mask;; i = (i + 1) & mask) {
    Interned* const& slot = table_[i];
    if (slot == nullptr ||
        (slot->tableHash == tableHash && slot->length == text.size() &&
         (text.empty() || std::memcmp(slot->text, text.data(), text.size()) == 0))) {
      return const_cast<Interned**>(&slot);
    }
  }
}

MessageStore::Interned* MessageStore::FindInterned(std::string_view text) const {
  if (table_.empty()) return nullptr;
  return *Slot(text, static_cast<uint32_t>(std::hash<std::string_view>()(text)));
}

MessageStore::Interned& MessageStore::Intern(std::string_view text) {
  if (2 * (interned_ + 1) > table_.size()) GrowTable();
  auto tableHash = static_cast<uint32_t>(std::hash<std::string_view>()(text));
  Interned** slot = Slot(text, tableHash);
  if (*slot != nullptr) return **slot;
  const char* copy = Copy(text);
  *slot = New<Interned>(
      Interned{copy, static_cast<uint32_t>(text.size()), SOAPQName::HashText(copy), tableHash, 0});
  ++interned_;
  return **slot;
}

void MessageStore::GrowTable() {
  std::vector<Interned*> old;
  old.swap(table_);
  table_.assign(old.empty() ? 64 : old.size() * 2, nullptr);
  footprint_ += (table_.size() - old.size()) * sizeof(Interned*);
  for (Interned* entry : old) {
    if (entry != nullptr) *Slot({entry->text, entry->length}, entry->tableHash) = entry;
  }
}

}  // namespace easysoap_internal
