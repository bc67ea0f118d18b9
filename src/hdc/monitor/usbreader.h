// The USB status reader: the printer's answers to the requests in the print data come back on the spooler's back
// channel, where a thread reads them for the whole job.
//
// The thread alone uses validBuffer and the reassembly state. It never touches the print data.
#pragma once

#include "hdc/monitor/statusthread.h"

namespace kesto {

extern StatusThread usbReadParams;

/// Clears validBuffer and starts usb_read_thread. Job thread.
void StartUsbReadThread();

/// Ends the thread. Unless it has reported a response already, it gets the time of one more read, 1 second, for an
/// answer that is still on its way; none when the job is cancelled or has failed. Job thread.
void StopUsbReadThread();

/// Thread body: reads the back channel, joins what arrives in pieces, reassembles responses and reports their alerts
/// until it is stopped.
void* usb_read_thread(void* argument);

}  // namespace kesto
