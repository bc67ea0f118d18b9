// Vectors of 16-bit lanes for the fast band path: one block in SSE2's 128 bits, two blocks side by side in AVX2's 256.
//
// Every operation of AVX2 that is used here works on its two halves separately, so that code written in terms of these
// names does to each block what it does to a single one. Nothing but names for instructions.
// Code that uses the second set is compiled for such processors alone (fastbandavx2.cpp). For its sake the headers of
// the fast path hold functions that are always inlined and plain arrays only: a function that is shared with files
// compiled for every processor could end up in the program in its special form.
#pragma once

#if defined(__x86_64__)

#include <cstddef>
#include <cstdint>

#include <immintrin.h>

namespace kesto::fast {

struct Sse2Lanes {
  static constexpr int BLOCKS = 1;
  using Vector = __m128i;

  /// Eight bytes of one row of each block, in the low half of the block's lanes.
  [[gnu::always_inline]] static Vector loadRow(const std::uint8_t* row) {
    return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(row));
  }
  /// Sixteen bytes for each block.
  [[gnu::always_inline]] static Vector loadWideRow(const std::uint8_t* first, const std::uint8_t* /*last*/) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(first));
  }
  /// Stores a row of coefficients for each block; blocks are `distance` coefficients apart.
  [[gnu::always_inline]] static void storeRow(Vector row, std::int16_t* first, std::size_t /*distance*/) {
    _mm_store_si128(reinterpret_cast<__m128i*>(first), row);
  }
  /// A bit for each byte that is not 0, 16 for each block.
  [[gnu::always_inline]] static std::uint32_t nonzeroBytes(Vector x) {
    return ~static_cast<std::uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(x, zero()))) & 0xFFFF;
  }

  [[gnu::always_inline]] static Vector zero() { return _mm_setzero_si128(); }
  [[gnu::always_inline]] static Vector all16(int x) { return _mm_set1_epi16(static_cast<std::int16_t>(x)); }
  [[gnu::always_inline]] static Vector all32(int x) { return _mm_set1_epi32(x); }
  [[gnu::always_inline]] static Vector add16(Vector a, Vector b) { return _mm_add_epi16(a, b); }
  [[gnu::always_inline]] static Vector sub16(Vector a, Vector b) { return _mm_sub_epi16(a, b); }
  [[gnu::always_inline]] static Vector add32(Vector a, Vector b) { return _mm_add_epi32(a, b); }
  [[gnu::always_inline]] static Vector bitAnd(Vector a, Vector b) { return _mm_and_si128(a, b); }
  [[gnu::always_inline]] static Vector average8(Vector a, Vector b) { return _mm_avg_epu8(a, b); }
  [[gnu::always_inline]] static Vector multiplyPairs(Vector a, Vector b) { return _mm_madd_epi16(a, b); }
  template <int N>
  [[gnu::always_inline]] static Vector left16(Vector x) {
    return _mm_slli_epi16(x, N);
  }
  template <int N>
  [[gnu::always_inline]] static Vector right16(Vector x) {
    return _mm_srai_epi16(x, N);
  }
  template <int N>
  [[gnu::always_inline]] static Vector rightUnsigned16(Vector x) {
    return _mm_srli_epi16(x, N);
  }
  template <int N>
  [[gnu::always_inline]] static Vector right32(Vector x) {
    return _mm_srai_epi32(x, N);
  }
  [[gnu::always_inline]] static Vector pack32(Vector a, Vector b) { return _mm_packs_epi32(a, b); }
  [[gnu::always_inline]] static Vector pack16(Vector a, Vector b) { return _mm_packs_epi16(a, b); }
  [[gnu::always_inline]] static Vector packUnsigned16(Vector a, Vector b) { return _mm_packus_epi16(a, b); }
  [[gnu::always_inline]] static Vector low8(Vector a, Vector b) { return _mm_unpacklo_epi8(a, b); }
  [[gnu::always_inline]] static Vector high8(Vector a, Vector b) { return _mm_unpackhi_epi8(a, b); }
  [[gnu::always_inline]] static Vector low16(Vector a, Vector b) { return _mm_unpacklo_epi16(a, b); }
  [[gnu::always_inline]] static Vector high16(Vector a, Vector b) { return _mm_unpackhi_epi16(a, b); }
  [[gnu::always_inline]] static Vector low32(Vector a, Vector b) { return _mm_unpacklo_epi32(a, b); }
  [[gnu::always_inline]] static Vector high32(Vector a, Vector b) { return _mm_unpackhi_epi32(a, b); }
  [[gnu::always_inline]] static Vector low64(Vector a, Vector b) { return _mm_unpacklo_epi64(a, b); }
  [[gnu::always_inline]] static Vector high64(Vector a, Vector b) { return _mm_unpackhi_epi64(a, b); }
};

