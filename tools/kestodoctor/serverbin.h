// Where the spooler's programs are.
#pragma once

#include <string>

namespace kesto::doctor {

/// CUPS_SERVERBIN, or where it is when that is not set: the filter looks for its renderer there as well.
[[nodiscard]] std::string serverBin();

}  // namespace kesto::doctor
