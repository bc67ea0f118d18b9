// The virtual printer as a process, for tests of both its ends.
#pragma once

#include <string>
#include <vector>

#include "support/hex.h"
#include "support/process.h"

namespace kesto::test {

/// A virtual printer that listens on a loopback address of its own, the test program's `number`th.
class PrinterProcess {
 public:
  explicit PrinterProcess(const std::vector<std::string>& options = {}, int number = 0);

  /// The device URI; the backend is not to ask for supplies by SNMP, which the printer answers only if run by root.
  [[nodiscard]] std::string uri() const { return "socket://" + address_ + ":9100/?snmp=false"; }

  [[nodiscard]] const std::string& address() const { return address_; }

  [[nodiscard]] int pid() const { return process_.pid(); }

  /// Says a line to the printer's standard input.
  void tell(const std::string& line) { process_.writeInput(line + "\n"); }

  /// Waits until job `number` is over; returns its bytes.
  [[nodiscard]] Bytes job(int number);

  /// The bytes of the job that was over last.
  [[nodiscard]] Bytes lastJob();

  /// Ends the printer and returns all that it printed.
  std::string finish();

 private:
  [[nodiscard]] Command command(const std::vector<std::string>& options) const;

  TemporaryFolder folder_;
  std::string address_;
  Process process_;
};

}  // namespace kesto::test
