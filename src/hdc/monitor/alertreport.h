// How alerts of the printer reach the spooler: the report that the status threads share.
//
// Used by the one status thread of a job.
#pragma once

#include <atomic>
#include <cstdint>

namespace kesto {

/// 1 while the printer's last response reports an error. Written by the status thread, read by the job thread, whose
/// own messages would replace the alert in the queue.
extern std::atomic<std::int32_t> IsDeviceInError;

/// How the alerts of one response are reported.
struct AlertReportStyle {
  bool allAlerts;  ///< every alert in order, or the first one only
  int repeats;     ///< how often the whole is written
  bool traced;     ///< with a debug line before it, and a blank line before each line
};

/// On USB the first alert is reported once; on the network all of them, five times, as single lines may be overlooked
/// there.
inline constexpr AlertReportStyle USB_REPORT = {.allAlerts = false, .repeats = 1, .traced = true};
inline constexpr AlertReportStyle NETWORK_REPORT = {.allAlerts = true, .repeats = 5, .traced = false};

/// Writes a "WARNING: " line for the errors in the response of `length` bytes in validBuffer, sets IsDeviceInError
/// accordingly, and clears validBuffer. A response without an error, or one that cannot be parsed, writes nothing.
void reportAlerts(std::uint32_t length, const AlertReportStyle& style);

}  // namespace kesto
