// Runs of one value, which most of a page is made of.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace kesto {

/// True when all of `bytes`, at least one, are `value`.
[[nodiscard]] inline bool isUniform(std::span<const std::uint8_t> bytes, std::uint8_t value) {
  // Equal to itself one byte later: no loop of ours beats the library's comparison.
  return bytes.front() == value && std::memcmp(bytes.data(), bytes.data() + 1, bytes.size() - 1) == 0;
}

/// True when all of a short stretch, a multiple of 8 bytes whose number the compiler knows, are 0xFF, which is white.
template <std::size_t COUNT>
[[nodiscard]] inline bool isWhite(const std::uint8_t* bytes) {
  static_assert(COUNT % sizeof(std::uint64_t) == 0);
  std::uint64_t common = ~std::uint64_t{0};
  for (std::size_t at = 0; at < COUNT; at += sizeof common) {
    std::uint64_t word = 0;
    std::memcpy(&word, bytes + at, sizeof word);
    common &= word;
  }
  return common == ~std::uint64_t{0};
}

}  // namespace kesto
