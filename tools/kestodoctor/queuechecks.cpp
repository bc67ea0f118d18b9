// The spooler and the queue: what it says of itself.
#include "kestodoctor/checks.h"

namespace kesto::doctor {

Finding checkSpooler(Examination& examination) {
  const std::string place = plain(examination.spooler.place());
  if (examination.spooler.connect()) return good("the spooler answers at " + place);
  const std::string what = "the spooler does not answer at " + place;
  if ((examination.facts & SPOOLER_IS_HERE) == 0) return wrong(what, "start it there, or name another one with -h");
  return wrong(what, "systemctl restart cups");
}

Finding checkQueue(Examination& examination) {
  const std::string make = " -v DEVICE-URI -m " + std::string(DRIVER) + " -E    (" +
                           examination.command("lpinfo", "-v") + " lists the devices)";
  if (examination.queueName.empty()) {
    return wrong("no queue uses this driver", examination.command("lpadmin", "-p NAME" + make));
  }
  const auto queue = examination.spooler.queue(examination.queueName);
  if (!queue) {
    return wrong("there is no queue " + inQuotes(examination.queueName) + ": " + plain(Spooler::trouble()),
                 examination.command("lpadmin", "-p " + examination.queueWord() + make));
  }
  examination.queue = *queue;
  return good("the queue " + plain(queue->name) + " is there");
}

Finding checkEnabled(Examination& examination) {
  const Queue& queue = examination.queue;
  if (queue.state != IPP_PSTATE_STOPPED) {
    return good(queue.state == IPP_PSTATE_PROCESSING ? "the queue is printing" : "the queue is enabled");
  }
  const std::string message = queue.message.empty() ? "" : ": " + inQuotes(queue.message);
  return wrong("the queue is stopped" + message, examination.command("cupsenable", examination.queueWord()));
}

Finding checkAccepting(Examination& examination) {
  if (examination.queue.accepting) return good("the queue accepts jobs");
  return wrong("the queue rejects jobs", examination.command("cupsaccept", examination.queueWord()));
}

/// The spooler's own warnings are about a filter that it will not run, a printer's (little toner) hinder no job.
Finding checkReasons(Examination& examination) {
  std::vector<std::string> troubles, notes;
  for (const std::string& reason : examination.queue.reasons) {
    if (reason.starts_with("paused") || reason.starts_with("moving-to-paused")) continue;  // see checkEnabled
    const bool harmless = reason.ends_with("-report") || (reason.ends_with("-warning") && !reason.starts_with("cups-"));
    (harmless ? notes : troubles).push_back(reason);
  }
  if (troubles.empty()) {
    return good(notes.empty() ? "the queue reports no trouble"
                              : "the queue reports nothing that stops a job: " + listed(notes));
  }
  const std::string message = examination.queue.message.empty() ? "" : ", " + inQuotes(examination.queue.message);
  // The spooler looks at the filters only when a queue is changed or made anew, even if nothing changes.
  const bool aboutFilter = troubles.front().starts_with("cups-");
  return wrong("the queue reports " + listed(troubles) + message,
               aboutFilter ? examination.command("lpadmin", "-p " + examination.queueWord() + " -m " + DRIVER)
                           : "see to it at the printer");
}

}  // namespace kesto::doctor
