#include "filter/inputfile.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <utility>

#include <cups/cups.h>
#include <unistd.h>

#include "filter/descriptor.h"
#include "filter/joberror.h"
#include "filter/jobstate.h"
#include "hdc/report.h"

namespace kesto {
namespace {

constexpr std::size_t COPY_SIZE = 8192;
constexpr char COPY_FAILED[] = "ERROR: Unable to copy PDF file!";

/// Copies standard input to `copy` until its end or SIGTERM. Returns 0 or the error number.
int copyStandardInput(int copy) {
  std::array<std::uint8_t, COPY_SIZE> buffer;
  const auto cancelled = [](std::chrono::milliseconds) { return isTerminated.load(std::memory_order_acquire) != 0; };
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
  std::array<char, 1024> name = {};
  Descriptor copy(cupsTempFd(name.data(), static_cast<int>(name.size())));
  if (copy.get() < 0) failJob(COPY_FAILED, errno);

  InputFile file(std::string(name.data()));
  file.temporary_ = true;
  report("DEBUG: The document is copied to %s\n", file.name_.c_str());
  const int error = copyStandardInput(copy.get());
  if (error != 0) failJob(COPY_FAILED, error);
  return file;
}

InputFile::InputFile(InputFile&& other) noexcept
    : name_(std::move(other.name_)), temporary_(std::exchange(other.temporary_, false)) {}

InputFile::~InputFile() {
  if (temporary_) unlink(name_.c_str());
}

}  // namespace kesto
