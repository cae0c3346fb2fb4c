// date, time, dateTime and timeInstant: the scan forms with their widths, the print forms, texts
// that don't scan, and "." in the seconds under a comma locale.
#include "types/date_time_types.h"

#include <gtest/gtest.h>

#include <clocale>

#include "types_test_support.h"

namespace tssoap {

// Found by the test framework next to the type.
void PrintTo(const DateTimeParts& p, std::ostream* out) {
  *out << p.year << "-" << p.month << "-" << p.day << "T" << p.hour << ":" << p.minute << ":"
       << p.second;
}

namespace {

using types_test::MessageOf;
using types_test::Record;
using types_test::TypesHost;

struct ScanCase {
  std::optional<DateTimeParts> (*scan)(const char*);
  const char* text;
  std::optional<DateTimeParts> parts;  // nothing: the text is refused
};

DateTimeParts Date(int16_t y, int16_t m, int16_t d) { return {y, m, d, 0, 0, 0}; }
DateTimeParts Time(int16_t h, int16_t m, double s) { return {0, 0, 0, h, m, s}; }
DateTimeParts Stamp(int16_t y, int16_t mo, int16_t d, int16_t h, int16_t mi, double s) {
  return {y, mo, d, h, mi, s};
}

TEST(DateTimeScan, ReadsFieldsByWidthAndIgnoresTheRest) {
  const ScanCase cases[] = {
      {&ScanXmlDate, "2003-07-14", Date(2003, 7, 14)},
      {&ScanXmlDate, "2003-7-4", Date(2003, 7, 4)},
      {&ScanXmlDate, "2003-07-14Z", Date(2003, 7, 14)},
      {&ScanXmlDate, "2003-07-14+02:00", Date(2003, 7, 14)},
      {&ScanXmlDate, " 999-01-02", Date(999, 1, 2)},
      {&ScanXmlDate, "2003-13-45", Date(2003, 13, 45)},
      {&ScanXmlDate, "-999-01-02", Date(-999, 1, 2)},
      // Four characters of year at most: the fifth digit stands where "-" must.
      {&ScanXmlDate, "20031-07-14", std::nullopt},
      {&ScanXmlDate, "2003-07", std::nullopt},
      {&ScanXmlDate, "", std::nullopt},
      {&ScanXmlDate, "garbage", std::nullopt},
      {&ScanXmlTime, "13:05:09.5", Time(13, 5, 9.5)},
      {&ScanXmlTime, "13:05:09.5-05:00", Time(13, 5, 9.5)},
      {&ScanXmlTime, "13:05", std::nullopt},
      {&ScanXmlTime, "13:05:xx", std::nullopt},
      {&ScanXmlDateTime, "2003-07-14T13:05:09", Stamp(2003, 7, 14, 13, 5, 9)},
      {&ScanXmlDateTime, "2003-07-14T13:05:09.25Z", Stamp(2003, 7, 14, 13, 5, 9.25)},
      {&ScanXmlDateTime, "2003-07-14 13:05:09", std::nullopt},
      {&ScanXmlDateTime, "2003-07-14T13", std::nullopt},
  };
  for (const ScanCase& c : cases) EXPECT_EQ(c.scan(c.text), c.parts) << c.text;
}

TEST(DateTimeFormat, PadsAsEachFormSays) {
  EXPECT_EQ(FormatXmlDate(Date(2003, 7, 4)), "2003-07-04");
  EXPECT_EQ(FormatXmlDate(Date(999, 1, 2)), " 999-01-02");
  EXPECT_EQ(FormatXmlTime(Time(13, 5, 9.5)), "13:05:09.500");
  EXPECT_EQ(FormatXmlTime(Time(0, 0, 59.9996)), "00:00:60.000");
  EXPECT_EQ(FormatXmlTime(Time(1, 2, 5.25)), "01:02:05.250");
  EXPECT_EQ(FormatXmlDateTime(Stamp(999, 1, 2, 0, 0, 0)), "0999-01-02T00:00:00.000");
  EXPECT_EQ(FormatXmlDateTime(Stamp(2003, 7, 14, 13, 5, 9)), "2003-07-14T13:05:09.000");
}

TEST(DateTimeRows, PassPartsThroughTheHost) {
  TypesHost host;
  testhost::Runtime& runtime = host.runtime;
  HostValueRecord record = host.FromXml("dateTime", "2003-07-14T13:05:09");
  EXPECT_EQ(record.kind, kHostDateTime);
  EXPECT_EQ(host.ToXml("dateTime", record).text, "2003-07-14T13:05:09.000");
  record = host.FromXml("date", "2003-7-4");
  EXPECT_EQ(record.kind, kHostDate);
  EXPECT_EQ(host.ToXml("date", record).text, "2003-07-04");
  record = host.FromXml("time", "13:05:09.5");
  int16_t hour = 0, minute = 0;
  double second = 0;
  runtime.SplitTime(record.value.handle, &hour, &minute, &second);
  EXPECT_EQ(Time(hour, minute, second), Time(13, 5, 9.5));
  EXPECT_EQ(host.ToXml("time", record).text, "13:05:09.500");
  EXPECT_TRUE(runtime.Misuses().empty());
}

TEST(DateTimeRows, RefuseTextsThatDontScan) {
  TypesHost host;
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"date", "July 4th", "Invalid date format: July 4th"},
      {"time", "13h05", "Invalid time format: 13h05"},
      {"dateTime", "2003-07-14", "Invalid dateTime format: 2003-07-14"},
      {"dateTime", "", "Invalid dateTime format: "},
  };
  for (const auto& [row, text, message] : cases) {
    HostValueRecord record{};
    EXPECT_EQ(MessageOf([&] { record = host.FromXml(row, text); }), message) << text;
  }
}

TEST(DateTimeRows, KeepTheDotInSecondsUnderACommaLocale) {
  if (std::setlocale(LC_ALL, "de_DE.UTF-8") == nullptr) GTEST_SKIP() << "no de_DE.UTF-8";
  TypesHost host;
  HostValueRecord record = host.FromXml("time", "13:05:09.5");
  EXPECT_EQ(host.ToXml("time", record).text, "13:05:09.500");
  std::setlocale(LC_ALL, "C");
}

TEST(TimeInstantRow, DoesNothingEitherWay) {
  TypesHost host;
  XmlValueText value = host.ToXml("timeInstant", Record(kHostUnknown));
  EXPECT_EQ(value.text, "");
  HostValueRecord before = Record(kHostUnknown);
  before.value.handle = 77;
  HostValueRecord after = host.FromXml("timeInstant", "2003-07-14T13:05:09", before);
  EXPECT_EQ(after.kind, kHostUnknown);
  EXPECT_EQ(after.value.handle, 77u);
}

}  // namespace
}  // namespace tssoap
