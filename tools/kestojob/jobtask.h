// A command at work on files of jobs: one job after the other, with the messages about them.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "kestojob/reader/bytesource.h"

namespace kesto::job {

/// A job in its file.
struct JobPlace {
  std::string label;  ///< "FILE", or "FILE: job 2 (offset 4711)" in a file of several jobs
  std::uint64_t bytes = 0;
  bool good = true;
};

/// What a command does with each job.
class JobTask {
 public:
  JobTask() = default;
  JobTask(const JobTask&) = delete;
  JobTask& operator=(const JobTask&) = delete;
  virtual ~JobTask() = default;

  /// `size` is the file's in bytes, 0 when it is not known.
  virtual void beginFile(std::uint64_t /*size*/) {}
  /// Reads the file's `number`th job, counted from 1. A Fault is reported behind what `report` has to say.
  virtual void read(ByteSource& source, std::uint64_t number) = 0;
  /// Says what there is to say of the job that was read, as soon as its end and with it its label is known.
  virtual void report(const JobPlace& /*job*/) {}
  /// After the file's last job.
  virtual void endFile() {}
};

/// Writes "kestojob: TEXT" to standard error, behind what standard output has got so far.
void complain(const std::string& text);

/// Runs a task on every job of every file, "-" being standard input; `make` gives it as soon as the first file is open.
/// A fault, a file that cannot be used and a lack of memory are reported, and the next job or file has its turn. True
/// when there was nothing of the kind.
[[nodiscard]] bool runOnFiles(const std::vector<std::string>& files,
                              const std::function<std::unique_ptr<JobTask>()>& make);

}  // namespace kesto::job
