// Vectors of 16-bit lanes for the fast paths, in the compiler's own vectors, which are those of any processor.
//
// A vector holds the eight lanes of one block in 16 bytes, or those of two blocks side by side in 32. What moves lanes
// does to each 16 bytes what it does to a vector of 16. Only the three operations at the end know processors.
// Lanes are unsigned, because sums may wrap on their way; `right` shifts them as the signed numbers that they are.
// Code for 32 bytes is compiled for AVX2 alone. For its sake the headers of the fast paths hold functions that are
// always inlined and plain arrays only: a function that is shared with files compiled for every processor could end up
// in the program in its special form.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <utility>

#if defined(__x86_64__)
#include <immintrin.h>
#elif defined(__aarch64__)
#include <arm_neon.h>
#endif

namespace kesto::fast {

template <class Lane, std::size_t BYTES>
struct VectorOf {
  using Type [[gnu::vector_size(BYTES)]] = Lane;
};
template <class Lane, std::size_t BYTES>
using Vector = typename VectorOf<Lane, BYTES>::Type;

template <std::size_t BYTES>
using Bytes = Vector<std::uint8_t, BYTES>;
template <std::size_t BYTES>
using Lanes = Vector<std::uint16_t, BYTES>;
/// What products and sums of lanes are in 32 bits.
template <std::size_t BYTES>
using Words = Vector<std::int32_t, BYTES>;

inline constexpr bool IS_LITTLE = std::endian::native == std::endian::little;

/// The part of a vector that belongs to one block.
inline constexpr std::size_t BLOCK_BYTES = 16;

/// The same bits as another vector.
template <class Type, class V>
[[gnu::always_inline]] inline Type as(V x) {
  return __builtin_bit_cast(Type, x);
}

template <class Type>
[[gnu::always_inline]] inline Type load(const std::uint8_t* bytes) {
  Type value;
  __builtin_memcpy(&value, bytes, sizeof value);
  return value;
}

/// The first 8 of each block's 16 bytes, from as many places as the vector has blocks.
template <std::size_t BYTES>
[[gnu::always_inline]] inline Lanes<BYTES> loadHalves(const std::uint8_t* first, const std::uint8_t* second) {
  if constexpr (BYTES == BLOCK_BYTES) {
    return as<Lanes<BYTES>>(Vector<std::uint64_t, BYTES>{load<std::uint64_t>(first), 0});
  } else {
    return as<Lanes<BYTES>>(
        Vector<std::uint64_t, BYTES>{load<std::uint64_t>(first), 0, load<std::uint64_t>(second), 0});
  }
}

/// Each block's 16 bytes.
template <std::size_t BYTES>
[[gnu::always_inline]] inline Lanes<BYTES> loadWhole(const std::uint8_t* first, const std::uint8_t* second) {
  using Block = Lanes<BLOCK_BYTES>;
  if constexpr (BYTES == BLOCK_BYTES) {
    return load<Block>(first);
  } else {
    return __builtin_shufflevector(load<Block>(first), load<Block>(second), 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12,
                                   13, 14, 15);
  }
}

template <class V, class Lane, std::size_t FIRST, std::size_t... I>
[[gnu::always_inline]] inline V interleaveFrom(V a, V b, std::index_sequence<I...> /*lanes*/) {
  using Operand = Vector<Lane, sizeof(V)>;
  constexpr std::size_t LANES = sizeof...(I);
  constexpr std::size_t LANES_OF_BLOCK = BLOCK_BYTES / sizeof(Lane);
  return as<V>(__builtin_shufflevector(
      as<Operand>(a), as<Operand>(b),
      (I / LANES_OF_BLOCK * LANES_OF_BLOCK + FIRST + I % LANES_OF_BLOCK / 2 + I % 2 * LANES)...));
}

/// The lanes of the first half of each block, from `a` and `b` in turn; `Lane` says how wide they are for this.
template <class Lane, class V>
[[gnu::always_inline]] inline V low(V a, V b) {
  return interleaveFrom<V, Lane, 0>(a, b, std::make_index_sequence<sizeof(V) / sizeof(Lane)>());
}

/// Those of the second half.
template <class Lane, class V>
[[gnu::always_inline]] inline V high(V a, V b) {
  return interleaveFrom<V, Lane, BLOCK_BYTES / sizeof(Lane) / 2>(a, b,
                                                                 std::make_index_sequence<sizeof(V) / sizeof(Lane)>());
}

/// Lanes of the 8 bytes in each block's first half.
template <class V>
[[gnu::always_inline]] inline V widenLow(V bytes) {
  return IS_LITTLE ? low<std::uint8_t>(bytes, V{}) : low<std::uint8_t>(V{}, bytes);
}

/// Those of the second half.
template <class V>
[[gnu::always_inline]] inline V widenHigh(V bytes) {
  return IS_LITTLE ? high<std::uint8_t>(bytes, V{}) : high<std::uint8_t>(V{}, bytes);
}

template <int N, class V>
[[gnu::always_inline]] inline V right(V x) {
  return as<V>(as<Vector<std::int16_t, sizeof(V)>>(x) >> N);
}

/// Two factors in turn.
template <std::size_t BYTES, std::int32_t a, std::int32_t b>
[[gnu::always_inline]] inline Lanes<BYTES> factors() {
  static_assert(a >= INT16_MIN && a <= INT16_MAX && b >= INT16_MIN && b <= INT16_MAX);
  using Pairs = Vector<std::uint32_t, BYTES>;
  constexpr auto PAIR = static_cast<std::uint32_t>(IS_LITTLE ? b : a) << 16 | ((IS_LITTLE ? a : b) & 0xFFFF);
  return as<Lanes<BYTES>>(Pairs{} + PAIR);
}

// multiplyPairs: products of lanes, summed in pairs. narrow: each block's lanes of `first` before those of `second`, in
// half their size, which they have to fit. nonzero: a bit for each lane that is not 0, for each block eight of `upper`
// below eight of `lower`.

#if defined(__x86_64__)

[[gnu::always_inline]] inline Words<16> multiplyPairs(Lanes<16> x, Lanes<16> y) {
  return as<Words<16>>(_mm_madd_epi16(as<__m128i>(x), as<__m128i>(y)));
}
[[gnu::always_inline]] inline Lanes<16> narrow(Words<16> first, Words<16> second) {
  return as<Lanes<16>>(_mm_packs_epi32(as<__m128i>(first), as<__m128i>(second)));
}
[[gnu::always_inline]] inline Bytes<16> narrow(Lanes<16> first, Lanes<16> second) {
  return as<Bytes<16>>(_mm_packus_epi16(as<__m128i>(first), as<__m128i>(second)));
}
[[gnu::always_inline]] inline std::uint32_t nonzero(Lanes<16> upper, Lanes<16> lower) {
  // Saturation to bytes keeps what is not 0 from becoming 0.
  const __m128i bytes = _mm_packs_epi16(as<__m128i>(upper), as<__m128i>(lower));
  return ~static_cast<std::uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, _mm_setzero_si128()))) & 0xFFFF;
}

