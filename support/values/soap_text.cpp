#include "support/values/soap_text.h"

#include <cstring>

// The C library's versions are vectorised; these only add the null rules.

char* SOAPText::Copy(char* destination, const char* source) {
  if (destination == nullptr || source == nullptr) return destination;
  return std::strcpy(destination, source);
}

char* SOAPText::CopyBounded(char* destination, const char* source, uint32_t n) {
  if (destination == nullptr || source == nullptr || n == 0) return destination;
  memccpy(destination, source, '\0', n);  // stops after the terminator, pads nothing
  return destination;
}

uint32_t SOAPText::Length(const char* text) {
  if (text == nullptr) return 0;
  const size_t length = std::strlen(text);
  return length > UINT32_MAX ? UINT32_MAX : static_cast<uint32_t>(length);
}

int SOAPText::Compare(const char* a, const char* b) {
  if (a == nullptr) return b == nullptr ? 0 : -1;
  if (b == nullptr) return 1;
  while (*a != '\0' && *a == *b) {
    ++a;
    ++b;
  }
  return static_cast<signed char>(*a) - static_cast<signed char>(*b);
}

const char* SOAPText::FindLast(const char* text, char c) {
  if (text == nullptr) return nullptr;
  return std::strrchr(text, c);
}
