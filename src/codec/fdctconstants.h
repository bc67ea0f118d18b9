// The constants of the forward DCT times 2^13, for both ways in which the codec computes it.
#pragma once

#include <cstdint>

namespace kesto {

inline constexpr std::int32_t FIX_0_298631336 = 2446;
inline constexpr std::int32_t FIX_0_390180644 = 3196;
inline constexpr std::int32_t FIX_0_541196100 = 4433;
inline constexpr std::int32_t FIX_0_765366865 = 6270;
inline constexpr std::int32_t FIX_0_899976223 = 7373;
inline constexpr std::int32_t FIX_1_175875602 = 9633;
inline constexpr std::int32_t FIX_1_501321110 = 12299;
inline constexpr std::int32_t FIX_1_847759065 = 15137;
inline constexpr std::int32_t FIX_1_961570560 = 16069;
inline constexpr std::int32_t FIX_2_053119869 = 16819;
inline constexpr std::int32_t FIX_2_562915447 = 20995;
inline constexpr std::int32_t FIX_3_072711026 = 25172;

}  // namespace kesto
