// Cancelling: SIGTERM sets a flag, and every step of the job that may take long asks here what is still to be done.
//
// The page that has begun is finished and the job is closed, so that the printer gets a whole job; but people who
// cancel want the end soon, and a spooler loses its patience. So all that is still done has a limit in time.
// Job thread only.
#pragma once

#include <chrono>

namespace kesto {

/// True after SIGTERM.
[[nodiscard]] bool isCancelled();

/// How long the job has known that it is cancelled: the time since the first call that found it so, 0 before.
[[nodiscard]] std::chrono::milliseconds timeSinceCancel();

}  // namespace kesto
