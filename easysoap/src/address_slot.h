// Small tables that remember things by where they lie (a text met at an address lately) pick the
// slot of an address here.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

namespace easysoap_internal {

// An address mixed into a further mix (Fibonacci hashing): the texts of an array of like records
// lie a power of two apart, and their low bits alone would crowd into a few slots.
inline uint64_t MixAddress(const void* address, uint64_t mixed = 0) {
  return (mixed ^ static_cast<uint64_t>(reinterpret_cast<uintptr_t>(address))) *
         0x9E3779B97F4A7C15ull;
}

// Two different slots among 2^bits slots, from different bits of a mix: for a table whose
// entries may lie in either place.
inline std::pair<size_t, size_t> SlotsOfMix(uint64_t mixed, int bits) {
  const size_t mask = (size_t{1} << bits) - 1;
  const auto first = static_cast<size_t>(mixed >> (64 - bits));
  const auto second = static_cast<size_t>(mixed >> (64 - 2 * bits)) & mask;
  return {first, second != first ? second : (first + 1) & mask};
}
inline std::pair<size_t, size_t> AddressSlots(const void* address, int bits) {
  return SlotsOfMix(MixAddress(address), bits);
}

// The slot of a table of 2^bits slots (see TwoWaySlot) that holds address, or null.
template <typename Slot, typename KeyOf>
Slot* FindTwoWay(Slot* slots, int bits, const void* address, KeyOf keyOf) {
  const auto [first, second] = AddressSlots(address, bits);
  if (keyOf(slots[first]) == address) return &slots[first];
  if (keyOf(slots[second]) == address) return &slots[second];
  return nullptr;
}

// The slot for address in a table of 2^bits slots where an address may lie in either of its two
// slots (AddressSlots): the one that holds it (found), else an empty one of the two, else its
// first, whose entry moves on to its own other slot when that one is empty. Two addresses that
// share a slot so no longer push each other out every time. keyOf reads the address a slot holds
// (null for none).
template <typename Slot, typename KeyOf>
Slot& TwoWaySlot(Slot* slots, int bits, const void* address, KeyOf keyOf, bool& found) {
  if (Slot* holding = FindTwoWay(slots, bits, address, keyOf)) {
    found = true;
    return *holding;
  }
  found = false;
  const auto [first, second] = AddressSlots(address, bits);
  const void* occupant = keyOf(slots[first]);
  if (occupant == nullptr) return slots[first];
  if (keyOf(slots[second]) == nullptr) return slots[second];
  const auto [its, other] = AddressSlots(occupant, bits);
  const size_t elsewhere = its == first ? other : its;
  if (keyOf(slots[elsewhere]) == nullptr) std::swap(slots[first], slots[elsewhere]);
  return slots[first];
}

}  // namespace easysoap_internal
