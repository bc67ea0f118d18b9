#include "base/poll.h"

#include <csignal>

#include <gtest/gtest.h>
#include <sys/time.h>

namespace kesto {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

TEST(PollUntil, LooksOftenAtFirstAndSeldomLater) {
  EXPECT_EQ(detail::pollPause(0ms), 1ms);
  EXPECT_EQ(detail::pollPause(19ms), 1ms);
  EXPECT_EQ(detail::pollPause(20ms), 20ms);
  EXPECT_EQ(detail::pollPause(1h), 20ms);

  int looks = 0;
  const auto start = steady_clock::now();
  EXPECT_FALSE(pollUntil([&looks] { return ++looks < 0; }, 200ms));
  EXPECT_GE(steady_clock::now() - start, 200ms);
  EXPECT_LT(looks, 45) << "a steady 1 ms gives close to 200; a loaded machine gives fewer than the pace";
}

TEST(PollUntil, TakesAnyTimeout) {
  int looks = 0;
  EXPECT_FALSE(pollUntil([&looks] { return ++looks < 0; }, 0ms));
  EXPECT_FALSE(pollUntil([&looks] { return ++looks < 0; }, std::chrono::milliseconds::min()));
  EXPECT_EQ(looks, 2);
  EXPECT_TRUE(pollUntil([&looks] { return ++looks == 5; }, std::chrono::milliseconds::max()));
}

TEST(PollUntil, OutlivesASignalEveryMillisecond) {
  std::signal(SIGALRM, [](int) {});
  const itimerval everyMillisecond{.it_interval = {0, 1000}, .it_value = {0, 1000}};
  setitimer(ITIMER_REAL, &everyMillisecond, nullptr);
  int looks = 0;
  const auto start = steady_clock::now();
  EXPECT_FALSE(pollUntil([&looks] { return ++looks < 0; }, 300ms));
  const auto waited = steady_clock::now() - start;
  const itimerval off{};
  setitimer(ITIMER_REAL, &off, nullptr);
  std::signal(SIGALRM, SIG_DFL);
  EXPECT_GE(waited, 300ms);
}

}  // namespace
}  // namespace kesto
