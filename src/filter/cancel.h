// Cancelling: SIGTERM sets a flag, and every step of the job that may take long checks it here.
//
// The page in progress is finished with its copies and the job is closed, so that the printer gets a whole job.
// Whatever hangs is given up at the limits of base/cancellimits.h. Job thread only.
#pragma once

#include <chrono>

namespace kesto {

/// True after SIGTERM.
[[nodiscard]] bool isCancelled();

/// Time since the job first noticed that it is cancelled; 0 before that.
[[nodiscard]] std::chrono::milliseconds timeSinceCancel();

}  // namespace kesto
