// Jobs in the order in which they came.
//
// PAPPL 1.3 begins the newest of the jobs that wait. So all but the oldest are held while it chooses, and released when
// the next job begins.
#pragma once

#include <pappl/pappl.h>

namespace kesto::app {

/// Holds the printer's waiting jobs, all but the oldest. For the end of a job.
void leaveTurnToOldest(pappl_printer_t* printer);

/// Releases the jobs that were held for their order, not those that people hold.
void releaseWaiting(pappl_printer_t* printer);

}  // namespace kesto::app
