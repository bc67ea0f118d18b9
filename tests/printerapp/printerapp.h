// The printer application as a process: on a free port of the loopback address, with its spool, data and filter folders
// in one temporary folder. The filters are the built ones beside the spooler's own.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include <cups/cups.h>

#include "support/process.h"

namespace kesto::test {

/// What a job asks for, by its attributes' names, in the form of `lp -o`.
using Wishes = std::map<std::string, std::string>;

/// What has become of a job, or of a request for one.
struct JobEnd {
  int id = 0;  ///< 0: the request was refused
  ipp_jstate_t state = IPP_JSTATE_ABORTED;
  std::string message;  ///< the job's, or the reason of the refusal
};

class PrinterApp {
 public:
  /// Starts the application and waits until it answers. Throws when it does not.
  PrinterApp();

  /// Makes a printer for a device.
  void addPrinter(const std::string& name, const std::string& deviceUri);

  [[nodiscard]] std::string uri(const std::string& printer) const;
  [[nodiscard]] int port() const { return port_; }

  /// Sends a request with a file, over again while the application is busy.
  [[nodiscard]] std::unique_ptr<ipp_t, decltype(&ippDelete)> ask(ipp_t* request, const std::string& resource,
                                                                 const std::string& file = "");

  /// Sends a document of this type ("" leaves it to the application) and waits up to a minute until the job is over.
  JobEnd print(const std::string& printer, const std::string& document, const std::string& type,
               const Wishes& wishes = {});

  /// Sends a document and returns the job's number.
  int submit(const std::string& printer, const std::string& document, const std::string& type);

  /// Looks until the job is over or has the text in its message, and returns what has become of it, after a minute at
  /// the latest.
  JobEnd waitFor(const std::string& printer, int job, const std::string& text = "");

  void cancel(const std::string& printer, int job);

  /// The texts of one of the printer's attributes, separated by commas.
  [[nodiscard]] std::string valuesOf(const std::string& printer, const std::string& name);

  /// Ends the application by a signal, waits for its end, and starts it anew.
  void restart(int signal);

  /// True when the job is found after a restart: it is written down a moment after it has come.
  [[nodiscard]] bool remembers(int job) const;

  /// Puts a program in the place of a filter.
  void replaceFilter(const std::string& name, const std::string& script);

  [[nodiscard]] int pid() const { return process_->pid(); }

  /// The same for a request that is made already: a Print-Job whose printer is `printer`.
  JobEnd print(const std::string& printer, ipp_t* request, const std::string& document);

  /// A Print-Job request without job attributes.
  [[nodiscard]] ipp_t* printRequest(const std::string& printer, const std::string& type,
                                    const std::string& title) const;

  /// What is left of jobs: files in the spool folder, and child processes; and what a sanitizer has reported.
  [[nodiscard]] std::vector<std::string> leftovers() const;

  [[nodiscard]] std::string log() const;

 private:
  [[nodiscard]] Command command() const;
  [[nodiscard]] std::vector<std::string> remains() const;
  void start();
  std::unique_ptr<ipp_t, decltype(&ippDelete)> askFor(ipp_op_t operation, const std::string& printer, int job = 0);

  TemporaryFolder folder_;
  int port_;
  std::unique_ptr<Process> process_;
};

}  // namespace kesto::test
