#include "kestojob/reader/pjlformat.h"

#include <algorithm>
#include <string>

namespace kesto::job {
namespace {

/// A format taken apart at its conversion.
struct Pattern {
  std::string before;
  char conversion = 0;  ///< 'd', 'f', 's'; 0: none
  std::string after;    ///< without the line feed
};

Pattern patternOf(std::string_view format) {
  Pattern pattern;
  for (std::size_t i = 0; i < format.size() && format[i] != '\n'; ++i) {
    std::string& part = pattern.conversion == 0 ? pattern.before : pattern.after;
    if (format[i] != '%') {
      part += format[i];
    } else if (format[++i] == '%') {
      part += '%';
    } else {
      pattern.conversion = format[i];
    }
  }
  return pattern;
}

bool areDigits(std::string_view text) {
  return !text.empty() && std::ranges::all_of(text, [](char c) { return c >= '0' && c <= '9'; });
}

std::string_view withoutSign(std::string_view text) {
  return text.starts_with('-') ? text.substr(1) : text;
}

}  // namespace

bool isInteger(std::string_view text) {
  const std::string_view digits = withoutSign(text);
  return areDigits(digits) && (digits.size() == 1 || digits[0] != '0');
}

bool isFixedPoint(std::string_view text) {
  constexpr std::size_t FRACTION = 6;
  const std::size_t point = text.find('.');
  return point != std::string_view::npos && isInteger(text.substr(0, point)) && areDigits(text.substr(point + 1)) &&
         text.size() - point - 1 == FRACTION;
}

std::optional<std::string_view> matchPjl(std::string_view format, const PjlLine& line) {
  const Pattern pattern = patternOf(format);
  std::string_view text = line.text;
  if (!text.starts_with(pattern.before)) return std::nullopt;
  text.remove_prefix(pattern.before.size());
  if (!line.terminated) return pattern.conversion == 's' ? std::optional(text) : std::nullopt;
  if (!text.ends_with(pattern.after)) return std::nullopt;
  text.remove_suffix(pattern.after.size());
  if (pattern.conversion == 0 && !text.empty()) return std::nullopt;
  if (pattern.conversion == 'd' && !isInteger(text)) return std::nullopt;
  if (pattern.conversion == 'f' && !isFixedPoint(text)) return std::nullopt;
  return text;
}

}  // namespace kesto::job
