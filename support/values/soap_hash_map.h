// SOAPHashMap<K, V>: the chained hash map in which the library keeps a parameter's attributes.
//
// Entries are stored and found under the key's Hash(), which must match on both sides of the
// border. The library fills the map; the extension reads it through Find and iteration. Iteration
// order is bucket order and carries no meaning.
#pragma once

#include <cstdint>
#include <new>
#include <utility>

#include "support/values/easysoap_alloc.h"
#include "support/values/soap_exception.h"

template <typename K, typename V>
class SOAPHashMap {
 public:
  struct Entry {
    Entry* next;
    uint32_t hash;
    K key;
    V value;
  };

  // The map, a position in the bucket table, and the current entry; the end has no entry and the
  // position just behind the last bucket.
  class Iterator {
   public:
    Iterator(const SOAPHashMap* map, uint32_t bucket, Entry* entry)
        : map_(map), bucket_(bucket), entry_(entry) {}
    bool operator==(const Iterator& other) const {
      return bucket_ == other.bucket_ && entry_ == other.entry_;
    }
    bool operator!=(const Iterator& other) const { return !(*this == other); }
    Iterator& operator++() {
      if (entry_ != nullptr && entry_->next != nullptr) {
        entry_ = entry_->next;
        return *this;
      }
      for (++bucket_; bucket_ < map_->bucketCount_; ++bucket_) {
        if (map_->buckets_[bucket_] != nullptr) {
          entry_ = map_->buckets_[bucket_];
          return *this;
        }
      }
      entry_ = nullptr;
      return *this;
    }
    const K& Key() const { return entry_->key; }
    V& Value() const { return entry_->value; }
    Entry* operator->() const { return entry_; }

   private:
    const SOAPHashMap* map_;
    uint32_t bucket_;
    Entry* entry_;
  };

  SOAPHashMap() = default;
  SOAPHashMap(const SOAPHashMap& other) { CopyFrom(other); }
  SOAPHashMap& operator=(const SOAPHashMap& other) {
    if (this != &other) {
      SOAPHashMap copy(other);
      Swap(copy);
    }
    return *this;
  }
  SOAPHashMap(SOAPHashMap&& other) noexcept { Swap(other); }
  SOAPHashMap& operator=(SOAPHashMap&& other) noexcept {
    Swap(other);
    return *this;
  }
  ~SOAPHashMap() { Clear(); }

  Iterator Begin() const {
    Iterator it(this, 0, nullptr);
    if (bucketCount_ == 0) return End();
    if (buckets_[0] != nullptr) return Iterator(this, 0, buckets_[0]);
    return ++it;
  }
  Iterator End() const { return Iterator(this, bucketCount_, nullptr); }
  // visit(key, value) for every entry, in the order of the iterators; done behind the last entry,
  // without passing over the empty buckets that follow it.
  template <typename Visit>
  void ForEach(Visit&& visit) const {
    uint32_t left = count_;
    for (uint32_t b = 0; left != 0 && b < bucketCount_; ++b) {
      for (const Entry* entry = buckets_[b]; entry != nullptr; entry = entry->next, --left) {
        visit(entry->key, entry->value);
      }
    }
  }

  // The entry of key, found under its hash, or End().
  Iterator Find(const K& key, uint32_t hash) const {
    if (bucketCount_ == 0) return End();
    uint32_t bucket = hash % bucketCount_;
    for (Entry* entry = buckets_[bucket]; entry != nullptr; entry = entry->next) {
      if (entry->hash == hash && entry->key == key) return Iterator(this, bucket, entry);
    }
    return End();
  }
  Iterator Find(const K& key) const { return Find(key, key.Hash()); }

  // The value of key, added default-constructed if the map lacks it.
  V& Add(const K& key) {
    uint32_t hash = key.Hash();
    Iterator found = Find(key, hash);
    if (found != End()) return found.Value();
    if (count_ >= bucketCount_) Rehash(bucketCount_ == 0 ? 8 : bucketCount_ * 2);
    auto* entry = static_cast<Entry*>(easysoap_malloc(sizeof(Entry)));
    if (entry == nullptr) throw SOAPMemoryException();
    uint32_t bucket = hash % bucketCount_;
    new (entry) Entry{buckets_[bucket], hash, key, V()};
    buckets_[bucket] = entry;
    ++count_;
    return entry->value;
  }

  uint32_t Count() const { return count_; }

  // For a reader that keeps entries in storage of its own (the parser keeps a message's entries
  // together, and maps with equal entries share them): the map shows the bucket table and its
  // chains without owning either, and such entries are never changed. Forget lets go of them
  // again without destroying or freeing anything; an adopted map must be forgotten before
  // anything else changes or ends it.
  void Adopt(Entry** buckets, uint32_t bucketCount, uint32_t count) {
    Clear();
    buckets_ = buckets;
    bucketCount_ = bucketCount;
    count_ = count;
  }
  // The bucket table and its size, for a reader that hands an adopted one on to another map.
  Entry** Buckets() const { return buckets_; }
  uint32_t BucketCount() const { return bucketCount_; }
  void Forget() {
    buckets_ = nullptr;
    bucketCount_ = 0;
    count_ = 0;
  }

  void Clear() {
    for (uint32_t b = 0; b < bucketCount_; ++b) {
      for (Entry* entry = buckets_[b]; entry != nullptr;) {
        Entry* next = entry->next;
        entry->~Entry();
        easysoap_free(entry);
        entry = next;
      }
    }
    easysoap_free(buckets_);
    buckets_ = nullptr;
    bucketCount_ = 0;
    count_ = 0;
  }

 private:
  void Rehash(uint32_t newCount) {
    auto** table = static_cast<Entry**>(easysoap_malloc(sizeof(Entry*) * size_t{newCount}));
    if (table == nullptr) throw SOAPMemoryException();
    for (uint32_t b = 0; b < newCount; ++b) table[b] = nullptr;
    for (uint32_t b = 0; b < bucketCount_; ++b) {
      for (Entry* entry = buckets_[b]; entry != nullptr;) {
        Entry* next = entry->next;
        uint32_t target = entry->hash % newCount;
        entry->next = table[target];
        table[target] = entry;
        entry = next;
      }
    }
    easysoap_free(buckets_);
    buckets_ = table;
    bucketCount_ = newCount;
  }
  void CopyFrom(const SOAPHashMap& other) {
    for (Iterator it = other.Begin(); it != other.End(); ++it) Add(it.Key()) = it.Value();
  }
  void Swap(SOAPHashMap& other) noexcept {
    std::swap(buckets_, other.buckets_);
    std::swap(bucketCount_, other.bucketCount_);
    std::swap(count_, other.count_);
  }

  Entry** buckets_ = nullptr;
  uint32_t bucketCount_ = 0;
  uint32_t count_ = 0;
};
