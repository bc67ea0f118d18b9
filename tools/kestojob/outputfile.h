// A file that is there complete or not at all.
//
// It is written under a name of its own beside the wanted one, and gets that at the end. Until then its end, and a
// signal that ends the program, take it away.
//
// One thread makes and uses these files, at most two at the same time.
#pragma once

#include <cstdio>
#include <string>

namespace kesto::job {

class OutputFile {
 public:
  /// "-" is standard output, which is written as it comes. Throws FileError when the file cannot be made, or when what
  /// has its name cannot be replaced.
  explicit OutputFile(const std::string& path);
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;
  ~OutputFile();

  [[nodiscard]] std::FILE* stream() const { return stream_; }
  /// Closes the file and gives it its name. Throws FileError.
  void commit();
  /// Throws the FileError of the call that has failed last.
  [[noreturn]] void fail() const;

 private:
  void open();

  std::string path_;       // as it was given, for messages
  std::string target_;     // where a link leads
  std::string temporary_;  // empty once it is gone, or for standard output
  std::FILE* stream_ = nullptr;
};

}  // namespace kesto::job
