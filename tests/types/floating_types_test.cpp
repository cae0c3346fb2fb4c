// float, double, decimal and duration: number texts both ways, the special values, the range
// messages, and "." as the point whatever the environment's locale.
#include "types/floating_types.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>

#include "types_test_support.h"

namespace tssoap {
namespace {

using types_test::MessageOf;
using types_test::Record;
using types_test::TypesHost;

HostValueData Real(float v) { return HostValueData{.real = v}; }
HostValueData Double(double v) { return HostValueData{.dbl = v}; }

TEST(ParseXmlDouble, ReadsDecimalNumbersAndTheSpecialWords) {
  const std::pair<const char*, double> cases[] = {
      {"1.5", 1.5},      {"1.5 ", 1.5},     {" 1.5", 1.5},       {"   ", 0.0},
      {"inf", HUGE_VAL}, {"Inf", HUGE_VAL}, {"-inf", -HUGE_VAL}, {"nan", 0.0},
      {"-2.5E3", -2500}, {"1e-50", 1e-50},  {"1e-310", 1e-310}};
  for (const auto& [text, value] : cases) EXPECT_EQ(ParseXmlDouble(text), value) << text;
  const std::pair<const char*, const char*> refused[] = {
      {"", "Could not convert string to floating point: ''"},
      {"1.5x", "Could not convert string to floating point: '1.5x'"},
      {"+INF", "Could not convert string to floating point: '+INF'"},
      {"infinity", "Could not convert string to floating point: 'infinity'"},
      {"0x10", "Could not convert string to floating point: '0x10'"},
      {"1e400", "Double floating-point overflow: 1e400"},
      {"1e-400", "Double floating-point underflow: 1e-400"}};
  for (const auto& [text, message] : refused) {
    EXPECT_EQ(MessageOf([&] { ParseXmlDouble(text); }), message) << text;
  }
}

TEST(FloatingRows, ReadTheirRangeAndSpecialValues) {
  TypesHost host;
  EXPECT_EQ(host.FromXml("float", "-INF").value.real, -HUGE_VALF);
  EXPECT_EQ(host.FromXml("float", "1e-50").value.real, 0.0f);
  EXPECT_EQ(host.FromXml("double", "1e39").value.dbl, 1e39);
  const std::tuple<const char*, const char*, const char*> refused[] = {
      {"float", "1e39", "Floating-point overflow: 1e39"},
      {"double", "INF", "Floating-point overflow: INF"},
      {"float", "", "Could not convert string to floating point: ''"}};
  for (const auto& [row, text, message] : refused) {
    EXPECT_EQ(MessageOf([&] { host.FromXml(row, text); }), message) << row << " " << text;
  }
}

TEST(FloatingRows, WriteWithThePrecisionOfTheirFormat) {
  TypesHost host;
  const std::tuple<const char*, HostValueData, const char*> cases[] = {
      {"float", Real(1.5f), "1.5"},
      {"float", Real(0.1f), "0.100000001"},
      {"float", Real(NAN), "NaN"},
      {"float", Real(-HUGE_VALF), "-INF"},
      {"double", Double(HUGE_VAL), "INF"},
      {"double", Double(0.1), "0.100000000000000006"},
      {"double", Double(1e300), "1.00000000000000005E+300"}};
  for (const auto& [row, value, text] : cases) {
    EXPECT_EQ(host.ToXml(row, Record(types_test::RowNamed(row).hostKind, value)).text, text);
  }
}

TEST(FloatingRows, KeepTheDotUnderACommaLocaleWithoutChangingIt) {
  if (std::setlocale(LC_ALL, "de_DE.UTF-8") == nullptr) GTEST_SKIP() << "no de_DE.UTF-8";
  TypesHost host;
  EXPECT_EQ(host.FromXml("double", "1.5").value.dbl, 1.5);
  EXPECT_EQ(host.ToXml("double", Record(kHostDouble, Double(2.25))).text, "2.25");
  EXPECT_STREQ(std::localeconv()->decimal_point, ",");
  std::setlocale(LC_ALL, "C");
}

TEST(DecimalRow, PassesTextWithin18IntegerDigits) {
  TypesHost host;
  for (const char* text : {"123456789012345678.5", "  7 "}) {
    // The text goes to the host as it came, blanks included.
    char* stored = host.runtime.GetDecimalText(host.FromXml("decimal", text).value.handle);
    EXPECT_STREQ(stored, text);
    host.runtime.ReleaseDecimalText(stored);
  }
  EXPECT_EQ(MessageOf([&] { host.FromXml("decimal", "1234567890123456789"); }),
            "Can't handle XML decimal >999999999999999999 or <-999999999999999999");
  EXPECT_EQ(host.ToXml("decimal", host.FromXml("decimal", "-12.50")).text, "-12.50");
  EXPECT_EQ(host.runtime.OutstandingDecimalTexts(), 0);
}

TEST(DurationRow, NeitherSendsNorReadsAValue) {
  TypesHost host;
  const XmlValueText value = host.ToXml("duration", Record(kHostDouble, Double(3.5)));
  EXPECT_EQ(value.text, "");
  EXPECT_FALSE(value.isNull);
  EXPECT_EQ(host.FromXml("duration", "P1D", Record(kHostDouble, Double(3.5))).value.dbl, 3.5);
}

}  // namespace
}  // namespace tssoap
