// DecodeSoapArray: turns a SOAP 1.1 encoded array element (or the wrapper of a wrapped array) into
// one XmlTextView per slot. It reads structure only -- the array attributes and the order of the
// children -- and converts nothing; the row operations of the type table convert the items.
//
// Ownership: the element stays the caller's and is only read; the decoder fills the caller's
// XmlTextSlots with views of the children's texts, which live as long as the children (no text is
// copied). The first failure throws SOAPException and leaves what was placed so far in the slots,
// for the caller to discard.
#pragma once

#include <cstdint>
#include <optional>

#include "composite/xml_value.h"
#include "easysoap/soap_parameter.h"

namespace tssoap {

// Limits on the declared size (the number in "arrayType"), checked before any slot is allocated
// so that a few bytes of hostile XML ("xsd:string[4000000000]") can't claim gigabytes. A size
// beyond either limit, or a negative one, is refused like an unreadable dimension text.
//
// No array has more slots than this, whatever its children: it keeps every slot count and the
// doubling of the slot block far from the 32-bit limit.
inline constexpr uint32_t kMaxArraySlots = 16u * 1024u * 1024u;
// A declared size may exceed the number of children by at most this many slots. The slots no
// child fills are the ones a message gets for free (a sparse array, or one sent short of its
// size); slots that children fill cost the sender their bytes on the wire anyway.
inline constexpr uint32_t kMaxUnfilledSlots = 64u * 1024u;

// Reads a dimension text ("xsd:int[5]", "[5]", "[]") from its last "[" on. Returns the number, or
// nullopt for "[]". Anything else -- no "[", no digits, a character between the number and "]",
// anything behind the "]", a number that doesn't fit in 32 bits -- throws "Invalid value for
// array encoding tag '<attributeName>': <text>". The number may be negative: the caller decides.
std::optional<int64_t> ParseDimension(const char* text, const char* attributeName);

// Fills slots from parameter: one slot per declared item (arrayType), each child in document order
// at the next slot or at its own position, a nil child null, skipped slots left default (empty
// text, not null). slots must be empty on entry. Returns parameter.
//
// The array element's attributes and children are read through the value data in force; a
// child's position through the child's own value data.
const SOAPParameter& DecodeSoapArray(const SOAPParameter& parameter, XmlTextSlots& slots);

}  // namespace tssoap
