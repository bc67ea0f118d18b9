// The job's PDF as a file with a name: the one that the spooler names, or a temporary copy of standard input.
#pragma once

#include <string>

namespace kesto {

class InputFile {
 public:
  /// The file that the spooler names; it is neither copied nor removed.
  explicit InputFile(std::string name) : name_(std::move(name)) {}

  /// A temporary copy of standard input, removed when the object goes. A SIGTERM ends the copying early. Ends the job
  /// when the copy cannot be made.
  static InputFile copyOfStandardInput();

  InputFile(InputFile&& other) noexcept;
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;
  InputFile& operator=(InputFile&&) = delete;
  ~InputFile();

  [[nodiscard]] const std::string& name() const { return name_; }

 private:
  std::string name_;
  bool temporary_ = false;
};

}  // namespace kesto
