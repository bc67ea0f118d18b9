// Blocks of 8 x 8 bytes to quantised coefficients, in 16-bit lanes.
//
// The result is that of downSampleInt, fDCTransform and quantizePlane with the flat quantiser 8, bit for bit, although
// those work in 32 bits. What makes the lanes wide enough stands beside each step. `V` is one of the sets of vectors of
// fastlanes.h and with it the number of blocks that are worked on at once. No state; any thread may call.
#pragma once

#if defined(__x86_64__)

#include <cstddef>
#include <cstdint>

#include "codec/fast/fastlanes.h"
#include "codec/fdctconstants.h"
#include "codec/t81tables.h"

namespace kesto::fast {

/// The quantised coefficients of a block in natural order, and bit k set where zigzag position k is not 0.
struct Coefficients {
  alignas(16) std::int16_t values[BLOCK_SIZE];
  std::uint64_t nonzero;
};

struct ScanTables {
  std::uint64_t positions[8][256];   // by row and set of columns (bit c for column c): their zigzag positions
  std::uint8_t natural[BLOCK_SIZE];  // s_aiZigZagSequence
};

inline constexpr ScanTables SCAN = [] {
  ScanTables tables{};
  for (std::size_t k = 0; k < BLOCK_SIZE; ++k) {
    const auto natural = static_cast<std::size_t>(s_aiZigZagSequence[k]);
    tables.natural[k] = static_cast<std::uint8_t>(natural);
    for (std::size_t columns = 0; columns < 256; ++columns) {
      if ((columns >> natural % 8 & 1) != 0) tables.positions[natural / 8][columns] |= std::uint64_t{1} << k;
    }
  }
  return tables;
}();

/// Eight vectors: the rows or the columns of blocks, or their 1-D transforms.
template <class V>
struct Eight {
  typename V::Vector v[8];
};

template <class V>
[[gnu::always_inline]] inline Eight<V> transpose(const Eight<V>& r) {
  Eight<V> a;
  Eight<V> b;
  for (int i = 0; i < 8; i += 2) {
    a.v[i] = V::low16(r.v[i], r.v[i + 1]);
    a.v[i + 1] = V::high16(r.v[i], r.v[i + 1]);
  }
  for (int i = 0; i < 8; i += 4) {
    b.v[i] = V::low32(a.v[i], a.v[i + 2]);
    b.v[i + 1] = V::high32(a.v[i], a.v[i + 2]);
    b.v[i + 2] = V::low32(a.v[i + 1], a.v[i + 3]);
    b.v[i + 3] = V::high32(a.v[i + 1], a.v[i + 3]);
  }
  Eight<V> out;
  for (int i = 0; i < 4; ++i) {
    out.v[2 * i] = V::low64(b.v[i], b.v[i + 4]);
    out.v[2 * i + 1] = V::high64(b.v[i], b.v[i + 4]);
  }
  return out;
}

/// Columns as 16-bit lanes out of rows of bytes, which are the low halves of `r`.
template <class V>
[[gnu::always_inline]] inline Eight<V> columnsOf(const Eight<V>& r) {
  typename V::Vector a[4];
  for (int i = 0; i < 4; ++i) a[i] = V::low8(r.v[2 * i], r.v[2 * i + 1]);
  Eight<V> out;
  for (int half = 0; half < 2; ++half) {
    const auto upper = half == 0 ? V::low16(a[0], a[1]) : V::high16(a[0], a[1]);  // four columns of rows 0 to 3
    const auto lower = half == 0 ? V::low16(a[2], a[3]) : V::high16(a[2], a[3]);
    const auto first = V::low32(upper, lower);
    const auto last = V::high32(upper, lower);
    out.v[4 * half] = V::low8(first, V::zero());
    out.v[4 * half + 1] = V::high8(first, V::zero());
    out.v[4 * half + 2] = V::low8(last, V::zero());
    out.v[4 * half + 3] = V::high8(last, V::zero());
  }
  return out;
}

/// Two vectors lane by lane, and what becomes of them in 32 bits.
template <class V>
struct Pair {
  typename V::Vector low, high;

