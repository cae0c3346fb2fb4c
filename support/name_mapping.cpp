#include "support/name_mapping.h"

#include <algorithm>
#include <array>

#include "support/lower_case_text.h"

namespace tssoap {
namespace {

constexpr std::string_view kReservedPrefix = "ws_";
constexpr std::string_view kClassNameSeparator = "__";

// The host language's keywords (alphabetical up to "within"), then "_debug", then the names of
// its data types: the generator of the proxies prefixes exactly these.
constexpr std::array<std::string_view, 124> kReservedWordsAsListed{"alias",
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
                                                                   "unsignedlong",
                                                                   "ulong",
                                                                   "longlong",
                                                                   "long",
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

// Sorted byte for byte once, at compile time, so that every lookup is a binary search and no
// field that crosses the border pays for building a set.
constexpr auto kReservedWords = [] {
  auto words = kReservedWordsAsListed;
  std::sort(words.begin(), words.end());
  return words;
}();

static_assert(std::adjacent_find(kReservedWords.begin(), kReservedWords.end()) ==
                  kReservedWords.end(),
              "every reserved word is listed once");

}  // namespace

std::string ToHostClassName(std::string_view typeName) {
  std::string_view head = typeName;
  std::string_view tail = typeName;
  if (size_t colon = typeName.find(':'); colon != std::string_view::npos) {
    head = typeName.substr(0, colon);
    tail = typeName.substr(colon + 1);
  }
  std::string name;
  name.reserve(head.size() + kClassNameSeparator.size() + tail.size());
  name.append(head).append(kClassNameSeparator).append(tail);
  return LowerCaseText(name);
}

bool ReservedWordSet::Contains(std::string_view lowerCaseWord) const {
  return std::binary_search(kReservedWords.begin(), kReservedWords.end(), lowerCaseWord);
}

size_t ReservedWordSet::Size() const { return kReservedWords.size(); }

std::string ReservedWordSet::MapFieldName(std::string_view name) const {
  if (!Contains(LowerCaseText(name))) return std::string(name);
  std::string mapped;
  mapped.reserve(kReservedPrefix.size() + name.size());
  mapped.append(kReservedPrefix).append(name);
  return mapped;
}

}  // namespace tssoap
