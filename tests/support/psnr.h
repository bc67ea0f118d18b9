// How alike two pictures are.
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>
#include <span>
#include <stdexcept>

namespace kesto::test {

/// The peak signal-to-noise ratio of two planes in dB; infinite when they are equal.
[[nodiscard]] inline double psnr(std::span<const std::uint8_t> a, std::span<const std::uint8_t> b) {
  if (a.size() != b.size() || a.empty()) throw std::runtime_error("planes of different sizes have no PSNR");
  double squares = 0;
  for (std::size_t i = 0; i < a.size(); ++i) {
    const double difference = static_cast<double>(a[i]) - b[i];
    squares += difference * difference;
  }
  if (squares == 0) return std::numeric_limits<double>::infinity();
  return 10 * std::log10(255.0 * 255.0 * static_cast<double>(a.size()) / squares);
}

}  // namespace kesto::test
