#include "codec/fast/fastband.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstddef>

#include "codec/blockwriter.h"
#include "codec/fast/kernels.h"

namespace kesto {
namespace {

/// Written by tests and measurements, read by whoever compresses.
constinit std::atomic<BandWay> wayLimit{BandWay::SPECIFIC};

}  // namespace

void limitBandWay(BandWay limit) {
  wayLimit.store(limit, std::memory_order_release);
}

namespace fast {

const Kernels BASIC_KERNELS = KERNELS<16>;

const Kernels& bestKernels() {
#if defined(__x86_64__)
  const bool modern =
      __builtin_cpu_supports("avx2") != 0 && __builtin_cpu_supports("bmi") != 0 && __builtin_cpu_supports("bmi2") != 0;
  if (modern) return AVX2_KERNELS;
#endif
  return BASIC_KERNELS;
}

bool flushChunk(BandState& state, const std::uint8_t* end) {
  const std::uint8_t* bytes = state.chunk;
  // Every byte may need a stuffed one, and the copy goes a word at a time.
  if (state.outEnd - state.out < 2 * (end - bytes) + std::ptrdiff_t{sizeof(std::uint64_t)}) return false;
  while (bytes < end) {
    const auto word = load<std::uint64_t>(bytes);
    __builtin_memcpy(state.out, &word, sizeof word);
    // A carry begins at the first byte of ones, whose bit is the lowest that is set.
    const std::uint64_t inOrder = IS_LITTLE ? word : __builtin_bswap64(word);
    const std::uint64_t full = inOrder & (~inOrder - 0x0101'0101'0101'0101) & 0x8080'8080'8080'8080;
    const std::ptrdiff_t plain = full == 0 ? 8 : std::countr_zero(full) / 8 + 1;
    if (plain > end - bytes) {
      state.out += end - bytes;
      return true;
    }
    bytes += plain;
    state.out += plain;
    if (full != 0) *state.out++ = 0;
  }
  return true;
}

}  // namespace fast

namespace {

constexpr std::uint8_t MAP_JOB = 3;  // transformed, and quantised by the flat quantiser
constexpr std::int32_t MOST_PIXELS = 1 << 24;

/// True when the records ask for nothing but what jobs use: one row of blocks, transformed and divided by 8, DC
/// differences, stuffing, and one restart marker at the end.
bool isJobBand(const Band& band, const std::uint8_t* map, std::size_t planeCount, const WicketSettings& settings,
               const WicketCoder& coder) {
  return band.width % BLOCK_SIDE == 0 && band.pixels == BLOCK_SIDE * band.width && band.pixels <= MOST_PIXELS &&
         (planeCount == 1 || settings.sampleType == SAMPLE_TYPE_422) &&
         std::all_of(map, map + band.blockCount, [](std::uint8_t value) { return value == MAP_JOB; }) &&
         settings.quantScale == QUANTIZER_SCALE && settings.useDeltaDC != 0 && band.blockCount == band.blocksPerRow() &&
         settings.restartInterval == band.blockCount && settings.restartMcuCount == 0 && coder.byteStuffing != 0 &&
         coder.bitCount == 0 && coder.category == MAGNITUDE_CATEGORIES;
}

/// Makes the scan tables stand for the planes of a band. False when one of them has been changed since it was built.
bool scansInOrder(const Band& band, std::size_t planeCount, WicketSettings* settings) {
  for (std::uint32_t plane = 0; plane < planeCount; ++plane) {
    const std::int32_t width = plane == 0 ? band.width : band.width / 2;
    wicketSetPlanarZigZag(plane, static_cast<std::uint32_t>(width), 1, 1, settings);
    for (std::size_t k = 0; k < BLOCK_SIZE; ++k) {
      if (settings->planarZigZag[plane][k] != scanOffset(k, width)) return false;
    }
  }
  return true;
}

/// Packs the codes of a table. Returns false when a symbol that a band may need has none, or one that is longer than
/// its length says.
[[nodiscard]] bool packCodes(const HuffmanCodeTable& table, fast::PackedCodes& packed) {
  const auto pack = [](const HuffmanCode& code, std::uint32_t size) {
    return code.code << size << fast::LENGTH_BITS | (code.length + size);
  };
  const auto isUsable = [](const HuffmanCode& code) {
    return code.count != 0 && code.length <= CODE_LENGTHS && code.code >> code.length == 0;
  };
  for (std::uint32_t size = 0; size < BASELINE_DC_CODES; ++size) {
    if (!isUsable(table.dcCodes[size])) return false;
    packed.dc[size] = pack(table.dcCodes[size], size);
  }
  for (std::size_t index = 0; index < AC_SYMBOL_COUNT; ++index) {
    if (!isUsable(table.acCodes[index])) return false;
    const auto symbol = static_cast<std::uint32_t>(codecRSSymbol(static_cast<std::int32_t>(index)));
    packed.ac[symbol] = pack(table.acCodes[index], symbol & 15);
  }
  return true;
}

fast::BitString emptyBlock(const fast::PackedCodes& codes) {
  return fast::codeOf(codes.dc[0], 0) + fast::codeOf(codes.ac[RS_END_OF_BLOCK], 0);
}

/// Fills in the codes. Returns false when the coder's tables lack some, or have such long ones that a whole unit of
/// empty blocks is not put at once.
[[nodiscard]] bool setCodes(const WicketCoder& coder, fast::BandState& state) {
  if (!packCodes(coder.lumaCodes, state.luma) || !packCodes(coder.chromaCodes, state.chroma)) return false;
  state.emptyLuma = emptyBlock(state.luma);
  state.emptyChroma = emptyBlock(state.chroma);
  return 2 * (state.emptyLuma.length + state.emptyChroma.length) <= fast::MAX_PUT;
}

}  // namespace

bool compressBandFast(const Band& band, const std::uint8_t* map, std::span<const std::uint8_t* const> planes,
                      std::int32_t capacity, std::uint8_t* output, std::int32_t* length, WicketSettings* settings,
                      WicketCoder* coder) {
  const BandWay limit = wayLimit.load(std::memory_order_acquire);
  if (limit == BandWay::LITERAL || !isJobBand(band, map, planes.size(), *settings, *coder)) return false;
  fast::BandState state = {};
  if (!setCodes(*coder, state) || !scansInOrder(band, planes.size(), settings)) return false;

  // Markers are written as everywhere else. The first one ends on a byte boundary.
  BlockWriter markers(MAP_JOB, output, capacity, settings, coder);
  markers.beginBlock(MAP_JOB);
  settings->restartMcuCount = 0;
  std::ranges::copy(planes, state.planes);
  state.width = static_cast<std::size_t>(band.width);
  state.out = coder->out;
  state.outEnd = output + capacity;
  const fast::Kernels& kernels = limit == BandWay::BASIC ? fast::BASIC_KERNELS : fast::bestKernels();
  if (!(planes.size() == 1 ? kernels.codeGrey : kernels.codeColor)(state)) return false;

  coder->out = state.out;
  coder->outCount = static_cast<std::uint32_t>(state.out - output);
  coder->bitBuffer = static_cast<std::uint32_t>(state.bits >> 32);
  coder->bitCount = state.count;
  coder->coefficientIndex = 63 - static_cast<std::uint32_t>(std::countl_zero(state.lastNonzero | 1));
  settings->restartMcuCount = settings->restartInterval;
  markers.restartIfDue();
  *length = markers.finish();
  return true;
}

}  // namespace kesto
