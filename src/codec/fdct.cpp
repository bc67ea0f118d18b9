#include "codec/fdct.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "codec/fdctconstants.h"

namespace kesto {
namespace {

constexpr std::int32_t SIDE = 8;
using Block = std::array<std::int32_t, SIDE * SIDE>;

// 32 bits are enough. Samples lie within 512, so no row result leaves 8 x 512 by more than its rounding. A sum of
// products in the column pass is made of a difference of two such values, two sums of two differences and one of
// four, each times its largest constant.
constexpr std::int64_t MAX_ROW_RESULT = 8 * 512 + 1;
static_assert(MAX_ROW_RESULT *
                  (2 * FIX_3_072711026 + 4 * FIX_2_562915447 + 4 * FIX_1_961570560 + 8 * FIX_1_175875602) <=
              INT32_MAX);

/// How the passes descale: the sums of the even part that are no products, and the products with their 2^13.
struct RowPass {
  static constexpr std::int32_t sum(std::int32_t x) { return x; }
  static constexpr std::int32_t product(std::int32_t x) { return ((x >> 12) + 1) >> 1; }  // rounds to nearest
};

/// The samples' factor of 4 leaves here. These shifts round down, for the streams' sake: they are part of the format.
struct ColumnPass {
  static constexpr std::int32_t sum(std::int32_t x) { return x >> 2; }
  static constexpr std::int32_t product(std::int32_t x) { return x >> 15; }
};

/// A one-dimensional DCT over eight values that lie `stride` apart.
template <class Pass>
inline void transformEight(std::int32_t* v, std::int32_t stride) {
  const std::int32_t sum07 = v[0] + v[7 * stride];
  const std::int32_t sum16 = v[stride] + v[6 * stride];
  const std::int32_t sum25 = v[2 * stride] + v[5 * stride];
  const std::int32_t sum34 = v[3 * stride] + v[4 * stride];
  const std::int32_t dif34 = v[3 * stride] - v[4 * stride];
  const std::int32_t dif25 = v[2 * stride] - v[5 * stride];
  const std::int32_t dif16 = v[stride] - v[6 * stride];
  const std::int32_t dif07 = v[0] - v[7 * stride];

  const std::int32_t outer = sum07 + sum34;
  const std::int32_t inner = sum16 + sum25;
  v[0] = Pass::sum(outer + inner);
  v[4 * stride] = Pass::sum(outer - inner);

  const std::int32_t outerDif = sum07 - sum34;
  const std::int32_t innerDif = sum16 - sum25;
  const std::int32_t even = (innerDif + outerDif) * FIX_0_541196100;
  v[2 * stride] = Pass::product(even + outerDif * FIX_0_765366865);
  v[6 * stride] = Pass::product(even - innerDif * FIX_1_847759065);

  const std::int32_t odd = (dif34 + dif16 + dif25 + dif07) * FIX_1_175875602;
  const std::int32_t z1 = -(dif34 + dif07) * FIX_0_899976223;
  const std::int32_t z2 = -(dif25 + dif16) * FIX_2_562915447;
  const std::int32_t z3 = odd - (dif34 + dif16) * FIX_1_961570560;
  const std::int32_t z4 = odd - (dif25 + dif07) * FIX_0_390180644;
  v[7 * stride] = Pass::product(dif34 * FIX_0_298631336 + z1 + z3);
  v[5 * stride] = Pass::product(dif25 * FIX_2_053119869 + z2 + z4);
  v[3 * stride] = Pass::product(dif16 * FIX_3_072711026 + z2 + z3);
  v[stride] = Pass::product(dif07 * FIX_1_501321110 + z1 + z4);
}

void transformBlock(Block& block) {
  for (std::int32_t row = 0; row < SIDE; ++row) transformEight<RowPass>(block.data() + row * SIDE, 1);
  for (std::int32_t column = 0; column < SIDE; ++column) transformEight<ColumnPass>(block.data() + column, SIDE);
}

void skipBlock(Block& block) {
  const std::int32_t dc = block[0] != 0 ? WHITE_DC : 0;
  block.fill(0);
  block[0] = dc;
}

/// Copies a block between a plane and a contiguous array, whose fixed stride lets the compiler vectorise the passes.
Block loadBlock(const std::int32_t* from, std::size_t stride) {
  Block block;
  for (std::size_t row = 0; row < SIDE; ++row) std::copy_n(from + row * stride, SIDE, block.begin() + row * SIDE);
  return block;
}

void storeBlock(const Block& block, std::int32_t* to, std::size_t stride) {
  for (std::size_t row = 0; row < SIDE; ++row) std::copy_n(block.begin() + row * SIDE, SIDE, to + row * stride);
}

}  // namespace

std::int32_t fDCTransform(std::int32_t* plane, std::int32_t planeWidth, std::int32_t height, const std::uint8_t* map,
                          std::uint32_t capacity, std::int32_t* output) {
  if (plane == nullptr || (output == nullptr && capacity != 0)) return CODEC_NULL_POINTER;
  if (planeWidth < 0 || height < 0 || planeWidth % SIDE != 0 || height % SIDE != 0) return CODEC_BAD_SIZE;
  const std::uint64_t bytesNeeded = sizeof(std::int32_t) * static_cast<std::uint64_t>(planeWidth) * height;
  if (output != nullptr && capacity < bytesNeeded) return CODEC_BAD_SIZE;

  std::int32_t* target = output != nullptr ? output : plane;
  const auto stride = static_cast<std::size_t>(planeWidth);
  std::size_t blockNumber = 0;
  for (std::int32_t top = 0; top < height; top += SIDE) {
    for (std::int32_t left = 0; left < planeWidth; left += SIDE) {
      const std::size_t offset = top * stride + left;
      Block block = loadBlock(plane + offset, stride);
      if (map != nullptr && map[blockNumber] == MAP_SKIP) {
        skipBlock(block);
      } else {
        transformBlock(block);
      }
      storeBlock(block, target + offset, stride);
      ++blockNumber;
    }
  }
  return CODEC_OK;
}

}  // namespace kesto
