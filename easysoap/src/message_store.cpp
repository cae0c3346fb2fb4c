#include "easysoap/src/message_store.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>

#include "support/values/soap_exception.h"
#include "support/values/soap_qname.h"

namespace easysoap_internal {

namespace {

constexpr size_t kFirstBlock = 16 * 1024;
constexpr size_t kLargestBlock = 1024 * 1024;
// A table of kept texts up to this many slots stays for the next message; a larger one goes.
constexpr size_t kKeptTableSlots = 1024;

// The size of the block at position index of the chain: each twice the one before, up to the
// largest.
size_t ChainBlockSize(size_t index) {
  size_t size = kFirstBlock;
  for (size_t i = 0; i < index && size < kLargestBlock; ++i) size *= 2;
  return size;
}

}  // namespace

MessageStore::~MessageStore() { Reset(); }

std::atomic<uint64_t>& OutsideChanges() {
  static std::atomic<uint64_t> changes{0};
  return changes;
}

void MessageStore::Reset() {
  Rewind(0);
  blocks_.shrink_to_fit();
  alone_.shrink_to_fit();
  table_.clear();
  table_.shrink_to_fit();
  footprint_ = 0;
}

void MessageStore::Rewind(size_t keepBytes) {
  for (char* block : alone_) std::free(block);
  alone_.clear();
  size_t kept = 0;
  size_t count = 0;
  while (count < blocks_.size() && kept + blocks_[count].size <= keepBytes) {
    kept += blocks_[count++].size;
  }
  for (size_t i = count; i < blocks_.size(); ++i) std::free(blocks_[i].data);
  blocks_.resize(count);
  inUse_ = 0;
  next_ = nullptr;
  left_ = 0;
  if (table_.size() > kKeptTableSlots) {
    table_.clear();
    table_.shrink_to_fit();
  } else {
    std::fill(table_.begin(), table_.end(), nullptr);
  }
  footprint_ = table_.size() * sizeof(Interned*);
  interned_ = 0;
  std::fill(std::begin(recent_), std::end(recent_), Recent{});
  std::fill(std::begin(memo_), std::end(memo_), Memo{});
}

char* MessageStore::TakeBlock(size_t size) {
  auto* block = static_cast<char*>(std::malloc(size));
  if (block == nullptr) throw SOAPMemoryException();
  return block;
}

void* MessageStore::AllocateInNewBlock(size_t bytes) {
  const size_t chainSize =
      inUse_ < blocks_.size() ? blocks_[inUse_].size : ChainBlockSize(blocks_.size());
  // A request larger than a quarter block gets a block of its own; the current one stays.
  if (bytes > chainSize / 4) return AllocateAlone(bytes);
  if (inUse_ == blocks_.size()) {
    blocks_.reserve(blocks_.size() + 1);
    blocks_.push_back({TakeBlock(chainSize), chainSize});
  }
  const Block& block = blocks_[inUse_++];
  footprint_ += block.size;
  next_ = block.data + bytes;
  left_ = block.size - bytes;
  return block.data;
}

void* MessageStore::AllocateAlone(size_t bytes) {
  alone_.reserve(alone_.size() + 1);
  char* block = TakeBlock(bytes);
  alone_.push_back(block);
  footprint_ += bytes;
  return block;
}

void MessageStore::FreeAlone(void* block, size_t bytes) {
  // The block freed is nearly always the last one given.
  for (size_t i = alone_.size(); i-- > 0;) {
    if (alone_[i] != block) continue;
    std::free(alone_[i]);
    alone_[i] = alone_.back();
    alone_.pop_back();
    footprint_ -= bytes;
    return;
  }
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
  if (*slot == nullptr) {
    const char* copy = Copy(text);
    *slot = New<Interned>(Interned{copy, static_cast<uint32_t>(text.size()),
                                   SOAPQName::HashText(copy), tableHash, 0});
    ++interned_;
  }
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

std::pair<size_t, size_t> MessageStore::MemoSlots(const void* const key[4]) {
  // Every address mixed in (Fibonacci hashing), two slots taken from the top bits: the keys of a
  // record's fields differ in one kept text, and those lie a few bytes apart in one block. Two
  // places for each key keep the few keys of a message from pushing each other out.
  uint64_t mixed = 0;
  for (int i = 0; i < 4; ++i) mixed = MixAddress(key[i], mixed);
  return SlotsOfMix(mixed, kMemoBits);
}

void* MessageStore::Recall(const void* const key[4]) const {
  const auto [first, second] = MemoSlots(key);
  for (const size_t slot : {first, second}) {
    if (std::equal(key, key + 4, memo_[slot].key)) return memo_[slot].value;
  }
  return nullptr;
}

void MessageStore::Remember(const void* const key[4], void* value) {
  const auto [first, second] = MemoSlots(key);
  // The first place unless another key holds it and the second is free.
  Memo& memo = memo_[first].value != nullptr && memo_[second].value == nullptr ? memo_[second]
                                                                               : memo_[first];
  std::copy(key, key + 4, memo.key);
  memo.value = value;
}

}  // namespace easysoap_internal
