// Integer rows and boolean: the decimal scanner, its comparison, and every row's texts and
// messages in both directions.
#include "types/integer_types.h"

#include <gtest/gtest.h>

#include "types_test_support.h"

namespace tssoap {
namespace {

using types_test::MessageOf;
using types_test::Record;
using types_test::TypesHost;

struct ScanCase {
  const char* text;
  bool negative;
  const char* integerDigits;  // the significant digits, as text
  const char* fractionDigits;
};

TEST(DecimalText, KeepsOnlySignificantDigits) {
  const ScanCase cases[] = {
      {"  42\t", false, "42", ""},
      {"+7", false, "7", ""},
      {"-0", true, "", ""},
      {"0.0", false, "", ""},
      {".5", false, "", "5"},
      {"007.250", false, "7", "25"},
      {"-12.0001", true, "12", "0001"},
      {"0000000000000000000000000255", false, "255", ""},
      {" \r\n\v\f1 \n", false, "1", ""},
  };
  for (const ScanCase& c : cases) {
    const DecimalText scanned(c.text);
    EXPECT_EQ(scanned.negative != 0, c.negative) << c.text;
    EXPECT_EQ(std::string(scanned.integerDigits, scanned.integerDigitCount), c.integerDigits)
        << c.text;
    EXPECT_EQ(std::string(scanned.fractionDigits, scanned.fractionDigitCount), c.fractionDigits)
        << c.text;
  }
}

TEST(DecimalText, RefusesWhatIsNoNumberWithTheWholeText) {
  const char* const cases[] = {"4 2", "4e2", "0x10", "--1",   "+-1", "",   "   ",
                               "-",   ".",   "5.",   "1.2.3", "5 .", "1-", "\xC3\xA9"};
  for (const char* text : cases) {
    EXPECT_EQ(MessageOf([&] { DecimalText scanned(text); }),
              std::string("Invalid number format: ") + text);
  }
  EXPECT_EQ(MessageOf([] { DecimalText scanned(nullptr); }), "Invalid number format: ");
  // More significant digits than the counts hold end in the same orderly failure; leading zeros
  // don't count.
  const std::string tooLong(40000, '9');
  EXPECT_TRUE(MessageOf([&] { DecimalText scanned(tooLong.c_str()); }).has_value());
  const std::string padded = std::string(40000, '0') + "1";
  EXPECT_EQ(DecimalText(padded.c_str()).ToInt64(), 1);
}

TEST(DecimalText, ComparesBySignThenMagnitude) {
  const struct {
    const char* a;
    const char* b;
    int order;
  } cases[] = {
      {"0", "0.000", 0},   {"-0", "0", -1},
      {"10", "9", 1},      {"-10", "-9", -1},
      {"1.5", "1.49", 1},  {"1.5", "1.50", 0},
      {"1.05", "1.5", -1}, {"0.1", ".10", 0},
      {"256", "255", 1},   {"99999999999999999999999999", "9223372036854775807", 1},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(DecimalText::Compare(DecimalText(c.a), DecimalText(c.b)), c.order)
        << c.a << " vs " << c.b;
  }
}

TEST(DecimalText, ConvertsIntegersAndRefusesFractions) {
  EXPECT_EQ(DecimalText("5.000").ToInt64(), 5);
  EXPECT_EQ(DecimalText("-9223372036854775808").ToInt64(), INT64_MIN);
  EXPECT_EQ(DecimalText(".0").ToInt64(), 0);
  EXPECT_EQ(MessageOf([] { DecimalText(".5").ToInt64(); }), "Not a integer");
  EXPECT_EQ(FormatDecimalInteger(INT64_MIN), "-9223372036854775808");
  EXPECT_EQ(FormatDecimalInteger(0), "0");
  EXPECT_EQ(FormatDecimalInteger(-42), "-42");
}

struct InCase {
  const char* row;
  const char* text;
  int64_t value;        // as stored at the row's width, read back as the row's kind
  const char* message;  // null when the text is accepted
};

int64_t ValueOfKind(const HostValueRecord& record) {
  switch (record.kind) {
    case kHostInt:
      return record.value.int16;
    case kHostUint:
    case kHostBoolean:
      return record.value.uint16;
    case kHostLong:
      return record.value.int32;
    case kHostUlong:
      return record.value.uint32;
    default:
      return record.value.int64;
  }
}

TEST(IntegerRows, ReadTextWithinTheRowsRange) {
  const InCase cases[] = {
      {"unsignedByte", "0000000000000000000000000255", 255, nullptr},
      {"unsignedByte", "256", 0, "Value exceeds XML unsignedByte"},
      {"unsignedByte", "-0", 0, "Value exceeds XML unsignedByte"},
      {"byte", "-128", -128, nullptr},
      {"byte", "300.5", 0, "Value exceeds XML byte"},
      {"byte", "1.5", 0, "Not a integer"},
      {"short", "-32769", 0, "Value exceeds XML short"},
      {"short", "32767", 32767, nullptr},
      {"unsignedShort", "65535", 65535, nullptr},
      {"unsignedShort", "65536", 0, "Value exceeds XML unsignedShort"},
      {"int", "  42\t", 42, nullptr},
      {"int", "+7", 7, nullptr},
      {"int", ".0", 0, nullptr},
      {"int", ".5", 0, "Not a integer"},
      {"int", "2147483648", 0, "Value exceeds XML int"},
      {"int", "4e2", 0, "Invalid number format: 4e2"},
      {"unsignedInt", "4294967295", 4294967295, nullptr},
      {"unsignedInt", "-1", 0, "Value exceeds XML unsigned int"},
      {"long", "9223372036854775807", INT64_MAX, nullptr},
      {"long", "9223372036854775808", 0, "Value exceeds XML long"},
      {"long", "-9223372036854775808", INT64_MIN, nullptr},
      {"integer", "99999999999999999999999999", 0,
       "Can't handle XML integer which >9223372036854775807 or <-9223372036854775808"},
      {"unsignedLong", "18446744073709551615", 0,
       "Can't handle XML unsignedLong > 9223372036854775807"},
      {"nonNegativeInteger", "-1", 0, "Can't handle XML integer which >9223372036854775807 or <0"},
      {"negativeInteger", "-0", 0,
       "Can't handle XML 'negativeInteger' which <-9223372036854775808 or >=0"},
      {"negativeInteger", "-1", -1, nullptr},
      {"nonPositiveInteger", "-0", 0, nullptr},
      {"nonPositiveInteger", "1", 0,
       "Can't handle XML 'nonPositiveInteger' which <-9223372036854775808 or >0"},
      {"positiveInteger", "0", 0,
       "Can't handle XML 'positiveInteger' which >9223372036854775807 or <=0"},
      {"positiveInteger", "1", 1, nullptr},
  };
  TypesHost host;
  for (const InCase& c : cases) {
    HostValueRecord record{};
    std::optional<std::string> message =
        MessageOf([&] { host.FromXmlInto(c.row, c.text, record); });
    EXPECT_EQ(record.kind, types_test::RowNamed(c.row).hostKind) << c.row << " " << c.text;
    if (c.message != nullptr) {
      EXPECT_EQ(message, c.message) << c.row << " " << c.text;
    } else {
      EXPECT_EQ(message, std::nullopt) << c.row << " " << c.text;
      EXPECT_EQ(ValueOfKind(record), c.value) << c.row << " " << c.text;
    }
  }
}

struct OutCase {
  const char* row;
  HostValueData value;
  const char* text;  // null when refused
  const char* message;
};

HostValueData Int16(int16_t v) { return HostValueData{.int16 = v}; }
HostValueData Uint16(uint16_t v) {
  HostValueData data{};
  data.uint16 = v;
  return data;
}
HostValueData Int64(int64_t v) {
  HostValueData data{};
  data.int64 = v;
  return data;
}
HostValueData Uint32(uint32_t v) {
  HostValueData data{};
  data.uint32 = v;
  return data;
}

TEST(IntegerRows, WriteTextAndRefuseWhatTheRowCantHold) {
  const OutCase cases[] = {
      {"unsignedByte", Uint16(255), "255", nullptr},
      {"unsignedByte", Uint16(300), nullptr, "Value exceeds XML unsignedByte"},
      {"byte", Int16(-129), nullptr, "Value exceeds XML byte"},
      {"byte", Int16(127), "127", nullptr},
      {"short", Int16(-32768), "-32768", nullptr},
      {"unsignedShort", Uint16(65535), "65535", nullptr},
      {"unsignedInt", Uint32(4294967295u), "4294967295", nullptr},
      {"long", Int64(INT64_MIN), "-9223372036854775808", nullptr},
      {"unsignedLong", Int64(-1), nullptr, "XML unsigned long can't < 0"},
      {"nonNegativeInteger", Int64(-1), nullptr,
       "Value exceeds the range of XML nonNegativeInteger (0 -- 9223372036854775807)"},
      {"negativeInteger", Int64(0), nullptr,
       "Value exceeds the range of XML negativeInteger (-1 -- -9223372036854775808)"},
      {"nonPositiveInteger", Int64(1), nullptr,
       "Value exceeds the range of XML nonPositiveInteger (0 -- -9223372036854775808)"},
      {"positiveInteger", Int64(0), nullptr,
       "Value exceeds the range of XML nonPositiveInteger (1 -- 9223372036854775807)"},
      {"positiveInteger", Int64(INT64_MAX), "9223372036854775807", nullptr},
  };
  TypesHost host;
  for (const OutCase& c : cases) {
    XmlValueText value;
    std::optional<std::string> message = MessageOf(
        [&] { value = host.ToXml(c.row, Record(types_test::RowNamed(c.row).hostKind, c.value)); });
    if (c.text != nullptr) {
      EXPECT_EQ(message, std::nullopt) << c.row;
      EXPECT_EQ(value.text, c.text) << c.row;
    } else {
      EXPECT_EQ(message, c.message) << c.row;
    }
  }
}

TEST(BooleanRow, ReadsFourWordsInAnyCaseAndWritesTwo) {
  TypesHost host;
  const std::pair<const char*, int> accepted[] = {{"TRUE", 1}, {"True", 1},  {"true", 1},
                                                  {"1", 1},    {"FaLsE", 0}, {"0", 0}};
  for (const auto& [text, value] : accepted) {
    EXPECT_EQ(host.FromXml("boolean", text, Record(kHostBoolean, Uint16(7))).value.uint16, value)
        << text;
  }
  for (const char* text : {" true", "yes", "", "2", "truex"}) {
    EXPECT_EQ(MessageOf([&] { host.FromXml("boolean", text); }),
              "can't convert a number to boolean")
        << text;
  }
  EXPECT_EQ(host.ToXml("boolean", Record(kHostBoolean, Uint16(2))).text, "true");
  EXPECT_EQ(host.ToXml("boolean", Record(kHostBoolean, Uint16(0xFFFF))).text, "true");
  EXPECT_EQ(host.ToXml("boolean", Record(kHostBoolean, Uint16(0))).text, "false");
}

}  // namespace
}  // namespace tssoap
