// What is known of a printer beside PAPPL's data.
//
// PAPPL deletes printers while other threads look at them. A record stays for as long as the program runs and says
// whether its printer is still there; `Turn` keeps it there.
#pragma once

#include <array>
#include <atomic>
#include <functional>
#include <set>
#include <string>

#include <pappl/pappl.h>

namespace kesto::app {

/// The extension of a printer's driver data.
struct PrinterRecord {
  std::atomic<bool> busy{false};                   ///< somebody has the turn
  std::atomic<pappl_printer_t*> printer{nullptr};  ///< null before it is made and after it is deleted
  std::atomic<bool> suspended{false};              ///< its job waits for the application's end, and has the turn
  PrinterRecord* next = nullptr;                   ///< the record made before this one

  // For whoever has the turn:
  std::set<int> held;     ///< jobs that wait for their order
  std::string alerts;     ///< shown to clients
  int stalled = 0;        ///< the oldest job that has been seen to wait for nothing
  int newestWaiting = 0;  ///< when the state was last saved

  bool blocksSaving = false;  ///< for whoever deletes the printer

  // For firstTime alone:
  std::atomic<bool> noting{false};
  std::array<int, 64> begun{};  ///< the jobs that were begun last
  std::size_t begunCount = 0;
};

/// A new record, among those that `newestRecord` leads to.
[[nodiscard]] PrinterRecord& addRecord();

/// The record that was made last; the others follow it. Any thread.
[[nodiscard]] PrinterRecord* newestRecord();

[[nodiscard]] PrinterRecord& recordOf(pappl_printer_t* printer);

/// False when the job has been begun before. PAPPL 1.3 marks a job as begun in the job's own thread: when one job ends
/// while another arrives, it may start two threads for a third. Any thread.
[[nodiscard]] bool firstTime(PrinterRecord& record, int job);

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
