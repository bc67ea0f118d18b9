// One run of the filters for a job: child processes, their output to the printer, their messages to whoever listens.
//
// The filter is a process of its own for each job, because a job's state is the process's.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "base/descriptor.h"
#include "printerapp/childprocess.h"
#include "printerapp/messagelines.h"
#include "printerapp/printerline.h"

namespace kesto::app {

/// A part of a file.
struct Extent {
  off_t begin = 0, end = 0;
};

struct FilterCall {
  std::vector<Command> commands;         ///< each reads what the one before writes; the last one writes the job
  std::vector<std::string> environment;  ///< of all of them, "NAME=value"
  int input = -1;                        ///< the first one's standard input, read by extents; -1 for none
  std::vector<Extent> extents;
  bool ready = false;  ///< a job that is only passed on; it has no pages that are reported
};

/// What a job does while it is printed.
class JobObserver {
 public:
  virtual ~JobObserver() = default;
  [[nodiscard]] virtual bool isCancelled() const = 0;
  /// The printer has taken nothing for a while although it was offered something, or takes it again.
  virtual void stalled(bool still) = 0;
  /// Called now and then while the job is printed.
  virtual void look() = 0;
  /// A message of the filter that writes the job, one line without its end. Its warnings are the printer's alerts.
  virtual void message(const std::string& line) = 0;
  /// A message of a filter before it.
  virtual void preparation(const std::string& line) = 0;
};

enum class RunResult {
  DONE,       ///< the filters have ended well, and the printer has everything
  FAILED,     ///< a filter has failed; `remark` says how
  LINE_LOST,  ///< the printer is gone
  CANCELLED,  ///< ended as the spooler would
};

class FilterRun {
 public:
  explicit FilterRun(const FilterCall& call) : call_(call) {}
  FilterRun(const FilterRun&) = delete;
  FilterRun& operator=(const FilterRun&) = delete;
  ~FilterRun();

  /// Runs the filters to their end, or until the job is cancelled or the printer is gone. Nothing reaches the printer
  /// before the filter has begun a page: a document without pages is not sent.
  [[nodiscard]] RunResult run(PrinterLine& line, JobObserver& observer);

  /// What went wrong, in the filter's words where it has said something; empty when nothing did. A job that is done may
  /// have a remark as well: a page that could not be printed.
  [[nodiscard]] const std::string& remark() const { return remark_; }

  /// True when a failure says nothing of the document: a filter was killed or could not be started.
  [[nodiscard]] bool isOurFault() const { return ourFault_; }

 private:
  void start();
  [[nodiscard]] RunResult pump(PrinterLine& line, JobObserver& observer);
  void waitForSomething(const PrinterLine& line) const;
  void feed();
  void readOutput();
  [[nodiscard]] bool deliver(PrinterLine& line, JobObserver& observer);
  void followCancel(const JobObserver& observer);
  void limitEnd();
  void noteProgress(bool progress, JobObserver& observer);
  [[nodiscard]] bool isOver();
  void readMessages(JobObserver& observer);
  [[nodiscard]] bool maySend() const { return call_.ready || stages_.back().messages.pages() > 0; }
  [[nodiscard]] RunResult judge(PrinterLine& line, JobObserver& observer);
  void end();

  const FilterCall& call_;
  /// A filter and what it says.
  struct Stage {
    ChildProcess process;
    Descriptor log;
    MessageLines messages;
  };

  std::vector<Stage> stages_;
  Descriptor input_, output_;
  std::size_t extent_ = 0;           ///< the one being fed
  off_t position_ = 0;               ///< within the file
  std::vector<std::uint8_t> bytes_;  ///< read, and not yet taken by the printer
  std::chrono::steady_clock::time_point progress_ = std::chrono::steady_clock::now();
  bool stalled_ = false;
  bool cancelled_ = false;
  std::chrono::steady_clock::time_point cancelTime_;
  std::optional<std::chrono::steady_clock::time_point> outputEnd_;
  std::string remark_;
  bool ourFault_ = false;
};

}  // namespace kesto::app
