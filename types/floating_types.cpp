#include "types/floating_types.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <charconv>
#include <clocale>
#include <cmath>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <string_view>

#include "support/ascii_chars.h"
#include "support/values/soap_exception.h"
#include "types/integer_types.h"

namespace tssoap {

namespace {

// The "C" locale as an object of its own, made once and kept for the life of the process.
locale_t CLocale() {
  static const locale_t locale = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(nullptr));
  if (locale == static_cast<locale_t>(nullptr)) {
    throw SOAPException("Internal Error with Tessaro SoapClient");
  }
  return locale;
}

// Puts the calling thread in the "C" locale for a print, and back behind it. Other threads and
// the process locale are not touched.
class ThreadInCLocale {
 public:
  ThreadInCLocale() : previous_(uselocale(CLocale())) {}
  ~ThreadInCLocale() { uselocale(previous_); }
  ThreadInCLocale(const ThreadInCLocale&) = delete;
  ThreadInCLocale& operator=(const ThreadInCLocale&) = delete;

 private:
  locale_t previous_;
};

bool EqualsIgnoringAsciiCase(const char* text, const char* word) {
  for (; *text != '\0' && *word != '\0'; ++text, ++word) {
    char c = *text;
    char w = *word;
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    if (w >= 'A' && w <= 'Z') w = static_cast<char>(w - 'A' + 'a');
    if (c != w) return false;
  }
  return *text == '\0' && *word == '\0';
}

// Length of the decimal number at the start of text, leading blanks included: an optional sign,
// digits with an optional point (at least one digit), an optional exponent. 0 when there is none.
size_t DecimalNumberLength(const char* text) {
  const char* at = text;
  while (IsAsciiSpace(*at)) ++at;
  if (*at == '+' || *at == '-') ++at;
  bool digits = false;
  while (IsAsciiDigit(*at)) ++at, digits = true;
  if (*at == '.') {
    ++at;
    while (IsAsciiDigit(*at)) ++at, digits = true;
  }
  if (!digits) return 0;
  if (*at == 'e' || *at == 'E') {
    const char* exponent = at + 1;
    if (*exponent == '+' || *exponent == '-') ++exponent;
    if (IsAsciiDigit(*exponent)) {
      while (IsAsciiDigit(*exponent)) ++exponent;
      at = exponent;
    }
  }
  return static_cast<size_t>(at - text);
}

// The exact decimal digits of number, without trailing zeros, and the decimal exponent of the
// first, when they fit in 64 bits: a finite double is an odd integer times a power of two, and
// with 2^-p = 5^p / 10^p its exact text has as many digits as that integer times 5^p. False for
// a number whose exact text is longer (most with many binary fraction digits).
bool ExactDecimalDigits(double number, char (&digits)[24], int& count, int& exponent) {
  if (number == 0.0) {
    digits[0] = '0';
    count = 1;
    exponent = 0;
    return true;
  }
  int binaryExponent = 0;
  // |number| = mantissa * 2^(binaryExponent - 53), the mantissa an integer of 53 bits.
  const double fraction = std::frexp(std::fabs(number), &binaryExponent);
  uint64_t integer = static_cast<uint64_t>(std::ldexp(fraction, 53));
  int power = binaryExponent - 53;
  const int zeros = std::countr_zero(integer);
  integer >>= zeros;
  power += zeros;
  int fractionDigits = 0;
  if (power > 0) {
    if (power >= std::countl_zero(integer)) return false;
    integer <<= power;
  } else {
    // integer / 2^-power = integer * 5^-power / 10^-power.
    for (; power < 0; ++power, ++fractionDigits) {
      if (__builtin_mul_overflow(integer, uint64_t{5}, &integer)) return false;
    }
  }
  const std::to_chars_result end = std::to_chars(digits, digits + sizeof digits, integer);
  count = static_cast<int>(end.ptr - digits);
  exponent = count - 1 - fractionDigits;
  while (digits[count - 1] == '0') --count;
  return true;
}

// number as "%.*G" writes it with digits significant digits, into buffer, when its exact text
// has no more digits than that: then printf rounds nothing and writes those digits; nothing
// otherwise.
std::optional<std::string_view> ExactGeneralText(double number, int digits, char (&buffer)[64]) {
  char significant[24];
  int count = 0;
  int exponent = 0;
  if (!ExactDecimalDigits(number, significant, count, exponent) || count > digits) {
    return std::nullopt;
  }
  char* out = buffer;
  if (std::signbit(number)) *out++ = '-';
  // "%G" uses the scientific form for an exponent below -4 or of digits and above, and drops
  // trailing zeros (and the point when no digit follows it).
  if (exponent < -4 || exponent >= digits) {
    *out++ = significant[0];
    if (count > 1) {
      *out++ = '.';
      std::memcpy(out, significant + 1, static_cast<size_t>(count - 1));
      out += count - 1;
    }
    *out++ = 'E';
    *out++ = exponent < 0 ? '-' : '+';
    const int magnitude = exponent < 0 ? -exponent : exponent;
    if (magnitude < 10) *out++ = '0';
    out = std::to_chars(out, buffer + sizeof buffer, magnitude).ptr;
  } else if (exponent < 0) {
    *out++ = '0';
    *out++ = '.';
    for (int zeros = -exponent - 1; zeros > 0; --zeros) *out++ = '0';
    std::memcpy(out, significant, static_cast<size_t>(count));
    out += count;
  } else {
    // The integer part, padded with zeros where the digits end before the point.
    for (int i = 0; i <= exponent; ++i) *out++ = i < count ? significant[i] : '0';
    if (count > exponent + 1) {
      *out++ = '.';
      const size_t fraction = static_cast<size_t>(count - exponent - 1);
      std::memcpy(out, significant + exponent + 1, fraction);
      out += fraction;
    }
  }
  return std::string_view(buffer, static_cast<size_t>(out - buffer));
}

// The decimal number text..end (as DecimalNumberLength measured it) read with from_chars, exact
// and in no locale, when it is a normal double, or a zero written as one: what strtod reads for
// it, with errno left alone, as strtod leaves it then. False for the rest (out of range,
// subnormal), which strtod reads with its errno.
bool ReadNormalNumber(const char* text, const char* end, double& number) {
  const char* at = text;
  while (IsAsciiSpace(*at)) ++at;
  // from_chars takes a minus but no plus.
  if (*at == '+') ++at;
  double read = 0.0;
  const std::from_chars_result result = std::from_chars(at, end, read);
  if (result.ec != std::errc() || result.ptr != end) return false;
  if (std::fpclassify(read) != FP_NORMAL &&
      !(read == 0.0 && std::none_of(at, end, [](char c) { return c >= '1' && c <= '9'; }))) {
    return false;
  }
  number = read;
  return true;
}

void FloatToXmlText(XmlValueText& value, ConversionContext& context) {
  if (CopyNullOut(value, context.record)) return;
  value.text = FloatingText(context.record.value.real, 9);
}

void DoubleToXmlText(XmlValueText& value, ConversionContext& context) {
  if (CopyNullOut(value, context.record)) return;
  value.text = FloatingText(context.record.value.dbl, 18);
}

void FloatFromXmlText(const XmlTextView& value, ResponseContext& context) {
  HostValueRecord& record = context.record;
  if (CopyNullIn(value, record, kHostReal)) return;
  const double wide = ParseXmlDouble(value.text.data());
  const float narrow = static_cast<float>(wide);
  // "INF" is a float value; a finite text that only becomes infinite in 32 bits is not.
  if (std::isinf(narrow) && !std::isinf(wide)) {
    throw SOAPException("Floating-point overflow: %s", value.text.data());
  }
  record.value.real = narrow;
}

void DoubleFromXmlText(const XmlTextView& value, ResponseContext& context) {
  HostValueRecord& record = context.record;
  if (CopyNullIn(value, record, kHostDouble)) return;
  const double number = ParseXmlDouble(value.text.data());
  if (std::isinf(number)) throw SOAPException("Floating-point overflow: %s", value.text.data());
  record.value.dbl = number;
}

constexpr DecimalText kDecimalLowest("-999999999999999999");
constexpr DecimalText kDecimalHighest("999999999999999999");

void DecimalToXmlText(XmlValueText& value, ConversionContext& context) {
  if (CopyNullOut(value, context.record)) return;
  IHostSession& session = context.session;
  // The host's text is ours until we give it back, also when the copy fails.
  auto release = [&session](char* text) { session.ReleaseDecimalText(text); };
  std::unique_ptr<char, decltype(release)> text(session.GetDecimalText(context.record.value.handle),
                                                release);
  value.text = text != nullptr ? text.get() : "";
}

void DecimalFromXmlText(const XmlTextView& value, ResponseContext& context) {
  HostValueRecord& record = context.record;
  if (CopyNullIn(value, record, kHostDecimal)) return;
  const DecimalText number(value.text.data());
  if (number.IsLessThan(kDecimalLowest) || number.IsGreaterThan(kDecimalHighest)) {
    throw SOAPException("Can't handle XML decimal >999999999999999999 or <-999999999999999999");
  }
  IHostSession& session = context.session;
  const HostDecimal decimal = session.NewDecimal();
  // The text goes to the host as it came, blanks and sign included.
  session.SetDecimalText(decimal, value.text.data());
  record.value.handle = decimal;
}

void DurationToXmlText(XmlValueText&, ConversionContext&) {}
void DurationFromXmlText(const XmlTextView&, ResponseContext&) {}

}  // namespace

