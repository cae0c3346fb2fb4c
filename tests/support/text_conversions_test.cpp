#include "support/text_conversions.h"

#include <gtest/gtest.h>

#include <atomic>
#include <optional>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "common/environment_locale.h"

namespace tssoap {
namespace {

using test::EnvironmentLocale;

// Locale, host text, and its UTF-8 form (nothing: the host text can't be converted), which comes
// back as the host text.
TEST(TextConversions, FollowTheEnvironmentsCodePageBothWays) {
  const std::tuple<const char*, std::string, std::optional<std::string>> cases[] = {
      {"en_US.ISO-8859-1", "caf\xE9", "caf\xC3\xA9"},
      {"en_US.UTF-8", "\xE2\x82\xAC", "\xE2\x82\xAC"},
      {"en_US.UTF-8", "bad \xFF", std::nullopt},
      {"en_US.UTF-8", "cut \xC3", std::nullopt},
      // Beyond 16 bits: a surrogate pair, each unit in three bytes, and back to one character.
      {"en_US.UTF-8", "\xF0\x9F\x98\x80", "\xED\xA0\xBD\xED\xB8\x80"},
      {"en_US.UTF-8", "a\xF4\x8F\xBF\xBFz", "a\xED\xAF\xBF\xED\xBF\xBFz"}};
  for (const auto& [name, hostText, utf8] : cases) {
    SCOPED_TRACE(std::string(name) + " " + hostText);
    EnvironmentLocale locale(name);
    if (!locale.available) GTEST_SKIP() << name << " is not installed";
    EXPECT_EQ(HostTextToUtf8(hostText.c_str()), utf8);
    if (!utf8) continue;
    EXPECT_EQ(Utf8ToHostText(utf8->c_str()), hostText);
  }
  EnvironmentLocale latin1("en_US.ISO-8859-1");
  EXPECT_EQ(Utf8ToHostText("\xE2\x82\xAC"), std::nullopt);  // no euro sign in Latin-1
  EXPECT_EQ(Utf8ToHostText("\x80"), std::nullopt);          // nor a replacement character
}

TEST(TextConversions, FollowTheEnvironmentAndTheProcessLocaleFromCallToCall) {
  EnvironmentLocale latin1("en_US.ISO-8859-1");
  if (!latin1.available) GTEST_SKIP() << "en_US.ISO-8859-1 is not installed";
  EXPECT_EQ(HostTextToUtf8("\xE9"), "\xC3\xA9");
  // Someone else moves the process locale: the next conversion selects the code page again.
  std::setlocale(LC_ALL, "C");
  EXPECT_EQ(HostTextToUtf8("\xE9"), "\xC3\xA9");
  EXPECT_STRNE(std::setlocale(LC_ALL, nullptr), "C");
  // The environment changes: so does the code page.
  setenv("LC_ALL", "en_US.UTF-8", 1);
  EXPECT_EQ(HostTextToUtf8("\xE9"), std::nullopt);
  // A surrogate pair is one character on its way to the host; a lone one has no form.
  EXPECT_EQ(Ucs2ToHostText(u"\xD83D\xDE00"), "\xF0\x9F\x98\x80");
  EXPECT_EQ(Ucs2ToHostText(u"a\xD83D"), std::nullopt);
}

// Within a held scope the first conversion's code page stands, also when the environment changes
// behind it; the end of the outermost scope lets the next conversion look again. A scope made with
// false holds nothing.
TEST(TextConversions, AHeldScopeKeepsItsFirstSelectionUntilItEnds) {
  EnvironmentLocale latin1("en_US.ISO-8859-1");
  if (!latin1.available) GTEST_SKIP() << "en_US.ISO-8859-1 is not installed";
  {
    const HostCodePageHeld held;
    EXPECT_EQ(HostTextToUtf8("\xE9"), "\xC3\xA9");
    setenv("LC_ALL", "en_US.UTF-8", 1);
    {
      const HostCodePageHeld inner;
      EXPECT_EQ(Utf8ToHostText("\xC3\xA9"), "\xE9");
    }
    EXPECT_EQ(HostTextToUtf8("\xE9"), "\xC3\xA9");
  }
  EXPECT_EQ(HostTextToUtf8("\xE9"), std::nullopt);
  const HostCodePageHeld nothing(false);
  setenv("LC_ALL", "en_US.ISO-8859-1", 1);
  EXPECT_EQ(HostTextToUtf8("\xE9"), "\xC3\xA9");
}

// Scripts on several threads convert at once. A thread's first conversion selects the code page
// for the whole process while the other threads read the process locale's name; each round starts
// new threads, so that every round selects again.
TEST(TextConversions, ConvertOnManyThreadsAtOnce) {
  EnvironmentLocale latin1("en_US.ISO-8859-1");
  if (!latin1.available) GTEST_SKIP() << "en_US.ISO-8859-1 is not installed";
  for (int round = 0; round < 20; ++round) {
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 8; ++thread) {
      threads.emplace_back([&wrong] {
        for (int i = 0; i < 50; ++i) {
          if (HostTextToUtf8("caf\xE9") != "caf\xC3\xA9") ++wrong;
          if (Utf8ToHostText("caf\xC3\xA9") != "caf\xE9") ++wrong;
        }
      });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(wrong.load(), 0) << "round " << round;
  }
}

TEST(TextConversions, Ucs2AndUtf8GiveOneUnitPerSequence) {
  const std::pair<std::u16string, std::string> cases[] = {
      {u"", ""},
      {u"A\x7F", "A\x7F"},
      {u"\x80\x7FF", "\xC2\x80\xDF\xBF"},
      {u"\x800\xFFFF", "\xE0\xA0\x80\xEF\xBF\xBF"},
      {u"\xD83D", "\xED\xA0\xBD"}};  // a surrogate unit is three bytes of its own
  for (const auto& [units, utf8] : cases) {
    EXPECT_EQ(Ucs2ToUtf8(units.c_str()), utf8);
    EXPECT_EQ(Utf8ToUcs2(utf8.c_str()), units);
  }
  const std::pair<std::string, std::u16string> decoded[] = {
      {"\xF0\x9F\x98\x80", u"\xF600"},      // the low 16 bits of U+1F600
      {"\xF8\x88\x80\x80\x81", u"\x0001"},  // 5 and 6 bytes as the old definition gives them
      {"\xFC\x84\x80\x80\x81\x81", u"\x0041"},
      {"\x80x\xFE", u"\xFFFDx\xFFFD"},  // a byte that begins no sequence
      {"a\xE2\x82", u"a"}};             // the terminator inside a sequence ends the walk
  for (const auto& [utf8, units] : decoded) EXPECT_EQ(Utf8ToUcs2(utf8.c_str()), units);
  EXPECT_EQ(HostTextToUcs2(nullptr), std::nullopt);
  EXPECT_EQ(Ucs2ToHostText(nullptr), std::nullopt);
  EXPECT_EQ(Ucs2ToUtf8(nullptr), std::nullopt);
  EXPECT_EQ(Utf8ToUcs2(nullptr), std::nullopt);
}

}  // namespace
}  // namespace tssoap
