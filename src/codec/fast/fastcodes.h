// Codes in the form in which the fast band path puts them: a symbol's Huffman code with room for its magnitude bits.
//
// A table is made from the coder's own for each band, which takes less time than a block, so that whatever tables a
// coder holds are the ones that are used. No state; any thread may call.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

#include "codec/huffman.h"

namespace kesto::fast {

/// A code in front of as many zeros as its magnitude has bits, above the number of all these bits.
using PackedCode = std::uint32_t;
inline constexpr std::uint32_t LENGTH_BITS = 5;
inline constexpr std::uint32_t LENGTH_MASK = (1U << LENGTH_BITS) - 1;
inline constexpr std::uint32_t MAX_DC_SIZE = BASELINE_DC_CODES - 1;
static_assert(CODE_LENGTHS + MAX_DC_SIZE + LENGTH_BITS <= 32 && CODE_LENGTHS + MAX_DC_SIZE <= LENGTH_MASK);

struct PackedCodes {
  PackedCode dc[BASELINE_DC_CODES];  // by size
  PackedCode ac[256];                // by run x 16 + size
};

/// The size and the magnitude bits (T.81 F.1.2.1.1) of the values -2047 to 2047: bits above a 4-bit size.
struct MagnitudeTable {
  std::uint16_t entries[2 * MAX_MAGNITUDE + 1];
};

inline constexpr MagnitudeTable MAGNITUDE_TABLE = [] {
  MagnitudeTable table{};
  constexpr auto LARGEST = static_cast<std::int32_t>(MAX_MAGNITUDE);
  for (std::int32_t value = -LARGEST; value <= LARGEST; ++value) {
    const auto magnitude = static_cast<std::uint32_t>(value < 0 ? -value : value);
    const auto size = static_cast<std::uint32_t>(std::bit_width(magnitude));
    const std::uint32_t bits = static_cast<std::uint32_t>(value < 0 ? value - 1 : value) & ((1U << size) - 1);
    table.entries[value + LARGEST] = static_cast<std::uint16_t>(bits << 4 | size);
  }
  return table;
}();

/// By value.
inline constexpr const std::uint16_t* MAGNITUDES = MAGNITUDE_TABLE.entries + MAX_MAGNITUDE;

}  // namespace kesto::fast
