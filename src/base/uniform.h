// Runs of one value, which most of a page is made of.
#pragma once

#include <cstdint>
#include <cstring>
#include <span>

namespace kesto {

/// True when all of `bytes`, at least one, are `value`.
[[nodiscard]] inline bool isUniform(std::span<const std::uint8_t> bytes, std::uint8_t value) {
  // Equal to itself one byte later: no loop of ours beats the library's comparison.
  return bytes.front() == value && std::memcmp(bytes.data(), bytes.data() + 1, bytes.size() - 1) == 0;
}

}  // namespace kesto
