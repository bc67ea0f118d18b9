// The queue's jobs: those that wait, and what became of the last one.
#include <algorithm>
#include <utility>

#include "kestodoctor/checks.h"

namespace kesto::doctor {
namespace {

/// How the filter's errors begin. It ends such a job in order, so that to the spooler it is as complete as any other.
constexpr std::string_view FILTER_ERRORS[] = {"The document ", "The paper size ", "Page ", "Unable to "};

bool endedWithError(const Job& job) {
  return std::ranges::any_of(FILTER_ERRORS, [&](std::string_view start) { return job.message.starts_with(start); });
}

std::string nameOf(const Examination& examination, const Job& job) {
  return plain(examination.queueName) + "-" + std::to_string(job.id);
}

/// What was last said of the job.
std::string messageOf(const Job& job) {
  return job.message.empty() ? "" : ": " + inQuotes(job.message);
}

/// The same and the spooler's reasons, which mean little in a job that is well.
std::string troubleOf(const Job& job) {
  return messageOf(job) + (job.reasons.empty() ? "" : " (" + listed(job.reasons) + ")");
}

Finding wrongJob(const Examination& examination, const Job& job, const char* what, const char* action) {
  return wrong("job " + nameOf(examination, job) + ' ' + what + troubleOf(job),
               examination.command("lp", "-i " + examination.queueWord() + "-" + std::to_string(job.id) + action));
}

bool isHeld(const Job& job) {
  return job.state == IPP_JSTATE_HELD;
}
bool isStopped(const Job& job) {
  return job.state == IPP_JSTATE_STOPPED;
}
bool isPrinting(const Job& job) {
  return job.state == IPP_JSTATE_PROCESSING;
}

Finding noAnswer(const char* subject) {
  return skipped(std::string(subject) + ": the spooler does not say: " + plain(Spooler::trouble()));
}

}  // namespace

Finding checkWaitingJobs(Examination& examination) {
  const auto jobs = examination.spooler.waitingJobs(examination.queueName);
  if (!jobs) return noAnswer("the jobs that wait");
  if (const auto job = std::ranges::find_if(*jobs, isStopped); job != jobs->end()) {
    return wrongJob(examination, *job, "has been stopped", " -H restart");
  }
  if (const auto job = std::ranges::find_if(*jobs, isHeld); job != jobs->end()) {
    return wrongJob(examination, *job, "is held", " -H resume");
  }
  if (const auto job = std::ranges::find_if(*jobs, isPrinting); job != jobs->end()) {
    return good("job " + nameOf(examination, *job) + " is being printed" + messageOf(*job));
  }
  if (jobs->empty()) return good("no job waits");
  return good(std::to_string(jobs->size()) + (jobs->size() == 1 ? " job waits" : " jobs wait"));
}

Finding checkLastJob(Examination& examination) {
  const auto jobs = examination.spooler.pastJobs(examination.queueName);
  if (!jobs) return noAnswer("the last job");
  if (jobs->empty()) return good("the queue has printed nothing yet");
  const Job& job =
      *std::ranges::max_element(*jobs, {}, [](const Job& past) { return std::pair(past.completed, past.id); });
  const std::string name = "the last job, " + nameOf(examination, job) + ',';
  if (job.state == IPP_JSTATE_ABORTED) {
    return wrong(name + " failed" + troubleOf(job),
                 "print it again when all else is good; the spooler's log says more");
  }
  if (job.state == IPP_JSTATE_CANCELED) return good(name + " was cancelled" + messageOf(job));
  if (endedWithError(job)) return wrong(name + " was not printed whole" + messageOf(job), "print another document");
  return good(name + " was printed" + messageOf(job));
}

}  // namespace kesto::doctor
