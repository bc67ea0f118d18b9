#include "kestoprinter/supplies.h"

#include <algorithm>

#include "numbers.h"

namespace kesto::printer {

std::string Supplies::set(std::string_view text) {
  const std::size_t sign = std::min(text.find('='), text.size());
  const auto toner = std::ranges::find(toners_, text.substr(0, sign), &Toner::colorant);
  const auto percent = tools::wholeNumber(text.substr(std::min(sign + 1, text.size())), {0, 100});
  if (toner == toners_.end() || !percent) {
    return "a level is cyan, magenta, yellow or black = 0 to 100, as in black=12";
  }
  toner->percent = static_cast<int>(*percent);
  return {};
}

}  // namespace kesto::printer
