#include "filter/cancel.h"

#include <optional>

#include "filter/jobstate.h"

namespace kesto {

bool isCancelled() {
  return isTerminated.load(std::memory_order_acquire) != 0;
}

std::chrono::milliseconds timeSinceCancel() {
  using Clock = std::chrono::steady_clock;
  static std::optional<Clock::time_point> seen;
  if (!isCancelled()) return {};
  if (!seen) seen = Clock::now();
  return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - *seen);
}

}  // namespace kesto
