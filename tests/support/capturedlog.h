// Standard error as a pipe that keeps each write apart from the next.
#pragma once

#include <array>
#include <string>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace kesto::test {

class CapturedLog {
 public:
  CapturedLog() : standardError_(dup(STDERR_FILENO)) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_DIRECT | O_NONBLOCK | O_CLOEXEC) != 0) return;
    dup2(ends[1], STDERR_FILENO);
    close(ends[1]);
    readEnd_ = ends[0];
  }
  CapturedLog(const CapturedLog&) = delete;
  CapturedLog& operator=(const CapturedLog&) = delete;
  ~CapturedLog() {
    dup2(standardError_, STDERR_FILENO);
    close(standardError_);
    close(readEnd_);
  }

  /// What the next write brought; empty when none came within `timeoutMs`.
  [[nodiscard]] std::string nextWrite(int timeoutMs = 0) const {
    pollfd waiting{.fd = readEnd_, .events = POLLIN, .revents = 0};
    ::poll(&waiting, 1, timeoutMs);
    std::array<char, 4096> bytes{};
    const auto count = read(readEnd_, bytes.data(), bytes.size());
    return {bytes.data(), static_cast<std::size_t>(count > 0 ? count : 0)};
  }

  /// All that has been written, with a '|' after each write.
  [[nodiscard]] std::string writes() const {
    std::string all;
    for (std::string write = nextWrite(); !write.empty(); write = nextWrite()) all += write + '|';
    return all;
  }

 private:
  int standardError_;
  int readEnd_ = -1;
};

}  // namespace kesto::test
