// What must hold for every input, and what comes of it.
#pragma once

#include <cstdlib>

#include "support/digest.h"

namespace kesto::fuzz {

/// Ends the run with the input at hand as a finding.
inline void require(bool holds) {
  if (!holds) std::abort();
}

/// All that has been noted: a replay of fixed inputs ends with a known digest.
inline test::Digest digest;

/// Adds a number, bytes or a text to the digest.
void note(const auto& value) {
  digest.add(value);
}

}  // namespace kesto::fuzz
