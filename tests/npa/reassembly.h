// The process-wide reassembly, as tests use it.
#pragma once

#include <cstdint>
#include <span>

#include "npa/NPAValidator.h"
#include "support/hex.h"

namespace kesto::test {

/// What one call gave.
struct Scan {
  bool complete;
  std::int32_t done;
  std::int32_t length;
};

/// As at the start of the process.
inline void resetReassembly() {
  validBuffer = {};
  receivedBufferSize = 0;
  setContinueFlag = 0;
  firstresponse = 1;
  validBufferCount = 0;
  firstResponseBufferCount = 0;
}

/// Hands a block over, in storage of exactly its size.
inline Scan scan(const Bytes& block) {
  Scan result{.complete = false, .done = 1, .length = -7};
  const Bytes received(block.begin(), block.end());
  result.complete = ValidateReceivedResponse(received.data(), validBuffer, static_cast<std::uint32_t>(received.size()),
                                             result.length, result.done);
  return result;
}

}  // namespace kesto::test
