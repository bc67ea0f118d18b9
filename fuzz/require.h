// What must hold for every input.
#pragma once

#include <cstdlib>

namespace kesto::fuzz {

/// Ends the run with the input at hand as a finding.
inline void require(bool holds) {
  if (!holds) std::abort();
}

}  // namespace kesto::fuzz
