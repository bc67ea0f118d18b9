// How a job ends that cannot go on: failJob throws a JobError, the steps of the job release what they hold as the
// exception passes, and the program's entry writes the one message and returns the error number as the exit status.
//
// Thrown and caught on the job thread only. Other threads leave an error number where the job thread finds it.
#pragma once

#include <string>

#include "base/poll.h"

namespace kesto {

/// What stopped the job: `message` is the line for the spooler's log, empty when it has been written already; `error`
/// is the error number that becomes the exit status.
struct JobError {
  std::string message;
  int error = 0;
  bool withReason = true;  ///< the message is followed by ": " and the system's text for `error`
  bool cancelled = false;  ///< the job was cancelled and its output taken away, which is no failure
};

/// Ends the job with "`message`: system's error text" in the log and `error` as the exit status.
[[noreturn]] void failJob(std::string message, int error);

/// Ends the job with `message` alone in the log and `error` as the exit status.
[[noreturn]] void failJobWithText(std::string message, int error);

/// Writes the message of a failed job and returns the exit status, which is 0 only when the job was cancelled.
int endFailedJob(const JobError& failure);

/// The same for a job that found no memory, without needing any.
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
