// Small tables that remember things by where they lie (a text met at an address lately) pick the
// slot of an address here.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

namespace easysoap_internal {

// The slot of address among 2^bits slots. The address is mixed (Fibonacci hashing): the texts of
// an array of like records lie a power of two apart, and their low bits alone would crowd into a
// few slots.
inline size_t AddressSlot(const void* address, int bits) {
  const uint64_t mixed =
      static_cast<uint64_t>(reinterpret_cast<uintptr_t>(address)) * 0x9E3779B97F4A7C15ull;
  return static_cast<size_t>(mixed >> (64 - bits));
}

// Two different slots of address among 2^bits slots, from different bits of its mix: for a table
// whose entries may lie in either place.
inline std::pair<size_t, size_t> AddressSlots(const void* address, int bits) {
  const uint64_t mixed =
      static_cast<uint64_t>(reinterpret_cast<uintptr_t>(address)) * 0x9E3779B97F4A7C15ull;
  const size_t mask = (size_t{1} << bits) - 1;
  const auto first = static_cast<size_t>(mixed >> (64 - bits));
  const auto second = static_cast<size_t>(mixed >> (64 - 2 * bits)) & mask;
  return {first, second != first ? second : (first + 1) & mask};
}

}  // namespace easysoap_internal
