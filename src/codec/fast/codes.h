// Codes in the form in which the fast band path puts them, a symbol's Huffman code with room for its magnitude bits,
// and the bit writer that they go to.
//
// A table is made from the coder's own for each band, which takes less time than a block, so that whatever tables a
// coder holds are the ones that are used. No state; any thread may call.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

#include "codec/fast/transform.h"
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

inline constexpr std::uint32_t MAX_PUT = 56;  // bits

/// Bits to be put: the low `length` ones of `value`.
struct BitString {
  std::uint64_t value;
  std::uint32_t length;

  [[gnu::always_inline]] BitString operator+(const BitString& next) const {
    return {value << next.length | next.value, length + next.length};
  }
};

/// Whole bytes go into a small chunk first, and from there, stuffed, to the output.
///
/// A put has no branch: it stores eight bytes whatever is pending and moves on by as many as are complete. A branch
/// that is taken once in eight bytes or so cannot be predicted and would cost more than all the rest of a put.
/// Keep a writer in a local variable, so that its fields stay in registers.
struct ChunkWriter {
  std::uint8_t* at;         // where the next byte goes; eight bytes from here on are overwritten at will
  std::uint64_t bits = 0;   // pending bits, the oldest at bit 63
  std::uint32_t count = 0;  // how many, 0 to 7 between puts

  /// Appends 1 to 56 bits.
  [[gnu::always_inline]] void put(const BitString& string) {
    count += string.length;                       // 1 to 63
    bits |= string.value << ((0U - count) & 63);  // by 64 - count
    const std::uint64_t inOrder = IS_LITTLE ? __builtin_bswap64(bits) : bits;
    __builtin_memcpy(at, &inOrder, sizeof inOrder);
    at += count / 8;
    bits <<= count & 56;
    count &= 7;
  }
};

[[gnu::always_inline]] inline BitString codeOf(PackedCode code, std::uint32_t magnitudeBits) {
  return {code >> LENGTH_BITS | magnitudeBits, code & LENGTH_MASK};
}

/// The AC values of a block one after another, as their codes.
class ValueCodes {
 public:
  [[gnu::always_inline]] ValueCodes(const std::int16_t* values, std::uint64_t nonzero, const PackedCodes& codes)
      : values_(values), positions_(nonzero & ~std::uint64_t{1}), codes_(codes.ac) {}

  [[gnu::always_inline]] bool atEnd() const { return positions_ == 0; }
  [[gnu::always_inline]] bool endedAtLastPosition() const { return position_ == BLOCK_SIZE - 1; }

  /// The next value's code behind `before`, of which what does not fit is put first. There has to be a next value.
  [[gnu::always_inline]] BitString nextBehind(BitString before, ChunkWriter& writer) {
    const auto position = static_cast<std::uint64_t>(__builtin_ctzll(positions_));
    positions_ &= positions_ - 1;
    std::uint64_t distance = position - position_;
    position_ = position;
    const std::ptrdiff_t value = values_[SCAN.offsets[position]];
    const std::uint32_t magnitude = MAGNITUDES[value];
    if (distance > 16) {
      if (before.length > 0) writer.put(before);
      before = {0, 0};
      for (; distance > 16; distance -= 16) writer.put(codeOf(codes_[RS_ZERO_RUN], 0));
    }
    return before + codeOf(codes_[(distance - 1) * 16 | (magnitude & 15)], magnitude >> 4);
  }

 private:
  const std::int16_t* values_;
  std::uint64_t positions_;
  std::uint64_t position_ = 0;
  const PackedCode* codes_;
};

/// Two values are put at once, as they always fit: a put costs about as much as the making of a code.
static_assert(2 * (CODE_LENGTHS + MAX_DC_SIZE) <= MAX_PUT);

/// Puts one of two blocks; `predictor` is the DC value of the block before, and then its own.
[[gnu::always_inline]] inline void putBlock(const BlockPair& blocks, std::size_t block, std::ptrdiff_t& predictor,
                                            const PackedCodes& codes, ChunkWriter& writer) {
  const std::int16_t* const coefficients = blocks.values[0][block];
  const std::ptrdiff_t dc = *coefficients;
  const std::uint32_t magnitude = MAGNITUDES[dc - predictor];
  predictor = dc;
  const BitString end = codeOf(codes.ac[RS_END_OF_BLOCK], 0);
  BitString string = codeOf(codes.dc[magnitude & 15], magnitude >> 4);
  ValueCodes values(coefficients, blocks.nonzero[block], codes);
  for (;;) {
    if (values.atEnd()) {
      if (!values.endedAtLastPosition()) string = string + end;
      break;
    }
    writer.put(values.nextBehind(string, writer));
    if (values.atEnd()) {
      if (values.endedAtLastPosition()) return;
      string = end;
      break;
    }
    string = values.nextBehind({0, 0}, writer);
  }
  writer.put(string);
}

}  // namespace kesto::fast
