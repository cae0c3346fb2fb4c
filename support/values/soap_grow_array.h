// SOAPGrowArray<T>: a growable array whose block comes from easysoap_malloc.
//
// Every slot up to capacity holds a constructed T at all times, also those beyond size, so that a
// shrink followed by a grow shows the old contents again. The minimum block is 8 slots and the
// capacity doubles. A failed allocation throws SOAPMemoryException and leaves the array unchanged.
// An array may also show a block that lives in storage of its owner's (Adopt): it never destroys
// or frees that one, and a growth beyond it moves to a block of its own.
#pragma once

#include <cstdint>
#include <functional>
#include <new>
#include <utility>

#include "support/values/easysoap_alloc.h"
#include "support/values/soap_exception.h"

template <typename T>
class SOAPGrowArray {
 public:
  static constexpr uint32_t kMinimumCapacity = 8;
  // The capacity shares a word with the adopted mark (an element of the tree holds an array).
  static constexpr uint32_t kMaximumCapacity = (uint32_t{1} << 31) - 1;

  SOAPGrowArray() = default;
  SOAPGrowArray(const SOAPGrowArray& other) { CopyFrom(other); }
  SOAPGrowArray& operator=(const SOAPGrowArray& other) {
    if (this != &other) {
      SOAPGrowArray copy(other);
      Swap(copy);
    }
    return *this;
  }
  SOAPGrowArray(SOAPGrowArray&& other) noexcept { Swap(other); }
  SOAPGrowArray& operator=(SOAPGrowArray&& other) noexcept {
    Swap(other);
    return *this;
  }
  ~SOAPGrowArray() { Release(); }

  // Makes room for n slots.
  void Reserve(uint32_t n) {
    if (n <= capacity_) return;
    uint32_t grown = capacity_ < kMinimumCapacity ? kMinimumCapacity : capacity_;
    while (grown < n) {
      if (grown > kMaximumCapacity / 2) throw SOAPMemoryException();
      grown *= 2;
    }
    if (grown > SIZE_MAX / sizeof(T)) throw SOAPMemoryException();
    T* block = static_cast<T*>(easysoap_malloc(sizeof(T) * size_t{grown}));
    if (block == nullptr) throw SOAPMemoryException();
    uint32_t built = 0;
    try {
      for (; built < size_; ++built) new (block + built) T(elements_[built]);
      for (; built < grown; ++built) new (block + built) T();
    } catch (...) {
      for (uint32_t i = 0; i < built; ++i) block[i].~T();
      easysoap_free(block);
      throw;
    }
    DestroySlots();
    elements_ = block;
    capacity_ = grown;
  }

  // Shows block, capacity slots (at most kMaximumCapacity) that each hold a T, the first size of
  // them in use, without owning it: the block must outlive the array or its next growth. What the
  // array held is released.
  void Adopt(T* block, uint32_t capacity, uint32_t size) {
    Release();
    elements_ = block;
    capacity_ = capacity;
    size_ = size;
    adopted_ = 1;
  }
  // Whether the block in use is one shown by Adopt.
  bool Adopted() const { return adopted_ != 0; }

  // Grows by Reserve; shrinking only lowers the size, the slots keep their contents.
  void Resize(uint32_t n) {
    if (n > size_) Reserve(n);
    size_ = n;
  }

  // Appends a copy of element and returns its slot. An element of this very array is copied
  // before a growth frees the block it lives in.
  T& Add(const T& element) {
    if (size_ == capacity_ && Holds(&element)) return Add(T(element));
    uint32_t slot = size_;
    if (slot == UINT32_MAX) throw SOAPMemoryException();
    Reserve(slot + 1);
    ++size_;
    elements_[slot] = element;
    return elements_[slot];
  }
  T& Add(T&& element) {
    if (size_ == capacity_ && Holds(&element)) return Add(T(std::move(element)));
    uint32_t slot = size_;
    if (slot == UINT32_MAX) throw SOAPMemoryException();
    Reserve(slot + 1);
    ++size_;
    elements_[slot] = std::move(element);
    return elements_[slot];
  }

  T& operator[](uint32_t index) { return elements_[index]; }
  const T& operator[](uint32_t index) const { return elements_[index]; }
  uint32_t Size() const { return size_; }
  uint32_t Capacity() const { return capacity_; }
  bool IsEmpty() const { return size_ == 0; }
  T* begin() { return elements_; }
  T* end() { return elements_ + size_; }
  const T* begin() const { return elements_; }
  const T* end() const { return elements_ + size_; }

 private:
  bool Holds(const T* element) const {
    std::less_equal<const T*> notAfter;
    return elements_ != nullptr && notAfter(elements_, element) &&
           std::less<const T*>()(element, elements_ + capacity_);
  }
  void CopyFrom(const SOAPGrowArray& other) {
    Reserve(other.size_);
    for (uint32_t i = 0; i < other.size_; ++i) elements_[i] = other.elements_[i];
    size_ = other.size_;
  }
  void DestroySlots() {
    if (adopted_ != 0) {
      adopted_ = 0;
      return;
    }
    for (uint32_t i = 0; i < capacity_; ++i) elements_[i].~T();
    easysoap_free(elements_);
  }
  void Release() {
    DestroySlots();
    elements_ = nullptr;
    capacity_ = 0;
    size_ = 0;
  }
  void Swap(SOAPGrowArray& other) noexcept {
    std::swap(elements_, other.elements_);
    std::swap(size_, other.size_);
    const uint32_t capacity = capacity_;
    const bool adopted = adopted_;
    capacity_ = other.capacity_;
    adopted_ = other.adopted_;
    other.capacity_ = capacity;
    other.adopted_ = adopted;
  }

  T* elements_ = nullptr;
  uint32_t size_ = 0;
  uint32_t capacity_ : 31 = 0;
  uint32_t adopted_ : 1 = 0;
};
