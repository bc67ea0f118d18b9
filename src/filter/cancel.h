// Cancelling: SIGTERM sets a flag, and every step of the job that may take long asks here what is still to be done.
//
// The page that has begun is finished with its copies and the job is closed, so that the printer gets a whole job. The
// limits below are there for what hangs: together they end a cancelled job within 5 seconds, before a spooler loses its
// patience. Job thread only.
#pragma once

#include <chrono>

namespace kesto {

/// How long the renderer may be silent in a page once the job is cancelled, and how long after the cancel it may go on
/// delivering that page. What is missing then is white.
inline constexpr std::chrono::milliseconds CANCEL_SILENCE{1000};
inline constexpr std::chrono::milliseconds CANCEL_PAGE_TIME{3000};

/// How long after the cancel further copies are begun.
inline constexpr std::chrono::milliseconds CANCEL_COPIES_TIME{3000};

/// True after SIGTERM.
[[nodiscard]] bool isCancelled();

/// How long the job has known that it is cancelled: the time since the first call that found it so, 0 before.
[[nodiscard]] std::chrono::milliseconds timeSinceCancel();

}  // namespace kesto
