#include "kestojob/reader/text.h"

#include <array>
#include <charconv>

namespace kesto::job {
namespace {

constexpr std::string_view DIGITS = "0123456789ABCDEF";

std::uint8_t byteOf(char c) {
  return static_cast<std::uint8_t>(c);
}

/// The byte's two hexadecimal digits behind a prefix.
std::string hexDigits(std::string_view prefix, std::uint8_t byte) {
  std::string text(prefix);
  text += DIGITS[byte >> 4];
  text += DIGITS[byte & 15];
  return text;
}

/// The length of the UTF-8 sequence that the text begins with, 0 when it begins with none (RFC 3629: shortest forms
/// only, no surrogates).
std::size_t sequenceLength(std::string_view text) {
  const std::uint8_t first = byteOf(text[0]);
  if (first < 0x80) return 1;
  std::size_t length = 2;
  if (first >= 0xE0) length = first < 0xF0 ? 3 : 4;
  if (first < 0xC2 || first > 0xF4 || text.size() < length) return 0;
  for (std::size_t i = 1; i < length; ++i) {
    if ((byteOf(text[i]) & 0xC0) != 0x80) return 0;
  }
  const std::uint8_t second = byteOf(text[1]);
  const bool overlong = (first == 0xE0 && second < 0xA0) || (first == 0xF0 && second < 0x90);
  const bool outside = (first == 0xED && second >= 0xA0) || (first == 0xF4 && second >= 0x90);
  return overlong || outside ? 0 : length;
}

/// Control characters of ASCII and of Latin-1 (which UTF-8 writes as C2 80 to C2 9F).
bool isControlSequence(std::string_view sequence) {
  const std::uint8_t first = byteOf(sequence[0]);
  if (sequence.size() == 1) return isControl(first);
  return sequence.size() == 2 && first == 0xC2 && byteOf(sequence[1]) < 0xA0;
}

}  // namespace

std::string printable(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    const std::size_t length = sequenceLength(text);
    const bool fit = length > 0 && !isControlSequence(text.substr(0, length));
    const std::size_t taken = fit ? length : 1;
    result += fit ? std::string(text.substr(0, taken)) : hexDigits("\\x", byteOf(text[0]));
    text.remove_prefix(taken);
  }
  return result;
}

std::string hexByte(std::uint8_t byte) {
  return hexDigits("0x", byte);
}

std::string hexBytes(std::span<const std::uint8_t> bytes) {
  std::string text;
  for (const std::uint8_t byte : bytes) text += hexDigits(text.empty() ? "" : " ", byte);
  return text;
}

std::string counted(std::uint64_t count, std::string_view noun) {
  return std::to_string(count) + ' ' + std::string(noun) + (count == 1 ? "" : "s");
}

std::string decimal(double value, int digits) {
  std::array<char, 400> text;  // the longest double has 309 digits before its point
  const auto end = std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, digits);
  return {text.data(), end.ptr};
}

}  // namespace kesto::job
