#include "hdc/hdc.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <optional>
#include <span>

#include <signal.h>

#include "base/cancellimits.h"
#include "base/poll.h"

namespace kesto {

constinit HdcContext hdcContext;

namespace {

void fail(int error) {
  int none = 0;
  hdcContext.failure.compare_exchange_strong(none, error, std::memory_order_acq_rel);
}

bool isRunning() {
  return hdcContext.running.load(std::memory_order_acquire) != 0;
}

/// True when the print thread is to take no further block.
bool isStopped() {
  return !isRunning() || hdcContext.stopping.load(std::memory_order_acquire) != 0;
}

bool isCancelled() {
  return hdcContext.cancelFlag != nullptr && hdcContext.cancelFlag->load(std::memory_order_acquire) != 0;
}

/// Takes the print thread out of a write that blocks. Installed without SA_RESTART, so that the write returns what has
/// gone out so far, or EINTR.
constexpr int WAKE_SIGNAL = SIGUSR1;

void catchWakeSignal() {
  struct sigaction action = {};
  action.sa_handler = [](int) {};
  sigemptyset(&action.sa_mask);
  sigaction(WAKE_SIGNAL, &action, nullptr);
}

/// Waits for something that the print thread brings about. Once the job is given up, the wait keeps waking the print
/// thread: while its write blocks, it can neither see that nor distinguish a slow reader from one that takes nothing.
template <class Ready>
void waitForPrintThread(Ready ready) {
  pollUntil([&ready] {
    if (ready()) return true;
    if (hdcIsGivenUp()) hdcContext.printThread.interrupt(WAKE_SIGNAL);
    return false;
  });
}

bool acceptsBytes() {
  return hdcFailure() == 0 && hdcContext.buffer.size.load(std::memory_order_relaxed) > 0 &&
         hdcContext.buffer.data.load(std::memory_order_relaxed) != nullptr;
}

/// The most that is written at once.
constexpr std::uint32_t LARGEST_BLOCK = std::numeric_limits<std::int32_t>::max();

/// The threshold in force. One at or above the capacity could never be passed, so a full ring drains in any case.
std::uint32_t drainThreshold() {
  const std::uint32_t size = hdcContext.buffer.size.load(std::memory_order_relaxed);
  return std::min(hdcContext.flushThreshold.load(std::memory_order_acquire), size - std::min(size, 1U));
}

/// The room that a writer can count on to come: with no more than the threshold stored the print thread rests.
std::size_t sureRoom() {
  constexpr std::uint32_t MOST = std::numeric_limits<std::int32_t>::max();  // cbufferGetAvailableSpace reports no more
  return std::min(hdcContext.buffer.size.load(std::memory_order_relaxed) - drainThreshold(), MOST);
}

/// One write call. Returns false when the descriptor takes nothing at the moment or the thread of a job that is given
/// up has been woken, true when some of `rest` went out (and was removed from it) or the channel has failed.
bool writeSome(std::span<const std::uint8_t>& rest) {
  static_assert(EAGAIN == EWOULDBLOCK);
  for (;;) {
    const auto written = write(hdcContext.outputDescriptor, rest.data(), rest.size());
    if (written > 0) {
      rest = rest.subspan(static_cast<std::size_t>(written));
      return true;
    }
    if (written == 0 || errno == EAGAIN) return false;
    if (errno == EINTR && hdcIsGivenUp()) return false;
    if (errno == EINTR) continue;
    fail(errno);
    return true;
  }
}

/// Takes everything stored out of the ring, by way of `block`, and writes it.
void drain(std::span<std::uint8_t> block) {
  const std::uint32_t count = std::min(cbufferGetAvailableBytes(&hdcContext.buffer), LARGEST_BLOCK);
  if (cbufferReadBytes(&hdcContext.buffer, block.data(), count)) {
    write_bytes(block.data(), static_cast<std::int32_t>(count));
  }
}

/// Memory for a block of everything that the ring can hold, given by the system at once and not in the middle of a
/// page. Null when there is none.
std::unique_ptr<std::uint8_t[]> makeBlock(std::size_t size) {
  return std::unique_ptr<std::uint8_t[]>(new (std::nothrow) std::uint8_t[size]());
}

}  // namespace

void hdcInitialize(std::uint32_t capacity, std::uint32_t flushThreshold) {
  hdcContext.failure.store(0, std::memory_order_release);
  hdcContext.flushThreshold.store(flushThreshold, std::memory_order_release);
  if (!cbufferCreate(&hdcContext.buffer, capacity)) {
    fail(ENOMEM);
    return;
  }
  // So that the system gives the memory when the job starts and not in the middle of a page.
  std::memset(hdcContext.buffer.data.load(std::memory_order_relaxed), 0, std::size_t{capacity} + 1);
}

void hdcStartPrintThread(void* argument) {
  if (hdcContext.running.exchange(1, std::memory_order_acq_rel) == 1) return;
  catchWakeSignal();
  const int error = hdcContext.printThread.start(print_thread, argument);
  if (error != 0) {
    hdcContext.running.store(0, std::memory_order_release);
    fail(error);
  }
}

std::int64_t hdcWrite(const std::uint8_t* bytes, std::uint32_t count) {
  std::span rest(bytes, count);
  while (!rest.empty()) {
    std::size_t room = 0;
    waitForPrintThread([&rest, &room] {
      if (!acceptsBytes()) return true;
      room = static_cast<std::size_t>(cbufferGetAvailableSpace(&hdcContext.buffer));
      return room >= std::min(rest.size(), sureRoom());
    });
    if (!acceptsBytes()) return -1;
    const auto piece = rest.first(std::min(rest.size(), room));
    if (!cbufferWriteBytes(&hdcContext.buffer, piece.data(), static_cast<std::uint32_t>(piece.size()))) return -1;
    rest = rest.subspan(piece.size());
  }
  return count;
}

void hdcWaitUntilEmpty() {
  hdcContext.flushThreshold.store(0, std::memory_order_release);
  waitForPrintThread([] { return cbufferIsEmpty(&hdcContext.buffer) || hdcFailure() != 0; });
}

void hdcStopPrintThread() {
  if (!isRunning()) return;
  // `running` is cleared only after the thread has ended: otherwise a write would give up the rest of its block and the
  // printer would get half a page.
  hdcContext.stopping.store(1, std::memory_order_release);
  waitForPrintThread([] { return hdcContext.printThread.joinIfEnded(); });
  hdcContext.running.store(0, std::memory_order_release);
  hdcContext.stopping.store(0, std::memory_order_release);
}

void hdcAbandon() {
  fail(ECANCELED);
}

void hdcDestroy() {
  cbufferFree(&hdcContext.buffer);
}

bool hdcIsGivenUp() {
  return isCancelled() || hdcFailure() != 0;
}

int hdcFailure() {
  return hdcContext.failure.load(std::memory_order_acquire);
}

void* print_thread(void* /*argument*/) {
  const std::size_t size = std::min(hdcContext.buffer.size.load(std::memory_order_relaxed), LARGEST_BLOCK);
  const auto block = makeBlock(size);
  if (!block) fail(ENOMEM);
  while (!isStopped() && hdcFailure() == 0) {
    pollUntil([] { return isStopped() || cbufferGetAvailableBytes(&hdcContext.buffer) > drainThreshold(); });
    if (isStopped()) break;
    drain({block.get(), size});
  }
  return nullptr;
}

void write_bytes(const std::uint8_t* bytes, std::int32_t count) {
  std::span rest(bytes, static_cast<std::size_t>(std::max(count, 0)));
  const auto givesUp = [] { return !isRunning() || hdcFailure() != 0; };
  while (!rest.empty() && !givesUp()) {
    std::optional<std::chrono::steady_clock::time_point> stalled;  // when the cancelled job's reader took nothing first
    pollUntil([&] {
      if (givesUp() || writeSome(rest)) return true;
      if (!isCancelled()) return false;
      const auto now = std::chrono::steady_clock::now();
      if (now - stalled.value_or(now) >= CANCEL_STALL_TIME) fail(ECANCELED);
      if (!stalled) stalled = now;
      return false;
    });
  }
}

}  // namespace kesto
