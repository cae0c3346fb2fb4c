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

std::string Applied(void (*step)(std::string&), std::string text) {
  step(text);
  return text;
}

TEST(TextSteps, RewriteAsTheirRowsNeed) {
  const struct {
    void (*step)(std::string&);
    const char* in;
    const char* out;
  } cases[] = {
      {&NormalizeWhitespace, "a\r\nb", "a  b"},
      {&NormalizeWhitespace, "  a\tb", "  a b"},
      {&CollapseWhitespace, "  a \t b  ", "a b"},
      {&CollapseWhitespace, "   ", " "},
      {&CollapseWhitespace, "", ""},
      {&CollapseWhitespace, "\r\n", " "},
      {&CollapseWhitespace, "  a   b  ", "a b"},
      {&GMonthForm, "05", "--05--"},
      {&GMonthForm, "--05--", "--05--"},
      {&GMonthForm, "05--", "--05--"},
      {&GMonthForm, "--05", "--05--"},
      {&GMonthDayForm, "05-14", "--05-14"},
      {&GMonthDayForm, "--05-14", "--05-14"},
      {&GDayForm, "14", "---14"},
      {&GDayForm, "---14", "---14"},
      {&GDayForm, "-", "-"},
      {&GMonthForm, "", ""},
      {&GMonthForm, "--", "--"},
      {&EscapeUriSpaces, "a b c", "a%20b%20c"},
      {&EscapeUriSpaces, "a%2Fb", "a%2Fb"},
      {&UnescapeUriSpaces, "%20%20", "  "},
      {&UnescapeUriSpaces, "a%2520b", "a%2520b"},
      {&UnescapeUriSpaces, "%2%20", "%2 "},
  };
  for (const auto& c : cases) EXPECT_EQ(Applied(c.step, c.in), c.out) << c.in;
}

struct RowTextCase {
  const char* row;
  const char* hostText;
  const char* wireText;
};

TEST(StringRows, ApplyTheirStepOnTheWayOutOnly) {
  const RowTextCase out[] = {
      {"string", "  a \t b  ", "  a \t b  "},
      {"normalizedString", "  a\r\nb", "  a  b"},
      {"token", "  a \t b  ", "a b"},
      {"token", "   ", " "},
      {"gYear", "abc", "abc"},
      {"gYearMonth", "2003-07", "2003-07"},
      {"gMonth", "--05", "--05--"},
      {"gMonthDay", "05-14", "--05-14"},
      {"gDay", "14", "---14"},
      {"anyURI", "a b c", "a%20b%20c"},
      {"QName", "tns:x", "tns:x"},
      {"NMTOKENS", "  a   b  ", "a b"},
      {"IDREFS", "  a   b  ", "a b"},
      {"string", "", ""},
  };
  TypesHost host;
  for (const RowTextCase& c : out) {
    XmlValueText value = host.ToXml(c.row, Record(kHostString, host.StringValue(c.hostText)));
    EXPECT_FALSE(value.isNull) << c.row;
    EXPECT_EQ(value.text, c.wireText) << c.row << " '" << c.hostText << "'";
  }
  const RowTextCase in[] = {
      {"token", "  a  ", "  a  "},         {"Name", "  a  ", "  a  "},
      {"gMonthDay", "--05-14", "--05-14"}, {"anyURI", "a b c", "a%20b%20c"},
      {"anyURI", "a%2Fb", "a%2Fb"},        {"string", "", ""},
  };
  for (const RowTextCase& c : in) {
    HostValueRecord record = host.FromXml(c.row, c.wireText);
    EXPECT_EQ(record.kind, kHostString);
    EXPECT_EQ(host.runtime.StringText(record.value.handle), c.hostText) << c.row;
  }
}

TEST(StringRows, ReportTextsWithoutACodePageFormByRow) {
  types_test::EnvironmentLocale locale("en_US.ISO-8859-1");
  if (!locale.Available()) GTEST_SKIP() << "en_US.ISO-8859-1 is not installed";
  TypesHost host;
  const std::pair<const char*, const char*> cases[] = {
      {"string", "Can't convert UCS2 to DBCS"},
      {"QName", "Can't convert UCS2 to DBCS"},
      {"NOTATION", "Can't convert UCS2 to DBCS"},
      {"token", "Internal Error with Tessaro SoapClient"},
      {"anyURI", "Internal Error with Tessaro SoapClient"},
      {"gDay", "Internal Error with Tessaro SoapClient"},
  };
  for (const auto& [row, message] : cases) {
    EXPECT_EQ(MessageOf([&] { host.FromXml(row, "\xE2\x82\xAC"); }), message) << row;
  }
  // Latin-1 text goes out as UTF-8 and comes back as it was.
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
