#include "types/integer_types.h"

#include <charconv>
#include <cstdint>
#include <optional>
#include <string>

#include "support/values/soap_exception.h"

namespace tssoap {

void ThrowInvalidNumberFormat(const char* text) {
  throw SOAPException("Invalid number format: %s", text != nullptr ? text : "");
}

namespace {

int DigitValue(char c) {
  if (!IsAsciiDigit(c)) throw SOAPException("Invalid nuber format");
  return c - '0';
}

// Compares the digits of two runs of equal length in order; the first that differs decides.
int CompareDigits(const char* a, const char* b, int count) {
  for (int i = 0; i < count; ++i) {
    const int difference = DigitValue(a[i]) - DigitValue(b[i]);
    if (difference != 0) return difference > 0 ? 1 : -1;
  }
  return 0;
}

int CompareMagnitude(const DecimalText& a, const DecimalText& b) {
  if (a.integerDigitCount != b.integerDigitCount) {
    return a.integerDigitCount > b.integerDigitCount ? 1 : -1;
  }
  if (int order = CompareDigits(a.integerDigits, b.integerDigits, a.integerDigitCount)) {
    return order;
  }
  const int shorter =
      a.fractionDigitCount < b.fractionDigitCount ? a.fractionDigitCount : b.fractionDigitCount;
  if (int order = CompareDigits(a.fractionDigits, b.fractionDigits, shorter)) return order;
  if (a.fractionDigitCount != b.fractionDigitCount) {
    return a.fractionDigitCount > b.fractionDigitCount ? 1 : -1;
  }
  return 0;
}

// record.value at the row's width and signedness.
int64_t ReadAtWidth(const HostValueData& value, uint8_t width, bool isSigned) {
  switch (width) {
    case 16:
      return isSigned ? int64_t{value.int16} : int64_t{value.uint16};
    case 32:
      return isSigned ? int64_t{value.int32} : int64_t{value.uint32};
    default:
      return value.int64;
  }
}

// Stores the low width bits of number.
void StoreAtWidth(HostValueData& value, uint8_t width, int64_t number) {
  switch (width) {
    case 16:
      value.uint16 = static_cast<uint16_t>(number);
      break;
    case 32:
      value.uint32 = static_cast<uint32_t>(number);
      break;
    default:
      value.int64 = number;
      break;
  }
}

void IntegerToXmlText(XmlValueText& value, ConversionContext& context) {
  const HostValueRecord& record = context.record;
  if (CopyNullOut(value, record)) return;
  const IntegerRowConversion& row = FamilyConversion<IntegerRowConversion>(context);
  const int64_t number = ReadAtWidth(record.value, row.width, row.isSigned);
  const IntegerOutTest& test = row.outTest;
  if (test.message != nullptr && (number < test.lowest || number > test.highest)) {
    throw SOAPException("%s", test.message);
  }
  char digits[24];
  value.text.assign(digits, FormatDecimalInteger(number, digits));
}

// The usual text of an integer: an optional minus and one to 18 digits, nothing else. Its value is
// exact in 64 bits and compares with the bounds as a number. Any other text, and "-0" (which the
// scanner orders below 0), goes to the scanner.
std::optional<int64_t> PlainInteger(std::string_view text) {
  const char* at = text.data();
  const char* const end = at + text.size();
  const bool negative = at != end && *at == '-';
  if (negative) ++at;
  if (at == end || end - at > 18) return std::nullopt;
  int64_t number = 0;
  for (; at != end; ++at) {
    const auto digit = static_cast<unsigned char>(*at - '0');
    if (digit > 9) return std::nullopt;
    number = number * 10 + digit;
  }
  if (!negative) return number;
  if (number == 0) return std::nullopt;
  return -number;
}

void IntegerFromXmlText(const XmlTextView& value, ResponseContext& context) {
  HostValueRecord& record = context.record;
  const IntegerRowConversion& row = FamilyConversion<IntegerRowConversion>(context);
  if (CopyNullIn(value, record, row.kind)) return;
  if (const std::optional<int64_t> plain = PlainInteger(value.text)) {
    if (*plain < row.lowest || *plain > row.highest) throw SOAPException("%s", row.inMessage);
    StoreAtWidth(record.value, row.width, *plain);
    return;
  }
  const DecimalText number(value.text.data());
  // The bounds come first: "300.5" under byte reports the range, "1.5" reports the fraction.
  if (number.IsLessThan(row.lower) || number.IsGreaterThan(row.upper)) {
    throw SOAPException("%s", row.inMessage);
  }
  StoreAtWidth(record.value, row.width, number.ToInt64());
}

bool EqualsIgnoringAsciiCase(std::string_view text, const char* lowerCaseWord) {
  size_t i = 0;
  for (; i < text.size() && lowerCaseWord[i] != '\0'; ++i) {
    char c = text[i];
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    if (c != lowerCaseWord[i]) return false;
  }
  return i == text.size() && lowerCaseWord[i] == '\0';
}

void BooleanToXmlText(XmlValueText& value, ConversionContext& context) {
  const HostValueRecord& record = context.record;
  if (CopyNullOut(value, record)) return;
  value.text = record.value.uint16 != 0 ? "true" : "false";
}

void BooleanFromXmlText(const XmlTextView& value, ResponseContext& context) {
  HostValueRecord& record = context.record;
  if (CopyNullIn(value, record, kHostBoolean)) return;
  // No trimming: " true" is no boolean.
  if (EqualsIgnoringAsciiCase(value.text, "true") || value.text == "1") {
    record.value.uint16 = 1;
  } else if (EqualsIgnoringAsciiCase(value.text, "false") || value.text == "0") {
    record.value.uint16 = 0;
  } else {
    throw SOAPException("can't convert a number to boolean");
  }
}

constexpr int64_t kInt64Min = INT64_MIN;
constexpr int64_t kInt64Max = INT64_MAX;
constexpr IntegerOutTest kRefusesNothing{kInt64Min, kInt64Max, nullptr};

}  // namespace

int DecimalText::Compare(const DecimalText& a, const DecimalText& b) {
  if (a.negative != 0 && b.negative != 0) return -CompareMagnitude(a, b);
  if (a.negative == 0 && b.negative == 0) return CompareMagnitude(a, b);
  return a.negative != 0 ? -1 : 1;
}

int64_t DecimalText::ToInt64() const {
  if (fractionDigitCount != 0) throw SOAPException("Not a integer");
  // Built unsigned so that the magnitude of the lowest 64-bit number doesn't overflow.
  uint64_t magnitude = 0;
  for (int i = 0; i < integerDigitCount; ++i) {
    magnitude = magnitude * 10 + static_cast<uint64_t>(DigitValue(integerDigits[i]));
  }
  return static_cast<int64_t>(negative != 0 ? 0 - magnitude : magnitude);
}

char* FormatDecimalInteger(int64_t value, char (&digits)[24]) {
  return std::to_chars(digits, digits + sizeof digits, value).ptr;
}

constinit const RowConversion kBooleanConversion{&BooleanToXmlText, &BooleanFromXmlText};

namespace {
// The bounds are scanned from their texts by the compiler.
constexpr IntegerRowConversion IntegerRow(HostValueKind kind, uint8_t width, bool isSigned,
                                          const char* lower, const char* upper,
                                          const char* inMessage, IntegerOutTest outTest) {
  return IntegerRowConversion{{&IntegerToXmlText, &IntegerFromXmlText},
                              kind,
                              width,
                              isSigned,
                              DecimalText(lower),
                              DecimalText(upper),
                              BoundValue(lower),
                              BoundValue(upper),
                              inMessage,
                              outTest};
}
}  // namespace

constinit const IntegerRowConversion kUnsignedByteConversion =
    IntegerRow(kHostUint, 16, false, "0", "255", "Value exceeds XML unsignedByte",
               (IntegerOutTest{kInt64Min, 255, "Value exceeds XML unsignedByte"}));
constinit const IntegerRowConversion kByteConversion =
    IntegerRow(kHostInt, 16, true, "-128", "127", "Value exceeds XML byte",
               (IntegerOutTest{-128, 127, "Value exceeds XML byte"}));
constinit const IntegerRowConversion kShortConversion =
    IntegerRow(kHostInt, 16, true, "-32768", "32767", "Value exceeds XML short", kRefusesNothing);
constinit const IntegerRowConversion kUnsignedShortConversion = IntegerRow(
    kHostUint, 16, false, "0", "65535", "Value exceeds XML unsignedShort", kRefusesNothing);
constinit const IntegerRowConversion kIntConversion = IntegerRow(
    kHostLong, 32, true, "-2147483648", "2147483647", "Value exceeds XML int", kRefusesNothing);
constinit const IntegerRowConversion kUnsignedIntConversion = IntegerRow(
    kHostUlong, 32, false, "0", "4294967295", "Value exceeds XML unsigned int", kRefusesNothing);
constinit const IntegerRowConversion kIntegerConversion =
    IntegerRow(kHostLongLong, 64, true, "-9223372036854775808", "9223372036854775807",
               "Can't handle XML integer which >9223372036854775807 or <-9223372036854775808",
               kRefusesNothing);
constinit const IntegerRowConversion kLongConversion =
    IntegerRow(kHostLongLong, 64, true, "-9223372036854775808", "9223372036854775807",
               "Value exceeds XML long", kRefusesNothing);
constinit const IntegerRowConversion kUnsignedLongConversion =
    IntegerRow(kHostLongLong, 64, true, "0", "9223372036854775807",
               "Can't handle XML unsignedLong > 9223372036854775807",
               (IntegerOutTest{0, kInt64Max, "XML unsigned long can't < 0"}));
constinit const IntegerRowConversion kNonNegativeIntegerConversion = IntegerRow(
    kHostLongLong, 64, true, "0", "9223372036854775807",
    "Can't handle XML integer which >9223372036854775807 or <0",
    (IntegerOutTest{
        0, kInt64Max,
        "Value exceeds the range of XML nonNegativeInteger (0 -- 9223372036854775807)"}));
constinit const IntegerRowConversion kNegativeIntegerConversion =
    IntegerRow(kHostLongLong, 64, true, "-9223372036854775808", "-1",
               "Can't handle XML 'negativeInteger' which <-9223372036854775808 or >=0",
               (IntegerOutTest{
                   kInt64Min, -1,
                   "Value exceeds the range of XML negativeInteger (-1 -- -9223372036854775808)"}));
constinit const IntegerRowConversion kNonPositiveIntegerConversion = IntegerRow(
    kHostLongLong, 64, true, "-9223372036854775808", "0",
    "Can't handle XML 'nonPositiveInteger' which <-9223372036854775808 or >0",
    (IntegerOutTest{
        kInt64Min, 0,
        "Value exceeds the range of XML nonPositiveInteger (0 -- -9223372036854775808)"}));
// The out message names nonPositiveInteger, not positiveInteger: scripts that catch the
// soapexception compare its text, so the message stays word for word as it has always read.
constinit const IntegerRowConversion kPositiveIntegerConversion = IntegerRow(
    kHostLongLong, 64, true, "1", "9223372036854775807",
    "Can't handle XML 'positiveInteger' which >9223372036854775807 or <=0",
    (IntegerOutTest{
        1, kInt64Max,
        "Value exceeds the range of XML nonPositiveInteger (1 -- 9223372036854775807)"}));

}  // namespace tssoap
