// A child process with standard streams of its own and nothing else of this process.
#pragma once

#include <chrono>
#include <string>
#include <utility>
#include <vector>

#include <sys/types.h>
#include <sys/wait.h>

namespace kesto::app {

struct Command {
  std::string program;                 ///< the file
  std::vector<std::string> arguments;  ///< argv, the name in front
};

class ChildProcess {
 public:
  /// Starts a program in a process group of its own. Only these three descriptors are open in it, and signals have
  /// their ordinary effect. Throws std::system_error when it cannot be started.
  ChildProcess(const Command& command, const std::vector<std::string>& environment, int input, int output, int log);
  ChildProcess(ChildProcess&& other) noexcept : id_(std::exchange(other.id_, -1)), status_(other.status_) {}
  ChildProcess& operator=(ChildProcess&&) = delete;
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;
  /// Kills what still runs of the group.
  ~ChildProcess();

  /// Looks without waiting whether it has ended.
  [[nodiscard]] bool hasEnded();

  /// How it failed ("ended with status 1"); empty when it has succeeded or still runs.
  [[nodiscard]] std::string failure();

  /// True when a signal has ended it.
  [[nodiscard]] bool wasKilled() const { return status_ != -1 && WIFSIGNALED(status_); }

  /// Sends a signal to the group, unless the process has ended.
  void signal(int number);

  /// Asks it to end, and kills it when it does not within `time`.
  void end(std::chrono::milliseconds time);

 private:
  pid_t id_ = -1;
  int status_ = -1;  ///< as of waitpid; -1 while it runs
};

}  // namespace kesto::app
