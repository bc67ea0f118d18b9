// A private instance of the spooler for tests: cupsd with everything of its own in one temporary folder (configuration,
// queues, jobs, logs, a folder of links to the installed filters beside ours), which listens on a socket in that folder
// only, and is ended by its process id.
//
// It has to run as root: the spooler changes to its own user for the filters, and runs only such as root owns.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "support/process.h"

namespace kesto::test {

class PrivateSpooler {
 public:
  /// Why no spooler can be started here; empty when one can.
  [[nodiscard]] static std::string unavailable();

  /// Starts the spooler, with `filter` among its filters and the virtual printer as the backend usb, and waits until it
  /// answers. Throws when it does not.
  /// With `driver`, a folder with kesto.drv and its catalogues in po, that is the one driver on the spooler's list.
  explicit PrivateSpooler(const std::string& filter, const std::string& driver = "");
  PrivateSpooler(const PrivateSpooler&) = delete;
  PrivateSpooler& operator=(const PrivateSpooler&) = delete;
  /// Ends the spooler and removes its folder.
  ~PrivateSpooler();

  /// Runs one of the spooler's client programs (lp, lpadmin, ...) with this spooler as its server and a home folder of
  /// its own, and returns its output. Throws when it fails.
  std::string client(const std::string& program, const std::vector<std::string>& arguments);

  /// Makes a queue, ready to print, for a PPD and a device, with defaults as in `lpadmin -o`.
  void addQueue(const std::string& queue, const std::string& deviceUri, const std::string& ppd,
                const std::vector<std::string>& defaults = {});

  /// Sends a file with `lp` and these further arguments, and waits until the queue has nothing left to do. Returns the
  /// job's id, as in "queue-17". Throws when the job does not end.
  std::string print(const std::string& queue, const std::string& document,
                    const std::vector<std::string>& arguments = {});

  /// Waits until the queue has no job left; false when it still has one after a minute.
  [[nodiscard]] bool waitUntilIdle(const std::string& queue);

  /// A path in the spooler's folder that its filters and devices can write to.
  [[nodiscard]] std::string outputPath(const std::string& name) const { return folder_.path() + "/output/" + name; }
  /// Its socket, and the folders that it takes its programs and its driver information files from.
  [[nodiscard]] std::string socketPath() const { return folder_.path() + "/cups.sock"; }
  [[nodiscard]] std::string serverBin() const { return folder_.path() + "/bin"; }
  [[nodiscard]] std::string driverFolder() const { return folder_.path() + "/data/drv"; }
  void signal(int number) const { daemon_->signal(number); }
  [[nodiscard]] std::string errorLog() const { return log("error"); }
  [[nodiscard]] std::string pageLog() const { return log("page"); }

  /// Waits until `text` stands in the error log; false when it does not within a minute.
  [[nodiscard]] bool waitForLog(const std::string& text) const;

 private:
  void makeFolders();
  void gatherPrograms(const std::string& filter) const;
  void gatherData(const std::string& driver) const;
  void writeConfiguration() const;
  [[nodiscard]] std::string log(const std::string& name) const;

  TemporaryFolder folder_;
  std::unique_ptr<Process> daemon_;
};

}  // namespace kesto::test
