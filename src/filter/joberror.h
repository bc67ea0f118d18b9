// How a job that cannot continue ends: failJob throws a JobError, the steps of the job release what they hold as the
// exception passes, and the program's entry logs one message and returns the error number as the exit status.
//
// Thrown and caught on the job thread only. Other threads leave an error number where the job thread finds it.
#pragma once

#include <string>

#include "base/poll.h"

namespace kesto {

/// What stopped the job.
struct JobError {
  std::string line;  ///< for the log, empty when it has been written already
  int status;        ///< the exit status: an error number, or 0 when a cancelled job's output was taken away
};

/// Ends the job with "`message`: system's error text" in the log and the error number as the exit status.
[[noreturn]] void failJob(const std::string& message, int error);

/// Ends the job with `line` alone in the log and the error number as the exit status.
[[noreturn]] void failJobWithText(std::string line, int error);

/// Writes the line of a failed job and returns the exit status.
int endFailedJob(const JobError& failure);

/// The same for a job that ran out of memory; needs none itself.
int endWithoutMemory();

/// Ends the job if the output channel or the image thread has failed.
void checkThreads();

/// True when the output channel or the image thread has failed, so that no wait for them can succeed.
[[nodiscard]] bool threadsFailed();

/// Waits on the job thread until `ready()` holds; ends the job when another thread fails meanwhile. `pause` as in
/// pollUntil.
template <class Ready, class Pause = void (*)(std::chrono::milliseconds)>
void waitInJob(Ready ready, Pause pause = detail::sleepOnce) {
  static_cast<void>(pollUntil([&] { return ready() || threadsFailed(); }, std::chrono::milliseconds::max(), pause));
  checkThreads();
}

}  // namespace kesto
