// The virtual printer on USB: print data on one descriptor, answers to the requests in them on another.
//
// A request stands in the print data, before the job's first line. So it is answered when it has been read, which for
// most jobs is after everybody else has finished with the job.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <span>
#include <string>
#include <vector>

#include "kestoprinter/alertpanel.h"
#include "kestoprinter/statusport.h"

namespace kesto::printer {

/// How answers travel: the spooler's USB backend passes them on in pieces of at most 512 bytes.
struct UsbBehaviour {
  std::size_t piece = 512;
  std::chrono::milliseconds gap{0};  ///< between two pieces
};

/// Finds the NPA packets that a job begins with.
class RequestReader {
 public:
  /// The packets that are complete with these bytes, the next ones of the job.
  [[nodiscard]] std::vector<Bytes> take(std::span<const std::uint8_t> bytes);

 private:
  Bytes pending_;
  bool isOver_ = false;  ///< something else than a packet has come
};

class UsbPrinter {
 public:
  UsbPrinter(const StatusBehaviour& status, const UsbBehaviour& usb) : status_(status), usb_(usb) {}

  /// Reads print data from `data` until they end or `ended()`, keeps them in `file`, and writes answers to `answers`.
  /// The panel's lines come from `commands`, -1 for none. Throws std::system_error when they cannot be kept.
  void run(int data, int file, int answers, int commands, bool (*ended)());

  [[nodiscard]] AlertPanel& panel() { return panel_; }

 private:
  using Clock = std::chrono::steady_clock;
  struct DuePiece {
    Clock::time_point time;
    Bytes bytes;
  };

  void take(std::span<const std::uint8_t> bytes);
  [[nodiscard]] int sendDuePieces(int answers);

  AlertPanel panel_;
  StatusPort status_;
  UsbBehaviour usb_;
  RequestReader requests_;
  std::deque<DuePiece> due_;
};

}  // namespace kesto::printer
