// The two rules that turn XML names into host names, shared with the proxy generator: a type name
// becomes a class name ("tns:Address" -> "tns__address"), a field name becomes an instance
// variable name (reserved words get "ws_" in front).
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tssoap {

// head "__" tail, lower-cased; head and tail split at the first ":", both the whole name when it
// has none ("Address" -> "address__address").
std::string ToHostClassName(std::string_view typeName);

// The host language's 124 reserved words, compared in lower case.
class ReservedWordSet {
 public:
  virtual ~ReservedWordSet() = default;
  bool Contains(std::string_view lowerCaseWord) const;
  // How many words the set holds.
  size_t Size() const;
  // name unchanged, or "ws_" + name when its lower-case form is reserved.
  std::string MapFieldName(std::string_view name) const;
};

}  // namespace tssoap
