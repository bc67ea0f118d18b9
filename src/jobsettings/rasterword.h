// Reading the raster header's enumerated fields.
//
// The header comes from a stream that may hold any number in them, and reading an enumeration that holds none of its
// values is undefined behaviour. What counts is the number.
//
// Thread rule: none.
#pragma once

#include <cstdint>
#include <cstring>

namespace kesto {

/// Returns a field of the raster page header, an enumeration of CUPS, as the 32-bit number that it holds.
template <class Field>
std::uint32_t rasterWord(const Field& field) {
  std::uint32_t word = 0;
  static_assert(sizeof field == sizeof word);
  std::memcpy(&word, &field, sizeof word);
  return word;
}

}  // namespace kesto
