// The inner loops of the fast paths: over the blocks of a band, and over the pixels of a line.
//
// They are compiled once for the instructions that every processor of the architecture has and once more for AVX2, and
// take no more than blocks, codes and a chunk of output: records and markers are the business of fastband.cpp. A band's
// state belongs to its thread.
#pragma once

#include <cstddef>
#include <cstdint>

#include "codec/fast/codes.h"
#include "codec/fast/pixels.h"
#include "codec/fast/transform.h"
#include "codec/fdct.h"
#include "codec/quantize.h"

namespace kesto::fast {

/// A block has at most one DC difference and 63 AC values, each a code and a magnitude.
inline constexpr std::size_t MAX_BLOCK_BYTES = (63 * (CODE_LENGTHS + MAX_AC_SIZE) + CODE_LENGTHS + MAX_DC_SIZE + 7) / 8;
inline constexpr std::size_t CHUNK_BYTES = 4096;
/// From here on there is no room for a unit of four blocks, or for what a put or a look at 8 bytes goes beyond it.
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
  std::uint8_t chunk[CHUNK_BYTES];
};

/// The loops for one set of instructions. Those over a band code its blocks, or its units Y Y Cb Cr for 4:2:2, up to
/// the last whole byte, and return false when the output may not have the room.
struct Kernels {
  bool (*codeGrey)(BandState&);
  bool (*codeColor)(BandState&);
  /// Converts the first of `count` RGB pixels to planes, and returns how many: the rest goes the plain way.
  std::size_t (*convertPixels)(const std::uint8_t* rgb, std::size_t count, std::uint8_t* y, std::uint8_t* cb,
                               std::uint8_t* cr);
};
extern const Kernels BASIC_KERNELS;
extern const Kernels AVX2_KERNELS;  // on amd64 only

/// The fastest ones that this processor runs.
[[nodiscard]] const Kernels& bestKernels();

/// Moves the chunk's bytes up to `end` to the output. Returns false when there may not be room.
[[nodiscard]] bool flushChunk(BandState& state, const std::uint8_t* end);

/// True when all bytes of 16 x 8 are `value`.
[[gnu::always_inline]] inline bool isUniform(const std::uint8_t* bytes, std::size_t width, std::uint8_t value) {
  Bytes<16> different = {};
  for (std::size_t i = 0; i < 8; ++i) different |= load<Bytes<16>>(bytes + i * width) ^ value;
  const auto halves = as<Vector<std::uint64_t, 16>>(different);
  return (halves[0] | halves[1]) == 0;
}

inline constexpr std::ptrdiff_t WHITE_LEVEL = WHITE_DC / QUANTIZER_SCALE;  // of a luma block
inline constexpr std::uint8_t WHITE_LUMA = 255;
inline constexpr std::uint8_t NEUTRAL_CHROMA = 128;

/// Makes room in the chunk for what one step of a loop puts.
[[nodiscard, gnu::always_inline]] inline bool makeRoom(BandState& state, ChunkWriter& writer) {
  if (writer.at <= state.chunk + CHUNK_FULL) return true;
  const std::uint8_t* const end = writer.at;
  writer.at = state.chunk;
  return flushChunk(state, end);
}

[[nodiscard, gnu::always_inline]] inline bool finishBand(BandState& state, const ChunkWriter& writer,
                                                         std::uint64_t lastNonzero) {
  state.lastNonzero = lastNonzero;
  state.bits = writer.bits;
  state.count = writer.count;
  return flushChunk(state, writer.at);
}

template <std::size_t BYTES>
bool codeColor(BandState& state) {
  ChunkWriter writer{.at = state.chunk};
  const std::size_t width = state.width;
  const BitString whiteUnit = state.emptyLuma + state.emptyLuma + state.emptyChroma + state.emptyChroma;
  std::ptrdiff_t yBefore = 0;
  std::ptrdiff_t cbBefore = 0;
  std::ptrdiff_t crBefore = 0;
  BlockPair luma;
  BlockPair chroma = {};
  for (std::size_t column = 0; column < width; column += 16) {
    if (!makeRoom(state, writer)) return false;
    const std::uint8_t* y = state.planes[0] + column;
    const std::uint8_t* cb = state.planes[1] + column;
    const std::uint8_t* cr = state.planes[2] + column;
    const bool neutral = isUniform(cb, width, NEUTRAL_CHROMA) && isUniform(cr, width, NEUTRAL_CHROMA);
    if (neutral && (yBefore == WHITE_LEVEL && cbBefore == 0 && crBefore == 0) && isUniform(y, width, WHITE_LUMA)) {
      writer.put(whiteUnit);
      chroma.nonzero[1] = 0;
      continue;
    }
    transform<Plain, BYTES>(y, y + 8, width, luma);
    putBlock(luma, 0, yBefore, state.luma, writer);
    putBlock(luma, 1, yBefore, state.luma, writer);
    if (neutral && cbBefore == 0 && crBefore == 0) {
      writer.put(state.emptyChroma + state.emptyChroma);
      chroma.nonzero[1] = 0;
      continue;
    }
    transform<Joined, BYTES>(cb, cr, width, chroma);
    putBlock(chroma, 0, cbBefore, state.chroma, writer);
    putBlock(chroma, 1, crBefore, state.chroma, writer);
  }
  return finishBand(state, writer, chroma.nonzero[1]);
}

template <std::size_t BYTES>
bool codeGrey(BandState& state) {
  ChunkWriter writer{.at = state.chunk};
  std::ptrdiff_t before = 0;
  BlockPair blocks = {};
  for (std::size_t column = 0; column < state.width; column += 16) {
    if (!makeRoom(state, writer)) return false;
    const std::uint8_t* first = state.planes[0] + column;
    const bool hasSecond = column + 8 < state.width;
    if (hasSecond && before == WHITE_LEVEL && isUniform(first, state.width, WHITE_LUMA)) {
      writer.put(state.emptyLuma + state.emptyLuma);
      blocks.nonzero[1] = 0;
      continue;
    }
    transform<Plain, BYTES>(first, hasSecond ? first + 8 : first, state.width, blocks);
    putBlock(blocks, 0, before, state.luma, writer);
    if (hasSecond) putBlock(blocks, 1, before, state.luma, writer);
  }
  return finishBand(state, writer, blocks.nonzero[1]);
}

template <std::size_t BYTES>
inline constexpr Kernels KERNELS = {codeGrey<BYTES>, codeColor<BYTES>, convertPixels<BYTES>};

}  // namespace kesto::fast
