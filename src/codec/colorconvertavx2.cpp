// The colour conversion in vectors of AVX2; compiled with these switched on, and called only where there are any.
//
// The basic instruction set can neither take every third byte nor multiply 32-bit lanes. Here two shuffles bring the
// red and green and the blue of eight pixels into 16-bit lanes, from where products go into 32 bits.
#include "codec/colorequations.h"

#if defined(__AVX2__)

#include <immintrin.h>

namespace kesto::fast {
namespace {

constexpr int PIXELS_PER_VECTOR = 8;
constexpr int VECTORS = PIXEL_GROUP / PIXELS_PER_VECTOR;

/// The red and green, and the blue and the constant UNIT, of eight pixels.
struct Channels {
  __m256i redGreen, blueUnit;
};

/// The lane that brings an equation's constants into the sum. They are multiples of it, and fit a lane when divided.
constexpr int UNIT = 32;

/// Eight pixels: the first four from bytes 0 to 15, the others from bytes 8 to 23.
[[gnu::always_inline]] inline Channels loadChannels(const std::uint8_t* rgb) {
  const auto* halves = reinterpret_cast<const __m128i*>(rgb);
  const __m256i bytes = _mm256_loadu2_m128i(reinterpret_cast<const __m128i*>(rgb + 8), halves);
  const __m256i redGreen = _mm256_setr_epi8(0, -1, 1, -1, 3, -1, 4, -1, 6, -1, 7, -1, 9, -1, 10, -1,  //
                                            4, -1, 5, -1, 7, -1, 8, -1, 10, -1, 11, -1, 13, -1, 14, -1);
  const __m256i blue = _mm256_setr_epi8(2, -1, -1, -1, 5, -1, -1, -1, 8, -1, -1, -1, 11, -1, -1, -1,  //
                                        6, -1, -1, -1, 9, -1, -1, -1, 12, -1, -1, -1, 15, -1, -1, -1);
  return {_mm256_shuffle_epi8(bytes, redGreen),
          _mm256_or_si256(_mm256_shuffle_epi8(bytes, blue), _mm256_set1_epi32(UNIT << 16))};
}

template <int first, int second>
[[gnu::always_inline]] inline __m256i factors() {
  static_assert(first >= INT16_MIN && first <= INT16_MAX && second >= INT16_MIN && second <= INT16_MAX);
  return _mm256_set1_epi32(static_cast<int>(static_cast<unsigned>(second) << 16 | (first & 0xFFFF)));
}

/// One component of all pixels of a group. What is added after the shift may as well be added before it, times 1024.
template <Equation equation>
[[gnu::always_inline]] inline __m256i component(const Channels* channels) {
  constexpr int ADDED = 128 + 1024 * equation.offset;
  static_assert(ADDED % UNIT == 0);
  __m256i sums[VECTORS];
  for (int i = 0; i < VECTORS; ++i) {
    sums[i] = _mm256_srai_epi32(
        _mm256_add_epi32(_mm256_madd_epi16(channels[i].redGreen, factors<equation.red, equation.green>()),
                         _mm256_madd_epi16(channels[i].blueUnit, factors<equation.blue, ADDED / UNIT>())),
        10);
  }
  // Packing works on the halves of vectors separately, which leaves groups of four pixels to be put in order.
  const __m256i packed =
      _mm256_packus_epi16(_mm256_packs_epi32(sums[0], sums[1]), _mm256_packs_epi32(sums[2], sums[3]));
  return _mm256_permutevar8x32_epi32(packed, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
}

[[gnu::always_inline]] inline void store(std::uint8_t* bytes, __m256i vector) {
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(bytes), vector);
}

}  // namespace

void convertGroupsWithAvx2(const std::uint8_t* rgb, std::size_t count, std::uint8_t* y, std::uint8_t* cb,
                           std::uint8_t* cr) {
  for (std::size_t at = 0; at < count; at += PIXEL_GROUP) {
    Channels channels[VECTORS];
    for (int i = 0; i < VECTORS; ++i) channels[i] = loadChannels(rgb + 3 * at + i * 3 * PIXELS_PER_VECTOR);
    store(y + at, component<LUMA>(channels));
    store(cb + at, component<BLUE_DIFFERENCE>(channels));
    store(cr + at, component<RED_DIFFERENCE>(channels));
  }
}

}  // namespace kesto::fast

#endif
