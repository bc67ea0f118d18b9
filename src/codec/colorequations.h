// The equations of the colour conversion, for both ways in which it is computed.
#pragma once

#include <cstdint>

namespace kesto {

/// The coefficients of R, G and B in 1024ths and what is added after the shift.
struct Equation {
  std::int32_t red, green, blue, offset;
};
inline constexpr Equation LUMA{306, 601, 117, 0};
inline constexpr Equation BLUE_DIFFERENCE{-173, -339, 512, 128};
inline constexpr Equation RED_DIFFERENCE{512, -429, -83, 128};

// Luma coefficients sum to 1024 and those of a difference to 0, with positive parts of 512: the shifted sums lie in
// 0..255 and -128..127, so nothing has to be clamped.
static_assert(LUMA.red + LUMA.green + LUMA.blue == 1024);
static_assert(BLUE_DIFFERENCE.red + BLUE_DIFFERENCE.green == -512 &&
              RED_DIFFERENCE.green + RED_DIFFERENCE.blue == -512);

}  // namespace kesto
