// date, time, dateTime and timeInstant: the scan forms with their widths, the print forms, texts
// that don't scan, and "." in the seconds.
#include "types/date_time_types.h"

#include <gtest/gtest.h>

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

DateTimeParts Date(int16_t y, int16_t m, int16_t d) { return {y, m, d, 0, 0, 0}; }
DateTimeParts Time(int16_t h, int16_t m, double s) { return {0, 0, 0, h, m, s}; }

TEST(DateTimeScan, ReadsFieldsByWidthAndIgnoresTheRest) {
  const std::tuple<std::optional<DateTimeParts> (*)(const char*), const char*,
                   std::optional<DateTimeParts>>
      cases[] = {
          {&ScanXmlDate, "2003-7-4", Date(2003, 7, 4)},
          {&ScanXmlDate, "2003-07-14+02:00", Date(2003, 7, 14)},
          {&ScanXmlDate, " 999-01-02", Date(999, 1, 2)},
          {&ScanXmlDate, "-999-13-45", Date(-999, 13, 45)},
          {&ScanXmlDate, "20031-07-14", std::nullopt},  // the fifth digit stands where "-" must
          {&ScanXmlDate, "2003-07", std::nullopt},
          {&ScanXmlTime, "13:05:09.5-05:00", Time(13, 5, 9.5)},
          {&ScanXmlTime, "13:05:xx", std::nullopt},
          {&ScanXmlDateTime, "2003-07-14T13:05:09.25Z", DateTimeParts{2003, 7, 14, 13, 5, 9.25}},
          {&ScanXmlDateTime, "2003-07-14 13:05:09", std::nullopt},
      };
  for (const auto& [scan, text, parts] : cases) EXPECT_EQ(scan(text), parts) << text;
}

TEST(DateTimeFormat, PadsAsEachFormSays) {
  EXPECT_EQ(FormatXmlDate(Date(999, 1, 2)), " 999-01-02");
  EXPECT_EQ(FormatXmlTime(Time(1, 2, 5.25)), "01:02:05.250");
  EXPECT_EQ(FormatXmlTime(Time(0, 0, 59.9996)), "00:00:60.000");
  EXPECT_EQ(FormatXmlDateTime({999, 1, 2, 0, 0, 0}), "0999-01-02T00:00:00.000");
}

TEST(DateTimeRows, PassPartsThroughTheHostAndRefuseTextsThatDontScan) {
  if (std::setlocale(LC_ALL, "de_DE.UTF-8") == nullptr) GTEST_SKIP() << "no de_DE.UTF-8";
  TypesHost host;
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"date", "2003-7-4", "2003-07-04"},
      {"time", "13:05:09.5", "13:05:09.500"},
      {"dateTime", "2003-07-14T13:05:09", "2003-07-14T13:05:09.000"},
      {"date", "July 4th", "Invalid date format: July 4th"},
      {"time", "13h05", "Invalid time format: 13h05"},
      {"dateTime", "2003-07-14", "Invalid dateTime format: 2003-07-14"}};
  for (const auto& [row, text, result] : cases) {
    HostValueRecord record{};
    const std::optional<std::string> message =
        MessageOf([&] { host.FromXmlInto(row, text, record); });
    EXPECT_EQ(record.kind, types_test::RowNamed(row).hostKind);
    EXPECT_EQ(message ? *message : host.ToXml(row, record).text, result) << row << " " << text;
  }
  EXPECT_TRUE(host.runtime.Misuses().empty());
  std::setlocale(LC_ALL, "C");
}

TEST(TimeInstantRow, DoesNothingEitherWay) {
  TypesHost host;
  EXPECT_EQ(host.ToXml("timeInstant", Record(kHostUnknown)).text, "");
  const HostValueRecord after =
      host.FromXml("timeInstant", "2003-07-14T13:05:09", Record(kHostUnknown, {.handle = 77}));
  EXPECT_EQ(after.value.handle, 77u);
}

}  // namespace
}  // namespace tssoap
