#include "filter/joberror.h"

#include <cerrno>
#include <system_error>
#include <utility>

#include "base/report.h"
#include "filter/cancel.h"
#include "filter/jobstate.h"
#include "hdc/hdc.h"

namespace kesto {
namespace {

constexpr char NO_MEMORY[] = "ERROR: Unable to allocate memory!";

std::string withReason(const std::string& message, int error) {
  return message + ": " + std::generic_category().message(error);
}

}  // namespace

void failJob(const std::string& message, int error) {
  failJobWithText(withReason(message, error), error);
}

void failJobWithText(std::string line, int error) {
  throw JobError{std::move(line), error != 0 ? error : EIO};
}

int endFailedJob(const JobError& failure) {
  if (!failure.line.empty()) report("%s\n", failure.line.c_str());
  return failure.status;
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
  // A spooler that cancels a job may end the backend as well, and a stuck backend takes nothing more. Neither is news
  // to anybody.
  if (isCancelled()) throw JobError{withReason("DEBUG: The cancelled job is not written to its end", outputError), 0};
  failJob("ERROR: Unable to write the print data", outputError);
}

}  // namespace kesto
