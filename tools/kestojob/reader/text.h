// Bytes and numbers as people and programs read them.
//
// A job may contain anything. None of it reaches a terminal as a control character.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace kesto::job {

/// Text fit for a terminal: printable ASCII and UTF-8 as it is, any other byte as \xNN.
[[nodiscard]] std::string printable(std::string_view text);

/// True for the characters of ASCII that a terminal acts on.
[[nodiscard]] constexpr bool isControl(std::uint8_t character) {
  return character < 0x20 || character == 0x7F;
}

/// "0x1F"
[[nodiscard]] std::string hexByte(std::uint8_t byte);

/// "A5 00 0D"
[[nodiscard]] std::string hexBytes(std::span<const std::uint8_t> bytes);

/// "1 page", "2 pages"
[[nodiscard]] std::string counted(std::uint64_t count, std::string_view noun);

/// A number with a few digits behind the point: "152.7", "0.5".
[[nodiscard]] std::string decimal(double value, int digits);

}  // namespace kesto::job
