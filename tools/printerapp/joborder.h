// Jobs in the order in which they came.
//
// PAPPL 1.3 begins the newest of the jobs that wait. So all but the oldest are held while it chooses, and released when
// the next job begins. All functions are for whoever has the printer's turn.
#pragma once

#include <pappl/pappl.h>

#include "printerapp/printerrecord.h"

namespace kesto::app {

/// Holds the printer's waiting jobs, all but the oldest. For the end of a job.
void leaveTurnToOldest(PrinterRecord& record, pappl_printer_t* printer);

/// Releases the jobs that were held for their order, not those that people hold.
void releaseWaiting(PrinterRecord& record, pappl_printer_t* printer);

/// For a printer that has nothing to do: begins the oldest job when it was already there at the last call. It waits for
/// nobody when the application has just started, or when a job has ended before it began.
void beginStalled(PrinterRecord& record, pappl_printer_t* printer);

/// True when a job has come since the last call that was true, and waits now.
[[nodiscard]] bool newJobWaits(PrinterRecord& record, pappl_printer_t* printer);

}  // namespace kesto::app
