#include "kestodoctor/checklist.h"

#include <span>
#include <vector>

#include "kestodoctor/checks.h"

namespace kesto::doctor {
namespace {

/// How a check's line says that something it needs is missing.
struct Lack {
  Fact fact;
  const char* reason;
};
constexpr Lack LACKS[] = {
    {SPOOLER_ANSWERS, "the spooler does not answer"},     {SPOOLER_IS_HERE, "the spooler is on another machine"},
    {FILTER_IS_THERE, "the filter cannot be run"},        {RENDERER_IS_THERE, "the renderer cannot be run"},
    {QUEUE_IS_THERE, "there is no queue to look at"},     {DRIVER_IS_LISTED, "the driver is not there to compare with"},
    {DEVICE_IS_KNOWN, "the queue's device is not known"},
};

struct Check {
  std::string_view name;
  const char* subject;  ///< for the line of a check that is skipped
  unsigned needs;
  unsigned gives;
  Finding (*run)(Examination&);
};

constexpr Check COMMON_CHECKS[] = {
    {"spooler", "the spooler", NOTHING, SPOOLER_ANSWERS, checkSpooler},
    {"driver", "the driver", SPOOLER_ANSWERS, DRIVER_IS_LISTED, checkDriver},
    {"filter", "the filter", SPOOLER_IS_HERE, FILTER_IS_THERE, checkFilter},
    {"renderer", "the renderer", SPOOLER_IS_HERE, RENDERER_IS_THERE, checkRenderer},
};

constexpr unsigned ON_QUEUE = SPOOLER_ANSWERS | QUEUE_IS_THERE;
constexpr unsigned ON_DEVICE = ON_QUEUE | DEVICE_IS_KNOWN;
constexpr Check QUEUE_CHECKS[] = {
    {"queue", "the queue", SPOOLER_ANSWERS, QUEUE_IS_THERE, checkQueue},
    {"enabled", "whether the queue is stopped", ON_QUEUE, NOTHING, checkEnabled},
    {"accepting", "whether the queue accepts jobs", ON_QUEUE, NOTHING, checkAccepting},
    {"reasons", "what the queue reports", ON_QUEUE, NOTHING, checkReasons},
    {"ppd", "the queue's PPD", ON_QUEUE | DRIVER_IS_LISTED, NOTHING, checkPpd},
    {"device", "the device", ON_QUEUE, DEVICE_IS_KNOWN, checkDevice},
    {"backend", "the backend", ON_DEVICE | SPOOLER_IS_HERE, NOTHING, checkBackend},
    {"connection", "the way to the printer", ON_DEVICE, NOTHING, checkConnection},
    {"status", "the printer's status", ON_DEVICE, NOTHING, checkStatus},
    {"waiting", "the jobs that wait", ON_QUEUE, NOTHING, checkWaitingJobs},
    {"lastjob", "the last job", ON_QUEUE, NOTHING, checkLastJob},
    {"rendering", "the test page", FILTER_IS_THERE | RENDERER_IS_THERE, NOTHING, checkRendering},
};

std::string reasonFor(unsigned missing) {
  for (const auto& [fact, reason] : LACKS) {
    if ((missing & fact) != 0) return reason;
  }
  return "";
}

void makeChecks(std::span<const Check> checks, Examination& examination, const Report& report) {
  for (const Check& check : checks) {
    const unsigned missing = check.needs & ~examination.facts;
    const Finding finding =
        missing != 0 ? skipped(std::string(check.subject) + ": " + reasonFor(missing)) : check.run(examination);
    if (finding.state == State::GOOD) examination.facts |= check.gives;
    report(examination.queueName, check.name, finding);
  }
}

/// The queues to look at: the one that was named; else the default one, if it uses our driver; else all that do. Where
/// the default queue is another printer's, nobody is to be told how to make it a queue of ours.
std::vector<std::string> queuesToExamine(Examination& examination) {
  if (!examination.call.queue.empty() || (examination.facts & SPOOLER_ANSWERS) == 0) return {examination.call.queue};
  const std::string defaultQueue = examination.spooler.defaultQueue();
  std::vector<std::string> names;
  for (const Queue& queue : examination.spooler.allQueues()) {
    if (!queue.makeAndModel.starts_with("Kesto ")) continue;
    if (queue.name == defaultQueue) return {queue.name};
    names.push_back(queue.name);
  }
  return names.empty() ? std::vector<std::string>{""} : names;
}

}  // namespace

void examine(const Call& call, const Report& report) {
  Examination examination{.call = call};
  if (examination.spooler.isHere()) examination.facts |= SPOOLER_IS_HERE;
  makeChecks(COMMON_CHECKS, examination, report);
  const unsigned common = examination.facts;
  for (const std::string& name : queuesToExamine(examination)) {
    examination.facts = common;
    examination.queueName = name;
    examination.queue = {};
    examination.device = {};
    examination.queuePpd.reset();
    makeChecks(QUEUE_CHECKS, examination, report);
  }
}

}  // namespace kesto::doctor
