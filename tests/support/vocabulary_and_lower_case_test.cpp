// The SOAP vocabulary's namespace groups, and LowerCaseText in the current locale.
#include <gtest/gtest.h>

#include <clocale>
#include <string>
#include <tuple>

#include "support/lower_case_text.h"
#include "support/soap_vocabulary.h"

namespace tssoap {
namespace {

// Namespace, in the schema types group, in the encoding-only group.
TEST(NamespaceGroup, SchemaTypesUnderBothYearsAndTheEncodingBase64UnderTheEncodingOnly) {
  const std::tuple<const char*, bool, bool> cases[] = {
      {"http://www.w3.org/2001/XMLSchema", true, false},
      {"http://www.w3.org/1999/XMLSchema/", true, false},
      {"http://schemas.xmlsoap.org/soap/encoding/", true, true},
      {"http://schemas.xmlsoap.org/soap/encoding", true, true},
      {"http://www.w3.org/2001/xmlschema", false, false},
      {"http://www.w3.org/2001/XMLSchema-instance", false, false},
      {"", false, false},
      {nullptr, false, false},
  };
  for (const auto& [ns, inSchemaTypes, inEncodingOnly] : cases) {
    SCOPED_TRACE(ns != nullptr ? ns : "(null)");
    EXPECT_EQ(NamespaceGroupContains(kSchemaTypes, ns), inSchemaTypes);
    EXPECT_EQ(NamespaceGroupContains(kSoapEncodingOnly, ns), inEncodingOnly);
  }
}

// A to Z always; the code page's own letters only in a locale that has them.
TEST(LowerCaseText, FoldsLettersOfTheCurrentLocale) {
  std::setlocale(LC_CTYPE, "C");
  EXPECT_EQ(LowerCaseText("Tns__Address_9 X"), "tns__address_9 x");
  EXPECT_EQ(LowerCaseText("\xC9T\xC9"), "\xC9t\xC9");
  EXPECT_EQ(LowerCaseText(std::string_view("A\0B", 3)), std::string("a\0b", 3));
  if (std::setlocale(LC_CTYPE, "de_DE.iso88591") == nullptr &&
      std::setlocale(LC_CTYPE, "de_DE") == nullptr) {
    GTEST_SKIP() << "no Latin-1 locale on this machine";
  }
  EXPECT_EQ(LowerCaseText("\xC9T\xC9"), "\xE9t\xE9");
  std::setlocale(LC_CTYPE, "C");
}

}  // namespace
}  // namespace tssoap
