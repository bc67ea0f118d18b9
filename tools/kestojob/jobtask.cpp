#include "kestojob/jobtask.h"

#include <cerrno>
#include <iostream>
#include <new>
#include <optional>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "kestojob/reader/fault.h"

namespace kesto::job {
namespace {

/// The file as a descriptor, or standard input for "-".
class JobFile {
 public:
  explicit JobFile(const std::string& path) {
    if (path != "-") descriptor_ = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor_ < 0) throw FileError(std::generic_category().message(errno));
  }
  JobFile(const JobFile&) = delete;
  JobFile& operator=(const JobFile&) = delete;
  ~JobFile() {
    if (descriptor_ != STDIN_FILENO) close(descriptor_);
  }
  [[nodiscard]] int descriptor() const { return descriptor_; }
  /// Its length, 0 when that cannot be known.
  [[nodiscard]] std::uint64_t size() const {
    struct stat status = {};
    const bool known = fstat(descriptor_, &status) == 0 && S_ISREG(status.st_mode);
    return known ? static_cast<std::uint64_t>(status.st_size) : 0;
  }

 private:
  int descriptor_ = STDIN_FILENO;
};

/// The fault that ends the reading of a job, or nothing.
std::optional<Fault> readJob(ByteSource& source, std::uint64_t number, JobTask& task) {
  try {
    task.read(source, number);
  } catch (const Fault& fault) {
    return fault;
  }
  return std::nullopt;
}

bool runOnFile(const JobFile& file, const std::string& path, JobTask& task) {
  ByteSource source(file.descriptor());
  task.beginFile(file.size());
  bool allGood = true;
  bool more = true;
  for (std::uint64_t number = 1; more; ++number) {
    const std::uint64_t start = source.jobStart();
    const std::optional<Fault> fault = readJob(source, number, task);
    more = source.nextJob();
    JobPlace job{path, source.offset() - start, !fault};
    if (more || number > 1) job.label += ": job " + std::to_string(number) + " (offset " + std::to_string(start) + ")";
    task.report(job);
    if (fault) complain(job.label + ": offset " + std::to_string(fault->offset()) + ": " + fault->what());
    allGood = allGood && !fault;
  }
  task.endFile();
  return allGood;
}

}  // namespace

void complain(const std::string& text) {
  std::cout.flush();
  std::cerr << "kestojob: " << text << '\n';
}

bool runOnFiles(const std::vector<std::string>& files, const std::function<std::unique_ptr<JobTask>()>& make) {
  std::unique_ptr<JobTask> task;
  bool allGood = true;
  for (const std::string& path : files) {
    try {
      const JobFile file(path);
      if (!task) task = make();
      allGood = runOnFile(file, path, *task) && allGood;
      continue;
    } catch (const FileError& error) {
      complain(path + ": " + error.what());
    } catch (const std::bad_alloc&) {
      complain(path + ": out of memory");
    }
    allGood = false;
  }
  return allGood;
}

}  // namespace kesto::job
