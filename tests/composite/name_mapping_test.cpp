// The two rules that turn XML names into host names.
#include "composite/name_mapping.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace tssoap {
namespace {

TEST(ToHostClassName, PrefixAndLocalNameJoinedByTwoUnderscoresInLowerCase) {
  struct Case {
    const char* typeName;
    const char* className;
  };
  const Case cases[] = {
      {"tns:Address", "tns__address"},
      {"xsd:string", "xsd__string"},
      {"t2:Address", "t2__address"},
      {"Address", "address__address"},
      {"a:b:c", "a__b:c"},
      {":x", "__x"},
      {"x:", "x__"},
      {"", "__"},
      {"ns:My-Type.v2", "ns__my-type.v2"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(ToHostClassName(c.typeName), c.className) << c.typeName;
  }
}

TEST(MapFieldName, ReservedWordsGetThePrefixInTheirOwnCase) {
  struct Case {
    const char* field;
    const char* variable;
  };
  const Case cases[] = {
      {"end", "ws_end"},
      {"End", "ws_End"},
      {"endpoint", "endpoint"},
      {"ws_end", "ws_end"},
      {"date", "ws_date"},
      {"Type", "ws_Type"},
      {"string", "ws_string"},
      {"integer", "ws_integer"},
      {"long", "ws_long"},
      {"void", "ws_void"},
      {"selectblob", "ws_selectblob"},
      {"select", "select"},
      {"_debug", "ws__debug"},
      {"_DEBUG", "ws__DEBUG"},
      {"alias", "ws_alias"},
      {"within", "ws_within"},
      {"resultsets", "ws_resultsets"},
      {"street", "street"},
      {"", ""},
      {"end ", "end "},
  };
  ReservedWordSet words;
  for (const Case& c : cases) {
    EXPECT_EQ(words.MapFieldName(c.field), c.variable) << c.field;
  }
}

// The list is complete: exactly these 124 words are reserved, and no word near one of them.
TEST(ReservedWordSet, HoldsExactlyTheHostLanguagesWords) {
  const char* const words[] = {"alias",
                               "and",
                               "autoinstantiate",
                               "call",
                               "case",
                               "catch",
                               "choose",
                               "close",
                               "commit",
                               "connect",
                               "constant",
                               "continue",
                               "create",
                               "cursor",
                               "declare",
                               "delete",
                               "describe",
                               "descriptor",
                               "destroy",
                               "disconnect",
                               "do",
                               "dynamic",
                               "else",
                               "elseif",
                               "end",
                               "enumerated",
                               "event",
                               "execute",
                               "exit",
                               "external",
                               "false",
                               "fetch",
                               "first",
                               "for",
                               "forward",
                               "from",
                               "function",
                               "global",
                               "goto",
                               "halt",
                               "if",
                               "immediate",
                               "indirect",
                               "insert",
                               "into",
                               "intrinsic",
                               "is",
                               "last",
                               "library",
                               "loop",
                               "next",
                               "not",
                               "of",
                               "on",
                               "open",
                               "or",
                               "parent",
                               "post",
                               "prepare",
                               "private",
                               "privateread",
                               "privatewrite",
                               "procedure",
                               "protected",
                               "protectedread",
                               "protectedwrite",
                               "prototypes",
                               "public",
                               "readonly",
                               "ref",
                               "return",
                               "rollback",
                               "rpcfunc",
                               "selectblob",
                               "shared",
                               "static",
                               "step",
                               "subroutine",
                               "super",
                               "system",
                               "systemread",
                               "systemwrite",
                               "then",
                               "this",
                               "throw",
                               "throws",
                               "to",
                               "trigger",
                               "true",
                               "try",
                               "type",
                               "until",
                               "update",
                               "updateblob",
                               "using",
                               "variables",
                               "while",
                               "with",
                               "within",
                               "_debug",
                               "char",
                               "character",
                               "integer",
                               "int",
                               "unsignedinteger",
                               "unsignedint",
                               "uint",
                               "long",
                               "unsignedlong",
                               "ulong",
                               "longlong",
                               "boolean",
                               "real",
                               "double",
                               "string",
                               "blob",
                               "dec",
                               "decimal",
                               "date",
                               "time",
                               "datetime",
                               "resultset",
                               "resultsets",
                               "void"};
  ASSERT_EQ(std::size(words), 124u);
  ReservedWordSet set;
  std::set<std::string> listed(std::begin(words), std::end(words));
  ASSERT_EQ(listed.size(), 124u);
  for (const std::string& word : listed) {
    EXPECT_TRUE(set.Contains(word)) << word;
    // Only the whole word counts: its neighbours are reserved only when listed themselves.
    for (const std::string& near : {word + "x", word.substr(1), word.substr(0, word.size() - 1)}) {
      EXPECT_EQ(set.Contains(near), listed.count(near) == 1) << near;
    }
  }
  for (const char* notReserved : {"select", "ws_end", "", "a", "zzz", "End", "structure", "any"}) {
    EXPECT_FALSE(set.Contains(notReserved)) << notReserved;
  }
}

}  // namespace
}  // namespace tssoap
