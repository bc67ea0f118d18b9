// Pictures out of a few bytes of a fuzz input, from white to the noise that codes worst.
#pragma once

#include <cmath>
#include <cstdint>
#include <numbers>

#include "input.h"

namespace kesto::fuzz {

/// A row-by-row picture of `height` rows of `width` bytes.
inline Bytes readPicture(Input& in, std::size_t width, std::size_t height) {
  const std::uint8_t kind = in.byte();
  const std::uint32_t seed = in.word16();
  const Bytes given = in.bytes(kind >> 4 << 2);
  std::uint32_t random = seed;
  const auto pixel = [&](std::size_t x, std::size_t y) -> std::uint32_t {
    random = random * 1664525U + 1013904223U;
    switch (kind & 7) {
      case 0:
        return seed;
      case 1:
        return random >> 24;
      case 2:  // black and white noise: the largest steps
        return random >> 31 != 0 ? 255 : 0;
      case 3: {  // the signs of a basis function: the largest coefficients
        const auto wave = [](std::size_t i, std::uint32_t frequency) {
          return std::cos(static_cast<double>((2 * i + 1) * frequency) * std::numbers::pi / 16);
        };
        return wave(x % 8, seed % 8) * wave(y % 8, seed / 8 % 8) >= 0 ? 255 : 0;
      }
      case 4:  // lines and strokes on white
        return x % (seed % 61 + 2) == 0 || y % (seed / 256 % 61 + 2) == 0 ? 0 : 255;
      case 5:  // slopes
        return static_cast<std::uint32_t>(x * (seed >> 8) + y * seed) / 4;
      case 6:  // a dot or two on white
        return (random >> 16) % 997 == 0 ? random >> 24 : 255;
      default:
        return 255;
    }
  };
  Bytes picture;
  picture.reserve(width * height);
  for (std::size_t y = 0; y < height; ++y) {
    for (std::size_t x = 0; x < width; ++x) {
      const std::size_t at = y * width + x;
      picture.push_back(at < given.size() ? given[at] : static_cast<std::uint8_t>(pixel(x, y) & 0xFF));
    }
  }
  return picture;
}

}  // namespace kesto::fuzz
