// Bytes as hexadecimal text, which is how the tests write them down.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kesto::test {

using Bytes = std::vector<std::uint8_t>;

/// "C0 01 F8": two upper-case digits a byte, a blank between bytes.
inline std::string hex(std::span<const std::uint8_t> bytes) {
  constexpr char DIGITS[] = "0123456789ABCDEF";
  std::string text;
  for (const std::uint8_t byte : bytes) {
    if (!text.empty()) text += ' ';
    text += DIGITS[byte >> 4];
    text += DIGITS[byte & 15];
  }
  return text;
}

/// The bytes of such text; blanks may stand anywhere between bytes, in any number.
inline Bytes unhex(std::string_view text) {
  Bytes bytes;
  for (std::size_t i = 0; i + 1 < text.size(); ++i) {
    if (text[i] == ' ') continue;
    bytes.push_back(static_cast<std::uint8_t>(std::stoi(std::string(text.substr(i++, 2)), nullptr, 16)));
  }
  return bytes;
}

}  // namespace kesto::test
