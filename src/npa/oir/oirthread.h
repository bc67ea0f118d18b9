// A thread that asks the printer for operator interventions, such as low supplies, and reports them.
//
// The job does not start it: it watches a printer for as long as the process lives and is never joined. It shares
// nothing with the job's threads but standard error.
#pragma once

#include "npa/oir/oirThreadParam.h"

namespace kesto {

class NPAPrinterAlertHandler;

/// Starts the thread. The result of creating it: 0 with param->running set, else an errno value. `param` stays with the
/// thread until the process ends.
[[nodiscard]] int startOirThread(oirThreadParam* param);

/// The thread's body, given an oirThreadParam. Does not return.
void* processOirThread(void* param);

/// Asks every 10 ms, an answer's delay added, and pauses two seconds after each "WARNING:" line. Does not return.
[[noreturn]] void processOirThreadPrinterHandler(oirThreadParam* param);

/// One poll: asks the printer and reports the first entry of its answer, if its codes are known. Whether a line was
/// written.
bool reportOirStatus(NPAPrinterAlertHandler& handler, oirThreadParam* param);

}  // namespace kesto
