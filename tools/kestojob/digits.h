// Page numbers in a picture: digits of 5 x 7 dots, each dot 2 x 2 pixels.
#pragma once

#include <cstdint>
#include <functional>

namespace kesto::job {

inline constexpr unsigned DIGIT_HEIGHT = 14;

/// Width in pixels of a number's digits and the gaps between them.
[[nodiscard]] unsigned numberWidth(std::uint64_t number);

/// Calls `dot` for every dark pixel of the number, its upper left corner being (0, 0).
void drawNumber(std::uint64_t number, const std::function<void(unsigned x, unsigned y)>& dot);

}  // namespace kesto::job
