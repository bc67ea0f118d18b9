#include "base/descriptor.h"

#include <cerrno>

#include <fcntl.h>
#include <poll.h>

#include "base/poll.h"

namespace kesto {
namespace {

/// How long the system may wait for input before giveUp is asked. Input that comes ends the wait at once.
constexpr std::chrono::milliseconds LOOK_INTERVAL{20};

}  // namespace

int Pipe::open() {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return errno;
  readEnd = Descriptor(ends[0]);
  writeEnd = Descriptor(ends[1]);
  return 0;
}

int waitForInput(int descriptor, std::chrono::milliseconds time) {
  pollfd input = {.fd = descriptor, .events = POLLIN, .revents = 0};
  return ::poll(&input, 1, static_cast<int>(time.count()));
}

ssize_t readWhenReady(int descriptor, std::uint8_t* bytes, std::size_t count,
                      const std::function<bool(std::chrono::milliseconds)>& giveUp) {
  using Clock = std::chrono::steady_clock;
  const Clock::time_point start = Clock::now();
  for (;;) {
    const int ready = waitForInput(descriptor, LOOK_INTERVAL);
    if (ready < 0 && errno != EINTR) return -1;
    if (ready > 0) {
      const ssize_t got = ::read(descriptor, bytes, count);
      if (got >= 0 || (errno != EINTR && errno != EAGAIN)) return got;
    }
    if (giveUp(std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start))) return 0;
  }
}

int writeFully(int descriptor, const std::uint8_t* bytes, std::size_t count) {
  while (count > 0) {
    ssize_t written = -1;
    pollUntil([&] {
      written = ::write(descriptor, bytes, count);
      return written >= 0 || (errno != EAGAIN && errno != EINTR);
    });
    if (written < 0) return errno;
    bytes += written;
    count -= static_cast<std::size_t>(written);
  }
  return 0;
}

}  // namespace kesto
