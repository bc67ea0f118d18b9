#include "fractalnoise.h"

#include <algorithm>

namespace kesto::bench {
namespace {

/// Adds a surface that lies between random points `cell` pixels apart, straight from point to point.
void addSurface(std::uint32_t seed, std::size_t cell, float amplitude, std::uint32_t y, std::span<float> row) {
  const auto size = static_cast<std::uint32_t>(cell);
  const float down = static_cast<float>(y % size) / static_cast<float>(size);
  const auto pointAt = [&](std::uint32_t column) {
    const float above = signedHashOf(seed, column, y / size);
    const float below = signedHashOf(seed, column, y / size + 1);
    return amplitude * (above + (below - above) * down);
  };
  float left = pointAt(0);
  for (std::size_t start = 0; start < row.size(); start += cell) {
    const float right = pointAt(static_cast<std::uint32_t>(start / cell + 1));
    const float step = (right - left) / static_cast<float>(cell);
    const std::span<float> piece = row.subspan(start, std::min(cell, row.size() - start));
    for (std::size_t i = 0; i < piece.size(); ++i) piece[i] += left + step * static_cast<float>(i);
    left = right;
  }
}

}  // namespace

void makeNoiseRow(const NoiseShape& shape, std::uint32_t y, std::span<float> row) {
  std::ranges::fill(row, 0.0F);
  float amplitude = shape.amplitude;
  for (std::size_t cell = shape.coarsest; cell >= shape.finest && cell > 0; cell /= 2) {
    addSurface(shape.seed + static_cast<std::uint32_t>(cell), cell, amplitude, y, row);
    amplitude *= shape.roughness;
  }
}

}  // namespace kesto::bench
