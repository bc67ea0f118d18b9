// Whole numbers as people write them.
#pragma once

#include <charconv>
#include <cstdint>
#include <optional>
#include <string_view>
#include <system_error>

namespace kesto::tools {

/// The numbers from `low` to `high`, both included.
struct Range {
  std::uint64_t low, high;
};

/// The whole text as a decimal number in the range; nothing for any other text.
[[nodiscard]] inline std::optional<std::uint64_t> wholeNumber(std::string_view text, const Range& range) {
  std::uint64_t number = 0;
  const char* const end = text.data() + text.size();
  const auto parsed = std::from_chars(text.data(), end, number);
  const bool good = parsed.ec == std::errc() && parsed.ptr == end && range.low <= number && number <= range.high;
  return good ? std::optional(number) : std::nullopt;
}

}  // namespace kesto::tools
