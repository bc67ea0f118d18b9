// What is known of a printer beside PAPPL's data.
//
// PAPPL deletes printers while other threads look at them. A record stays for as long as the program runs and says
// whether its printer is still there; `Turn` keeps it there.
#pragma once

#include <atomic>
#include <functional>

#include <pappl/pappl.h>

namespace kesto::app {

/// The extension of a printer's driver data.
struct PrinterRecord {
  std::atomic<bool> busy{false};                   ///< somebody has the turn
  std::atomic<pappl_printer_t*> printer{nullptr};  ///< null before it is made and after it is deleted
  PrinterRecord* next = nullptr;                   ///< the record made before this one
};

/// A new record, among those that `newestRecord` leads to.
[[nodiscard]] PrinterRecord& addRecord();

/// The record that was made last; the others follow it. Any thread.
[[nodiscard]] PrinterRecord* newestRecord();

[[nodiscard]] PrinterRecord& recordOf(pappl_printer_t* printer);

/// One user of a printer at a time: a job, or the watch that shows its alerts. PAPPL lets the rasters of two clients
/// through together.
class Turn {
 public:
  /// Waits for the turn, or until `giveUp`.
  Turn(PrinterRecord& record, const std::function<bool()>& giveUp);
  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;
  ~Turn();
  [[nodiscard]] bool isTaken() const { return taken_; }

 private:
  PrinterRecord& record_;
  bool taken_ = false;
};

}  // namespace kesto::app
