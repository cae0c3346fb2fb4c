#include "types/date_time_types.h"

#include <cmath>

#include "support/ascii_chars.h"
#include "support/values/soap_exception.h"
#include "types/floating_types.h"

namespace tssoap {

namespace {

// Scans a text field by field, as the C library's formatted scan reads a fixed format.
class PartScanner {
 public:
  explicit PartScanner(const char* text) : at_(text != nullptr ? text : "") {}

  // "%<width>d": blanks, then at most width characters of sign and digits, one digit at least.
  bool Integer(int width, int16_t& part) {
    while (IsAsciiSpace(*at_)) ++at_;
    const char* start = at_;
    bool negative = false;
    if (*at_ == '+' || *at_ == '-') {
      negative = *at_ == '-';
      ++at_;
    }
    int value = 0;
    bool digits = false;
    while (at_ - start < width && IsAsciiDigit(*at_)) {
      value = value * 10 + (*at_ - '0');
      digits = true;
      ++at_;
    }
    if (!digits) return false;
    part = static_cast<int16_t>(negative ? -value : value);
    return true;
  }

  // "%lf": blanks, then a decimal number with "." as its point.
  bool Double(double& part) {
    const char* end = nullptr;
    const double value = StringToDoubleC(at_, &end);
    // "1E999" and "nan" read as numbers, but no time has such seconds (nor could be written back).
    if (end == at_ || !std::isfinite(value)) return false;
    at_ = end;
    part = value;
    return true;
  }

  // An ordinary character of the format must stand in the text.
  bool Literal(char c) {
    if (*at_ != c) return false;
    ++at_;
    return true;
  }

 private:
  const char* at_;
};

bool ScanDateFields(PartScanner& scan, DateTimeParts& parts) {
  return scan.Integer(4, parts.year) && scan.Literal('-') && scan.Integer(2, parts.month) &&
         scan.Literal('-') && scan.Integer(2, parts.day);
}

bool ScanTimeFields(PartScanner& scan, DateTimeParts& parts) {
  return scan.Integer(2, parts.hour) && scan.Literal(':') && scan.Integer(2, parts.minute) &&
         scan.Literal(':') && scan.Double(parts.second);
}

DateTimeParts SplitHostValue(IHostSession& session, HostValueKind kind, uint32_t handle) {
  DateTimeParts parts;
  switch (kind) {
    case kHostDate:
      session.SplitDate(handle, &parts.year, &parts.month, &parts.day);
      break;
    case kHostTime:
      session.SplitTime(handle, &parts.hour, &parts.minute, &parts.second);
      break;
    default:
      session.SplitDateTime(handle, &parts.year, &parts.month, &parts.day, &parts.hour,
                            &parts.minute, &parts.second);
      break;
  }
  return parts;
}

uint32_t NewHostValue(IHostSession& session, HostValueKind kind, const DateTimeParts& parts) {
  switch (kind) {
    case kHostDate: {
      const HostDate date = session.NewDate();
      session.SetDateParts(date, parts.year, parts.month, parts.day);
      return date;
    }
    case kHostTime: {
      const HostTime time = session.NewTime();
      session.SetTimeParts(time, parts.hour, parts.minute, parts.second);
      return time;
    }
    default: {
      const HostDateTime datetime = session.NewDateTime();
      session.SetDateTimeParts(datetime, parts.year, parts.month, parts.day, parts.hour,
                               parts.minute, parts.second);
      return datetime;
    }
  }
}

void DateTimeToXmlText(XmlValueText& value, ConversionContext& context) {
  const HostValueRecord& record = context.record;
  if (CopyNullOut(value, record)) return;
  const DateTimeRowConversion& row = FamilyConversion<DateTimeRowConversion>(context);
  value.text = row.format(SplitHostValue(context.session, row.kind, record.value.handle));
}

void DateTimeFromXmlText(const XmlTextView& value, ResponseContext& context) {
  HostValueRecord& record = context.record;
  const DateTimeRowConversion& row = FamilyConversion<DateTimeRowConversion>(context);
  if (CopyNullIn(value, record, row.kind)) return;
  // No range test: a month of 13 reaches the host as it came.
  const std::optional<DateTimeParts> parts = row.scan(value.text.data());
  if (!parts) throw SOAPException("%s%s", row.badText, value.text.data());
  record.value.handle = NewHostValue(context.session, row.kind, *parts);
}

void TimeInstantToXmlText(XmlValueText&, ConversionContext&) {}
void TimeInstantFromXmlText(const XmlTextView&, ResponseContext&) {}

}  // namespace

std::optional<DateTimeParts> ScanXmlDate(const char* text) {
  PartScanner scan(text);
  DateTimeParts parts;
  if (!ScanDateFields(scan, parts)) return std::nullopt;
  return parts;
}

std::optional<DateTimeParts> ScanXmlTime(const char* text) {
  PartScanner scan(text);
  DateTimeParts parts;
  if (!ScanTimeFields(scan, parts)) return std::nullopt;
  return parts;
}

std::optional<DateTimeParts> ScanXmlDateTime(const char* text) {
  PartScanner scan(text);
  DateTimeParts parts;
  if (!ScanDateFields(scan, parts) || !scan.Literal('T') || !ScanTimeFields(scan, parts)) {
    return std::nullopt;
  }
  return parts;
}

std::string FormatXmlDate(const DateTimeParts& parts) {
  return FormatC("%4d-%02d-%02d", parts.year, parts.month, parts.day);
}

std::string FormatXmlTime(const DateTimeParts& parts) {
  return FormatC("%02d:%02d:%06.3lf", parts.hour, parts.minute, parts.second);
}

std::string FormatXmlDateTime(const DateTimeParts& parts) {
  return FormatC("%04d-%02d-%02dT%02d:%02d:%06.3lf", parts.year, parts.month, parts.day, parts.hour,
                 parts.minute, parts.second);
}

constinit const DateTimeRowConversion kDateConversion{{&DateTimeToXmlText, &DateTimeFromXmlText},
                                                      kHostDate,
                                                      &ScanXmlDate,
                                                      &FormatXmlDate,
                                                      "Invalid date format: "};
constinit const DateTimeRowConversion kTimeConversion{{&DateTimeToXmlText, &DateTimeFromXmlText},
                                                      kHostTime,
                                                      &ScanXmlTime,
                                                      &FormatXmlTime,
                                                      "Invalid time format: "};
constinit const DateTimeRowConversion kDateTimeConversion{
    {&DateTimeToXmlText, &DateTimeFromXmlText},
    kHostDateTime,
    &ScanXmlDateTime,
    &FormatXmlDateTime,
    "Invalid dateTime format: "};
constinit const RowConversion kTimeInstantConversion{&TimeInstantToXmlText,
                                                     &TimeInstantFromXmlText};

}  // namespace tssoap
