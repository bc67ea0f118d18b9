// The end of the server: SIGTERM, SIGINT, and a client that asks for it.
//
// PAPPL would go on with all jobs that wait, end after a minute at the latest, and free what its threads still use.
// Here no job begins any more; what is being printed has time to end and is then broken off in order. The next start
// prints what is left.
#pragma once

#include <pappl/pappl.h>

#include "printerapp/printerrecord.h"

namespace kesto::app {

/// Keeps the two signals from this thread and those that it starts, and waits for them in one of its own; looks for a
/// client's wish every second. To be called once, before the system runs; the system is for good.
void watchForEnd(pappl_system_t* system);

/// True from the signal on: no job begins. Any thread.
[[nodiscard]] bool isEnding();

/// True when what is being printed has had its time. Any thread.
[[nodiscard]] bool isOverdue();

/// Keeps a job as it is until the application has ended. Does not return.
[[noreturn]] void suspend(PrinterRecord& record);

}  // namespace kesto::app
