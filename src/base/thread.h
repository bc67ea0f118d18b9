// A thread and its one owner.
//
// The owner starts it, asks it to stop by a flag of its own, and waits for its end here. All functions belong to the
// owner's thread.
#pragma once

#include <cerrno>

#include <pthread.h>
#include <signal.h>

namespace kesto {

class Thread {
 public:
  /// Starts `body` with `argument`. Returns 0, or the error number when no thread can be made. The thread before has to
  /// be joined.
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

  /// Waits for the thread's end. Nothing happens when none was started.
  void join() {
    if (running_) pthread_join(handle_, nullptr);
    running_ = false;
  }

  /// Sends the thread a signal, which takes it out of a call that blocks.
  void interrupt(int signal) const {
    if (running_) pthread_kill(handle_, signal);
  }

 private:
  pthread_t handle_{};
  bool running_ = false;
};

}  // namespace kesto
