// The rows date, time, dateTime and timeInstant. The host keeps these values as handles that it
// builds from parts and splits into parts; the rows pass the parts through fixed scan and print
// forms, with "." as the decimal point of the seconds whatever the environment's locale. There is
// no time zone handling: a zone designator coming in is not read, none is written.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "types/xml_data_type_table.h"

namespace tssoap {

struct DateTimeParts {
  int16_t year = 0;
  int16_t month = 0;
  int16_t day = 0;
  int16_t hour = 0;
  int16_t minute = 0;
  double second = 0;

  bool operator==(const DateTimeParts&) const = default;
};

// Reads the parts of a text the way the formats "%4d-%2d-%02d", "%02d:%02d:%lf" and
// "%4d-%2d-%02dT%2d:%2d:%lf" scan them: each number may be preceded by blanks, takes at most the
// width in characters (a sign counts), and anything behind the last field is ignored. nullopt when
// a field doesn't scan: such a text is refused rather than passing made-up parts to the host.
std::optional<DateTimeParts> ScanXmlDate(const char* text);
std::optional<DateTimeParts> ScanXmlTime(const char* text);
std::optional<DateTimeParts> ScanXmlDateTime(const char* text);

// "%4d-%02d-%02d" (the year padded with blanks), "%02d:%02d:%06.3lf" and
// "%04d-%02d-%02dT%02d:%02d:%06.3lf" (the year padded with zeros).
std::string FormatXmlDate(const DateTimeParts& parts);
std::string FormatXmlTime(const DateTimeParts& parts);
std::string FormatXmlDateTime(const DateTimeParts& parts);

// The constants of one of the three rows that carry a value.
struct DateTimeRowConversion : RowConversion {
  HostValueKind kind;
  std::optional<DateTimeParts> (*scan)(const char* text);
  std::string (*format)(const DateTimeParts& parts);
  const char* badText;  // the message for a text that doesn't scan, put in front of the text
};

extern const DateTimeRowConversion kDateConversion;
extern const DateTimeRowConversion kTimeConversion;
extern const DateTimeRowConversion kDateTimeConversion;
// Both conversions do nothing: no host value has the row's kind.
extern const RowConversion kTimeInstantConversion;

}  // namespace tssoap
