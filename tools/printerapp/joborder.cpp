#include "printerapp/joborder.h"

#include <algorithm>
#include <vector>

namespace kesto::app {
namespace {

using Jobs = std::vector<int>;

/// The IDs of the jobs that are ready to be printed, those held for their order included. They are looked at under
/// PAPPL's lock and changed without it.
Jobs waitingJobs(const PrinterRecord& record, pappl_printer_t* printer) {
  struct Search {
    const PrinterRecord& record;
    Jobs jobs;
  } search = {record, {}};
  const auto look = [](pappl_job_t* job, void* data) {
    auto& found = *static_cast<Search*>(data);
    const int id = papplJobGetID(job);
    if (papplJobGetState(job) == IPP_JSTATE_PENDING || found.record.held.contains(id)) found.jobs.push_back(id);
  };
  papplPrinterIterateActiveJobs(printer, look, &search, 1, 0);
  return search.jobs;
}

/// Releases a job unless somebody has said meanwhile that it is to be held.
void release(PrinterRecord& record, pappl_printer_t* printer, int id) {
  record.held.erase(id);
  pappl_job_t* const job = papplPrinterFindJob(printer, id);
  if (job == nullptr || (papplJobGetReasons(job) & PAPPL_JREASON_JOB_HOLD_UNTIL_SPECIFIED) != 0) return;
  papplJobRelease(job, nullptr);
}

}  // namespace

void leaveTurnToOldest(PrinterRecord& record, pappl_printer_t* printer) {
  const Jobs waiting = waitingJobs(record, printer);
  if (waiting.size() < 2) return;
  const int oldest = *std::ranges::min_element(waiting);
  for (const int id : waiting) {
    pappl_job_t* const job = id != oldest ? papplPrinterFindJob(printer, id) : nullptr;
    if (job == nullptr || papplJobGetState(job) != IPP_JSTATE_PENDING) continue;
    if (papplJobHold(job, nullptr, nullptr, 0)) record.held.insert(id);
  }
}

void releaseWaiting(PrinterRecord& record, pappl_printer_t* printer) {
  while (!record.held.empty()) release(record, printer, *record.held.begin());
}

void beginStalled(PrinterRecord& record, pappl_printer_t* printer) {
  const Jobs waiting = waitingJobs(record, printer);
  const int oldest = waiting.empty() ? 0 : *std::ranges::min_element(waiting);
  const bool stalled = oldest != 0 && oldest == record.stalled;
  record.stalled = oldest;
  if (!stalled) return;
  leaveTurnToOldest(record, printer);
  if (record.held.contains(oldest)) return release(record, printer, oldest);
  papplPrinterResume(printer);
}

bool newJobWaits(PrinterRecord& record, pappl_printer_t* printer) {
  const Jobs waiting = waitingJobs(record, printer);
  const int newest = waiting.empty() ? 0 : *std::ranges::max_element(waiting);
  if (newest <= record.newestWaiting) return false;
  record.newestWaiting = newest;
  return true;
}

}  // namespace kesto::app
