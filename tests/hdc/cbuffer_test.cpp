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

TEST_F(Cbuffer, AcceptsExactlyItsCapacityWhenEmpty) {
  create(8);
  EXPECT_TRUE(cbufferIsEmpty(&ring_));
  EXPECT_FALSE(store("123456789"));
  EXPECT_TRUE(cbufferIsEmpty(&ring_));
  EXPECT_TRUE(store("12345678"));
  EXPECT_TRUE(cbufferIsFull(&ring_));
  EXPECT_FALSE(store("9"));
  EXPECT_TRUE(store(""));
  EXPECT_EQ(take(9), "refused");
  EXPECT_EQ(take(8), "12345678");
  EXPECT_EQ(take(0), "");
}

TEST_F(Cbuffer, ReturnsToPositionZeroAfterAStoreThatEndsAtTheEndOfStorage) {
  create(8);
  moveTo(5);
  EXPECT_TRUE(store("abcd"));
  EXPECT_EQ(ring_.writeIndex, 0U);
  EXPECT_TRUE(store("ef"));
  EXPECT_EQ(ring_.writeIndex, 2U);
  EXPECT_EQ(take(4), "abcd");
  EXPECT_EQ(ring_.readIndex, 0U);
  EXPECT_EQ(take(2), "ef");
}

TEST_F(Cbuffer, KeepsOrderAndCountsFromEveryPosition) {
  create(5);
  for (std::uint32_t position = 0; position <= 5; ++position) {
    for (std::size_t count = 0; count <= 5; ++count) {
      moveTo(position);
      const auto text = std::string("vwxyz").substr(0, count);
      ASSERT_TRUE(store(text));
      EXPECT_EQ(cbufferGetAvailableBytes(&ring_), count);
      EXPECT_EQ(cbufferGetAvailableSpace(&ring_), 5 - static_cast<int>(count));
      EXPECT_EQ(cbufferIsFull(&ring_), count == 5);
      EXPECT_EQ(take(static_cast<std::uint32_t>(count)), text) << "from position " << position;
    }
  }
}

TEST_F(Cbuffer, ShowsBytesWhereTheyLieAndTakesThemOutUncopied) {
  create(5);
  for (std::uint32_t position = 0; position <= 5; ++position) {
    moveTo(position);
    ASSERT_TRUE(store("vwxyz"));
    const std::uint32_t untilEnd = std::min(6 - position, 5U);
    const std::uint8_t* const bytes = cbufferPeekBytes(&ring_, untilEnd);
    ASSERT_NE(bytes, nullptr);
    EXPECT_EQ(std::string(bytes, bytes + untilEnd), std::string("vwxyz").substr(0, untilEnd));
    EXPECT_EQ(cbufferPeekBytes(&ring_, untilEnd + 1), nullptr) << "across the end, or more than is stored";
    EXPECT_EQ(cbufferGetAvailableBytes(&ring_), 5U);
    EXPECT_FALSE(cbufferSkipBytes(&ring_, 6));
    EXPECT_TRUE(cbufferSkipBytes(&ring_, 0));
    EXPECT_TRUE(cbufferSkipBytes(&ring_, 2));
    EXPECT_EQ(take(3), "xyz") << "from position " << position;
  }
  cbufferFree(&ring_);
  EXPECT_EQ(cbufferPeekBytes(&ring_, 1), nullptr);
  EXPECT_FALSE(cbufferSkipBytes(&ring_, 1));
}

TEST_F(Cbuffer, TakesBytesThatAreWrittenWhereTheyWillLie) {
  create(5);
  for (std::uint32_t position = 0; position <= 5; ++position) {
    moveTo(position);
    const std::uint32_t untilEnd = std::min(6 - position, 5U);
    std::uint8_t* const place = cbufferReserveBytes(&ring_, untilEnd);
    ASSERT_NE(place, nullptr);
    EXPECT_EQ(cbufferReserveBytes(&ring_, untilEnd + 1), nullptr) << "across the end, or more than is free";
    std::fill_n(place, untilEnd, std::uint8_t{'x'});
    EXPECT_TRUE(cbufferIsEmpty(&ring_));
    EXPECT_FALSE(cbufferCommitBytes(&ring_, 6));
    EXPECT_TRUE(cbufferCommitBytes(&ring_, 0));
    EXPECT_TRUE(cbufferCommitBytes(&ring_, untilEnd));
    EXPECT_EQ(take(untilEnd), std::string(untilEnd, 'x')) << "at position " << position;
  }
  cbufferFree(&ring_);
  EXPECT_EQ(cbufferReserveBytes(&ring_, 1), nullptr);
  EXPECT_FALSE(cbufferCommitBytes(&ring_, 1));
}

TEST_F(Cbuffer, HasNeitherBytesNorSpaceAfterFree) {
  create(4);
  ASSERT_TRUE(store("abc"));
  cbufferFree(&ring_);
  EXPECT_EQ(cbufferGetAvailableBytes(&ring_), 0U);
  EXPECT_EQ(cbufferGetAvailableSpace(&ring_), 0);
  EXPECT_TRUE(cbufferIsEmpty(&ring_));
  EXPECT_FALSE(store("x"));
  EXPECT_EQ(take(1), "refused");
  create(2);
  EXPECT_TRUE(store("de"));
}

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
