#include "support/values/soap_string.h"

#include <cstring>

#include "support/values/easysoap_alloc.h"
#include "support/values/soap_text.h"

SOAPString::SOAPString(const char* text) { Assign(text); }

SOAPString::SOAPString(const SOAPString& other) { Assign(other.buffer_); }

SOAPString::SOAPString(SOAPString&& other) noexcept : buffer_(other.buffer_), bits_(other.bits_) {
  other.buffer_ = nullptr;
  other.bits_ = kInitialCapacity;
}

SOAPString& SOAPString::operator=(const SOAPString& other) {
  if (this != &other) Assign(other.buffer_);
  return *this;
}

SOAPString& SOAPString::operator=(SOAPString&& other) noexcept {
  if (this != &other) {
    Clear();
    buffer_ = other.buffer_;
    bits_ = other.bits_;
    other.buffer_ = nullptr;
    other.bits_ = kInitialCapacity;
  }
  return *this;
}

SOAPString& SOAPString::operator=(const char* text) {
  Assign(text);
  return *this;
}

SOAPString::~SOAPString() {
  if (!Referred()) easysoap_free(buffer_);
}

void SOAPString::Assign(const char* text) {
  if (text == buffer_ && text != nullptr && !Referred()) return;  // assigning our own text
  Unrefer();
  if (text == nullptr) {
    Clear();
    return;
  }
  if (buffer_ != nullptr) {
    if (memccpy(buffer_, text, '\0', Capacity()) != nullptr) return;
    // Doesn't fit: start over with a buffer that does.
    Clear();
  }
  Reserve(SOAPText::Length(text) + 1);
  SOAPText::Copy(buffer_, text);
}

void SOAPString::Reserve(uint32_t bytes) {
  if (Referred()) {
    // Take the text over into a buffer of our own, large enough for both.
    const char* text = buffer_;
    uint32_t length = SOAPText::Length(text);
    Unrefer();
    Reserve(bytes > length + 1 ? bytes : length + 1);
    if (buffer_ != nullptr) SOAPText::Copy(buffer_, text);
    return;
  }
  if (buffer_ != nullptr && Capacity() >= bytes) return;
  uint32_t wanted = Capacity();
  while (wanted < bytes) {
    if (wanted > UINT32_MAX / 2) {  // no capacity can be counted in 32 bits: leave no buffer
      Clear();
      return;
    }
    wanted *= 2;
  }
  SetCapacity(wanted);
  auto* block = static_cast<char*>(easysoap_malloc(wanted));
  if (buffer_ != nullptr) {
    if (block != nullptr) SOAPText::Copy(block, buffer_);
    easysoap_free(buffer_);
  }
  buffer_ = block;
}

SOAPString& SOAPString::Append(const char* text, uint32_t n) {
  uint32_t length = Length();
  uint64_t need = uint64_t{length} + n + 1;
  if (need > UINT32_MAX) return *this;
  if (buffer_ == nullptr) {
    Reserve(static_cast<uint32_t>(need));
    if (buffer_ != nullptr) buffer_[0] = '\0';
  } else {
    Reserve(static_cast<uint32_t>(need));
  }
  if (buffer_ == nullptr) return *this;
  // Copy at most n bytes, stopping at the text's own terminator.
  uint32_t copied = 0;
  if (text != nullptr) {
    while (copied < n && text[copied] != '\0') {
      buffer_[length + copied] = text[copied];
      ++copied;
    }
  }
  buffer_[length + copied] = '\0';
  return *this;
}

void SOAPString::Clear() {
  if (!Referred() && buffer_ != nullptr) easysoap_free(buffer_);
  buffer_ = nullptr;
  SetReferred(false);
}

void SOAPString::FreeBuffer() { easysoap_free(buffer_); }

void SOAPString::Unrefer() {
  if (!Referred()) return;
  buffer_ = nullptr;
  SetReferred(false);
}

uint32_t SOAPString::Length() const { return SOAPText::Length(buffer_); }

bool operator==(const SOAPString& a, const SOAPString& b) {
  return SOAPText::Compare(a.CStr(), b.CStr()) == 0;
}
