// Which pages a job with copies has, told without the copy cache: uncollated copies, a sheet at a time.
#pragma once

#include <vector>

#include "input.h"

namespace kesto::fuzz {

inline constexpr int BLANK = -1;

struct PlannedPage {
  int page = BLANK;     ///< number in the document, or BLANK
  bool isFirst = true;  ///< as it was read; false in a copy
};

/// The pages of a job in their order, for `pages` pages that were read. With `cancelled` the document went on behind
/// them: what was a front page then has no back, and is no sheet. After `wanted` further copies there is time for none.
inline std::vector<PlannedPage> copyPlan(std::size_t pages, int copies, bool duplex, bool cancelled, int wanted) {
  std::vector<PlannedPage> plan;
  const std::size_t sides = duplex ? 2 : 1;
  for (std::size_t front = 0; front < pages; front += sides) {
    const bool loneFront = duplex && front + 1 == pages;
    for (int copy = 0; copy < std::max(copies, 1); ++copy) {
      const bool first = copy == 0;
      if (!first && ((loneFront && cancelled) || wanted-- <= 0)) break;
      if (loneFront && !first) plan.push_back({BLANK, false});  // the back of the copy before
      for (std::size_t page = front; page < std::min(front + sides, pages); ++page) {
        plan.push_back({static_cast<int>(page), first});
      }
    }
  }
  return plan;
}

}  // namespace kesto::fuzz
