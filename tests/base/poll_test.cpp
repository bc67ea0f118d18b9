#include "base/poll.h"

#include <gtest/gtest.h>

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
  EXPECT_FALSE(pollUntil([&looks] { return ++looks < 0; }, std::chrono::milliseconds::min()));
  EXPECT_TRUE(pollUntil([&looks] { return ++looks == 5; }, std::chrono::milliseconds::max()));
  const auto start = steady_clock::now();
  EXPECT_FALSE(pollUntil([&looks] { return ++looks < 0; }, 200ms));
  EXPECT_GE(steady_clock::now() - start, 200ms);
  EXPECT_LT(looks, 50) << "a steady 1 ms gives close to 200; a loaded machine gives fewer than the pace";
}

}  // namespace
}  // namespace kesto
