// Fractal noise: sums of ever finer random surfaces, which have the spectrum of photographs (amplitude falls as detail
// gets finer). Rows are computed one by one, and the same rows come every time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace kesto::bench {

/// A reproducible random number for a position.
[[nodiscard]] constexpr std::uint32_t hashOf(std::uint32_t seed, std::uint32_t x, std::uint32_t y) {
  std::uint32_t h = seed * 0x9E3779B1U + x * 0x85EBCA6BU + y * 0xC2B2AE35U;
  h = (h ^ h >> 15) * 0x2C1B3C6DU;
  h = (h ^ h >> 12) * 0x297A2D39U;
  return h ^ h >> 15;
}

/// The same as a number from -1 to 1.
[[nodiscard]] constexpr float signedHashOf(std::uint32_t seed, std::uint32_t x, std::uint32_t y) {
  return static_cast<float>(hashOf(seed, x, y) >> 8) * (2.0F / 16777216.0F) - 1.0F;
}

struct NoiseShape {
  std::uint32_t seed;
  std::size_t coarsest;  ///< distance of the coarsest surface's random points, in pixels; a power of 2
  std::size_t finest;    ///< of the finest one's
  float amplitude;       ///< of the coarsest surface
  float roughness;       ///< amplitude of a surface, as a multiple of that of the next coarser one
};

/// Sets `row` to row `y` of the noise.
void makeNoiseRow(const NoiseShape& shape, std::uint32_t y, std::span<float> row);

}  // namespace kesto::bench