#if defined(__AVX2__)

struct Avx2Lanes {
  static constexpr int BLOCKS = 2;
  using Vector = __m256i;

  [[gnu::always_inline]] static Vector loadRow(const std::uint8_t* row) {
    const __m128i both = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row));
    return _mm256_permute4x64_epi64(_mm256_castsi128_si256(both), 0x50);
  }
  [[gnu::always_inline]] static Vector loadWideRow(const std::uint8_t* first, const std::uint8_t* last) {
    return _mm256_loadu2_m128i(reinterpret_cast<const __m128i*>(last), reinterpret_cast<const __m128i*>(first));
  }
  [[gnu::always_inline]] static void storeRow(Vector row, std::int16_t* first, std::size_t distance) {
    _mm_store_si128(reinterpret_cast<__m128i*>(first), _mm256_castsi256_si128(row));
    _mm_store_si128(reinterpret_cast<__m128i*>(first + distance), _mm256_extracti128_si256(row, 1));
  }
  [[gnu::always_inline]] static std::uint32_t nonzeroBytes(Vector x) {
    return ~static_cast<std::uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi8(x, zero())));
  }

  [[gnu::always_inline]] static Vector zero() { return _mm256_setzero_si256(); }
  [[gnu::always_inline]] static Vector all16(int x) { return _mm256_set1_epi16(static_cast<std::int16_t>(x)); }
  [[gnu::always_inline]] static Vector all32(int x) { return _mm256_set1_epi32(x); }
  [[gnu::always_inline]] static Vector add16(Vector a, Vector b) { return _mm256_add_epi16(a, b); }
  [[gnu::always_inline]] static Vector sub16(Vector a, Vector b) { return _mm256_sub_epi16(a, b); }
  [[gnu::always_inline]] static Vector add32(Vector a, Vector b) { return _mm256_add_epi32(a, b); }
  [[gnu::always_inline]] static Vector bitAnd(Vector a, Vector b) { return _mm256_and_si256(a, b); }
  [[gnu::always_inline]] static Vector average8(Vector a, Vector b) { return _mm256_avg_epu8(a, b); }
  [[gnu::always_inline]] static Vector multiplyPairs(Vector a, Vector b) { return _mm256_madd_epi16(a, b); }
  template <int N>
  [[gnu::always_inline]] static Vector left16(Vector x) {
    return _mm256_slli_epi16(x, N);
  }
  template <int N>
  [[gnu::always_inline]] static Vector right16(Vector x) {
    return _mm256_srai_epi16(x, N);
  }
  template <int N>
  [[gnu::always_inline]] static Vector rightUnsigned16(Vector x) {
    return _mm256_srli_epi16(x, N);
  }
  template <int N>
  [[gnu::always_inline]] static Vector right32(Vector x) {
    return _mm256_srai_epi32(x, N);
  }
  [[gnu::always_inline]] static Vector pack32(Vector a, Vector b) { return _mm256_packs_epi32(a, b); }
  [[gnu::always_inline]] static Vector pack16(Vector a, Vector b) { return _mm256_packs_epi16(a, b); }
  [[gnu::always_inline]] static Vector packUnsigned16(Vector a, Vector b) { return _mm256_packus_epi16(a, b); }
  [[gnu::always_inline]] static Vector low8(Vector a, Vector b) { return _mm256_unpacklo_epi8(a, b); }
  [[gnu::always_inline]] static Vector high8(Vector a, Vector b) { return _mm256_unpackhi_epi8(a, b); }
  [[gnu::always_inline]] static Vector low16(Vector a, Vector b) { return _mm256_unpacklo_epi16(a, b); }
  [[gnu::always_inline]] static Vector high16(Vector a, Vector b) { return _mm256_unpackhi_epi16(a, b); }
  [[gnu::always_inline]] static Vector low32(Vector a, Vector b) { return _mm256_unpacklo_epi32(a, b); }
  [[gnu::always_inline]] static Vector high32(Vector a, Vector b) { return _mm256_unpackhi_epi32(a, b); }
  [[gnu::always_inline]] static Vector low64(Vector a, Vector b) { return _mm256_unpacklo_epi64(a, b); }
  [[gnu::always_inline]] static Vector high64(Vector a, Vector b) { return _mm256_unpackhi_epi64(a, b); }
};

#endif

}  // namespace kesto::fast

#endif
