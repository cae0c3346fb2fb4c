#include "types/floating_types.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <clocale>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <memory>

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

void FloatToXmlText(XmlValueText& value, ConversionContext& context) {
  if (CopyNullOut(value, context.record)) return;
  value.text = FloatingText(context.record.value.real, 9);
}

void DoubleToXmlText(XmlValueText& value, ConversionContext& context) {
  if (CopyNullOut(value, context.record)) return;
  value.text = FloatingText(context.record.value.dbl, 18);
}

void FloatFromXmlText(const XmlValueText& value, ResponseContext& context) {
  HostValueRecord& record = context.record;
  if (CopyNullIn(value, record, kHostReal)) return;
  const double wide = ParseXmlDouble(value.text.c_str());
  const float narrow = static_cast<float>(wide);
  // "INF" is a float value; a finite text that only becomes infinite in 32 bits is not.
  if (std::isinf(narrow) && !std::isinf(wide)) {
    throw SOAPException("Floating-point overflow: %s", value.text.c_str());
  }
  record.value.real = narrow;
}

void DoubleFromXmlText(const XmlValueText& value, ResponseContext& context) {
  HostValueRecord& record = context.record;
  if (CopyNullIn(value, record, kHostDouble)) return;
  const double number = ParseXmlDouble(value.text.c_str());
  if (std::isinf(number)) throw SOAPException("Floating-point overflow: %s", value.text.c_str());
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

void DecimalFromXmlText(const XmlValueText& value, ResponseContext& context) {
  HostValueRecord& record = context.record;
  if (CopyNullIn(value, record, kHostDecimal)) return;
  const DecimalText number(value.text.c_str());
  if (number.IsLessThan(kDecimalLowest) || number.IsGreaterThan(kDecimalHighest)) {
    throw SOAPException("Can't handle XML decimal >999999999999999999 or <-999999999999999999");
  }
  IHostSession& session = context.session;
  const HostDecimal decimal = session.NewDecimal();
  // The text goes to the host as it came, blanks and sign included.
  session.SetDecimalText(decimal, value.text.c_str());
  record.value.handle = decimal;
}

void DurationToXmlText(XmlValueText&, ConversionContext&) {}
void DurationFromXmlText(const XmlValueText&, ResponseContext&) {}

}  // namespace

std::string FloatingText(double number, int digits) {
  if (std::isnan(number)) return "NaN";
  if (std::isinf(number)) return number > 0 ? "INF" : "-INF";
  // to_chars in the general format with a precision writes what printf's "%.*g" writes, in no
  // locale and without printf's format parsing and locale switch; only the exponent's letter
  // differs from "%.*G".
  char buffer[64];
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
  char* stop = nullptr;
  const double number = strtod_l(text, &stop, CLocale());
  *end = text + length;
  return number;
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
