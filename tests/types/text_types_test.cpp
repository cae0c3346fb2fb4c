// The string-kind rows: white space, partial-date forms, URI spaces, and the code-page pipeline
// with its two messages.
#include "types/text_types.h"

#include <gtest/gtest.h>

#include "types/partial_types.h"
#include "types_test_support.h"

namespace tssoap {
namespace {

using types_test::MessageOf;
using types_test::Record;
using types_test::TypesHost;

TEST(TextSteps, RewriteAsTheirRowsNeed) {
  const std::tuple<void (*)(std::string&), const char*, const char*> cases[] = {
      {&NormalizeWhitespace, "  a\r\nb\t", "  a  b "},
      {&CollapseWhitespace, "  a \t b  ", "a b"},
      {&CollapseWhitespace, "   ", " "},
      {&CollapseWhitespace, "", ""},
      {&GMonthForm, "05", "--05--"},
      {&GMonthForm, "05--", "--05--"},
      {&GMonthForm, "--05", "--05--"},
      {&GMonthForm, "--", "--"},
      {&GMonthDayForm, "05-14", "--05-14"},
      {&GMonthDayForm, "--05-14", "--05-14"},
      {&GDayForm, "14", "---14"},
      {&GDayForm, "-", "-"},
      {&EscapeUriSpaces, "a b%2F", "a%20b%2F"},
      {&UnescapeUriSpaces, "%20%20", "  "},
      {&UnescapeUriSpaces, "%2%20%2520", "%2 %2520"}};
  for (const auto& [step, in, out] : cases) {
    std::string text = in;
    step(text);
    EXPECT_EQ(text, out) << in;
  }
}

TEST(StringRows, ApplyTheirStepOnTheWayOutOnly) {
  TypesHost host;
  const std::tuple<const char*, const char*, const char*> out[] = {
      {"string", "  a \t b  ", "  a \t b  "},
      {"normalizedString", "  a\r\nb", "  a  b"},
      {"token", "  a \t b  ", "a b"},
      {"gYearMonth", "2003-07", "2003-07"},
      {"gMonth", "--05", "--05--"},
      {"gMonthDay", "05-14", "--05-14"},
      {"gDay", "14", "---14"},
      {"anyURI", "a b c", "a%20b%20c"},
      {"QName", "tns:x", "tns:x"},
      {"IDREFS", "  a   b  ", "a b"},
      {"string", "", ""}};
  for (const auto& [row, hostText, wireText] : out) {
    const XmlValueText value = host.ToXml(row, Record(kHostString, host.StringValue(hostText)));
    EXPECT_FALSE(value.isNull);
    EXPECT_EQ(value.text, wireText) << row;
  }
  const std::tuple<const char*, const char*, const char*> in[] = {
      {"token", "  a  ", "  a  "},
      {"gMonthDay", "--05-14", "--05-14"},
      {"anyURI", "a%20b", "a b"},
      {"anyURI", "a%2Fb", "a%2Fb"},
      {"string", "", ""}};
  for (const auto& [row, wireText, hostText] : in) {
    const HostValueRecord record = host.FromXml(row, wireText);
    EXPECT_EQ(record.kind, kHostString);
    EXPECT_EQ(host.runtime.StringText(record.value.handle), hostText) << row;
  }
}

TEST(StringRows, ReportTextsWithoutACodePageFormByRow) {
  types_test::EnvironmentLocale locale("en_US.ISO-8859-1");
  if (!locale.Available()) GTEST_SKIP() << "en_US.ISO-8859-1 is not installed";
  TypesHost host;
  for (const char* row : {"string", "QName", "NOTATION"}) {
    EXPECT_EQ(MessageOf([&] { host.FromXml(row, "\xE2\x82\xAC"); }), "Can't convert UCS2 to DBCS");
  }
  for (const char* row : {"token", "anyURI", "gDay", "ENTITIES"}) {
    EXPECT_EQ(MessageOf([&] { host.FromXml(row, "\xE2\x82\xAC"); }),
              "Internal Error with Tessaro SoapClient");
  }
  EXPECT_EQ(host.ToXml("string", Record(kHostString, host.StringValue("caf\xE9"))).text,
            "caf\xC3\xA9");
  EXPECT_EQ(host.runtime.StringText(host.FromXml("string", "caf\xC3\xA9").value.handle), "caf\xE9");
}

TEST(StringRows, ReportHostTextsWithoutAUnicodeForm) {
  types_test::EnvironmentLocale locale("C.UTF-8");
  TypesHost host;
  EXPECT_EQ(
      MessageOf([&] { host.ToXml("token", Record(kHostString, host.StringValue("bad \xFF"))); }),
      "Can't convert DBCS to UCS");
}

}  // namespace
}  // namespace tssoap
