// Every row's conversions against the reference host: what each wire text becomes in the host,
// what each host value goes out as, the messages of both ways, the bytes of the binary rows, and
// the environment's locale and code page.
#include <gtest/gtest.h>

#include <cerrno>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

#include "types/floating_types.h"
#include "types/integer_types.h"
#include "types_test_support.h"

namespace tssoap {
namespace {

using types_test::Bits;
using types_test::MessageOf;
using types_test::Record;
using types_test::RowNamed;
using types_test::TypesHost;

// What a wire text becomes: the message, or the host's text for a string row, or else the text
// the host value goes out as again.
std::string Read(TypesHost& host, const char* row, const std::string& text) {
  HostValueRecord record{};
  const std::optional<std::string> message =
      MessageOf([&] { host.FromXmlInto(row, text, record); });
  EXPECT_EQ(record.kind, RowNamed(row).hostKind) << row << ": the kind is set before any failure";
  if (message) return *message;
  return record.kind == kHostString ? host.runtime.StringText(record.value.handle)
                                    : host.ToXml(row, record).text;
}

// What a host value goes out as: the text, or the message.
std::string Write(TypesHost& host, const char* row, HostValueData value) {
  std::string text;
  const std::optional<std::string> message =
      MessageOf([&] { text = host.ToXml(row, Record(RowNamed(row).hostKind, value)).text; });
  return message.value_or(text);
}

TEST(RowConversions, ReadWireTexts) {
  // Row, wire text, and what it becomes (see Read).
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"unsignedByte", "0000000000000000000000000255", "255"},
      {"unsignedByte", "256", "Value exceeds XML unsignedByte"},
      {"unsignedByte", "-0", "Value exceeds XML unsignedByte"},
      {"byte", "-128", "-128"},
      {"byte", "300.5", "Value exceeds XML byte"},
      {"byte", "1.5", "Not a integer"},
      {"int", "  42\t", "42"},
      {"int", "+7", "7"},
      {"int", "5.000", "5"},
      {"int", "2147483648", "Value exceeds XML int"},
      {"int", "4e2", "Invalid number format: 4e2"},
      {"unsignedInt", "-1", "Value exceeds XML unsigned int"},
      {"long", "9223372036854775808", "Value exceeds XML long"},
      {"long", "-9223372036854775808", "-9223372036854775808"},
      {"integer", "99999999999999999999999999",
       "Can't handle XML integer which >9223372036854775807 or <-9223372036854775808"},
      {"unsignedLong", "18446744073709551615",
       "Can't handle XML unsignedLong > 9223372036854775807"},
      {"nonNegativeInteger", "-1", "Can't handle XML integer which >9223372036854775807 or <0"},
      {"negativeInteger", "-0",
       "Can't handle XML 'negativeInteger' which <-9223372036854775808 or >=0"},
      {"nonPositiveInteger", "-0", "0"},
      {"nonPositiveInteger", "1",
       "Can't handle XML 'nonPositiveInteger' which <-9223372036854775808 or >0"},
      {"positiveInteger", "0",
       "Can't handle XML 'positiveInteger' which >9223372036854775807 or <=0"},
      {"boolean", "TRUE", "true"},
      {"boolean", "FaLsE", "false"},
      {"boolean", "1", "true"},
      {"boolean", " true", "can't convert a number to boolean"},
      {"float", "inf", "INF"},
      {"float", "-INF", "-INF"},
      {"float", "nan", "0"},
      {"float", "1e-50", "0"},
      {"float", "1e39", "Floating-point overflow: 1e39"},
      {"float", "", "Could not convert string to floating point: ''"},
      {"double", "INF", "Floating-point overflow: INF"},
      {"double", " 1.5 ", "1.5"},
      {"double", "   ", "0"},
      {"double", "1e39", "9.9999999999999994E+38"},
      {"double", "1e-310", "9.99999999999996945E-311"},  // subnormal: fewer digits hold
      {"double", "1.5x", "Could not convert string to floating point: '1.5x'"},
      {"double", "+INF", "Could not convert string to floating point: '+INF'"},
      {"double", "infinity", "Could not convert string to floating point: 'infinity'"},
      {"double", "0x10", "Could not convert string to floating point: '0x10'"},
      {"double", "1e400", "Double floating-point overflow: 1e400"},
      {"double", "1e-400", "Double floating-point underflow: 1e-400"},
      // A decimal goes to the host as the text it came as, blanks included.
      {"decimal", "123456789012345678.5", "123456789012345678.5"},
      {"decimal", "  7 ", "  7 "},
      {"decimal", "1234567890123456789",
       "Can't handle XML decimal >999999999999999999 or <-999999999999999999"},
      {"date", "2003-7-4", "2003-07-04"},
      {"date", " 999-01-02", " 999-01-02"},
      {"date", "20031-07-14", "Invalid date format: 20031-07-14"},  // "1" stands where "-" must
      {"date", "July 4th", "Invalid date format: July 4th"},
      {"time", "13:05:09.5-05:00", "13:05:09.500"},
      {"time", "00:00:59.9996", "00:00:60.000"},
      {"time", "13h05", "Invalid time format: 13h05"},
      {"time", "13:03:1E875", "Invalid time format: 13:03:1E875"},
      {"time", "13:03:nan", "Invalid time format: 13:03:nan"},
      {"dateTime", "2003-07-14T13:05:09.25Z", "2003-07-14T13:05:09.250"},
      {"dateTime", " 999-01-02T00:00:00", "0999-01-02T00:00:00.000"},
      {"dateTime", "2003-07-14 13:05:09", "Invalid dateTime format: 2003-07-14 13:05:09"},
      {"timeInstant", "2003-07-14T13:05:09", ""},
      {"hexBinary", "610062ff", "610062FF"},
      {"base64Binary", "AAECA/8=", "AAECA/8="},
      {"base64", "", ""},
      // The string rows apply their steps on the way out only, but for anyURI's spaces.
      {"string", "", ""},
      {"token", "  a  ", "  a  "},
      {"gMonthDay", "--05-14", "--05-14"},
      {"anyURI", "a%20b%2F%2%2520", "a b%2F%2%2520"},
      {"gYear", " 2003 ", " 2003 "},
      {"gYearMonth", "2003-07", "2003-07"},
      {"QName", " ns:a ", " ns:a "},
      {"NOTATION", "ns:n", "ns:n"},
      {"language", " en  US ", " en  US "},
      {"NMTOKEN", " a\tb ", " a\tb "},
      {"NMTOKENS", "a  b", "a  b"},
      {"Name", " x ", " x "},
      {"NCName", "x\r\n", "x\r\n"},
      {"ID", " id1", " id1"},
      {"IDREF", "id1 ", "id1 "},
      {"IDREFS", "id1  id2", "id1  id2"},
      {"ENTITY", "\te", "\te"},
      {"ENTITIES", "e1   e2", "e1   e2"},
      {"short", "-32768", "-32768"},
      {"short", "32768", "Value exceeds XML short"},
      {"unsignedShort", "65535", "65535"},
      {"unsignedShort", "65536", "Value exceeds XML unsignedShort"},
      {"unsignedShort", "-1", "Value exceeds XML unsignedShort"},
      // Plain digits are read as a number, up to 18 of them; the scanner takes the rest.
      {"int", "-2147483649", "Value exceeds XML int"},
      {"unsignedInt", "4294967295", "4294967295"},
      {"long", "-999999999999999999", "-999999999999999999"},
      {"long", "-0000000000000000001", "-1"},
      {"unsignedByte", "-00", "Value exceeds XML unsignedByte"},
      {"int", "-", "Invalid number format: -"},
      {"int", "", "Invalid number format: "},
  };
  // In an environment whose locale is "C" and in one with a decimal comma, which the conversions
  // neither follow nor change.
  for (const char* locale : {"C", "de_DE.UTF-8"}) {
    types_test::EnvironmentLocale environment(locale);
    if (!environment.available) continue;
    TypesHost host;
    for (const auto& [row, text, result] : cases) {
      EXPECT_EQ(Read(host, row, text), result) << locale << " " << row << " '" << text << "'";
    }
    EXPECT_STREQ(std::localeconv()->decimal_point, locale[0] == 'C' ? "." : ",");
    EXPECT_EQ(host.runtime.OutstandingDecimalTexts(), 0);
    EXPECT_TRUE(host.runtime.Misuses().empty());
  }
}

