// The ring and the output channel between threads, and at their limits. Sequences of calls in one thread are compared
// with a queue by a replayed fuzz target.
#include <array>
#include <cerrno>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "base/poll.h"
#include "hdc/hdc.h"
#include "support/sanitized.h"

namespace kesto {
namespace {

using namespace std::chrono_literals;
using Bytes = std::vector<std::uint8_t>;

/// A sequence in which a lost, doubled or misplaced piece shows.
Bytes sequence(std::size_t count) {
  Bytes bytes(count);
  for (std::size_t i = 0; i < count; ++i) bytes[i] = static_cast<std::uint8_t>(i % 251 + i / 65536);
  return bytes;
}

TEST(Cbuffer, NeverUsesTheIndicesOfARingThatIsHalfFreed) {
  cbuffer ring;
  ASSERT_TRUE(cbufferCreate(&ring, 100));
  ring.readIndex = 60;
  ring.writeIndex = 70;
  std::uint8_t* const storage = ring.data.exchange(nullptr);  // a free, as another thread may meet it
  std::uint8_t byte = 0;
  EXPECT_EQ(cbufferGetAvailableBytes(&ring), 0U);
  EXPECT_FALSE(cbufferReadBytes(&ring, &byte, 1));
  ring.size = 0;
  EXPECT_EQ(cbufferGetAvailableSpace(&ring), 0);
  ring.data = storage;
  cbufferFree(&ring);
}

TEST(Cbuffer, CountsBeyond32BitsInTheLargestRing) {
  if (test::SANITIZED) GTEST_SKIP() << "the sanitizer's own memory for 4 GiB is too large";
  constexpr std::uint32_t LARGEST = std::numeric_limits<std::uint32_t>::max();
  cbuffer ring;
  if (!cbufferCreate(&ring, LARGEST)) GTEST_SKIP() << "no room for 4 GiB of addresses";
  EXPECT_EQ(cbufferGetAvailableSpace(&ring), std::numeric_limits<std::int32_t>::max());
  ring.writeIndex = ring.readIndex = LARGEST - 1;
  const Bytes bytes = {1, 2, 3, 4, 5};
  EXPECT_TRUE(cbufferWriteBytes(&ring, bytes.data(), 5));
  EXPECT_EQ(ring.writeIndex, 3U);
  EXPECT_EQ(cbufferGetAvailableBytes(&ring), 5U);
  Bytes back(5);
  EXPECT_TRUE(cbufferReadBytes(&ring, back.data(), 5));
  EXPECT_EQ(back, bytes);
  cbufferFree(&ring);
}

TEST(Cbuffer, CarriesAStreamBetweenTwoThreadsAndMayBeFreedWhileTheConsumerAsks) {
  const Bytes sent = sequence(300'000);
  cbuffer ring;
  ASSERT_TRUE(cbufferCreate(&ring, 61));
  std::thread producer([&] {
    std::mt19937 random(1);
    for (std::size_t at = 0; at < sent.size();) {
      const auto count = static_cast<std::uint32_t>(std::min<std::size_t>(random() % 62, sent.size() - at));
      if (cbufferWriteBytes(&ring, &sent[at], count)) at += count;
    }
    pollUntil([&] { return cbufferIsEmpty(&ring); });
    cbufferFree(&ring);
  });
  Bytes received;
  while (received.size() < sent.size() || ring.size != 0) {
    Bytes bytes(cbufferGetAvailableBytes(&ring));
    ASSERT_TRUE(cbufferReadBytes(&ring, bytes.data(), static_cast<std::uint32_t>(bytes.size())));
    received.insert(received.end(), bytes.begin(), bytes.end());
  }
  producer.join();
  EXPECT_TRUE(received == sent);
}

/// The channel with its output on a pipe.
class Channel : public testing::Test {
 protected:
  void SetUp() override { openPipe(O_CLOEXEC); }
  void TearDown() override {
    hdcStopPrintThread();
    hdcDestroy();
    hdcContext.outputDescriptor = STDOUT_FILENO;
    closePipe();
  }
  void openPipe(int flags) {
    closePipe();
    ASSERT_EQ(pipe2(ends_.data(), flags), 0);
    hdcContext.outputDescriptor = ends_[1];
  }
  void closePipe() {
    close(ends_[0]);
    close(ends_[1]);
    ends_ = {-1, -1};
  }
  static std::int64_t send(const Bytes& bytes) {
    return hdcWrite(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
  }
  static std::int64_t send(std::string_view text) { return send(Bytes(text.begin(), text.end())); }

  /// Reads until `count` bytes have come or none comes for `patience`; with 0 one read.
  [[nodiscard]] Bytes receive(std::size_t count, std::chrono::milliseconds patience = 2s) const {
    Bytes all;
    fcntl(ends_[0], F_SETFL, fcntl(ends_[0], F_GETFL) | O_NONBLOCK);
    do {
      Bytes bytes(65536);
      ssize_t got = 0;
      if (!pollUntil([&] { return (got = read(ends_[0], bytes.data(), bytes.size())) > 0; }, patience)) break;
      all.insert(all.end(), bytes.begin(), bytes.begin() + got);
    } while (all.size() < count);
    return all;
  }
  [[nodiscard]] std::string receiveText(std::chrono::milliseconds patience = 2s) const {
    const Bytes bytes = receive(0, patience);
    return {bytes.begin(), bytes.end()};
  }

  std::array<int, 2> ends_{-1, -1};
};

TEST_F(Channel, HoldsTheThresholdBackUntilTheEndAndWritesWhatIsStoredAsOneBlock) {
  openPipe(O_DIRECT | O_CLOEXEC);  // one read brings what one write brought
  hdcInitialize(20, 5);
  hdcStartPrintThread(nullptr);
  EXPECT_EQ(send("12345"), 5);
  EXPECT_EQ(receiveText(80ms), "");
  EXPECT_EQ(send("6"), 1);
  EXPECT_EQ(receiveText(), "123456");
  EXPECT_EQ(send("789") + send(""), 3);
  EXPECT_EQ(receiveText(80ms), "");
  hdcWaitUntilEmpty();
  hdcStopPrintThread();
  EXPECT_EQ(receiveText(), "789");
  EXPECT_EQ(hdcFailure(), 0);
}

TEST_F(Channel, KeepsOrderThroughASmallRing) {
  const Bytes sent = sequence(3'000'000);
  hdcInitialize(40'000, 10'000);
  hdcStartPrintThread(nullptr);
  std::thread job([&sent] {
    std::size_t at = 0;
    for (std::size_t piece = 1; at < sent.size(); piece = piece * 7 % 50'021) {  // some larger than the ring
      const auto count = std::min(piece, sent.size() - at);
      EXPECT_EQ(hdcWrite(&sent[at], static_cast<std::uint32_t>(count)), static_cast<std::int64_t>(count));
      at += count;
    }
    hdcWaitUntilEmpty();
    EXPECT_TRUE(cbufferIsEmpty(&hdcContext.buffer));
    hdcStopPrintThread();
  });
  EXPECT_TRUE(receive(sent.size()) == sent);
  job.join();
}

TEST_F(Channel, FinishesTheBlockInHandAfterShortAndRefusedWrites) {
  const Bytes sent = sequence(400'000);  // more than a pipe holds
  for (const int flags : {0, O_NONBLOCK}) {
    openPipe(flags | O_CLOEXEC);
    hdcInitialize(1'000'000, 0);
    EXPECT_EQ(send(sent), 400'000);
    hdcStartPrintThread(nullptr);
    hdcWaitUntilEmpty();
    std::thread job(hdcStopPrintThread);
    pollUntil([] { return hdcContext.stopping == 1; });
    EXPECT_TRUE(receive(sent.size()) == sent) << "flags " << flags;
    job.join();
    EXPECT_EQ(hdcFailure(), 0);
    hdcDestroy();
  }
}

TEST_F(Channel, LetsGoOfAReaderThatTakesNothingWhenAbandoned) {
  hdcInitialize(400'000, 0);
  hdcStartPrintThread(nullptr);
  std::thread writer([] { EXPECT_EQ(send(Bytes(2'000'000)), -1); });
  pollUntil([] { return cbufferGetAvailableSpace(&hdcContext.buffer) < 100'000; });
  hdcAbandon();
  writer.join();
  hdcStopPrintThread();
  EXPECT_EQ(hdcFailure(), ECANCELED);
}

}  // namespace
}  // namespace kesto
