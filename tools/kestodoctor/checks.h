// The checks, group by group; checklist.cpp has them in their order, and what each of them needs.
#pragma once

#include "kestodoctor/examination.h"
#include "kestodoctor/finding.h"

namespace kesto::doctor {

// queuechecks.cpp: the spooler and the queue.
Finding checkSpooler(Examination& examination);
Finding checkQueue(Examination& examination);
Finding checkEnabled(Examination& examination);
Finding checkAccepting(Examination& examination);
Finding checkReasons(Examination& examination);

// driverchecks.cpp: the driver's files, the queue's PPD, and a page through the filter.
Finding checkDriver(Examination& examination);
Finding checkFilter(Examination& examination);
Finding checkRenderer(Examination& examination);
Finding checkPpd(Examination& examination);
Finding checkBackend(Examination& examination);
Finding checkRendering(Examination& examination);

// devicechecks.cpp and statuscheck.cpp: the printer.
Finding checkDevice(Examination& examination);
Finding checkConnection(Examination& examination);
Finding checkStatus(Examination& examination);

// jobchecks.cpp: what the queue has to say of its jobs.
Finding checkWaitingJobs(Examination& examination);
Finding checkLastJob(Examination& examination);

}  // namespace kesto::doctor
