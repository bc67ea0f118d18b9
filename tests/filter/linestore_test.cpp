#include "filter/lines/linestore.h"

#include <algorithm>
#include <deque>
#include <random>
#include <vector>

#include <gtest/gtest.h>

namespace kesto {
namespace {

using Bytes = std::vector<std::uint8_t>;

/// White but for `spots` bytes; as many as the line has bytes make it noise.
Bytes makeLine(std::mt19937& random, std::size_t bytes, std::size_t spots) {
  Bytes line(bytes, 0xFF);
  for (std::size_t i = 0; i < spots; ++i) line[random() % bytes] = static_cast<std::uint8_t>(random());
  return line;
}

/// Pushes and pops lines at random, mostly one of both for a while, and compares with a queue of whole lines.
void exchangeLines(std::size_t lineBytes, std::size_t capacity) {
  constexpr int STEPS = 4000;
  constexpr int BLOCK = 8;
  std::mt19937 random(static_cast<unsigned>(lineBytes + capacity));
  LineStore store(lineBytes, capacity);
  std::deque<Bytes> expected;
  const std::size_t spots[] = {0, 0, 1, 3, lineBytes, 8 * lineBytes};
  for (int step = 0; step < STEPS; ++step) {
    ASSERT_EQ(store.size(), expected.size());
    ASSERT_TRUE(store.hasRoom() || expected.size() >= BLOCK) << "a block's lines fit, from wherever the store stands";
    const bool filling = step / 50 % 2 == 0;
    if (store.hasRoom() && random() % 4 < (filling ? 3 : 1)) {
      expected.push_back(makeLine(random, lineBytes, spots[random() % std::size(spots)]));
      std::ranges::copy(expected.back(), store.next().begin());
      store.push();
    } else if (!expected.empty()) {
      Bytes line(lineBytes, 0x55);
      store.pop(line);
      ASSERT_EQ(line, expected.front()) << "step " << step;
      expected.pop_front();
    }
  }
}

TEST(LineStore, GivesTheLinesBackInOrderAndTakesHardlyRoomForWhite) {
  for (const std::size_t lineBytes : {1, 16, 31, 32, 33, 48, 256, 257, 272, 1000}) {
    for (const std::size_t capacity : {std::size_t{0}, 12 * lineBytes, 40 * lineBytes + 7}) {
      exchangeLines(lineBytes, capacity);
    }
  }
  LineStore store(14736, 147360);
  for (; store.hasRoom() && store.size() < 1000; store.push()) std::ranges::fill(store.next(), std::uint8_t{0xFF});
  EXPECT_EQ(store.size(), 1000u);
}

}  // namespace
}  // namespace kesto
