// Blocks of 8 x 8 bytes to quantised coefficients, in 16-bit lanes, two blocks at a time.
//
// The result is that of downSampleInt, fDCTransform and quantizePlane with the flat quantiser 8, bit for bit, although
// those work in 32 bits. What makes the lanes wide enough stands beside each step. No state; any thread may call.
#pragma once

#include <cstddef>
#include <cstdint>

#include "codec/fast/lanes.h"
#include "codec/fdctconstants.h"
#include "codec/t81tables.h"

namespace kesto::fast {

/// The quantised coefficients of two blocks.
struct BlockPair {
  alignas(32) std::int16_t values[8][2][8];  // by row, block and column
  std::uint64_t nonzero[2];                  // bit k set where zigzag position k is not 0
};

struct ScanTables {
  std::uint64_t positions[8][256];   // by row and set of columns (bit c for column c): their zigzag positions
  std::uint8_t offsets[BLOCK_SIZE];  // by zigzag position: where its value is, from the block's first one on
};

inline constexpr ScanTables SCAN = [] {
  ScanTables tables{};
  for (std::size_t k = 0; k < BLOCK_SIZE; ++k) {
    const auto natural = static_cast<std::size_t>(s_aiZigZagSequence[k]);
    tables.offsets[k] = static_cast<std::uint8_t>(natural / 8 * 16 + natural % 8);
    for (std::size_t columns = 0; columns < 256; ++columns) {
      if ((columns >> natural % 8 & 1) != 0) tables.positions[natural / 8][columns] |= std::uint64_t{1} << k;
    }
  }
  return tables;
}();

/// Eight vectors: the rows or the columns of blocks, or their 1-D transforms.
template <std::size_t BYTES>
struct Eight {
  Lanes<BYTES> v[8];
};

template <std::size_t BYTES>
[[gnu::always_inline]] inline Eight<BYTES> transpose(const Eight<BYTES>& r) {
  Eight<BYTES> a;
  Eight<BYTES> b;
  Eight<BYTES> out;
  for (int i = 0; i < 8; i += 2) {
    a.v[i] = low<std::uint16_t>(r.v[i], r.v[i + 1]);
    a.v[i + 1] = high<std::uint16_t>(r.v[i], r.v[i + 1]);
  }
  for (int i = 0; i < 8; i += 4) {
    b.v[i] = low<std::uint32_t>(a.v[i], a.v[i + 2]);
    b.v[i + 1] = high<std::uint32_t>(a.v[i], a.v[i + 2]);
    b.v[i + 2] = low<std::uint32_t>(a.v[i + 1], a.v[i + 3]);
    b.v[i + 3] = high<std::uint32_t>(a.v[i + 1], a.v[i + 3]);
  }
  for (int i = 0; i < 4; ++i) {
    out.v[2 * i] = low<std::uint64_t>(b.v[i], b.v[i + 4]);
    out.v[2 * i + 1] = high<std::uint64_t>(b.v[i], b.v[i + 4]);
  }
  return out;
}

/// Two vectors lane by lane, and what becomes of them in 32 bits.
template <std::size_t BYTES>
struct Sums {
  Words<BYTES> low, high;

  [[gnu::always_inline]] Sums operator+(const Sums& other) const { return {low + other.low, high + other.high}; }
  /// The lanes after a division by 2 to the power `SHIFT`, which rounds down. They have to fit.
  template <int SHIFT>
  [[gnu::always_inline]] Lanes<BYTES> descaled() const {
    return narrow(low >> SHIFT, high >> SHIFT);
  }
};

/// Lanes of two vectors in turn.
template <std::size_t BYTES>
struct Pair {
  Lanes<BYTES> first, second;

