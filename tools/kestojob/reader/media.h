// The paper sizes of the printers: how a page names one, and how large it is.
//
// Thread rule: constants, read by everyone.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace kesto::job {

/// A sheet, upright as the page is printed on it, in inches.
struct SheetSize {
  double width = 0;
  double height = 0;
};

/// The size of a number of the MediaSize attribute, or nothing for a number that the printers do not know.
[[nodiscard]] std::optional<SheetSize> findSheet(std::int64_t number);

/// The name of a number of the MediaSize attribute as people know it; empty for a number that the printers do not know.
[[nodiscard]] std::string_view sheetName(std::int64_t number);

/// The size of a name of the MediaSize attribute.
[[nodiscard]] std::optional<SheetSize> findSheet(std::string_view name);

}  // namespace kesto::job
