// A line on the terminal that shows how far a long job has got.
//
// Nothing is written when standard error is no terminal, or before the work has taken a while.
#pragma once

#include <chrono>
#include <cstdint>

namespace kesto::job {

class Progress {
 public:
  /// `total` is the job's size in bytes, 0 when it is not known.
  explicit Progress(std::uint64_t total);
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress() { clear(); }

  /// Shows the page at work and how many bytes have been read, a few times a second.
  void show(std::uint64_t page, std::uint64_t bytes);
  /// Takes the line away.
  void clear();

 private:
  using Clock = std::chrono::steady_clock;

  std::uint64_t total_;
  bool onTerminal_;
  bool shown_ = false;
  Clock::time_point next_;
};

}  // namespace kesto::job