TEST(RowConversions, WriteHostValues) {
  TypesHost host;
  const auto text = [&](const char* value) { return host.StringValue(value); };
  const auto real = [](float value) { return HostValueData{.real = value}; };
  const auto dbl = [](double value) { return HostValueData{.dbl = value}; };
  const std::tuple<const char*, HostValueData, const char*> cases[] = {
      {"unsignedByte", Bits(255), "255"},
      {"unsignedByte", Bits(300), "Value exceeds XML unsignedByte"},
      {"byte", Bits(-129), "Value exceeds XML byte"},
      {"unsignedInt", Bits(4294967295), "4294967295"},
      {"unsignedLong", Bits(-1), "XML unsigned long can't < 0"},
      {"nonNegativeInteger", Bits(-1),
       "Value exceeds the range of XML nonNegativeInteger (0 -- 9223372036854775807)"},
      {"negativeInteger", Bits(0),
       "Value exceeds the range of XML negativeInteger (-1 -- -9223372036854775808)"},
      {"nonPositiveInteger", Bits(1),
       "Value exceeds the range of XML nonPositiveInteger (0 -- -9223372036854775808)"},
      {"positiveInteger", Bits(0),
       "Value exceeds the range of XML nonPositiveInteger (1 -- 9223372036854775807)"},
      {"positiveInteger", Bits(INT64_MAX), "9223372036854775807"},
      {"boolean", Bits(2), "true"},  // a host may answer any non-zero number for true
      {"boolean", Bits(0xFFFF), "true"},
      {"float", real(0.1f), "0.100000001"},
      {"float", real(NAN), "NaN"},
      {"double", dbl(HUGE_VAL), "INF"},
      {"double", dbl(0.1), "0.100000000000000006"},
      {"double", dbl(1e300), "1.00000000000000005E+300"},
      {"duration", dbl(3.5), ""},
      {"string", text("  a \t b  "), "  a \t b  "},
      {"normalizedString", text("  a\r\nb\t"), "  a  b "},
      {"token", text("  a \t b  "), "a b"},
      {"token", text("   "), " "},
      {"gMonth", text("--05"), "--05--"},
      {"gMonth", text("05"), "--05--"},
      {"gMonth", text("--"), "--"},
      {"gMonthDay", text("05-14"), "--05-14"},
      {"gDay", text("14"), "---14"},
      {"gDay", text("-"), "-"},
      {"anyURI", text("a b%2F"), "a%20b%2F"},
      // gYear, gYearMonth, QName and NOTATION go as the host holds them; the token types as a
      // token does.
      {"gYear", text(" 2003 "), " 2003 "},
      {"gYearMonth", text("2003-07"), "2003-07"},
      {"QName", text(" ns:a\t"), " ns:a\t"},
      {"NOTATION", text("ns:n "), "ns:n "},
      {"language", text("  en \t US "), "en US"},
      {"NMTOKEN", text("\ta\r\n"), "a"},
      {"NMTOKENS", text("a  b"), "a b"},
      {"Name", text(" x "), "x"},
      {"NCName", text("x\ty"), "x y"},
      {"ID", text(" id1"), "id1"},
      {"IDREF", text("id1 "), "id1"},
      {"IDREFS", text("id1  id2"), "id1 id2"},
      {"ENTITY", text("\te"), "e"},
      {"ENTITIES", text("e1   e2"), "e1 e2"},
      // A 16-bit host value always fits a short or an unsignedShort.
      {"short", Bits(-32768), "-32768"},
      {"short", Bits(32767), "32767"},
      {"unsignedShort", Bits(65535), "65535"},
  };
  for (const auto& [row, value, result] : cases) {
    EXPECT_EQ(Write(host, row, value), result) << row;
  }
  // A duration or a timeInstant is read as nothing: the host value keeps what it held.
  EXPECT_EQ(host.FromXml("duration", "P1D", Record(kHostDouble, dbl(3.5))).value.dbl, 3.5);
  EXPECT_EQ(host.FromXml("timeInstant", "x", Record(kHostUnknown, {.handle = 77})).value.handle,
            77u);
  EXPECT_EQ(host.FromXml("boolean", "TRUE", Record(kHostBoolean, Bits(7))).value.uint16, 1);
}

