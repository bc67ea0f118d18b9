#include "kestojob/pageselection.h"

#include <algorithm>
#include <limits>

#include "numbers.h"

namespace kesto::job {
namespace {

constexpr std::uint64_t WITHOUT_END = std::numeric_limits<std::uint64_t>::max();

std::optional<std::uint64_t> pageNumber(std::string_view text) {
  return tools::wholeNumber(text, {1, WITHOUT_END});
}

}  // namespace

std::optional<PageSelection> PageSelection::parse(std::string_view list) {
  PageSelection selection;
  while (true) {
    const std::size_t comma = list.find(',');
    const std::string_view item = list.substr(0, comma);
    const std::size_t dash = item.find('-');
    const std::string_view behind = dash == std::string_view::npos ? item : item.substr(dash + 1);
    const auto first = pageNumber(item.substr(0, dash));
    const auto last = behind.empty() ? std::optional(WITHOUT_END) : pageNumber(behind);
    if (!first || !last || *first > *last) return std::nullopt;
    selection.ranges_.push_back({*first, *last});
    if (comma == std::string_view::npos) return selection;
    list.remove_prefix(comma + 1);
  }
}

bool PageSelection::has(std::uint64_t page) const {
  const auto holds = [=](const Range& range) { return range.first <= page && page <= range.last; };
  return ranges_.empty() || std::ranges::any_of(ranges_, holds);
}

}  // namespace kesto::job
