#include "codec/quantize.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>

#include "codec/fdct.h"

namespace kesto {
namespace {

constexpr std::size_t SIDE = 8;
using BlockLine = std::span<std::int32_t, SIDE>;

/// Wide, as records may hold any quantiser; one of 0 divides nothing.
constexpr std::int32_t roundedQuotient(std::int32_t x, std::int64_t quantizer) {
  if (quantizer == 0) return x;
  const std::int64_t half = quantizer / 2;
  return static_cast<std::int32_t>((x < 0 ? x - half : x + half) / quantizer);
}

static_assert(roundedQuotient(8128, 8) == 1016 && roundedQuotient(-8192, 8) == -1024);
static_assert(roundedQuotient(3, 8) == 0 && roundedQuotient(4, 8) == 1 && roundedQuotient(-4, 8) == -1);
// DC values of 8-bit samples, and so their differences, always have a size: 1016 to -1024 is the widest step.
static_assert(roundedQuotient(WHITE_DC, QUANTIZER_SCALE) - roundedQuotient(-8192, QUANTIZER_SCALE) <= 2047);

void divideByTable(BlockLine line, const std::int32_t* quantizers) {
  for (std::size_t i = 0; i < SIDE; ++i) line[i] = roundedQuotient(line[i], quantizers[i]);
}

void divideByFlat(BlockLine line, std::int32_t quantizer) {
  // The constant turns the division of nearly every block into shifts.
  if (quantizer == QUANTIZER_SCALE) {
    for (std::int32_t& x : line) x = roundedQuotient(x, QUANTIZER_SCALE);
  } else {
    for (std::int32_t& x : line) x = roundedQuotient(x, quantizer);
  }
}

/// The DC alone, truncated towards zero whatever its sign.
std::int32_t truncatedQuotient(std::int32_t dc, std::int64_t quantizer) {
  return quantizer == 0 ? dc : static_cast<std::int32_t>((dc + quantizer / 2) / quantizer);
}

/// Used in place of a missing table: divides by 1.
constexpr std::array<std::int32_t, BLOCK_SIZE> NO_TABLE = {};

}  // namespace

void scaleTable(std::int32_t q, std::int32_t which, std::int32_t* chromaDestination, const std::int32_t* chromaSource,
                std::int32_t* lumaDestination, const std::int32_t* lumaSource, std::uint32_t* scale,
                std::uint32_t* qFactor) {
  *scale = QUANTIZER_SCALE;
  *qFactor = static_cast<std::uint32_t>(q);
  const bool chroma = which == 1;
  scaleQuantTable(chroma ? chromaSource : lumaSource, chroma ? chromaDestination : lumaDestination, q, QUANTIZER_SCALE);
}

void setupQuantTable(std::int32_t* chromaDestination, const std::int32_t* chromaSource, std::int32_t* lumaDestination,
                     const std::int32_t* lumaSource) {
  const auto scaled = [](std::int32_t quantizer) { return quantizer * QUANTIZER_SCALE; };
  std::transform(chromaSource, chromaSource + BLOCK_SIZE, chromaDestination, scaled);
  std::transform(lumaSource, lumaSource + BLOCK_SIZE, lumaDestination, scaled);
}

std::int32_t quantizePlane(std::int32_t planeWidth, std::int32_t height, std::int32_t* coefficients,
                           std::int32_t isChroma, const std::uint8_t* map, std::int32_t flatQuantizer,
                           const std::int32_t* chromaTable, const std::int32_t* lumaTable) {
  if (map == nullptr || coefficients == nullptr) return CODEC_NULL_POINTER;
  const auto width = static_cast<std::size_t>(planeWidth);
  const auto lines = static_cast<std::size_t>(height);
  if (planeWidth < 0 || height < 0 || width % SIDE != 0 || lines % SIDE != 0) return CODEC_BAD_SIZE;
  const std::int32_t* table = isChroma == 1 ? chromaTable : lumaTable;
  if (table == nullptr) table = NO_TABLE.data();

  const std::size_t blocksPerRow = width / SIDE;
  for (std::size_t line = 0; line < lines; ++line) {
    const std::size_t blockLine = line % SIDE;
    const std::uint8_t* mapRow = map + line / SIDE * blocksPerRow;
    for (std::size_t block = 0; block < blocksPerRow; ++block) {
      const BlockLine x(coefficients + line * width + block * SIDE, SIDE);
      const bool flat = (mapRow[block] & MAP_FLAT) != 0;
      if (mapRow[block] == MAP_SKIP || mapRow[block] == MAP_FLAT) {
        const std::int32_t quantizer = flat ? flatQuantizer : table[0];
        if (blockLine == 0) x[0] = truncatedQuotient(x[0], quantizer);
      } else if (flat) {
        divideByFlat(x, flatQuantizer);
      } else {
        divideByTable(x, table + blockLine * SIDE);
      }
    }
  }
  return CODEC_OK;
}

}  // namespace kesto
