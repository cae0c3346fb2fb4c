// Integer rows and boolean: the decimal scanner, and every row's texts and messages both ways.
#include "types/integer_types.h"

#include <gtest/gtest.h>

#include "types_test_support.h"

namespace tssoap {
namespace {

using types_test::Bits;
using types_test::MessageOf;
using types_test::Record;
using types_test::RowNamed;
using types_test::TypesHost;

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

TEST(DecimalText, ComparesBySignThenMagnitude) {
  const std::tuple<const char*, const char*, int> cases[] = {
      {"007.250", "7.25", 0}, {"-0", "0", -1},    {"10", "9", 1},      {"-10", "-9", -1},
      {"1.5", "1.49", 1},     {"1.5", "1.50", 0}, {"1.05", "1.5", -1}, {"0.1", ".10", 0}};
  for (const auto& [a, b, order] : cases) {
    EXPECT_EQ(DecimalText::Compare(DecimalText(a), DecimalText(b)), order) << a << " " << b;
  }
}

// Each case: row, text coming in, and either the text the stored value goes out as again or the
// message.
TEST(IntegerRows, ReadTextWithinTheRowsRange) {
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"unsignedByte", "0000000000000000000000000255", "255"},
      {"unsignedByte", "256", "Value exceeds XML unsignedByte"},
      {"unsignedByte", "-0", "Value exceeds XML unsignedByte"},
      {"byte", "-128", "-128"},
      {"byte", "300.5", "Value exceeds XML byte"},
      {"byte", "1.5", "Not a integer"},
      {"short", "-32769", "Value exceeds XML short"},
      {"unsignedShort", "65536", "Value exceeds XML unsignedShort"},
      {"int", "  42\t", "42"},
      {"int", "+7", "7"},
      {"int", ".0", "0"},
      {"int", "5.000", "5"},
      {"int", ".5", "Not a integer"},
      {"int", "2147483648", "Value exceeds XML int"},
      {"int", "4e2", "Invalid number format: 4e2"},
      {"unsignedInt", "4294967295", "4294967295"},
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
  };
  TypesHost host;
  for (const auto& [row, text, result] : cases) {
    HostValueRecord record{};
    const std::optional<std::string> message =
        MessageOf([&] { host.FromXmlInto(row, text, record); });
    // The kind is set before anything can fail.
    EXPECT_EQ(record.kind, RowNamed(row).hostKind) << row;
    EXPECT_EQ(message ? *message : host.ToXml(row, record).text, result) << row << " " << text;
  }
}

TEST(IntegerRows, WriteTextAndRefuseWhatTheRowCantHold) {
  const std::tuple<const char*, int64_t, const char*> cases[] = {
      {"unsignedByte", 255, "255"},
      {"unsignedByte", 300, "Value exceeds XML unsignedByte"},
      {"byte", -129, "Value exceeds XML byte"},
      {"short", -32768, "-32768"},
      {"unsignedShort", 65535, "65535"},
      {"unsignedInt", 4294967295, "4294967295"},
      {"unsignedLong", -1, "XML unsigned long can't < 0"},
      {"nonNegativeInteger", -1,
       "Value exceeds the range of XML nonNegativeInteger (0 -- 9223372036854775807)"},
      {"negativeInteger", 0,
       "Value exceeds the range of XML negativeInteger (-1 -- -9223372036854775808)"},
      {"nonPositiveInteger", 1,
       "Value exceeds the range of XML nonPositiveInteger (0 -- -9223372036854775808)"},
      {"positiveInteger", 0,
       "Value exceeds the range of XML nonPositiveInteger (1 -- 9223372036854775807)"},
      {"positiveInteger", INT64_MAX, "9223372036854775807"},
  };
  TypesHost host;
  for (const auto& [row, number, result] : cases) {
    std::string text;
    const std::optional<std::string> message = MessageOf(
        [&] { text = host.ToXml(row, Record(RowNamed(row).hostKind, Bits(number))).text; });
    EXPECT_EQ(message.value_or(text), result) << row;
  }
}

TEST(BooleanRow, ReadsFourWordsInAnyCaseAndWritesTwo) {
  TypesHost host;
  for (const char* text : {"TRUE", "True", "true", "1", "FaLsE", "0"}) {
    const HostValueRecord record = host.FromXml("boolean", text, Record(kHostBoolean, Bits(7)));
    EXPECT_EQ(record.value.uint16, text[0] == '0' || text[0] == 'F' ? 0 : 1) << text;
  }
  for (const char* text : {" true", "yes", "", "2"}) {
    EXPECT_EQ(MessageOf([&] { host.FromXml("boolean", text); }),
              "can't convert a number to boolean");
  }
  for (int64_t bits : {2, 0xFFFF}) {
    EXPECT_EQ(host.ToXml("boolean", Record(kHostBoolean, Bits(bits))).text, "true");
  }
  EXPECT_EQ(host.ToXml("boolean", Record(kHostBoolean, Bits(0))).text, "false");
}

}  // namespace
}  // namespace tssoap