std::string FloatingText(double number, int digits) {
  if (std::isnan(number)) return "NaN";
  if (std::isinf(number)) return number > 0 ? "INF" : "-INF";
  char buffer[64];
  // Numbers of few binary fraction digits (whole numbers, halves, quarters) are written exactly
  // in a few steps; the others are rounded.
  if (const std::optional<std::string_view> text = ExactGeneralText(number, digits, buffer)) {
    return std::string(*text);
  }
  // to_chars in the general format with a precision writes what printf's "%.*g" writes, in no
  // locale and without printf's format parsing and locale switch; only the exponent's letter
  // differs from "%.*G".
  const std::to_chars_result end =
      std::to_chars(buffer, buffer + sizeof buffer, number, std::chars_format::general, digits);
  char* exponent = std::find(buffer, end.ptr, 'e');
  if (exponent != end.ptr) *exponent = 'E';
  return std::string(buffer, end.ptr);
}

double StringToDoubleC(const char* text, const char** end) {
  // The C library also reads hexadecimal numbers and the words for infinity and NaN; the wire
  // form of a number is decimal, so its reading stops where the decimal form ends.
  const size_t length = DecimalNumberLength(text);
  if (length == 0) {
    *end = text;
    return 0.0;
  }
  *end = text + length;
  double number = 0.0;
  if (ReadNormalNumber(text, *end, number)) return number;
  char* stop = nullptr;
  return strtod_l(text, &stop, CLocale());
}

