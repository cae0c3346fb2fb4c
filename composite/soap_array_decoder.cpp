#include "composite/soap_array_decoder.h"

#include "support/ascii_chars.h"
#include "support/soap_vocabulary.h"
#include "support/values/soap_exception.h"
#include "support/values/soap_text.h"

namespace tssoap {

namespace {

constexpr const char* kInvalidDimension = "Invalid value for array encoding tag '%s': %s";

// A dimension number must be countable in 32 bits, signed or unsigned.
constexpr int64_t kLowestDimension = INT32_MIN;
constexpr int64_t kHighestDimension = UINT32_MAX;

[[noreturn]] void RefuseDimension(const char* text, const char* attributeName) {
  throw SOAPException(kInvalidDimension, attributeName, text != nullptr ? text : "");
}

// The attribute keys, with their hash codes worked out once rather than for every child.
struct ArrayAttributeKeys {
  const SOAPQName& nil;
  const SOAPQName& arrayType;
  const SOAPQName& offset;
  const SOAPQName& position;
  uint32_t nilHash;
  uint32_t arrayTypeHash;
  uint32_t offsetHash;
  uint32_t positionHash;

  explicit ArrayAttributeKeys(const SoapVocabulary& v)
      : nil(v.nil),
        arrayType(v.arrayType),
        offset(v.offset),
        position(v.position),
        nilHash(v.nil.Hash()),
        arrayTypeHash(v.arrayType.Hash()),
        offsetHash(v.offset.Hash()),
        positionHash(v.position.Hash()) {}
};

const ArrayAttributeKeys& Keys() {
  static const ArrayAttributeKeys keys(Vocabulary());
  return keys;
}

// The text of an attribute, or null when the element lacks it. An attribute's text is the name
// part of its value; the namespace part belongs to QName-valued attributes and isn't looked at.
const char* FindAttributeText(const SOAPParameter::Attributes& attributes, const SOAPQName& key,
                              uint32_t hash) {
  auto found = attributes.Find(key, hash);
  if (found == attributes.End()) return nullptr;
  return found.Value().GetName().CStr();
}

// The declared size, refused before anything is allocated when it is negative or beyond the
// limits of the header: a hostile size must not reach the allocator.
uint32_t DeclaredSize(int64_t number, uint32_t childCount, const char* text) {
  const char* name = Keys().arrayType.GetName().CStr();
  if (number < 0 || number > int64_t{kMaxArraySlots}) RefuseDimension(text, name);
  if (number > int64_t{childCount} + int64_t{kMaxUnfilledSlots}) RefuseDimension(text, name);
  return static_cast<uint32_t>(number);
}

[[noreturn]] void RefusePosition(uint32_t size, uint32_t requested) {
  throw SOAPException(
      "Error decoding array, position out of range. Current size: [%d], requested position: [%d]",
      static_cast<int>(size), static_cast<int>(requested));
}

// The slot of a child that names its position. Positions only move forward.
uint32_t PositionedSlot(const char* text, uint32_t current, uint32_t size) {
  std::optional<int64_t> number = ParseDimension(text, Keys().position.GetName().CStr());
  // "[]" names no slot at all. It can't be honoured, and an unsigned reading of "no number" lies
  // beyond every slot: it is refused as out of range, the requested position shown as -1.
  if (!number) RefusePosition(size, UINT32_MAX);
  // Compared unsigned, as a sender that wrote "[-1]" would have it counted: far behind the end.
  auto next = static_cast<uint32_t>(*number);
  if (next < current) {
    throw SOAPException(
        "Error decoding array, position attribute cannot point to a previous element. Current "
        "position: [%d], next position: [%d]",
        static_cast<int>(current), static_cast<int>(next));
  }
  if (next >= size) RefusePosition(size, next);
  return next;
}

}  // namespace

std::optional<int64_t> ParseDimension(const char* text, const char* attributeName) {
  const char* open = SOAPText::FindLast(text, '[');
  if (open == nullptr) RefuseDimension(text, attributeName);
  const char* p = open + 1;
  if (*p == ']') return std::nullopt;

  // Optional white space, an optional sign, decimal digits; with no digits the reading stops on
  // the character behind the "[", which is then never the "]".
  const char* start = p;
  while (IsAsciiSpace(*p)) ++p;
  bool negative = false;
  if (*p == '+' || *p == '-') negative = *p++ == '-';
  const char* digits = p;
  int64_t magnitude = 0;
  for (; *p >= '0' && *p <= '9'; ++p) {
    magnitude = magnitude * 10 + (*p - '0');
    if (magnitude > kHighestDimension + 1) RefuseDimension(text, attributeName);
  }
  const char* end = p == digits ? start : p;
  if (end[0] != ']' || end[1] != '\0') RefuseDimension(text, attributeName);

  int64_t number = negative ? -magnitude : magnitude;
  if (number < kLowestDimension || number > kHighestDimension) {
    RefuseDimension(text, attributeName);
  }
  return number;
}

const SOAPParameter& DecodeSoapArray(const SOAPParameter& parameter, XmlTextSlots& slots) {
  const ArrayAttributeKeys& keys = Keys();
  const SOAPParameter::Data& value = parameter.GetValue();
  const SOAPParameter::Children& children = value.children;
  const uint32_t childCount = children.Size();

  if (FindAttributeText(value.attributes, keys.nil, keys.nilHash) != nullptr) {
    if (childCount != 0) {
      throw SOAPException("%s", "Got xsi:nil attribute on array but parameter has values..");
    }
    slots.Resize(0);
    return parameter;
  }

  uint32_t size = childCount;
  if (const char* text = FindAttributeText(value.attributes, keys.arrayType, keys.arrayTypeHash)) {
    std::optional<int64_t> declared = ParseDimension(text, keys.arrayType.GetName().CStr());
    if (declared) size = DeclaredSize(*declared, childCount, text);
  }
  if (childCount > size) {
    throw SOAPException(
        "Error de-serializing array.  Too many values in array.  Array specified %u, found %u.",
        size, childCount);
  }

  uint32_t current = 0;
  if (const char* text = FindAttributeText(value.attributes, keys.offset, keys.offsetHash)) {
    std::optional<int64_t> start = ParseDimension(text, keys.offset.GetName().CStr());
    // Unsigned, like every position: a negative offset leaves no slot for an unplaced child.
    if (start) current = static_cast<uint32_t>(*start);
  }

  slots.Resize(size);

  for (const SOAPParameter* child : children) {
    const char* position =
        FindAttributeText(child->GetOwnValue().attributes, keys.position, keys.positionHash);
    if (position != nullptr) {
      current = PositionedSlot(position, current, size);
    } else if (current >= size) {
      // An unplaced child behind the last slot, after an offset or a position that used the
      // slots up: nothing may be written behind the size, so it counts as out of range.
      RefusePosition(size, current);
    }
    slots[current] = XmlTextView::Of(*child);
    ++current;
  }
  return parameter;
}

}  // namespace tssoap
