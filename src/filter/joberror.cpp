#include "filter/joberror.h"

#include <cerrno>
#include <utility>

#include "base/report.h"
#include "filter/cancel.h"
#include "filter/jobstate.h"
#include "hdc/hdc.h"

namespace kesto {
namespace {

constexpr char NO_MEMORY[] = "ERROR: Unable to allocate memory!";

}  // namespace

void failJob(std::string message, int error) {
  throw JobError{std::move(message), error, true};
}

void failJobWithText(std::string message, int error) {
  throw JobError{std::move(message), error, false};
}

int endFailedJob(const JobError& failure) {
  if (!failure.message.empty()) {
    if (failure.withReason) {
      reportErrno(failure.message.c_str(), failure.error);
    } else {
      report("%s\n", failure.message.c_str());
    }
  }
  if (failure.cancelled) return 0;
  return failure.error != 0 ? failure.error : EIO;
}

int endWithoutMemory() {
  reportErrno(NO_MEMORY, ENOMEM);
  return ENOMEM;
}

bool threadsFailed() {
  return hdcFailure() != 0 || imageThreadFailure.load(std::memory_order_acquire) != 0;
}

void checkThreads() {
  const int imageError = imageThreadFailure.load(std::memory_order_acquire);
  if (imageError != 0) failJob(NO_MEMORY, imageError);

  const int outputError = hdcFailure();
  if (outputError == 0) return;
  if (outputError == ENOMEM) failJob(NO_MEMORY, outputError);
  // A spooler that cancels a job may end the backend as well, and one that is stuck takes nothing more: no news to
  // anybody.
  if (isCancelled()) throw JobError{"DEBUG: The cancelled job is not written to its end", outputError, true, true};
  failJob("ERROR: Unable to write the print data", outputError);
}

}  // namespace kesto
