// Integer rows and boolean: the decimal-text scanner that range checks work on (so that an XML
// value far too large for 64 bits is refused with the row's message and never overflows), the
// integer formatter, and the constant range record that parameterises the one integer conversion
// shared by the 13 integer rows.
#pragma once

#include <cstdint>
#include <string>

#include "host/host_interfaces.h"
#include "support/ascii_chars.h"
#include "types/xml_data_type_table.h"

namespace tssoap {

// Raises SOAPException "Invalid number format: " followed by text.
[[noreturn]] void ThrowInvalidNumberFormat(const char* text);

// A scanned view on a decimal number in a NUL-terminated text that must outlive it: optional
// blanks, an optional sign, digits with an optional point (".5" is a number, "5." is not), optional
// blanks; no exponent. Leading zeros of the integer part and trailing zeros of the fraction are
// not significant and are not counted, so "0" and "0.0" have no digits at all.
class DecimalText {
 public:
  // Scans text (null reads as empty). Raises "Invalid number format: " + text for anything else,
  // and for more than 32767 significant digits on either side of the point.
  constexpr explicit DecimalText(const char* text);

  uint8_t negative = 0;             // a minus sign was read
  int16_t integerDigitCount = 0;    // significant digits before the point
  int16_t fractionDigitCount = 0;   // significant digits behind the point
  const char* integerDigits = "";   // first significant digit before the point
  const char* fractionDigits = "";  // first digit behind the point

  // 1, 0 or -1. The sign alone decides between a negative and a non-negative number, also for a
  // zero: "-0" is less than "0".
  static int Compare(const DecimalText& a, const DecimalText& b);
  bool IsLessThan(const DecimalText& other) const { return Compare(*this, other) < 0; }
  bool IsGreaterThan(const DecimalText& other) const { return Compare(*this, other) > 0; }
  // The value; raises "Not a integer" when a significant fraction digit is left. The caller has
  // tested the bounds: more than 19 digits wrap.
  int64_t ToInt64() const;
};

// Writes the decimal text of value into digits: a minus sign for a negative value, then at least
// one digit, without leading zeros. Returns the end of the text (no terminator is written).
char* FormatDecimalInteger(int64_t value, char (&digits)[24]);

// What an integer row's ToXmlText refuses: a value below lowest or above highest, as read at the
// row's width and signedness.
struct IntegerOutTest {
  int64_t lowest;
  int64_t highest;
  const char* message;  // null when the row refuses nothing
};

// The constants of one integer row.
struct IntegerRowConversion : RowConversion {
  HostValueKind kind;
  uint8_t width;  // 16, 32 or 64 bits of record.value
  bool isSigned;
  DecimalText lower;  // bounds of the text coming in
  DecimalText upper;
  int64_t lowest;  // the same bounds as numbers
  int64_t highest;
  const char* inMessage;  // when the text lies outside the bounds
  IntegerOutTest outTest;
};

extern const RowConversion kBooleanConversion;
extern const IntegerRowConversion kUnsignedByteConversion;
extern const IntegerRowConversion kByteConversion;
extern const IntegerRowConversion kShortConversion;
extern const IntegerRowConversion kUnsignedShortConversion;
extern const IntegerRowConversion kIntegerConversion;
extern const IntegerRowConversion kIntConversion;
extern const IntegerRowConversion kUnsignedIntConversion;
extern const IntegerRowConversion kLongConversion;
extern const IntegerRowConversion kUnsignedLongConversion;
extern const IntegerRowConversion kNonNegativeIntegerConversion;
extern const IntegerRowConversion kNegativeIntegerConversion;
extern const IntegerRowConversion kNonPositiveIntegerConversion;
extern const IntegerRowConversion kPositiveIntegerConversion;

// The value of a bound's text: an optional minus and digits that fit in 64 bits.
constexpr int64_t BoundValue(const char* text) {
  const bool negative = *text == '-';
  uint64_t magnitude = 0;
  for (const char* at = negative ? text + 1 : text; *at != '\0'; ++at) {
    magnitude = magnitude * 10 + static_cast<uint64_t>(*at - '0');
  }
  return static_cast<int64_t>(negative ? 0 - magnitude : magnitude);
}

// ---------------------------------------------------------------------------------------------
// The scanner is constexpr so that the bound constants are built by the compiler.

namespace decimal_text_detail {
inline constexpr int32_t kMaxDigitCount = 32767;
}  // namespace decimal_text_detail

constexpr DecimalText::DecimalText(const char* text) {
  const char* scanned = text != nullptr ? text : "";
  // Counts run wide while scanning so that leading and trailing zeros never overflow them.
  int32_t integerCount = 0;
  int32_t fractionCount = 0;
  bool seen = false;
  int state = 0;
  for (const char* at = scanned; *at != '\0'; ++at) {
    const char c = *at;
    bool accepted = true;
    switch (state) {
      case 0:  // start
      case 1:  // behind the sign
        if (state == 0 && IsAsciiSpace(c)) {
        } else if (state == 0 && (c == '+' || c == '-')) {
          if (c == '-') negative = 1;
          state = 1;
        } else if (IsAsciiDigit(c)) {
          integerCount = 1;
          integerDigits = at;
          seen = true;
          state = 2;
        } else if (state == 0 && c == '.') {
          state = 3;
        } else {
          accepted = false;
        }
        break;
      case 2:  // integer digits
        if (IsAsciiSpace(c)) {
          state = 4;
        } else if (IsAsciiDigit(c)) {
          ++integerCount;
        } else if (c == '.') {
          seen = false;
          state = 3;
        } else {
          accepted = false;
        }
        break;
      case 3:  // behind the point
        if (IsAsciiDigit(c)) {
          fractionCount = 1;
          fractionDigits = at;
          seen = true;
          state = 5;
        } else {
          accepted = false;
        }
        break;
      case 4:  // trailing blanks
        accepted = IsAsciiSpace(c);
        break;
      case 5:  // fraction digits
        if (IsAsciiSpace(c)) {
          state = 4;
        } else if (IsAsciiDigit(c)) {
          ++fractionCount;
        } else {
          accepted = false;
        }
        break;
    }
    if (!accepted) ThrowInvalidNumberFormat(scanned);
  }
  if (!seen) ThrowInvalidNumberFormat(scanned);
  while (integerCount > 0 && *integerDigits == '0') {
    ++integerDigits;
    --integerCount;
  }
  while (fractionCount > 0 && fractionDigits[fractionCount - 1] == '0') --fractionCount;
  if (integerCount > decimal_text_detail::kMaxDigitCount ||
      fractionCount > decimal_text_detail::kMaxDigitCount) {
    ThrowInvalidNumberFormat(scanned);
  }
  integerDigitCount = static_cast<int16_t>(integerCount);
  fractionDigitCount = static_cast<int16_t>(fractionCount);
}

}  // namespace tssoap
