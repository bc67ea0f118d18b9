// The USB status reader: what the printer answers to the requests in its print data comes back on the spooler's back
// channel, where a thread of its own reads it for the whole job.
//
// The thread alone uses validBuffer and the reassembly state. It never touches the print data.
#pragma once

#include "hdc/statusthread.h"

namespace kesto {

extern StatusThread usbReadParams;

/// Clears validBuffer and starts usb_read_thread. Job thread.
void StartUsbReadThread();

/// Ends the thread, within the time-out of one read at most. Job thread.
void StopUsbReadThread();

/// Thread body: reads the back channel, reassembles responses and reports their alerts until it is stopped.
void* usb_read_thread(void* argument);

}  // namespace kesto
