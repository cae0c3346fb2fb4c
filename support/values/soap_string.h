// SOAPString: the byte string that crosses between the extension and the library layer.
//
// No buffer is a state of its own ("no text"), distinct from an empty text. The capacity starts at
// 32, doubles as needed and never shrinks, not even when the text is cleared; the buffer, when
// present, is exactly capacity bytes from easysoap_malloc. The string owns its buffer, except
// after Refer: then it shows text kept elsewhere (the parser keeps a message's texts together)
// and the first change copies or drops that text, never writing into it or freeing it.
// An allocation failure is not reported: the string is left without a buffer.
#pragma once

#include <cstdint>

#include "support/values/easysoap_api.h"

// Twelve bytes on a four-byte boundary: an element of the tree holds three of them, and a parsed
// answer holds an element for every value.
class EASYSOAP_API __attribute__((packed, aligned(4))) SOAPString {
 public:
  static constexpr uint32_t kInitialCapacity = 32;

  SOAPString() = default;
  // Capacity 32, then Assign; a null text leaves the string without a buffer.
  explicit SOAPString(const char* text);
  // A new string of capacity 32 with the other's text; the other's capacity isn't taken over.
  SOAPString(const SOAPString& other);
  SOAPString(SOAPString&& other) noexcept;
  SOAPString& operator=(const SOAPString& other);
  SOAPString& operator=(SOAPString&& other) noexcept;
  SOAPString& operator=(const char* text);
  ~SOAPString();

  // Stores a copy of text, reusing the buffer when the text fits; null clears the text.
  void Assign(const char* text);
  // Makes room for bytes bytes, terminator included, keeping the text.
  void Reserve(uint32_t bytes);
  // Adds at most n bytes of text; a string without a buffer counts as empty.
  SOAPString& Append(const char* text, uint32_t n);
  // Frees the buffer; the capacity stays.
  void Clear();
  // Shows text that someone else keeps, which must outlive the string or its next change; a null
  // text is no text. The capacity stays that of the string's next buffer of its own.
  // Inline: the library refers to a kept text for most names and texts of a message.
  void Refer(const char* text) {
    if (OwnsBuffer()) FreeBuffer();
    buffer_ = const_cast<char*>(text);  // never written through: every change copies first
    SetReferred(text != nullptr);
  }

  // The text, or null when there is none.
  const char* Str() const { return buffer_; }
  // The text, or "" when there is none.
  const char* CStr() const { return buffer_ != nullptr ? buffer_ : ""; }
  bool IsNull() const { return buffer_ == nullptr; }
  // Whether the string holds a buffer of its own, which its destruction frees.
  bool OwnsBuffer() const { return buffer_ != nullptr && !Referred(); }
  uint32_t Length() const;
  uint32_t Capacity() const { return bits_ & ~kReferred; }

 private:
  // A capacity is a power of two of 32 or more, which leaves its lowest bit for the mark that
  // buffer_ is someone else's text.
  static constexpr uint32_t kReferred = 1;
  bool Referred() const { return (bits_ & kReferred) != 0; }
  void SetReferred(bool referred) { bits_ = Capacity() | (referred ? kReferred : 0); }
  void SetCapacity(uint32_t capacity) { bits_ = capacity | (bits_ & kReferred); }
  // Lets go of a referred text without freeing it.
  void Unrefer();
  // Frees the string's own buffer, which stays set.
  void FreeBuffer();

  char* buffer_ = nullptr;
  uint32_t bits_ = kInitialCapacity;  // the capacity, and the referred mark
};

// Byte-for-byte equality; a missing text equals an empty one.
EASYSOAP_API bool operator==(const SOAPString& a, const SOAPString& b);