  [[gnu::always_inline]] Pair(Lanes<BYTES> x, Lanes<BYTES> y)
      : first(low<std::uint16_t>(x, y)), second(high<std::uint16_t>(x, y)) {}
  /// x times `a` plus y times `b`.
  template <std::int32_t a, std::int32_t b>
  [[gnu::always_inline]] Sums<BYTES> products() const {
    return {multiplyPairs(first, factors<BYTES, a, b>()), multiplyPairs(second, factors<BYTES, a, b>())};
  }
};

/// Rows. The bytes go in as they are: a sample is 4 (b - 128), so that in the samples' scale a sum is 4 times the
/// bytes' sum, less 8 x 512 for output 0 (in all other outputs the 512 cancel), and a product P, there 4 P, leaves as
/// ((4 P >> 12) + 1) >> 1 = (P + 2^10) >> 11.
struct RowPass {
  static constexpr int SHIFT = 11;
  static constexpr int ROUNDING = 1 << 10;
  template <class V>
  [[gnu::always_inline]] static V dc(V x) {
    return sum(x) - 8 * 512;
  }
  template <class V>
  [[gnu::always_inline]] static V sum(V x) {
    return x << 2;
  }
};

/// Columns, as fdct.cpp has them.
struct ColumnPass {
  static constexpr int SHIFT = 15;
  static constexpr int ROUNDING = 0;
  template <class V>
  [[gnu::always_inline]] static V dc(V x) {
    return sum(x);
  }
  template <class V>
  [[gnu::always_inline]] static V sum(V x) {
    return right<2>(x);
  }
};

// The lanes are wide enough. Rows work on bytes, whose sums stay below 4 x 8 x 255. For the columns let w be the
// largest result of a row. Sums of four row results go into products as lanes, so 4 w has to fit; outputs 0 and 4 are
// sums of eight, which may wrap on their way but have to fit in the end, before they are shifted. Output 0 of a row
// lies in 4 x 8 x -128 = -4096 to 4 x 8 x 127 = 4064 and output 4 within 4 x 4 x 255 = 4080. Outputs 1, 3, 5 and 7 have
// four differences of two bytes and the same factors in different places, outputs 2 and 6 two differences of four
// bytes.
inline constexpr std::int32_t LARGEST_ODD =
    255 * (FIX_1_501321110 - 2 * FIX_0_899976223 + 4 * FIX_1_175875602 - 2 * FIX_0_390180644) / 2048;
inline constexpr std::int32_t LARGEST_EVEN = 510 * (2 * FIX_0_541196100 + FIX_0_765366865) / 2048;
static_assert(LARGEST_ODD < 4064 && LARGEST_EVEN < 4064 && 4 * 4096 <= INT16_MAX);
static_assert(8 * -4096 >= INT16_MIN && 8 * 4064 <= INT16_MAX && 4 * 4096 + 4 * 4064 <= INT16_MAX);

// Every AC value has a code: sizes end at 10, values at 1023. Among AC outputs of a column those of the sums of eight
// come out largest, 8 x 4080 / 4 of rows' output 4 and (4 x 4096 + 4 x 4064) / 4 of output 0, and 1023 x 8 is more.
static_assert((4 * 4096 + 4 * 4064) / 4 <= 1023 * 8);

/// A 1-D transform of all lanes at once. Sums of products stay within 32 bits for the reason given in fdct.cpp: these
/// are the same sums, only collected by input.
template <class Pass, std::size_t BYTES>
[[gnu::always_inline]] inline Eight<BYTES> transformLanes(const Eight<BYTES>& x) {
  Lanes<BYTES> sum[4];  // of x[i] and x[7 - i]
  Lanes<BYTES> dif[4];
  for (int i = 0; i < 4; ++i) {
    sum[i] = x.v[i] + x.v[7 - i];
    dif[i] = x.v[i] - x.v[7 - i];
  }
  const Lanes<BYTES> outer = sum[0] + sum[3];
  const Lanes<BYTES> inner = sum[1] + sum[2];
  const Sums<BYTES> rounding = {Words<BYTES>{} + Pass::ROUNDING, Words<BYTES>{} + Pass::ROUNDING};
  const auto descale = [](const Sums<BYTES>& sums) __attribute__((always_inline)) {
    return sums.template descaled<Pass::SHIFT>();
  };

  Eight<BYTES> out;
  out.v[0] = Pass::dc(outer + inner);
  out.v[4] = Pass::sum(outer - inner);

  const Pair<BYTES> even(sum[0] - sum[3], sum[1] - sum[2]);
  out.v[2] = descale(even.template products<FIX_0_541196100 + FIX_0_765366865, FIX_0_541196100>() + rounding);
  out.v[6] = descale(even.template products<FIX_0_541196100, FIX_0_541196100 - FIX_1_847759065>() + rounding);

  const Pair<BYTES> crossed(dif[3] + dif[1], dif[2] + dif[0]);
  const auto z3 = crossed.template products<FIX_1_175875602 - FIX_1_961570560, FIX_1_175875602>() + rounding;
  const auto z4 = crossed.template products<FIX_1_175875602, FIX_1_175875602 - FIX_0_390180644>() + rounding;
  const Pair<BYTES> ends(dif[3], dif[0]);
  out.v[7] = descale(ends.template products<FIX_0_298631336 - FIX_0_899976223, -FIX_0_899976223>() + z3);
  out.v[1] = descale(ends.template products<-FIX_0_899976223, FIX_1_501321110 - FIX_0_899976223>() + z4);
  const Pair<BYTES> middle(dif[2], dif[1]);
  out.v[5] = descale(middle.template products<FIX_2_053119869 - FIX_2_562915447, -FIX_2_562915447>() + z4);
  out.v[3] = descale(middle.template products<-FIX_2_562915447, FIX_3_072711026 - FIX_2_562915447>() + z3);
  return out;
}

/// x / 8, rounded to nearest with halves away from zero: floor((x + 4) / 8) for x >= 0, and for x < 0
/// -floor((-x + 4) / 8) = floor((x + 3) / 8). Coefficients lie in -8192 to 8160, so that nothing overflows.
template <class V>
[[gnu::always_inline]] inline V divideByEight(V x) {
  return right<3>(x + right<15>(x) + 4);
}

/// How the rows of a block come from its plane: eight bytes as they are.
struct Plain {
  template <std::size_t BYTES>
  [[gnu::always_inline]] static Lanes<BYTES> row(const std::uint8_t* first, const std::uint8_t* second) {
    return widenLow(loadHalves<BYTES>(first, second));
  }
};

/// Sixteen bytes of chroma, whose pairs become one. The sample ((a + b - 255) >> 1) x 4 is that of the byte
/// (a + b + 1) >> 1: 128 more behind the shift is 256 more before it.
struct Joined {
  template <std::size_t BYTES>
  [[gnu::always_inline]] static Lanes<BYTES> row(const std::uint8_t* first, const std::uint8_t* second) {
    const auto pairs = loadWhole<BYTES>(first, second);
    return ((pairs & 0xFF) + (pairs >> 8) + 1) >> 1;
  }
};

/// Transforms and quantises the blocks whose rows, `width` bytes apart, begin at `first` and `second`, in vectors of
/// `BYTES`, which hold one of them or both.
template <class Rows, std::size_t BYTES>
[[gnu::always_inline]] inline void transform(const std::uint8_t* first, const std::uint8_t* second, std::size_t width,
                                             BlockPair& blocks) {
  for (std::size_t block = 0; block < 2; block += BYTES / BLOCK_BYTES) {
    Eight<BYTES> rows;
    for (std::size_t i = 0; i < 8; ++i) {
      rows.v[i] = Rows::template row<BYTES>((block == 0 ? first : second) + i * width, second + i * width);
    }
    const auto columns = transpose(transformLanes<RowPass>(transpose(rows)));
    Eight<BYTES> coefficients = transformLanes<ColumnPass>(columns);
    for (auto& row : coefficients.v) row = divideByEight(row);

    std::uint64_t positions[2] = {};
    for (int row = 0; row < 8; row += 2) {
      const auto upper = coefficients.v[row];
      const auto lower = coefficients.v[row + 1];
      __builtin_memcpy(blocks.values[row][block], &upper, BYTES);
      __builtin_memcpy(blocks.values[row + 1][block], &lower, BYTES);
      const std::uint32_t columnsSet = nonzero(upper, lower);
      for (std::size_t i = 0; i < BYTES / BLOCK_BYTES; ++i) {
        positions[i] |= SCAN.positions[row][columnsSet >> 16 * i & 0xFF] |
                        SCAN.positions[row + 1][columnsSet >> (16 * i + 8) & 0xFF];
      }
    }
    for (std::size_t i = 0; i < BYTES / BLOCK_BYTES; ++i) blocks.nonzero[block + i] = positions[i];
  }
}

}  // namespace kesto::fast
