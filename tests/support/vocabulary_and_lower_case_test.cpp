// The SOAP vocabulary's namespace groups and constants, and LowerCaseText in the current locale.
#include <gtest/gtest.h>

#include <clocale>
#include <string>

#include "support/lower_case_text.h"
#include "support/soap_vocabulary.h"

namespace tssoap {
namespace {

TEST(NamespaceGroup, SchemaTypesUnderBothYearsAndTheEncodingBase64UnderTheEncodingOnly) {
  struct Case {
    const char* ns;
    bool inSchemaTypes;
    bool inEncodingOnly;
  };
  const Case cases[] = {
      {"http://www.w3.org/2001/XMLSchema", true, false},
      {"http://www.w3.org/2001/XMLSchema/", true, false},
      {"http://www.w3.org/1999/XMLSchema", true, false},
      {"http://www.w3.org/1999/XMLSchema/", true, false},
      {"http://schemas.xmlsoap.org/soap/encoding/", true, true},
      {"http://schemas.xmlsoap.org/soap/encoding", true, true},
      {"http://www.w3.org/2001/xmlschema", false, false},
      {"http://www.w3.org/2001/XMLSchema-instance", false, false},
      {"http://schemas.xmlsoap.org/soap/envelope/", false, false},
      {"", false, false},
      {nullptr, false, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.ns != nullptr ? c.ns : "(null)");
    EXPECT_EQ(NamespaceGroupContains(kSchemaTypes, c.ns), c.inSchemaTypes);
    EXPECT_EQ(NamespaceGroupContains(kSoapEncodingOnly, c.ns), c.inEncodingOnly);
  }
}

TEST(NamespaceGroup, ListsEndWithTheEmptyTextInTheirOrder) {
  const char* const* schema = NamespaceGroup(kSchemaTypes);
  const char* const expected[] = {kXsdNamespace1999Slash, kXsdNamespace1999, kXsdNamespace2001Slash,
                                  kXsdNamespace2001,      kSoapEncNamespace, kSoapEncNamespaceBare};
  for (size_t i = 0; i < std::size(expected); ++i) EXPECT_STREQ(schema[i], expected[i]);
  EXPECT_STREQ(schema[std::size(expected)], "");
  EXPECT_STREQ(NamespaceGroup(kSoapEncodingOnly)[2], "");
}

TEST(SoapVocabulary, ConstantsCarryTheirNamespaces) {
  const SoapVocabulary& v = Vocabulary();
  EXPECT_TRUE(v.arrayType == SOAPQName("arrayType", "http://schemas.xmlsoap.org/soap/encoding/"));
  EXPECT_TRUE(v.Array == SOAPQName("Array", kSoapEncNamespace));
  EXPECT_TRUE(v.Envelope == SOAPQName("Envelope", "http://schemas.xmlsoap.org/soap/envelope/"));
  EXPECT_TRUE(v.type == SOAPQName("type", "http://www.w3.org/2001/XMLSchema-instance"));
  // nil of the 1999 instance namespace is another key.
  EXPECT_FALSE(v.nil == SOAPQName("nil", "http://www.w3.org/1999/XMLSchema-instance"));
  EXPECT_EQ(&Vocabulary(), &v);
}

class LowerCaseTextTest : public ::testing::Test {
 protected:
  void TearDown() override { std::setlocale(LC_CTYPE, "C"); }
};

TEST_F(LowerCaseTextTest, FoldsAToZInTheCLocale) {
  std::setlocale(LC_CTYPE, "C");
  EXPECT_EQ(LowerCaseText("Tns__Address_9 X"), "tns__address_9 x");
  EXPECT_EQ(LowerCaseText(""), "");
  EXPECT_EQ(LowerCaseText("\xC9T\xC9"), "\xC9t\xC9");
  EXPECT_EQ(LowerCaseText(std::string_view("A\0B", 3)), std::string("a\0b", 3));
}

TEST_F(LowerCaseTextTest, FoldsCodePageLettersInASingleByteLocale) {
  if (std::setlocale(LC_CTYPE, "de_DE.iso88591") == nullptr &&
      std::setlocale(LC_CTYPE, "de_DE") == nullptr) {
    GTEST_SKIP() << "no Latin-1 locale on this machine";
  }
  EXPECT_EQ(LowerCaseText("\xC9T\xC9"), "\xE9t\xE9");
}

}  // namespace
}  // namespace tssoap