TEST(BinaryRows, CarryBytesThereAndBackWithTheirLength) {
  TypesHost host;
  // The read table covers zero bytes inside; here the empty blob and one of a thousand bytes.
  for (const char* row : {"base64", "base64Binary", "hexBinary"}) {
    for (const std::vector<uint8_t>& bytes :
         {std::vector<uint8_t>{}, std::vector<uint8_t>(1000, 0xA5)}) {
      HostValueRecord record = Record(kHostBlob);
      record.value.handle = host.runtime.NewBlob(bytes.data(), static_cast<uint32_t>(bytes.size()));
      const XmlValueText value = host.ToXml(row, record);
      EXPECT_FALSE(value.isNull) << "a blob of length 0 is an empty text, not a nil element";
      const HostValueRecord back = host.FromXml(row, value.text);
      const auto* data = static_cast<const uint8_t*>(host.runtime.GetBlobData(back.value.handle));
      EXPECT_EQ(std::vector<uint8_t>(data, data + host.runtime.GetBlobLength(back.value.handle)),
                bytes)
          << row << " '" << value.text << "'";
    }
    EXPECT_TRUE(MessageOf([&] { host.FromXml(row, "@@@@"); }).has_value()) << row;
  }
}

TEST(DecimalText, RefusesWhatIsNoNumberWithTheWholeText) {
  for (const char* text :
       {"4 2", "4e2", "0x10", "--1", "+-1", "", "   ", "-", ".", "5.", "1.2.3", "5 .", "1-"}) {
    EXPECT_EQ(MessageOf([&] { DecimalText scanned(text); }),
              std::string("Invalid number format: ") + text);
  }
  EXPECT_EQ(MessageOf([] { DecimalText scanned(nullptr); }), "Invalid number format: ");
  // Leading zeros don't count towards the 16-bit digit counts; significant digits beyond them do.
  EXPECT_EQ(DecimalText((std::string(40000, '0') + "1").c_str()).ToInt64(), 1);
  EXPECT_TRUE(MessageOf([] { DecimalText(std::string(40000, '9').c_str()); }).has_value());
}

