#include "hdc/cbuffer.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "base/poll.h"
#include "support/sanitized.h"

namespace kesto {
namespace {

class Cbuffer : public testing::Test {
 protected:
  void create(std::uint32_t capacity) { ASSERT_TRUE(cbufferCreate(&ring_, capacity)); }
  void TearDown() override { cbufferFree(&ring_); }

  bool store(const std::string& text) {
    const std::vector<std::uint8_t> bytes(text.begin(), text.end());
    return cbufferWriteBytes(&ring_, bytes.data(), static_cast<std::uint32_t>(bytes.size()));
  }
  /// The bytes taken out, or "refused".
  std::string take(std::uint32_t count) {
    std::vector<std::uint8_t> bytes(count);
    if (!cbufferReadBytes(&ring_, bytes.data(), count)) return "refused";
    return {bytes.begin(), bytes.end()};
  }
  /// Puts both indices of an empty ring to a position.
  void moveTo(std::uint32_t position) {
    ring_.writeIndex = position;
    ring_.readIndex = position;
  }

  cbuffer ring_;
};

TEST_F(Cbuffer, NeverUsesTheIndicesOfARingThatIsHalfFreed) {
  // The states between the steps of a free, as a consumer on another thread may meet them.
  create(100);
  moveTo(60);
  ring_.writeIndex = 70;
  std::uint8_t* const storage = ring_.data.exchange(nullptr);
  EXPECT_EQ(cbufferGetAvailableBytes(&ring_), 0U);
  EXPECT_EQ(take(1), "refused");
  ring_.size = 0;
  ring_.writeIndex = 0;
  EXPECT_EQ(cbufferGetAvailableBytes(&ring_), 0U);
  EXPECT_EQ(cbufferGetAvailableSpace(&ring_), 0);
  EXPECT_EQ(take(1), "refused");
  ring_.data = storage;
}

TEST_F(Cbuffer, CountsBeyond32BitsInTheLargestRing) {
  if (test::SANITIZED) GTEST_SKIP() << "the sanitizer's own memory for 4 GiB is too large";
  constexpr std::uint32_t LARGEST = std::numeric_limits<std::uint32_t>::max();
  if (!cbufferCreate(&ring_, LARGEST)) GTEST_SKIP() << "no room for 4 GiB of addresses";
  EXPECT_EQ(cbufferGetAvailableSpace(&ring_), std::numeric_limits<std::int32_t>::max());
  moveTo(LARGEST - 1);
  EXPECT_TRUE(store("abcde"));
  EXPECT_EQ(ring_.writeIndex, 3U);
  EXPECT_EQ(cbufferGetAvailableBytes(&ring_), 5U);
  EXPECT_FALSE(cbufferIsFull(&ring_));
  EXPECT_EQ(take(5), "abcde");
  ring_.writeIndex = LARGEST - 1;
  ring_.readIndex = LARGEST;
  EXPECT_TRUE(cbufferIsFull(&ring_));
  EXPECT_EQ(cbufferGetAvailableSpace(&ring_), 0);
}

TEST_F(Cbuffer, CarriesAStreamBetweenTwoThreads) {
  create(61);
  constexpr int TOTAL = 300'000;
  std::thread producer([this] {
    std::mt19937 random(1);
    std::vector<std::uint8_t> bytes;
    for (int sent = 0; sent < TOTAL;) {
      bytes.resize(std::min<std::size_t>(random() % 62, TOTAL - sent));
      for (auto& byte : bytes) byte = static_cast<std::uint8_t>(sent++ % 251);
      const auto count = static_cast<std::uint32_t>(bytes.size());
      while (!cbufferWriteBytes(&ring_, bytes.data(), count)) std::this_thread::yield();
    }
  });
  std::vector<std::uint8_t> bytes;
  int wrong = 0;
  for (int received = 0; received < TOTAL;) {
    bytes.resize(cbufferGetAvailableBytes(&ring_));
    if (bytes.empty()) std::this_thread::yield();
    ASSERT_TRUE(cbufferReadBytes(&ring_, bytes.data(), static_cast<std::uint32_t>(bytes.size())));
    for (const auto byte : bytes) wrong += byte != received++ % 251;
  }
  producer.join();
  EXPECT_EQ(wrong, 0);
  EXPECT_TRUE(cbufferIsEmpty(&ring_));
}

TEST_F(Cbuffer, MayBeFreedWhileTheConsumerStillAsks) {
  for (int round = 0; round < 200; ++round) {
    create(1000);
    std::atomic<bool> taken = false;
    std::atomic<bool> stop = false;
    std::atomic<std::uint32_t> bytesAfterwards = 0;
    std::thread consumer([&] {
      std::vector<std::uint8_t> block(10);
      pollUntil([&] { return cbufferReadBytes(&ring_, block.data(), 10); });
      taken = true;
      while (!stop) {
        bytesAfterwards += cbufferGetAvailableBytes(&ring_);
        if (cbufferReadBytes(&ring_, block.data(), 1)) ++bytesAfterwards;
      }
    });
    ASSERT_TRUE(store("0123456789"));
    pollUntil([&] { return taken.load(); });
    cbufferFree(&ring_);
    stop = true;
    consumer.join();
    ASSERT_EQ(bytesAfterwards, 0U);
  }
}

}  // namespace
}  // namespace kesto
