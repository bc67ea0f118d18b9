// Two ways of doing the same work, measured in turns.
//
// A machine that is busy with something else then slows down both alike, and the median of the ratios does not care
// about a turn that went wrong.
#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

namespace kesto::bench {

struct Comparison {
  double ours = 0;  ///< medians of what was measured
  double theirs = 0;
  double ratio = 0;  ///< median of ours / theirs, turn by turn
};

/// The middle one, or the lower of the two middle ones.
[[nodiscard]] inline double medianOf(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>((values.size() - 1) / 2);
  std::ranges::nth_element(values, middle);
  return *middle;
}

/// Measures `turns` times what `ours()` and `theirs()` return, one after the other.
template <class Ours, class Theirs>
[[nodiscard]] Comparison compare(int turns, Ours ours, Theirs theirs) {
  std::vector<double> our;
  std::vector<double> their;
  std::vector<double> ratios;
  for (int turn = 0; turn < turns; ++turn) {
    our.push_back(ours());
    their.push_back(theirs());
    ratios.push_back(our.back() / their.back());
  }
  return {medianOf(our), medianOf(their), medianOf(ratios)};
}

}  // namespace kesto::bench
