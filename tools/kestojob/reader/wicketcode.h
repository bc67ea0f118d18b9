// The tables that Wicket data are coded with.
//
// A band is the entropy-coded data of a baseline JPEG scan (ITU-T T.81) with the standard's own tables. They are taken
// from libjpeg here, not from the coder's sources, so that a slip in the coder's tables shows up as data that do not
// decode.
//
// Made once, then constant; any thread may read.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace kesto::job {

/// A Huffman table as T.81 specifies it: codes of each length, and the symbols in code order.
struct HuffmanSpec {
  std::array<std::uint8_t, 17> counts{};  ///< by length; 0 is unused
  std::array<std::uint8_t, 256> symbols{};
};

/// Quantisers in natural (row by row) order.
using Quantizers = std::array<std::uint16_t, 64>;

struct WicketTables {
  std::array<HuffmanSpec, 2> dc;  ///< luma, chroma
  std::array<HuffmanSpec, 2> ac;
  std::array<Quantizers, 2> scaled;  ///< luma, chroma, after the quantiser-select marker FF 2C
};

/// The quality (1 to 100) that the scaled quantisers have.
inline constexpr int SCALED_QUALITY = 80;

/// Asks libjpeg for the standard's tables.
[[nodiscard]] WicketTables standardTables();

}  // namespace kesto::job
