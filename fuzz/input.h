// A fuzz input as a sequence of values, read from the front, so that seeds can be written by hand. An input that has
// run out gives zeros and empty texts.
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace kesto::fuzz {

using Bytes = std::vector<std::uint8_t>;

class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size) : rest_(data, size) {}

  [[nodiscard]] bool empty() const { return rest_.empty(); }

  std::uint8_t byte() {
    const auto taken = view(1);
    return taken.empty() ? std::uint8_t{0} : taken[0];
  }
  bool flag() { return (byte() & 1) != 0; }
  std::uint32_t word16() {
    const std::uint32_t high = byte();
    return high << 8 | byte();
  }
  std::uint32_t word32() {
    const std::uint32_t high = word16();
    return high << 16 | word16();
  }
  /// A number from `low` to `high`, which are less than 65536 apart.
  std::uint32_t number(std::uint32_t low, std::uint32_t high) {
    const std::uint32_t count = high - low + 1;
    return low + (count <= 256 ? byte() : word16()) % count;
  }
  /// As many of `count` bytes as there are, in storage of their own, so that a read beyond them is seen.
  Bytes bytes(std::size_t count) {
    const auto taken = view(count);
    return {taken.begin(), taken.end()};
  }
  Bytes rest() { return bytes(rest_.size()); }
  /// A text up to a zero byte, which is taken as well.
  std::string text() {
    const auto length = static_cast<std::size_t>(std::ranges::find(rest_, 0) - rest_.begin());
    const auto taken = view(length);
    view(1);
    return {taken.begin(), taken.end()};
  }

 private:
  std::span<const std::uint8_t> view(std::size_t count) {
    const auto taken = rest_.first(std::min(count, rest_.size()));
    rest_ = rest_.subspan(taken.size());
    return taken;
  }

  std::span<const std::uint8_t> rest_;
};

}  // namespace kesto::fuzz