#if defined(__AVX2__)

[[gnu::always_inline]] inline Words<32> multiplyPairs(Lanes<32> x, Lanes<32> y) {
  return as<Words<32>>(_mm256_madd_epi16(as<__m256i>(x), as<__m256i>(y)));
}
[[gnu::always_inline]] inline Lanes<32> narrow(Words<32> first, Words<32> second) {
  return as<Lanes<32>>(_mm256_packs_epi32(as<__m256i>(first), as<__m256i>(second)));
}
[[gnu::always_inline]] inline Bytes<32> narrow(Lanes<32> first, Lanes<32> second) {
  return as<Bytes<32>>(_mm256_packus_epi16(as<__m256i>(first), as<__m256i>(second)));
}
[[gnu::always_inline]] inline std::uint32_t nonzero(Lanes<32> upper, Lanes<32> lower) {
  const __m256i bytes = _mm256_packs_epi16(as<__m256i>(upper), as<__m256i>(lower));
  return ~static_cast<std::uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi8(bytes, _mm256_setzero_si256())));
}

#endif
#else

[[gnu::always_inline]] inline Words<16> multiplyPairs(Lanes<16> x, Lanes<16> y) {
  using Signed = Vector<std::int16_t, 16>;
#if defined(__aarch64__)
  const auto a = as<int16x8_t>(x);
  const auto b = as<int16x8_t>(y);
  return as<Words<16>>(vpaddq_s32(vmull_s16(vget_low_s16(a), vget_low_s16(b)), vmull_high_s16(a, b)));
#else
  const auto even = [](Lanes<16> v) {
    return __builtin_convertvector(__builtin_shufflevector(as<Signed>(v), as<Signed>(v), 0, 2, 4, 6), Words<16>);
  };
  const auto odd = [](Lanes<16> v) {
    return __builtin_convertvector(__builtin_shufflevector(as<Signed>(v), as<Signed>(v), 1, 3, 5, 7), Words<16>);
  };
  return even(x) * even(y) + odd(x) * odd(y);
#endif
}

/// Every second element, of which the low halves of `V`'s are made.
template <class Half, class V, std::size_t... I>
[[gnu::always_inline]] inline Half lowHalves(V first, V second, std::index_sequence<I...> /*halves*/) {
  constexpr std::size_t FIRST = IS_LITTLE ? 0 : 1;
  return __builtin_shufflevector(as<Half>(first), as<Half>(second), (2 * I + FIRST)...);
}
[[gnu::always_inline]] inline Lanes<16> narrow(Words<16> first, Words<16> second) {
  return lowHalves<Lanes<16>>(first, second, std::make_index_sequence<8>());
}
[[gnu::always_inline]] inline Bytes<16> narrow(Lanes<16> first, Lanes<16> second) {
  return lowHalves<Bytes<16>>(first, second, std::make_index_sequence<16>());
}
[[gnu::always_inline]] inline std::uint32_t nonzero(Lanes<16> upper, Lanes<16> lower) {
  constexpr Lanes<16> BITS = {1, 2, 4, 8, 16, 32, 64, 128};
  const auto isSet = [](Lanes<16> v) { return as<Lanes<16>>(v != 0); };
  const Lanes<16> bits = (isSet(upper) & BITS) | (isSet(lower) & (BITS << 8));
#if defined(__aarch64__)
  return vaddvq_u16(as<uint16x8_t>(bits));
#else
  std::uint32_t sum = 0;
  for (int i = 0; i < 8; ++i) sum += bits[i];
  return sum;
#endif
}

#endif

}  // namespace kesto::fast
