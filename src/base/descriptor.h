// File descriptors: ownership, and waiting for input without being caught in a read.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <utility>

#include <unistd.h>

namespace kesto {

/// Where the spooler gives a filter its back channel and its side channel.
inline constexpr int BACK_CHANNEL = 3;
inline constexpr int SIDE_CHANNEL = 4;

/// Owns a file descriptor and closes it.
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int descriptor) : descriptor_(descriptor) {}
  Descriptor(Descriptor&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    close();
    descriptor_ = std::exchange(other.descriptor_, -1);
    return *this;
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() { close(); }

  [[nodiscard]] int get() const { return descriptor_; }
  void close() {
    if (descriptor_ >= 0) ::close(descriptor_);
    descriptor_ = -1;
  }

 private:
  int descriptor_ = -1;
};

/// A pipe whose ends are closed on exec.
struct Pipe {
  Descriptor readEnd;
  Descriptor writeEnd;

  /// Makes the pipe; returns 0 or the error number.
  [[nodiscard]] int open();
};

/// Sleeps until input waits on `descriptor`, or for `time`. Returns as poll does: above 0 when it waits, 0 when the
/// time is over, -1 with errno set on an error or a signal.
int waitForInput(int descriptor, std::chrono::milliseconds time);

/// Reads up to `count` bytes from `descriptor` as soon as some are there.
///
/// Returns the bytes read, 0 at the end of the input, and -1 with errno set on an error. While nothing comes, `giveUp`
/// is asked again and again with the time waited so far; when it returns true the result is 0. A plain read restarts
/// after SIGTERM and could wait for ever for a process that has stopped writing.
[[nodiscard]] ssize_t readWhenReady(int descriptor, std::uint8_t* bytes, std::size_t count,
                                    const std::function<bool(std::chrono::milliseconds)>& giveUp);

/// Writes all `count` bytes, in as many calls as that takes. Returns 0 or the error number.
[[nodiscard]] int writeFully(int descriptor, const std::uint8_t* bytes, std::size_t count);

}  // namespace kesto
