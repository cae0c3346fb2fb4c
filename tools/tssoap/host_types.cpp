#include "tools/tssoap/host_types.h"

#include <charconv>
#include <vector>

#include "tools/tssoap/message_text.h"

namespace tssoap::cli {
namespace {

// The tool takes each kind under its printed name only, so that what it prints reads back.
const std::vector<testhost::SimpleTypeName>& PrintedTypes() {
  static const std::vector<testhost::SimpleTypeName> printed = [] {
    std::vector<testhost::SimpleTypeName> types;
    for (const testhost::SimpleTypeName& type : testhost::SimpleTypeNames()) {
      if (type.printed) types.push_back(type);
    }
    return types;
  }();
  return printed;
}

bool IsLower(char c) { return c >= 'a' && c <= 'z'; }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }

}  // namespace

HostType HostType::Item() const {
  HostType item = *this;
  item.isArray = false;
  item.bounded = false;
  item.boundedLength = 0;
  return item;
}

std::string HostType::Name() const {
  std::string name = IsStructure() ? structure : std::string(SimpleTypeName(kind));
  if (!isArray) return name;
  // Appended piece by piece: GCC 12 warns (-Wrestrict, a false positive at -O3) about
  // "literal" + std::string.
  name += '[';
  if (bounded) name += std::to_string(boundedLength);
  name += ']';
  return name;
}

const char* SimpleTypeName(HostValueKind kind) {
  for (const testhost::SimpleTypeName& type : PrintedTypes()) {
    if (type.kind == kind) return type.name.data();
  }
  return nullptr;
}

std::optional<HostValueKind> SimpleTypeKind(std::string_view name) {
  for (const testhost::SimpleTypeName& type : PrintedTypes()) {
    if (type.name == name) return type.kind;
  }
  return std::nullopt;
}

const std::string& SimpleTypeNames() {
  static const std::string names =
      JoinedNames(PrintedTypes(), [](const testhost::SimpleTypeName& type) { return type.name; });
  return names;
}

bool IsHostName(std::string_view name) {
  if (name.empty() || IsDigit(name.front())) return false;
  for (char c : name) {
    if (!IsLower(c) && !IsDigit(c) && c != '_') return false;
  }
  return true;
}

std::optional<HostType> ParseHostType(std::string_view text, std::string* problem) {
  HostType type;
  std::string_view base = text;
  if (size_t open = text.find('['); open != std::string_view::npos) {
    base = text.substr(0, open);
    std::string_view bound = text.substr(open + 1);
    if (bound.empty() || bound.back() != ']') {
      *problem = "an array type ends in \"[]\" or \"[N]\"";
      return std::nullopt;
    }
    bound.remove_suffix(1);
    if (bound.find_first_of("[]") != std::string_view::npos) {
      *problem = "the host has no arrays of arrays";
      return std::nullopt;
    }
    type.isArray = true;
    if (!bound.empty()) {
      int32_t length = 0;
      auto [end, error] = std::from_chars(bound.data(), bound.data() + bound.size(), length);
      if (error != std::errc() || end != bound.data() + bound.size() || length < 1 ||
          length > kMaxBoundedLength || !IsDigit(bound.front())) {
        *problem = "the length of a bounded array is a whole number from 1 to " +
                   std::to_string(kMaxBoundedLength);
        return std::nullopt;
      }
      type.bounded = true;
      type.boundedLength = length;
    }
  }
  if (std::optional<HostValueKind> kind = SimpleTypeKind(base)) {
    type.kind = *kind;
    return type;
  }
  if (!IsHostName(base)) {
    *problem = base.empty() ? std::string("the type name is empty")
                            : Quoted(base) + " is neither a host type (" + SimpleTypeNames() +
                                  ") nor a structure class name (lower-case letters, digits, _)";
    return std::nullopt;
  }
  type.structure = std::string(base);
  return type;
}

testhost::FieldSpec ToFieldSpec(const std::string& name, const HostType& type) {
  testhost::FieldSpec field;
  field.name = name;
  field.kind = type.IsStructure() ? kHostUnknown : type.kind;
  field.isArray = type.isArray;
  field.isObject = type.IsStructure();
  field.className = type.structure;
  field.bounded = type.bounded;
  field.boundedLength = type.boundedLength;
  return field;
}

testhost::Value ArrayValueOf(const HostType& type, testhost::Value::Items items) {
  using testhost::Value;
  return type.IsStructure() ? Value::ObjectArray(type.structure, std::move(items), type.bounded)
                            : Value::Array(type.kind, std::move(items), type.bounded);
}

testhost::Value EmptyValueOf(const HostType& type) {
  using testhost::Value;
  if (type.isArray) {
    Value::Items items;
    if (type.bounded)
      items.resize(static_cast<size_t>(type.boundedLength), EmptyValueOf(type.Item()));
    return ArrayValueOf(type, std::move(items));
  }
  if (type.IsStructure()) return Value::NullObject(type.structure);
  if (type.kind == kHostAny) return Value::Any();
  return Value::Null(type.kind);
}

}  // namespace tssoap::cli
