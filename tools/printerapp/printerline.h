// The line to a printer: where a job's bytes go.
//
// Job thread only.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>

#include <pappl/pappl.h>

namespace kesto::app {

/// Asked while something is waited for: true ends the wait.
using GiveUp = std::function<bool()>;

class PrinterLine {
 public:
  PrinterLine() = default;
  PrinterLine(const PrinterLine&) = delete;
  PrinterLine& operator=(const PrinterLine&) = delete;
  virtual ~PrinterLine() = default;

  /// Makes the line ready for a job. False when the printer is not there, or when `giveUp` ended the wait.
  [[nodiscard]] virtual bool open(const GiveUp& giveUp) = 0;

  /// The descriptor that says when the printer takes more; -1 when a write waits by itself.
  [[nodiscard]] virtual int descriptor() const = 0;

  /// Hands bytes over: how many were taken, 0 when the printer takes none at the moment, -1 when the line is lost.
  [[nodiscard]] virtual ssize_t write(std::span<const std::uint8_t> bytes) = 0;

  /// Waits until the printer has everything that was written, and closes the line. False when the line was lost before,
  /// or when `giveUp` ended the wait.
  [[nodiscard]] virtual bool finish(const GiveUp& giveUp) = 0;

  /// Closes the line at once.
  virtual void drop() = 0;

  /// Why the line could not be opened or was lost.
  [[nodiscard]] virtual std::string reason() const = 0;
};

/// The line to a printer: our own connection for "socket://", otherwise what PAPPL has opened, `device`.
[[nodiscard]] std::unique_ptr<PrinterLine> makeLine(pappl_job_t* job, pappl_device_t* device);

/// Makes "socket://" a scheme of ours, beside PAPPL's own for other devices. PAPPL's own writes cannot be ended while a
/// printer takes nothing, so that a job could not be cancelled. Has to be called before the system is made.
void addSocketScheme();

}  // namespace kesto::app
