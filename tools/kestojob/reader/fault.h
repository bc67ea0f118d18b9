// What is wrong with a job, and where.
//
// Everything that reads a job throws a Fault at the first thing that does not belong there; nothing in a job is trusted
// before that. Trouble with files, which is not the job's fault, is a FileError.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace kesto::job {

/// A job that is not as the printer takes it: what() is one sentence, `offset` counts bytes from the file's first.
class Fault : public std::runtime_error {
 public:
  Fault(std::uint64_t offset, const std::string& sentence) : std::runtime_error(sentence), offset_(offset) {}
  [[nodiscard]] std::uint64_t offset() const { return offset_; }

 private:
  std::uint64_t offset_;
};

/// Something in a good job that its sender should know of: a sentence, and where it is.
struct Note {
  std::uint64_t offset = 0;
  std::string sentence;
};

/// A file that cannot be read or written: what() says which and why.
class FileError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace kesto::job
