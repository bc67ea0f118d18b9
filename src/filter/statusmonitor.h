// Which of the printer's status threads a job runs, if any.
#pragma once

#include <cstdint>

#include "filter/device.h"

namespace kesto {

/// Printer status monitoring: always on.
extern std::uint8_t implementShowErrorinPrinterProxy;

/// The job's status thread: the USB reader for a USB printer, the network monitor for one with a numeric address.
/// Job thread only.
class StatusMonitor {
 public:
  /// Starts the thread that fits `device`, which outlives this object.
  explicit StatusMonitor(const Device& device);
  StatusMonitor(const StatusMonitor&) = delete;
  StatusMonitor& operator=(const StatusMonitor&) = delete;
  ~StatusMonitor() { stop(); }

  void stop();

 private:
  bool usb_ = false;
  bool network_ = false;
};

/// Writes the requests that a USB printer answers on the back channel, before the first byte of the job; nothing for
/// any other printer.
void writeStatusRequests(const Device& device);

}  // namespace kesto
