// How long a cancelled job may still take. A spooler loses its patience a few seconds after the cancel, and what begins
// has to end before that: all of it together takes less than 5 seconds (decisions.md#after-sigterm).
#pragma once

#include <chrono>

namespace kesto {

/// How long the renderer may be silent in a page once the job is cancelled, and how long after the cancel it may go on
/// delivering that page. What is missing then is white.
inline constexpr std::chrono::milliseconds CANCEL_SILENCE{1000};
inline constexpr std::chrono::milliseconds CANCEL_PAGE_TIME{3000};

/// How long after the cancel further copies are begun.
inline constexpr std::chrono::milliseconds CANCEL_COPIES_TIME{3000};

/// How long the output channel waits for a reader that takes nothing. A reader that takes its time gets the job whole.
inline constexpr std::chrono::milliseconds CANCEL_STALL_TIME{1500};

static_assert(CANCEL_PAGE_TIME + CANCEL_STALL_TIME < std::chrono::seconds{5} &&
              CANCEL_COPIES_TIME + CANCEL_STALL_TIME < std::chrono::seconds{5});

}  // namespace kesto
