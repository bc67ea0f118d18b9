#include "kestojob/progress.h"

#include <cstdio>

#include <unistd.h>

namespace kesto::job {
namespace {

constexpr std::chrono::milliseconds PATIENCE{500};
constexpr std::chrono::milliseconds PERIOD{200};
constexpr double MEGABYTE = 1e6;

}  // namespace

Progress::Progress(std::uint64_t total)
    : total_(total), onTerminal_(isatty(STDERR_FILENO) == 1), next_(Clock::now() + PATIENCE) {}

void Progress::show(std::uint64_t page, std::uint64_t bytes) {
  if (!onTerminal_) return;
  const Clock::time_point now = Clock::now();
  if (now < next_) return;
  next_ = now + PERIOD;
  shown_ = true;
  const auto number = static_cast<unsigned long long>(page);
  const double done = static_cast<double>(bytes) / MEGABYTE;
  if (total_ > 0) {
    std::fprintf(stderr, "\rPage %llu, %.1f of %.1f MB\033[K", number, done, static_cast<double>(total_) / MEGABYTE);
  } else {
    std::fprintf(stderr, "\rPage %llu, %.1f MB\033[K", number, done);
  }
}

void Progress::clear() {
  if (shown_) std::fputs("\r\033[K", stderr);
  shown_ = false;
}

}  // namespace kesto::job
