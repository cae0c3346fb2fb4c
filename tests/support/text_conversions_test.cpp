#include "support/text_conversions.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <optional>
#include <string>

namespace tssoap {
namespace {

// Runs a test under an environment whose locale is `name`, and puts the environment and the
// process locale back afterwards.
class EnvironmentLocale {
 public:
  explicit EnvironmentLocale(const char* name) {
    const char* old = std::getenv("LC_ALL");
    if (old != nullptr) saved_ = old;
    setenv("LC_ALL", name, 1);
    available_ = std::setlocale(LC_ALL, "") != nullptr;
  }
  ~EnvironmentLocale() {
    if (saved_) {
      setenv("LC_ALL", saved_->c_str(), 1);
    } else {
      unsetenv("LC_ALL");
    }
    std::setlocale(LC_ALL, "C");
  }
  bool Available() const { return available_; }

 private:
  std::optional<std::string> saved_;
  bool available_ = false;
};

struct CodePageCase {
  const char* locale;
  std::string hostText;
  std::optional<std::string> utf8;  // nothing: the host text can't be converted
};

TEST(TextConversions, HostTextToUtf8FollowsTheEnvironmentsCodePage) {
  const CodePageCase cases[] = {
      {"en_US.ISO-8859-1", "caf\xE9", "caf\xC3\xA9"},
      {"en_US.ISO-8859-1", "\xFF", "\xC3\xBF"},
      {"en_US.UTF-8", "caf\xC3\xA9", "caf\xC3\xA9"},
      {"en_US.UTF-8", "\xE2\x82\xAC", "\xE2\x82\xAC"},
      {"en_US.UTF-8", "", ""},
      {"en_US.UTF-8", "bad \xFF byte", std::nullopt},
      {"en_US.UTF-8", "cut \xC3", std::nullopt},
      // Beyond 16 bits: refused rather than cut.
      {"en_US.UTF-8", "\xF0\x9F\x98\x80", std::nullopt},
  };
  for (const CodePageCase& c : cases) {
    EnvironmentLocale locale(c.locale);
    if (!locale.Available()) GTEST_SKIP() << c.locale << " is not installed";
    EXPECT_EQ(HostTextToUtf8(c.hostText.c_str()), c.utf8) << c.locale << " " << c.hostText;
  }
}

TEST(TextConversions, Utf8ToHostTextFollowsTheEnvironmentsCodePage) {
  struct Case {
    const char* locale;
    std::string utf8;
    std::optional<std::string> hostText;  // nothing: a character has no form in the code page
  };
  const Case cases[] = {
      {"en_US.ISO-8859-1", "caf\xC3\xA9", "caf\xE9"},
      {"en_US.UTF-8", "caf\xC3\xA9", "caf\xC3\xA9"},
      {"en_US.ISO-8859-1", "", ""},
      {"en_US.ISO-8859-1", "\xE2\x82\xAC", std::nullopt},
      {"en_US.ISO-8859-1", "\x80", std::nullopt},  // the replacement unit has no Latin-1 form
  };
  for (const Case& c : cases) {
    EnvironmentLocale locale(c.locale);
    if (!locale.Available()) GTEST_SKIP() << c.locale << " is not installed";
    EXPECT_EQ(Utf8ToHostText(c.utf8.c_str()), c.hostText) << c.locale << " " << c.utf8;
  }
}

TEST(TextConversions, Ucs2ToHostTextJoinsSurrogatePairsAndRefusesLoneOnes) {
  EnvironmentLocale locale("en_US.UTF-8");
  if (!locale.Available()) GTEST_SKIP() << "en_US.UTF-8 is not installed";
  EXPECT_EQ(Ucs2ToHostText(u"\xD83D\xDE00"), "\xF0\x9F\x98\x80");
  EXPECT_EQ(Ucs2ToHostText(u"a\xD83D"), std::nullopt);
  EXPECT_EQ(Ucs2ToHostText(u"\xDE00"), std::nullopt);
}

TEST(TextConversions, FollowTheEnvironmentAndTheProcessLocaleFromCallToCall) {
  EnvironmentLocale latin1("en_US.ISO-8859-1");
  if (!latin1.Available()) GTEST_SKIP() << "en_US.ISO-8859-1 is not installed";
  EXPECT_EQ(HostTextToUtf8("\xE9"), "\xC3\xA9");
  // Someone else moves the process locale: the next conversion selects the code page again.
  std::setlocale(LC_ALL, "C");
  EXPECT_EQ(HostTextToUtf8("\xE9"), "\xC3\xA9");
  EXPECT_STRNE(std::setlocale(LC_ALL, nullptr), "C");
  // The environment changes: so does the code page.
  setenv("LC_ALL", "en_US.UTF-8", 1);
  EXPECT_EQ(HostTextToUtf8("\xE9"), std::nullopt);
  EXPECT_EQ(HostTextToUtf8("\xC3\xA9"), "\xC3\xA9");
}

TEST(TextConversions, NothingGivesNothing) {
  EXPECT_EQ(HostTextToUcs2(nullptr), std::nullopt);
  EXPECT_EQ(Ucs2ToHostText(nullptr), std::nullopt);
  EXPECT_EQ(Ucs2ToUtf8(nullptr), std::nullopt);
  EXPECT_EQ(Utf8ToUcs2(nullptr), std::nullopt);
}

TEST(TextConversions, Ucs2ToUtf8EncodesEachUnitByItself) {
  const std::pair<std::u16string, std::string> cases[] = {
      {u"", ""},
      {u"A\x7F", "A\x7F"},
      {u"\x80", "\xC2\x80"},
      {u"\x7FF", "\xDF\xBF"},
      {u"\x800", "\xE0\xA0\x80"},
      {u"\xFFFF", "\xEF\xBF\xBF"},
      {u"\xE9", "\xC3\xA9"},
      // A surrogate unit is three bytes of its own; a pair gives six.
      {u"\xD83D\xDE00", "\xED\xA0\xBD\xED\xB8\x80"},
  };
  for (const auto& [units, utf8] : cases) EXPECT_EQ(Ucs2ToUtf8(units.c_str()), utf8) << utf8;
}

TEST(TextConversions, Utf8ToUcs2GivesOneUnitPerSequence) {
  const std::pair<std::string, std::u16string> cases[] = {
      {"", u""},
      {"abc", u"abc"},
      {"\xC3\xA9", u"\xE9"},
      {"\xE2\x82\xAC", u"\x20AC"},
      // A 4-byte sequence keeps the low 16 bits of its code point (U+1F600).
      {"\xF0\x9F\x98\x80", u"\xF600"},
      // 5 and 6 bytes are decoded as the old definition gives them.
      {"\xF8\x88\x80\x80\x81", u"\x0001"},
      {"\xFC\x84\x80\x80\x81\x81", u"\x0041"},
      // Bytes that begin no sequence use one byte and give one replacement unit.
      {"\x80x", u"\xFFFDx"},
      {"\xFE\xFF", u"\xFFFD\xFFFD"},
      // The terminator ends the walk inside a sequence.
      {"a\xE2\x82", u"a"},
  };
  for (const auto& [utf8, units] : cases) {
    std::optional<std::u16string> result = Utf8ToUcs2(utf8.c_str());
    ASSERT_TRUE(result.has_value()) << utf8;
    EXPECT_EQ(*result, units) << utf8;
  }
}

}  // namespace
}  // namespace tssoap
