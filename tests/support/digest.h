// A digest of whatever a test has to pin: FNV-1a, 64 bits.
#pragma once

#include <cstdint>
#include <iomanip>
#include <ranges>
#include <sstream>
#include <string>

namespace kesto::test {

class Digest {
 public:
  void add(std::int64_t number) {
    for (int byte = 0; byte < 8; ++byte) addByte(static_cast<std::uint8_t>(number >> (8 * byte)));
  }
  /// Bytes or a text, and how many they are.
  void add(const std::ranges::sized_range auto& bytes) {
    for (const auto byte : bytes) addByte(static_cast<std::uint8_t>(byte));
    add(static_cast<std::int64_t>(std::ranges::size(bytes)));
  }
  [[nodiscard]] std::string text() const {
    std::ostringstream text;
    text << std::hex << std::setw(16) << std::setfill('0') << hash_;
    return text.str();
  }

 private:
  void addByte(std::uint8_t byte) { hash_ = (hash_ ^ byte) * 0x100000001B3U; }

  std::uint64_t hash_ = 0xCBF29CE484222325U;
};

}  // namespace kesto::test
