// The inner loops of the fast band path, over the blocks of one band.
//
// They are compiled twice, for SSE2 and for AVX2, and take no more than blocks, codes and a chunk of output: records,
// markers and the choice between the two are the business of fastband.cpp. A band's state belongs to its thread.
#pragma once

#if defined(__x86_64__)

#include <cstddef>
#include <cstdint>

#include "codec/fast/fastbits.h"
#include "codec/fast/fastblock.h"
#include "codec/fast/fastcodes.h"
#include "codec/fdct.h"
#include "codec/quantize.h"

namespace kesto::fast {

/// A block has at most one DC difference and 63 AC values, each a code and a magnitude.
inline constexpr std::size_t MAX_BLOCK_BYTES = (63 * (CODE_LENGTHS + MAX_AC_SIZE) + CODE_LENGTHS + MAX_DC_SIZE + 7) / 8;
inline constexpr std::size_t CHUNK_BYTES = 4096;
/// From here on there is no room for a unit of four blocks, or for what a put or a look at 16 bytes goes beyond it.
inline constexpr std::size_t CHUNK_FULL = CHUNK_BYTES - 4 * MAX_BLOCK_BYTES - 16;

/// What the blocks of a band are coded with, and where to.
struct BandState {
  const std::uint8_t* planes[3];
  std::size_t width;
  PackedCodes luma;
  PackedCodes chroma;
  BitString emptyLuma;  // a block without AC values whose DC is that of the block before
  BitString emptyChroma;
  std::uint8_t* out;  // where the stuffed bytes of the next full chunk go
  std::uint8_t* outEnd;
  std::uint64_t lastNonzero;  // of the band's last block
  std::uint64_t bits;         // pending at the end of the band, the oldest at bit 63
  std::uint32_t count;
  alignas(16) std::uint8_t chunk[CHUNK_BYTES];
};

/// Moves the chunk's bytes up to `end` to the output. Returns false when there may not be room.
[[nodiscard]] bool flushChunk(BandState& state, const std::uint8_t* end);

/// Code the blocks of a grey band, or the units Y Y Cb Cr of a 4:2:2 band, up to the last whole byte. Return false when
/// the output may not have the room. Of the loops for AVX2 the grey one takes widths that are multiples of 16.
using BandKernel = bool (*)(BandState&);
[[nodiscard]] bool codeGreyWithSse2(BandState& state);
[[nodiscard]] bool codeColorWithSse2(BandState& state);
[[nodiscard]] bool codeGreyWithAvx2(BandState& state);
[[nodiscard]] bool codeColorWithAvx2(BandState& state);

[[gnu::always_inline]] inline BitString codeOf(PackedCode code, std::uint32_t magnitudeBits) {
  return {code >> LENGTH_BITS | magnitudeBits, code & LENGTH_MASK};
}

/// The AC values of a block one after another, as their codes.
class ValueCodes {
 public:
  [[gnu::always_inline]] ValueCodes(const Coefficients& block, const PackedCodes& codes)
      : values_(block.values), positions_(block.nonzero & ~std::uint64_t{1}), codes_(codes.ac) {}

  [[gnu::always_inline]] bool atEnd() const { return positions_ == 0; }
  [[gnu::always_inline]] bool endedAtLastPosition() const { return position_ == BLOCK_SIZE - 1; }

