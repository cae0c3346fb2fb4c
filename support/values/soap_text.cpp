#include "support/values/soap_text.h"

char* SOAPText::Copy(char* destination, const char* source) {
  if (destination == nullptr || source == nullptr) return destination;
  char* out = destination;
  while ((*out++ = *source++) != '\0') {
  }
  return destination;
}

char* SOAPText::CopyBounded(char* destination, const char* source, uint32_t n) {
  if (destination == nullptr || source == nullptr || n == 0) return destination;
  for (uint32_t i = 0; i < n; ++i) {
    destination[i] = source[i];
    if (source[i] == '\0') break;
  }
  return destination;
}

uint32_t SOAPText::Length(const char* text) {
  if (text == nullptr) return 0;
  uint32_t length = 0;
  while (text[length] != '\0') ++length;
  return length;
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
  const char* found = nullptr;
  for (; *text != '\0'; ++text) {
    if (*text == c) found = text;
  }
  return c == '\0' ? text : found;
}
