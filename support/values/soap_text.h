// Text helpers on NUL-terminated byte strings. All accept null pointers.
#pragma once

#include <cstdint>

#include "support/values/easysoap_api.h"

struct EASYSOAP_API SOAPText {
  // Copies through the terminator; does nothing when either pointer is null.
  static char* Copy(char* destination, const char* source);
  // Copies until a NUL or n bytes have been copied, adding no terminator of its own; does nothing
  // when either pointer is null or n is 0.
  static char* CopyBounded(char* destination, const char* source, uint32_t n);
  // Bytes before the terminator; 0 for null.
  static uint32_t Length(const char* text);
  // 0 when both are null; -1 when only a is null; 1 when only b is null; else the difference of
  // the first differing bytes taken as signed chars.
  static int Compare(const char* a, const char* b);
  // The last occurrence of c, or null for a null text or when it isn't there.
  static const char* FindLast(const char* text, char c);
};
