// The one way this filter waits.
//
// No lock and no condition variable exists anywhere: a thread that waits looks at atomics that another thread moves.
// A wait begins at a quick pace, because most hand-offs between the threads take well under 20 ms and the job's speed
// hangs on them; a longer wait (a printer that is busy, a document that takes its time) slows down and costs nothing.
//
// Any thread may wait; the condition itself says what it may read. Only steady time counts, so a clock that is set
// while a job prints neither ends nor prolongs a wait.
#pragma once

#include <algorithm>
#include <chrono>
#include <ctime>
#include <utility>

namespace kesto {

namespace detail {

using namespace std::chrono_literals;

/// How long to sleep before the next look, by the age of the wait.
constexpr std::chrono::milliseconds pollPause(std::chrono::milliseconds age) {
  return age < 20ms ? 1ms : 20ms;
}

/// Sleeps once. A signal that ends the sleep early only brings the next look forward.
inline void sleepOnce(std::chrono::milliseconds pause) {
  const timespec duration{.tv_sec = 0, .tv_nsec = std::chrono::nanoseconds(pause).count()};
  nanosleep(&duration, nullptr);
}

}  // namespace detail

/// Waits until `ready()` is true, at most about `timeout`; returns false when the time ran out.
///
/// Looks first, so that a condition that already holds costs no sleep, then every millisecond while the wait is younger
/// than 20 ms, then every 20 ms; the last look comes when the time is over. A timeout of zero or less looks once.
/// `pause` sleeps until the next look, or for less.
template <class Ready, class Pause = void (*)(std::chrono::milliseconds)>
[[nodiscard]] bool pollUntil(Ready ready, std::chrono::milliseconds timeout, Pause pause = detail::sleepOnce) {
  using std::chrono::milliseconds;
  using std::chrono::steady_clock;
  const auto start = steady_clock::now();
  while (!ready()) {
    // Ages are compared in milliseconds: a timeout of years would overflow the clock's own unit.
    const auto age = std::chrono::duration_cast<milliseconds>(steady_clock::now() - start);
    if (age >= timeout) return false;
    pause(std::min(detail::pollPause(age), timeout - age));
  }
  return true;
}

/// Waits until `ready()` is true, at the same pace and without a limit.
template <class Ready>
void pollUntil(Ready ready) {
  static_cast<void>(pollUntil(std::move(ready), std::chrono::milliseconds::max()));
}

}  // namespace kesto
