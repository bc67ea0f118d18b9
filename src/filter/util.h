// Small helpers that belong nowhere else.
#pragma once

#include <bit>
#include <cstdint>
#include <cstdlib>

namespace kesto {

/// The float whose bytes in memory are those of `value` in little-endian order, which is the order of the PCL XL
/// stream. On a little-endian host this is `value` itself.
[[nodiscard]] constexpr float swapFloat(float value) {
  if constexpr (std::endian::native == std::endian::little) return value;
  const auto bits = std::bit_cast<std::uint32_t>(value);
  return std::bit_cast<float>((bits >> 24) | ((bits >> 8) & 0xFF00u) | ((bits << 8) & 0xFF0000u) | (bits << 24));
}

/// The environment variable `name`, or null. Nothing in the process changes the environment.
[[nodiscard]] inline const char* environmentValue(const char* name) {
  return std::getenv(name);  // NOLINT(concurrency-mt-unsafe)
}

}  // namespace kesto
