// The PJL of a job: its lines held against the formats of the vocabulary.
//
// Stateless; any thread may use it.
#pragma once

#include <optional>
#include <string_view>

#include "kestojob/reader/element.h"

namespace kesto::job {

/// Leaves whatever language the printer is in, and PJL: the last bytes of a job.
inline constexpr std::string_view UNIVERSAL_EXIT = "\x1B%-12345X";

/// Holds a line against a printf format of the vocabulary, of which it looks at the first line, and returns what stands
/// where its conversion is: an empty text for a format without one, nothing when the line is not of this format.
///
/// A line that was cut at the longest length matches a format with %s as far as it goes.
[[nodiscard]] std::optional<std::string_view> matchPjl(std::string_view format, const PjlLine& line);

/// True for a decimal number as "%d" writes it, and as "%f" does: six digits behind the point.
[[nodiscard]] bool isInteger(std::string_view text);
[[nodiscard]] bool isFixedPoint(std::string_view text);

}  // namespace kesto::job
