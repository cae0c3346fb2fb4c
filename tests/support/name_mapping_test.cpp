// The two rules that turn XML names into host names.
#include "support/name_mapping.h"

#include <gtest/gtest.h>

#include <string>

namespace tssoap {
namespace {

TEST(ToHostClassName, PrefixAndLocalNameJoinedByTwoUnderscoresInLowerCase) {
  const struct {
    const char* typeName;
    const char* className;
  } cases[] = {{"tns:Address", "tns__address"},
               {"Address", "address__address"},
               {"a:b:c", "a__b:c"},
               {":x", "__x"},
               {"x:", "x__"},
               {"", "__"}};
  for (const auto& c : cases) EXPECT_EQ(ToHostClassName(c.typeName), c.className) << c.typeName;
}

// Words from each part of the list (keywords, "_debug", the data types' names, first and last),
// and near misses: only the whole word counts, whatever its case.
TEST(ReservedWordSet, PrefixesExactlyTheReservedWordsInTheirOwnCase) {
  const ReservedWordSet words;
  for (const std::string word :
       {"alias", "End", "within", "_DEBUG", "char", "unsignedInt", "void", "resultsets"}) {
    EXPECT_EQ(words.MapFieldName(word), "ws_" + word);
  }
  for (const std::string word : {"endpoint", "ws_end", "select", "resultse", "", "end ", "any"}) {
    EXPECT_EQ(words.MapFieldName(word), word);
  }
  EXPECT_EQ(words.Size(), 124u);
  // The set is asked in lower case: it doesn't fold case itself.
  EXPECT_TRUE(words.Contains("selectblob"));
  EXPECT_FALSE(words.Contains("SelectBlob"));
}

}  // namespace
}  // namespace tssoap