// Reals and doubles are written without printf; their texts must stay what "%.*G" printed, for
// the rows' precisions, over edge values, numbers with short texts and a fixed spread of bit
// patterns of both widths.
TEST(FloatingText, WritesWhatPrintfWrote) {
  std::vector<double> numbers = {0.0,
                                 -0.0,
                                 1.0,
                                 -1.0,
                                 0.1,
                                 1e-5,
                                 1e-4,
                                 123456789.0,
                                 1e17,
                                 1e18,
                                 1e19,
                                 5e-324,
                                 2.2250738585072014e-308,
                                 1.7976931348623157e308,
                                 3.4028234663852886e38,
                                 1.17549435e-38,
                                 0.5,
                                 9.5,
                                 99999999.5,
                                 999999999.5,
                                 1e21,
                                 7.25};
  std::mt19937_64 bits(20261124);
  for (int i = 0; i < 20000; ++i) {
    double wide;
    const uint64_t pattern = bits();
    std::memcpy(&wide, &pattern, sizeof wide);
    float narrow;
    const uint32_t half = static_cast<uint32_t>(pattern);
    std::memcpy(&narrow, &half, sizeof narrow);
    if (std::isfinite(wide)) numbers.push_back(wide);
    if (std::isfinite(narrow)) numbers.push_back(narrow);
  }
  // Numbers with short texts, of both widths, both signs and every notation.
  for (int i = -3000; i <= 3000; ++i) {
    for (const double scale : {1.0, 0.01, 1e-6, 1e7, 1e12, 1e-20, 1e20}) {
      numbers.push_back(i * scale + 0.25 * scale);
      numbers.push_back(static_cast<float>(i * scale));
    }
  }
  for (const int digits : {9, 15, 18}) {
    for (const double number : numbers) {
      char printed[64];
      std::snprintf(printed, sizeof printed, "%.*G", digits, number);
      ASSERT_EQ(FloatingText(number, digits), printed) << digits << " digits";
    }
  }
  EXPECT_EQ(FloatingText(NAN, 9), "NaN");
  EXPECT_EQ(FloatingText(-INFINITY, 18), "-INF");
}

