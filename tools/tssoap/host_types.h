// HostType: a host type as a proxy file names it: one of the runtime's simple types ("long",
// "string", ...), a structure class ("tns__pair"), or an array of either, unbounded ("long[]") or
// bounded ("long[3]"). It is what the tool needs to declare a field, an argument or a result at the
// reference host. Plain value type; reading a name doesn't check that a structure exists, the proxy
// file does that.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "testhost/testhost.h"

namespace tssoap::cli {

struct HostType {
  HostValueKind kind = kHostUnknown;  // a simple type; kHostUnknown for a structure
  std::string structure;              // the structure class name; empty for a simple type
  bool isArray = false;
  bool bounded = false;       // arrays: a bounded array of boundedLength items
  int32_t boundedLength = 0;  // arrays: 1 and up when bounded

  bool IsStructure() const { return !structure.empty(); }
  // The type of one item of an array (the type itself for a scalar).
  HostType Item() const;
  // The name as a proxy file writes it: "long", "tns__pair[]", "string[3]".
  std::string Name() const;
  bool operator==(const HostType&) const = default;
};

// The largest bounded array a proxy file may declare; the host holds every item from the start.
inline constexpr int32_t kMaxBoundedLength = 1 << 20;

// The host name of a simple kind ("long"), or nullptr for a kind that has none.
const char* SimpleTypeName(HostValueKind kind);
// The kind of a simple type name; nullopt for any other name (a structure, or no type at all).
std::optional<HostValueKind> SimpleTypeKind(std::string_view name);
// The simple type names, comma-separated, for messages.
const std::string& SimpleTypeNames();

// True for a name the host accepts for a class, a variable or a field: lower-case letters,
// digits and "_", not starting with a digit.
bool IsHostName(std::string_view name);

// Reads a type name. On failure returns nullopt and says why in *problem (one sentence, no place).
std::optional<HostType> ParseHostType(std::string_view text, std::string* problem);

// The declaration of an instance variable of this type.
testhost::FieldSpec ToFieldSpec(const std::string& name, const HostType& type);

// An array value of the type (its item kind or class) holding items.
testhost::Value ArrayValueOf(const HostType& type, testhost::Value::Items items);

// The value the host gives a result before the call, and an out-only argument: null of the type;
// for an array, an empty array (a bounded one holds boundedLength null items).
testhost::Value EmptyValueOf(const HostType& type);

}  // namespace tssoap::cli
