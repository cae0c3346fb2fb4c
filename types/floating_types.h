// The rows float, double, decimal and duration, and the locale-independent number text that they
// and the date and time rows share. The wire always uses "." as the decimal point: numbers are
// read and written without a locale (from_chars, to_chars) or in a private "C" locale object
// (strtod_l, and snprintf under a thread's uselocale), so the environment's locale is never
// consulted and the process locale never changes.
#pragma once

#include <cstddef>
#include <string>

#include "types/xml_data_type_table.h"

namespace tssoap {

// strtod in the "C" locale, "." being the point whatever the environment says, for decimal
// notation alone: blanks, an optional sign, digits with an optional point, an optional exponent.
// Hexadecimal numbers and the words for infinity and NaN end the number where the decimal form
// ends. *end is text when there is no number. Sets errno as strtod.
double StringToDoubleC(const char* text, const char** end);
// snprintf in the "C" locale, into a string; the text is never cut.
std::string FormatC(const char* format, ...) __attribute__((format(printf, 1, 2)));

// The lexical form of a real or a double: a finite number as "%.*G" prints it with digits
// significant digits in the "C" locale, else NaN, INF or -INF.
std::string FloatingText(double number, int digits);

// The number of a float or double text. "INF", "-INF" (infinity) and "NaN" (0.0) in any case of
// their letters; otherwise a number as strtod reads it, blanks allowed behind it. Raises
// "Could not convert string to floating point: '<text>'" and "Double floating-point
// overflow: <text>" / "... underflow: <text>" for a finite text out of the range of a double.
double ParseXmlDouble(const char* text);

extern const RowConversion kFloatConversion;
extern const RowConversion kDoubleConversion;
extern const RowConversion kDecimalConversion;
// Both conversions do nothing: a duration's value is neither sent nor read.
extern const RowConversion kDurationConversion;

}  // namespace tssoap