// Number texts are read without strtod where the result is a normal double; the values must stay
// strtod's, bit for bit, over texts of every shape the wire form allows.
TEST(FloatingText, ReadsWhatStrtodRead) {
  std::vector<std::string> texts = {"0",
                                    "-0",
                                    "+0.0",
                                    "00.000e5",
                                    " 7.25",
                                    "\t+1.5e-3 ",
                                    "1.",
                                    ".5",
                                    "-.5E+2",
                                    "1e-5",
                                    "1e308",
                                    "2.2250738585072014e-308",
                                    "1e0",
                                    "1e-0",

                                    "123456789012345678901234567890",
                                    "0.1000000000000000055511151231257827021181583404541015625"};
  std::mt19937_64 bits(20261124);
  for (int i = 0; i < 20000; ++i) {
    double number;
    const uint64_t pattern = bits();
    std::memcpy(&number, &pattern, sizeof number);
    if (!std::isfinite(number)) continue;
    char text[64];
    for (const int digits : {3, 9, 17, 25}) {
      std::snprintf(text, sizeof text, "%.*g", digits, number);
      texts.emplace_back(text);
    }
    std::snprintf(text, sizeof text, "%.3f",
                  static_cast<double>(static_cast<int32_t>(pattern)) / 7);
    texts.emplace_back(text);
  }
  for (const std::string& text : texts) {
    errno = 0;
    char* stop = nullptr;
    const double expected = std::strtod(text.c_str(), &stop);
    const bool outOfRange = errno == ERANGE;
    const std::optional<std::string> message = MessageOf([&] {
      const double read = ParseXmlDouble(text.c_str());
      EXPECT_EQ(std::memcmp(&read, &expected, sizeof read), 0) << text;
    });
    EXPECT_EQ(message.has_value(), outOfRange && (std::isinf(expected) || expected == 0.0)) << text;
  }
}

TEST(StringRows, ReportTextsWithoutAFormInTheOtherCodePageByRow) {
  TypesHost host;
  {
    types_test::EnvironmentLocale utf8("C.UTF-8");
    EXPECT_EQ(
        MessageOf([&] { host.ToXml("token", Record(kHostString, host.StringValue("bad \xFF"))); }),
        "Can't convert DBCS to UCS");
  }
  types_test::EnvironmentLocale latin1("en_US.ISO-8859-1");
  if (!latin1.available) GTEST_SKIP() << "en_US.ISO-8859-1 is not installed";
  for (const char* row : {"string", "QName", "NOTATION"}) {
    EXPECT_EQ(MessageOf([&] { host.FromXml(row, "\xE2\x82\xAC"); }), "Can't convert UCS2 to DBCS");
  }
  for (const char* row : {"token", "anyURI", "gDay", "ENTITIES"}) {
    EXPECT_EQ(MessageOf([&] { host.FromXml(row, "\xE2\x82\xAC"); }),
              "Internal Error with Tessaro SoapClient");
  }
}

}  // namespace
}  // namespace tssoap
