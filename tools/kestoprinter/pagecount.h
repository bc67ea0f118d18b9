// How many pages a kept job has, for the printer's page counter.
#pragma once

#include <cstdint>
#include <string>

namespace kesto::printer {

/// The pages of the jobs in a file, up to the first byte that is not part of a job; 0 when the file cannot be read.
[[nodiscard]] std::uint32_t pagesIn(const std::string& file);

}  // namespace kesto::printer
