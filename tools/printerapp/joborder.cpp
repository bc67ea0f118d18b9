#include "printerapp/joborder.h"

#include <algorithm>
#include <vector>

namespace kesto::app {
namespace {

char heldForOrder;  // its address is the data of a job that is held here

using Jobs = std::vector<int>;

/// The IDs of the active jobs for which `wanted` holds. They are looked at under PAPPL's lock and changed without it.
Jobs activeJobs(pappl_printer_t* printer, bool (*wanted)(pappl_job_t*)) {
  struct Search {
    bool (*wanted)(pappl_job_t*);
    Jobs jobs;
  } search = {wanted, {}};
  const auto look = [](pappl_job_t* job, void* data) {
    auto& found = *static_cast<Search*>(data);
    if (found.wanted(job)) found.jobs.push_back(papplJobGetID(job));
  };
  papplPrinterIterateActiveJobs(printer, look, &search, 1, 0);
  return search.jobs;
}

}  // namespace

void leaveTurnToOldest(pappl_printer_t* printer) {
  const Jobs waiting =
      activeJobs(printer, [](pappl_job_t* job) { return papplJobGetState(job) == IPP_JSTATE_PENDING; });
  if (waiting.size() < 2) return;
  const int oldest = *std::ranges::min_element(waiting);
  for (const int id : waiting) {
    pappl_job_t* const job = id != oldest ? papplPrinterFindJob(printer, id) : nullptr;
    if (job == nullptr || papplJobGetData(job) != nullptr) continue;
    papplJobSetData(job, &heldForOrder);
    papplJobHold(job, nullptr, nullptr, 0);
  }
}

void releaseWaiting(pappl_printer_t* printer) {
  for (const int id : activeJobs(printer, [](pappl_job_t* job) { return papplJobGetData(job) == &heldForOrder; })) {
    pappl_job_t* const job = papplPrinterFindJob(printer, id);
    if (job == nullptr) continue;
    papplJobSetData(job, nullptr);
    papplJobRelease(job, nullptr);
  }
}

}  // namespace kesto::app
