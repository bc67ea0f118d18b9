#include "filter/document/inputfile.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <utility>

#include <cups/cups.h>
#include <unistd.h>

#include "base/descriptor.h"
#include "base/poll.h"
#include "base/report.h"
#include "filter/cancel.h"
#include "filter/joberror.h"

namespace kesto {
namespace {

constexpr std::size_t COPY_SIZE = 8192;
/// How long to keep trying to remove the copy: it is somebody's document.
constexpr std::chrono::milliseconds REMOVAL_TIME{100};

constexpr char COPY_FAILED[] = "ERROR: Unable to copy PDF file!";

/// Copies standard input to `copy` until its end or SIGTERM. Returns 0 or the error number.
int copyStandardInput(int copy) {
  std::array<std::uint8_t, COPY_SIZE> buffer;
  const auto cancelled = [](std::chrono::milliseconds) { return isCancelled(); };
  for (;;) {
    const ssize_t got = readWhenReady(STDIN_FILENO, buffer.data(), buffer.size(), cancelled);
    if (got < 0) return errno;
    if (got == 0 || cancelled({})) return 0;
    const int error = writeFully(copy, buffer.data(), static_cast<std::size_t>(got));
    if (error != 0) return error;
  }
}

}  // namespace

InputFile InputFile::copyOfStandardInput() {
  constexpr std::size_t LONGEST_NAME = 1024;
  // The object owns its memory before the file exists, so nothing can come between the file and its removal.
  InputFile file(std::string(LONGEST_NAME, '\0'));
  Descriptor copy(cupsTempFd(file.name_.data(), static_cast<int>(LONGEST_NAME)));
  if (copy.get() < 0) failJob(COPY_FAILED, errno);
  file.temporary_ = true;
  file.name_.resize(std::strlen(file.name_.c_str()));
  report("DEBUG: The document is copied to %s\n", file.name_.c_str());
  const int error = copyStandardInput(copy.get());
  if (error != 0) failJob(COPY_FAILED, error);
  return file;
}

InputFile::InputFile(InputFile&& other) noexcept
    : name_(std::move(other.name_)), temporary_(std::exchange(other.temporary_, false)) {}

InputFile::~InputFile() {
  if (!temporary_) return;
  const auto removed = [this] { return unlink(name_.c_str()) == 0 || errno == ENOENT; };
  if (!pollUntil(removed, REMOVAL_TIME)) reportErrno("WARNING: Unable to remove the copy of the document", errno);
}

}  // namespace kesto
