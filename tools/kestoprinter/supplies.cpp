#include "kestoprinter/supplies.h"

#include <algorithm>
#include <charconv>

namespace kesto::printer {

std::string Supplies::set(std::string_view text) {
  const std::size_t sign = std::min(text.find('='), text.size());
  const auto toner = std::ranges::find(toners_, text.substr(0, sign), &Toner::colorant);
  int percent = -1;
  const std::string_view number = text.substr(std::min(sign + 1, text.size()));
  const char* const end = number.data() + number.size();
  const auto parsed = std::from_chars(number.data(), end, percent);
  const bool isPercent = parsed.ec == std::errc() && parsed.ptr == end && percent >= 0 && percent <= 100;
  if (toner == toners_.end() || !isPercent) {
    return "a level is cyan, magenta, yellow or black = 0 to 100, as in black=12";
  }
  toner->percent = percent;
  return {};
}

}  // namespace kesto::printer