  /// The next value's code behind `before`, of which what does not fit is put first. There has to be a next value.
  [[gnu::always_inline]] BitString nextBehind(BitString before, ChunkWriter& writer) {
    const auto position = static_cast<std::uint64_t>(__builtin_ctzll(positions_));
    positions_ &= positions_ - 1;
    std::uint64_t distance = position - position_;
    position_ = position;
    const std::ptrdiff_t value = values_[SCAN.natural[position]];
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

[[gnu::always_inline]] inline void putBlock(const Coefficients& block, std::ptrdiff_t& predictor,
                                            const PackedCodes& codes, ChunkWriter& writer) {
  const std::ptrdiff_t dc = block.values[0];
  const std::uint32_t magnitude = MAGNITUDES[dc - predictor];
  predictor = dc;
  const BitString end = codeOf(codes.ac[RS_END_OF_BLOCK], 0);
  BitString string = codeOf(codes.dc[magnitude & 15], magnitude >> 4);
  ValueCodes values(block, codes);
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

/// True when all bytes of 16 x 8 are `value`.
[[gnu::always_inline]] inline bool isUniform(const std::uint8_t* bytes, std::size_t width, int value) {
  const __m128i wanted = _mm_set1_epi8(static_cast<char>(value));
  __m128i equal = _mm_set1_epi8(-1);
  for (std::size_t i = 0; i < 8; ++i) {
    const __m128i row = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + i * width));
    equal = _mm_and_si128(equal, _mm_cmpeq_epi8(row, wanted));
  }
  return _mm_movemask_epi8(equal) == 0xFFFF;
}

inline constexpr std::ptrdiff_t WHITE_LEVEL = WHITE_DC / QUANTIZER_SCALE;  // of a luma block
inline constexpr int WHITE_LUMA = 255;
inline constexpr int NEUTRAL_CHROMA = 128;

[[nodiscard, gnu::always_inline]] inline bool finishBand(BandState& state, const ChunkWriter& writer,
                                                         const Coefficients& last) {
  state.lastNonzero = last.nonzero;
  state.bits = writer.bits;
  state.count = writer.count;
  return flushChunk(state, writer.at);
}

template <class V>
[[gnu::always_inline]] inline bool codeColor(BandState& state) {
  ChunkWriter writer{.at = state.chunk};
  const std::size_t width = state.width;
  const BitString whiteUnit = state.emptyLuma + state.emptyLuma + state.emptyChroma + state.emptyChroma;
  std::ptrdiff_t yBefore = 0;
  std::ptrdiff_t cbBefore = 0;
  std::ptrdiff_t crBefore = 0;
  Coefficients luma[2] = {};
  Coefficients chroma[2] = {};
  for (std::size_t column = 0; column < width; column += 16) {
    if (writer.at > state.chunk + CHUNK_FULL) {
      if (!flushChunk(state, writer.at)) return false;
      writer.at = state.chunk;
    }
    const std::uint8_t* y = state.planes[0] + column;
    const std::uint8_t* cb = state.planes[1] + column;
    const std::uint8_t* cr = state.planes[2] + column;
    const bool neutral = isUniform(cb, width, NEUTRAL_CHROMA) && isUniform(cr, width, NEUTRAL_CHROMA);
    if (neutral && (yBefore == WHITE_LEVEL && cbBefore == 0 && crBefore == 0) && isUniform(y, width, WHITE_LUMA)) {
      writer.put(whiteUnit);
      chroma[1].nonzero = 0;
      continue;
    }
    for (int i = 0; i < 2; i += V::BLOCKS) transformPlain<V>(y + 8 * i, width, luma + i);
    putBlock(luma[0], yBefore, state.luma, writer);
    putBlock(luma[1], yBefore, state.luma, writer);
    if (neutral && cbBefore == 0 && crBefore == 0) {
      writer.put(state.emptyChroma + state.emptyChroma);
      chroma[1].nonzero = 0;
      continue;
    }
    if constexpr (V::BLOCKS == 2) {
      transformJoined<V>(cb, cr, width, chroma);
    } else {
      transformJoined<V>(cb, cb, width, chroma);
      transformJoined<V>(cr, cr, width, chroma + 1);
    }
    putBlock(chroma[0], cbBefore, state.chroma, writer);
    putBlock(chroma[1], crBefore, state.chroma, writer);
  }
  return finishBand(state, writer, chroma[1]);
}

template <class V>
[[gnu::always_inline]] inline bool codeGrey(BandState& state) {
  ChunkWriter writer{.at = state.chunk};
  std::ptrdiff_t before = 0;
  Coefficients blocks[V::BLOCKS] = {};
  for (std::size_t column = 0; column < state.width; column += 8 * V::BLOCKS) {
    if (writer.at > state.chunk + CHUNK_FULL) {
      if (!flushChunk(state, writer.at)) return false;
      writer.at = state.chunk;
    }
    if (V::BLOCKS == 2 && before == WHITE_LEVEL && isUniform(state.planes[0] + column, state.width, WHITE_LUMA)) {
      writer.put(state.emptyLuma + state.emptyLuma);
      blocks[V::BLOCKS - 1].nonzero = 0;
      continue;
    }
    transformPlain<V>(state.planes[0] + column, state.width, blocks);
    for (const Coefficients& block : blocks) putBlock(block, before, state.luma, writer);
  }
  return finishBand(state, writer, blocks[V::BLOCKS - 1]);
}

}  // namespace kesto::fast

#endif
