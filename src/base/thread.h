// A thread and its one owner.
//
// The owner starts it, asks it to stop through a flag of its own, and waits here for it to end. All functions are for
// the owner's thread.
#pragma once

#include <cerrno>

#include <pthread.h>
#include <signal.h>

namespace kesto {

class Thread {
 public:
  /// Starts `body` with `argument`. Returns 0, or the error number when no thread can be made. An earlier thread must
  /// have been joined.
  [[nodiscard]] int start(void* (*body)(void*), void* argument) {
    const int error = pthread_create(&handle_, nullptr, body, argument);
    running_ = error == 0;
    return error;
  }

  /// True until the thread has been joined.
  [[nodiscard]] bool isStarted() const { return running_; }

  /// Joins the thread if it has ended; looks without waiting. True when there is none left to wait for.
  [[nodiscard]] bool joinIfEnded() {
    if (running_ && pthread_tryjoin_np(handle_, nullptr) != EBUSY) running_ = false;
    return !running_;
  }

  /// Waits for the thread to end. Does nothing when none was started.
  void join() {
    if (running_) pthread_join(handle_, nullptr);
    running_ = false;
  }

  /// Sends the thread a signal, which interrupts a blocking call.
  void interrupt(int signal) const {
    if (running_) pthread_kill(handle_, signal);
  }

 private:
  pthread_t handle_{};
  bool running_ = false;
};

}  // namespace kesto