std::string FormatC(const char* format, ...) {
  ThreadInCLocale inCLocale;
  char buffer[64];
  va_list arguments;
  va_start(arguments, format);
  const int length = std::vsnprintf(buffer, sizeof buffer, format, arguments);
  va_end(arguments);
  if (length < 0) return std::string();
  if (static_cast<size_t>(length) < sizeof buffer) return std::string(buffer, length);
  std::string text(static_cast<size_t>(length), '\0');
  va_start(arguments, format);
  std::vsnprintf(text.data(), text.size() + 1, format, arguments);
  va_end(arguments);
  return text;
}

double ParseXmlDouble(const char* text) {
  if (EqualsIgnoringAsciiCase(text, "INF")) return HUGE_VAL;
  if (EqualsIgnoringAsciiCase(text, "-INF")) return -HUGE_VAL;
  if (EqualsIgnoringAsciiCase(text, "NaN")) return 0.0;
  const char* stop = nullptr;
  errno = 0;
  const double number = StringToDoubleC(text, &stop);
  const bool outOfRange = errno == ERANGE;
  const char* at = stop;
  while (IsAsciiSpace(*at)) ++at;
  // The test comes behind the skip: blanks alone read as 0.0, an empty text fails.
  if (at == text || *at != '\0') {
    throw SOAPException("Could not convert string to floating point: '%s'", text);
  }
  // A subnormal result is a value the double holds, if not exactly: it is accepted. Only a
  // result that became infinite or zero is out of range.
  if (outOfRange && (std::isinf(number) || number == 0.0)) {
    throw SOAPException("Double floating-point %s: %s", number == 0.0 ? "underflow" : "overflow",
                        text);
  }
  return number;
}

constinit const RowConversion kFloatConversion{&FloatToXmlText, &FloatFromXmlText};
constinit const RowConversion kDoubleConversion{&DoubleToXmlText, &DoubleFromXmlText};
constinit const RowConversion kDecimalConversion{&DecimalToXmlText, &DecimalFromXmlText};
constinit const RowConversion kDurationConversion{&DurationToXmlText, &DurationFromXmlText};

}  // namespace tssoap
