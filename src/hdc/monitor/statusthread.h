// What the two status threads have in common: a run flag, a thread, and pauses that end when the flag falls.
//
// A printer answers after it has been asked, and most jobs ask at their very end. So a stop does not cut off what the
// thread waits for; ClosingTime says how long that may still take (decisions.md#late-answers).
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <optional>
#include <tuple>

#include "base/poll.h"
#include "base/thread.h"
#include "hdc/hdc.h"

namespace kesto {

/// A status thread. The job thread starts and stops it; the thread itself only reads the flag.
struct StatusThread {
  std::atomic<std::uint8_t> running{0};  ///< written by the job thread, read by the status thread
  Thread thread;                         ///< job thread only

  /// Starts `body` with `argument`. A thread that cannot be made leaves the job without a monitor, and the job prints
  /// all the same. Does nothing when it is already running.
  void start(void* (*body)(void*), void* argument) {
    if (running.exchange(1, std::memory_order_acq_rel) == 1) return;
    if (thread.start(body, argument) != 0) running.store(0, std::memory_order_release);
  }

  /// Clears the flag and waits for the thread to end. Does nothing when it was not started.
  void stop() {
    running.store(0, std::memory_order_release);
    thread.join();
  }

  [[nodiscard]] bool stopped() const { return running.load(std::memory_order_acquire) == 0; }

  /// Waits for `time`, or until the thread is to end.
  void pause(std::chrono::milliseconds time) const {
    std::ignore = pollUntil([this] { return stopped(); }, time);
  }
};

/// The time that a status thread has left once it is stopped: none when nobody waits for the job's end any more.
/// Status thread only.
class ClosingTime {
 public:
  ClosingTime(const StatusThread& thread, std::chrono::milliseconds time) : thread_(thread), time_(time) {}

  /// True when the thread has been stopped and its time is over. Counts from the first call that finds it stopped.
  [[nodiscard]] bool isOver() {
    if (!thread_.stopped()) return false;
    const auto now = std::chrono::steady_clock::now();
    if (!stopSeen_) stopSeen_ = now;
    return hdcIsGivenUp() || now - *stopSeen_ >= time_;
  }

 private:
  const StatusThread& thread_;
  std::chrono::milliseconds time_;
  std::optional<std::chrono::steady_clock::time_point> stopSeen_;
};

}  // namespace kesto
