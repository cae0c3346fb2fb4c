// float, double, decimal and duration: number texts in and out, the special values, the range
// messages, and "." as the point whatever the environment's locale.
#include "types/floating_types.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstdlib>

#include "types_test_support.h"

namespace tssoap {
namespace {

using types_test::MessageOf;
using types_test::Record;
using types_test::TypesHost;

// Puts the process in a locale whose decimal point is "," for the test, and back to "C".
class CommaLocale {
 public:
  CommaLocale() { available_ = std::setlocale(LC_ALL, "de_DE.UTF-8") != nullptr; }
  ~CommaLocale() { std::setlocale(LC_ALL, "C"); }
  bool Available() const { return available_; }

 private:
  bool available_ = false;
};

HostValueData Real(float v) {
  HostValueData data{};
  data.real = v;
  return data;
}
HostValueData Double(double v) {
  HostValueData data{};
  data.dbl = v;
  return data;
}

TEST(ParseXmlDouble, ReadsNumbersAndTheSpecialWords) {
  const std::pair<const char*, double> cases[] = {
      {"1.5", 1.5},      {"1.5 ", 1.5},       {" 1.5", 1.5},       {"   ", 0.0},
      {"inf", HUGE_VAL}, {"Inf", HUGE_VAL},   {"-inf", -HUGE_VAL}, {"NaN", 0.0},
      {"nan", 0.0},      {"-2.5E3", -2500.0}, {"1e-50", 1e-50},    {".5\n", 0.5},
  };
  for (const auto& [text, value] : cases) EXPECT_EQ(ParseXmlDouble(text), value) << text;
}

TEST(ParseXmlDouble, RefusesWhatIsNoDecimalNumber) {
  const std::pair<const char*, const char*> cases[] = {
      {"", "Could not convert string to floating point: ''"},
      {"1.5x", "Could not convert string to floating point: '1.5x'"},
      {"+INF", "Could not convert string to floating point: '+INF'"},
      {"infinity", "Could not convert string to floating point: 'infinity'"},
      {"0x10", "Could not convert string to floating point: '0x10'"},
      {"1,5", "Could not convert string to floating point: '1,5'"},
      {"1e400", "Double floating-point overflow: 1e400"},
      {"-1e400", "Double floating-point overflow: -1e400"},
      {"1e-400", "Double floating-point underflow: 1e-400"},
  };
  for (const auto& [text, message] : cases) {
    EXPECT_EQ(MessageOf([&] { ParseXmlDouble(text); }), message) << text;
  }
}

TEST(FloatingRows, ReadTheirRangeAndSpecialValues) {
  TypesHost host;
  EXPECT_EQ(host.FromXml("float", "INF").value.real, HUGE_VALF);
  EXPECT_EQ(host.FromXml("float", "-INF").value.real, -HUGE_VALF);
  EXPECT_EQ(host.FromXml("float", "1e-50").value.real, 0.0f);
  EXPECT_EQ(host.FromXml("float", "nan").value.real, 0.0f);
  EXPECT_EQ(host.FromXml("double", "1e39").value.dbl, 1e39);
  EXPECT_EQ(host.FromXml("double", "1.5").kind, kHostDouble);
  const std::tuple<const char*, const char*, const char*> refused[] = {
      {"float", "1e39", "Floating-point overflow: 1e39"},
      {"double", "INF", "Floating-point overflow: INF"},
      {"double", "-inf", "Floating-point overflow: -inf"},
      {"float", "", "Could not convert string to floating point: ''"},
      {"double", "1e-400", "Double floating-point underflow: 1e-400"},
  };
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
      {"double", Double(0.1), "0.100000000000000006"},
      {"double", Double(1e300), "1.00000000000000005E+300"},
      {"double", Double(HUGE_VAL), "INF"},
      {"double", Double(-0.0), "-0"},
  };
  for (const auto& [row, value, text] : cases) {
    EXPECT_EQ(host.ToXml(row, Record(types_test::RowNamed(row).hostKind, value)).text, text)
        << text;
  }
}

TEST(FloatingRows, KeepTheDotUnderACommaLocale) {
  CommaLocale locale;
  if (!locale.Available()) GTEST_SKIP() << "de_DE.UTF-8 is not installed";
  TypesHost host;
  EXPECT_EQ(host.FromXml("double", "1.5").value.dbl, 1.5);
  EXPECT_EQ(host.FromXml("float", "1.5").value.real, 1.5f);
  EXPECT_EQ(host.ToXml("double", Record(kHostDouble, Double(2.25))).text, "2.25");
  // The process locale stays what it was.
  EXPECT_STREQ(std::localeconv()->decimal_point, ",");
}

TEST(DecimalRow, PassesTextWithin18IntegerDigits) {
  TypesHost host;
  HostValueRecord record = host.FromXml("decimal", "123456789012345678.5");
  EXPECT_EQ(record.kind, kHostDecimal);
  char* text = host.runtime.GetDecimalText(record.value.handle);
  EXPECT_STREQ(text, "123456789012345678.5");
  host.runtime.ReleaseDecimalText(text);
  // The text goes to the host as it came, blanks included.
  record = host.FromXml("decimal", "  7 ");
  text = host.runtime.GetDecimalText(record.value.handle);
  EXPECT_STREQ(text, "  7 ");
  host.runtime.ReleaseDecimalText(text);
  EXPECT_EQ(MessageOf([&] { host.FromXml("decimal", "1234567890123456789"); }),
            "Can't handle XML decimal >999999999999999999 or <-999999999999999999");
  EXPECT_EQ(MessageOf([&] { host.FromXml("decimal", "1e5"); }), "Invalid number format: 1e5");

  const HostDecimal decimal = host.runtime.NewDecimal();
  host.runtime.SetDecimalText(decimal, "-12.50");
  HostValueData value{};
  value.handle = decimal;
  EXPECT_EQ(host.ToXml("decimal", Record(kHostDecimal, value)).text, "-12.50");
  EXPECT_EQ(host.runtime.OutstandingDecimalTexts(), 0);
}

TEST(DurationRow, NeitherSendsNorReadsAValue) {
  TypesHost host;
  XmlValueText value = host.ToXml("duration", Record(kHostDouble, Double(3.5)));
  EXPECT_EQ(value.text, "");
  EXPECT_FALSE(value.isNull);
  HostValueRecord before = Record(kHostDouble, Double(3.5));
  HostValueRecord after = host.FromXml("duration", "P1D", before);
  EXPECT_EQ(after.kind, kHostDouble);
  EXPECT_EQ(after.value.dbl, 3.5);
}

}  // namespace
}  // namespace tssoap
