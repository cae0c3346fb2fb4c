// Small text helpers that the tool's messages and printouts share: quoting, name lists, JSON as
// one line, and line-by-line walks. Plain functions, nothing kept.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

namespace tssoap::cli {

// Built by appending: GCC 12 warns (-Wrestrict, a false positive at -O3) about "literal" +
// std::string.
inline std::string Quoted(std::string_view text) {
  std::string quoted(1, '"');
  quoted.append(text);
  quoted += '"';
  return quoted;
}

// "a, b, c" from the names that name(item) gives.
template <typename Items, typename Name>
std::string JoinedNames(const Items& items, Name name) {
  std::string joined;
  for (const auto& item : items) joined += (joined.empty() ? "" : ", ") + std::string(name(item));
  return joined;
}

// One line of JSON; text that isn't UTF-8 is shown with replacement characters, not thrown on.
inline std::string DumpJson(const nlohmann::ordered_json& json) {
  return json.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

// What a JSON value is, for "expected ..., not an array": "null", "a string", "an object".
inline std::string JsonKind(const nlohmann::ordered_json& json) {
  if (json.is_null()) return "null";
  std::string name = json.type_name();
  return (name[0] == 'a' || name[0] == 'o' ? "an " : "a ") + name;
}

// Calls line(text) for each line of text, without its "\n"; a last line needs none.
template <typename Line>
void ForEachLine(std::string_view text, Line line) {
  while (!text.empty()) {
    size_t end = text.find('\n');
    line(text.substr(0, end));
    if (end == std::string_view::npos) break;
    text.remove_prefix(end + 1);
  }
}

}  // namespace tssoap::cli
