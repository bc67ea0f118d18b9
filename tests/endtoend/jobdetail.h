// What a finished job says of one setting, as text that a table of expectations can hold.
#pragma once

#include <string>
#include <vector>

#include "support/jobparser.h"

namespace kesto::test {

/// For "LSHARPEN" and the like the value of the PJL line that sets it, "none" without one. For "2A" and the like the
/// value of that attribute in the first page's start: its type and bytes in hexadecimal, or the characters of an array.
[[nodiscard]] std::string detailOf(const Job& job, const std::string& name);

/// A setting by its name, and what a job is to say of it.
struct Detail {
  const char* name;
  const char* value;
};

/// Expects all these details; `choice` tells in a failure what was asked for.
void expectDetails(const Job& job, const std::vector<Detail>& details, const std::string& choice);

/// Where the first page's raster begins, in points from the sheet's corner.
[[nodiscard]] double originInPoints(const Job& job);

}  // namespace kesto::test