  [[gnu::always_inline]] Pair(typename V::Vector l, typename V::Vector h) : low(l), high(h) {}
  [[gnu::always_inline]] static Pair of(typename V::Vector x, typename V::Vector y) {
    return {V::low16(x, y), V::high16(x, y)};
  }
  /// x times `a` plus y times `b`.
  template <std::int32_t a, std::int32_t b>
  [[gnu::always_inline]] Pair products() const {
    static_assert(a >= INT16_MIN && a <= INT16_MAX && b >= INT16_MIN && b <= INT16_MAX);
    const auto factors = V::all32(static_cast<std::int32_t>(static_cast<std::uint32_t>(b) << 16 | (a & 0xFFFF)));
    return {V::multiplyPairs(low, factors), V::multiplyPairs(high, factors)};
  }
  [[gnu::always_inline]] Pair operator+(const Pair& other) const {
    return {V::add32(low, other.low), V::add32(high, other.high)};
  }
};

/// Rows. The bytes go in as they are: a sample is 4 (b - 128), so that in the samples' scale a sum is 4 times the
/// bytes' sum, less 8 x 512 for output 0 (in all other outputs the 512 cancel), and a product P, there 4 P, leaves as
/// ((4 P >> 12) + 1) >> 1 = (P + 2^10) >> 11.
template <class V>
struct RowPass {
  using Vector = typename V::Vector;
  static constexpr int SHIFT = 11;
  static constexpr int ROUNDING = 1 << 10;
  [[gnu::always_inline]] static Vector dc(Vector x) { return V::sub16(sum(x), V::all16(8 * 512)); }
  [[gnu::always_inline]] static Vector sum(Vector x) { return V::template left16<2>(x); }
};

/// Columns, as fdct.cpp has them.
template <class V>
struct ColumnPass {
  using Vector = typename V::Vector;
  static constexpr int SHIFT = 15;
  static constexpr int ROUNDING = 0;
  [[gnu::always_inline]] static Vector dc(Vector x) { return sum(x); }
  [[gnu::always_inline]] static Vector sum(Vector x) { return V::template right16<2>(x); }
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
template <class V, class Pass>
[[gnu::always_inline]] inline Eight<V> transformLanes(const Eight<V>& x) {
  using Vector = typename V::Vector;
  Vector sum[4];  // of x[i] and x[7 - i]
  Vector dif[4];
  for (int i = 0; i < 4; ++i) {
    sum[i] = V::add16(x.v[i], x.v[7 - i]);
    dif[i] = V::sub16(x.v[i], x.v[7 - i]);
  }
  const Vector outer = V::add16(sum[0], sum[3]);
  const Vector inner = V::add16(sum[1], sum[2]);
  const Pair<V> rounding(V::all32(Pass::ROUNDING), V::all32(Pass::ROUNDING));
  const auto descale = [](const Pair<V>& p) __attribute__((always_inline)) {
    return V::pack32(V::template right32<Pass::SHIFT>(p.low), V::template right32<Pass::SHIFT>(p.high));
  };

  Eight<V> out;
  out.v[0] = Pass::dc(V::add16(outer, inner));
  out.v[4] = Pass::sum(V::sub16(outer, inner));

  const auto even = Pair<V>::of(V::sub16(sum[0], sum[3]), V::sub16(sum[1], sum[2]));
  out.v[2] = descale(even.template products<FIX_0_541196100 + FIX_0_765366865, FIX_0_541196100>() + rounding);
  out.v[6] = descale(even.template products<FIX_0_541196100, FIX_0_541196100 - FIX_1_847759065>() + rounding);

  const auto crossed = Pair<V>::of(V::add16(dif[3], dif[1]), V::add16(dif[2], dif[0]));
  const auto z3 = crossed.template products<FIX_1_175875602 - FIX_1_961570560, FIX_1_175875602>() + rounding;
  const auto z4 = crossed.template products<FIX_1_175875602, FIX_1_175875602 - FIX_0_390180644>() + rounding;
  const auto ends = Pair<V>::of(dif[3], dif[0]);
  out.v[7] = descale(ends.template products<FIX_0_298631336 - FIX_0_899976223, -FIX_0_899976223>() + z3);
  out.v[1] = descale(ends.template products<-FIX_0_899976223, FIX_1_501321110 - FIX_0_899976223>() + z4);
  const auto middle = Pair<V>::of(dif[2], dif[1]);
  out.v[5] = descale(middle.template products<FIX_2_053119869 - FIX_2_562915447, -FIX_2_562915447>() + z4);
  out.v[3] = descale(middle.template products<-FIX_2_562915447, FIX_3_072711026 - FIX_2_562915447>() + z3);
  return out;
}

/// x / 8, rounded to nearest with halves away from zero: floor((x + 4) / 8) for x >= 0, and for x < 0
/// -floor((-x + 4) / 8) = floor((x + 3) / 8). Coefficients lie in -8192 to 8160, so that nothing overflows.
template <class V>
[[gnu::always_inline]] inline typename V::Vector divideByEight(typename V::Vector x) {
  const auto sign = V::template right16<15>(x);
  return V::template right16<3>(V::add16(V::add16(x, sign), V::all16(4)));
}

/// Transforms and quantises the blocks whose rows of bytes are the low halves of `rows`.
template <class V>
[[gnu::always_inline]] inline void transformBlocks(const Eight<V>& rows, Coefficients* blocks) {
  const Eight<V> columns = transpose<V>(transformLanes<V, RowPass<V>>(columnsOf<V>(rows)));
  Eight<V> coefficients = transformLanes<V, ColumnPass<V>>(columns);
  for (auto& row : coefficients.v) row = divideByEight<V>(row);

  std::uint64_t nonzero[V::BLOCKS] = {};
  for (int row = 0; row < 8; row += 2) {
    const auto upper = coefficients.v[row];
    const auto lower = coefficients.v[row + 1];
    constexpr std::size_t DISTANCE = sizeof(Coefficients) / sizeof(std::int16_t);
    V::storeRow(upper, blocks->values + row * 8, DISTANCE);
    V::storeRow(lower, blocks->values + row * 8 + 8, DISTANCE);
    // Saturation to bytes keeps what is not 0 from becoming 0.
    std::uint32_t columnsSet = V::nonzeroBytes(V::pack16(upper, lower));
    for (int block = 0; block < V::BLOCKS; ++block) {
      nonzero[block] |= SCAN.positions[row][columnsSet & 0xFF] | SCAN.positions[row + 1][columnsSet >> 8 & 0xFF];
      columnsSet >>= 16;
    }
  }
  for (int block = 0; block < V::BLOCKS; ++block) blocks[block].nonzero = nonzero[block];
}

/// Transforms blocks of bytes that lie side by side, `width` bytes to a line.
template <class V>
[[gnu::always_inline]] inline void transformPlain(const std::uint8_t* bytes, std::size_t width, Coefficients* blocks) {
  Eight<V> rows;
  for (std::size_t i = 0; i < 8; ++i) rows.v[i] = V::loadRow(bytes + i * width);
  transformBlocks<V>(rows, blocks);
}

/// Transforms one block of 16 x 8 bytes, or one each at `first` and `last`, as chroma, whose pairs of bytes become one.
///
/// The sample ((a + b - 255) >> 1) x 4 is that of the byte (a + b + 1) >> 1: 128 more behind the shift is 256 more
/// before it. This is how the instruction for averages rounds.
template <class V>
[[gnu::always_inline]] inline void transformJoined(const std::uint8_t* first, const std::uint8_t* last,
                                                   std::size_t width, Coefficients* blocks) {
  Eight<V> rows;
  for (std::size_t i = 0; i < 8; ++i) {
    const auto bytes = V::loadWideRow(first + i * width, last + i * width);
    const auto means = V::average8(bytes, V::template rightUnsigned16<8>(bytes));
    rows.v[i] = V::packUnsigned16(V::bitAnd(means, V::all16(0xFF)), V::zero());
  }
  transformBlocks<V>(rows, blocks);
}

}  // namespace kesto::fast

#endif
