#include "hdc/hdc.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "base/poll.h"

namespace kesto {
namespace {

using namespace std::chrono_literals;
using Bytes = std::vector<std::uint8_t>;

std::int64_t send(const Bytes& bytes) {
  return hdcWrite(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
}
std::int64_t send(std::string_view text) {
  return send(Bytes(text.begin(), text.end()));
}

/// A sequence in which a lost, doubled or misplaced piece shows.
Bytes sequence(std::size_t count) {
  Bytes bytes(count);
  for (std::size_t i = 0; i < count; ++i) bytes[i] = static_cast<std::uint8_t>(i % 251 + i / 65536);
  return bytes;
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
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe2(ends.data(), flags), 0);
    readEnd_ = ends[0];
    hdcContext.outputDescriptor = writeEnd_ = ends[1];
  }
  void closePipe() {
    close(readEnd_);
    close(writeEnd_);
    readEnd_ = writeEnd_ = -1;
  }

  /// One read from the pipe; empty when nothing comes for `patience`.
  [[nodiscard]] std::string receive(std::chrono::milliseconds patience = 2s) const {
    std::array<char, 4096> bytes{};
    fcntl(readEnd_, F_SETFL, fcntl(readEnd_, F_GETFL) | O_NONBLOCK);
    ssize_t count = 0;
    static_cast<void>(pollUntil([&] { return (count = read(readEnd_, bytes.data(), bytes.size())) > 0; }, patience));
    return {bytes.data(), static_cast<std::size_t>(count > 0 ? count : 0)};
  }
  /// Reads until `count` bytes have come or none comes for two seconds.
  [[nodiscard]] Bytes receiveAll(std::size_t count) const {
    Bytes all;
    while (all.size() < count) {
      const auto part = receive();
      if (part.empty()) break;
      all.insert(all.end(), part.begin(), part.end());
    }
    return all;
  }

  int readEnd_ = -1;
  int writeEnd_ = -1;
};

TEST_F(Channel, HoldsTheThresholdBackUntilTheEnd) {
  openPipe(O_DIRECT | O_CLOEXEC);  // one read brings what one write brought
  hdcInitialize(20, 5);
  char argument[] = "USB";
  hdcStartPrintThread(argument);
  EXPECT_EQ(send("12345"), 5);
  EXPECT_EQ(receive(80ms), "");
  EXPECT_EQ(send("6"), 1);
  EXPECT_EQ(receive(), "123456");
  EXPECT_EQ(send("789"), 3);
  EXPECT_EQ(send(""), 0);
  EXPECT_EQ(receive(80ms), "");
  hdcWaitUntilEmpty();
  hdcStopPrintThread();
  EXPECT_EQ(receive(), "789");
  EXPECT_EQ(hdcFailure(), 0);
}

TEST_F(Channel, KeepsOrderThroughASmallRing) {
  const auto sent = sequence(3'000'000);
  hdcInitialize(40'000, 10'000);
  hdcStartPrintThread(nullptr);
  std::thread job([&sent] {
    std::size_t at = 0;
    for (std::size_t piece = 1; at < sent.size(); piece = piece * 7 % 30'011) {
      const auto count = std::min(piece, sent.size() - at);
      EXPECT_EQ(hdcWrite(&sent[at], static_cast<std::uint32_t>(count)), static_cast<std::int64_t>(count));
      at += count;
    }
    hdcWaitUntilEmpty();
    EXPECT_TRUE(cbufferIsEmpty(&hdcContext.buffer));
    hdcStopPrintThread();
  });
  const auto received = receiveAll(sent.size());
  job.join();
  EXPECT_TRUE(received == sent);
}

TEST_F(Channel, FinishesTheBlockInHandAfterShortAndRefusedWrites) {
  const auto sent = sequence(400'000);  // more than a pipe holds
  for (const int flags : {0, O_NONBLOCK}) {
    openPipe(flags | O_CLOEXEC);
    hdcInitialize(1'000'000, 0);
    EXPECT_EQ(send(sent), 400'000);
    hdcStartPrintThread(nullptr);
    hdcWaitUntilEmpty();
    std::thread job(hdcStopPrintThread);
    pollUntil([] { return hdcContext.stopping == 1; });
    const auto received = receiveAll(sent.size());
    job.join();
    EXPECT_TRUE(received == sent) << "flags " << flags;
    EXPECT_EQ(hdcFailure(), 0);
    hdcDestroy();
  }
}

TEST_F(Channel, FailsForGoodWhenNobodyReadsAnyMore) {
  std::signal(SIGPIPE, SIG_IGN);
  hdcInitialize(100, 10);
  hdcStartPrintThread(nullptr);
  close(readEnd_);
  readEnd_ = -1;
  EXPECT_EQ(send(Bytes(5000)), -1) << "a writer that waits returns";
  EXPECT_EQ(hdcFailure(), EPIPE);
  EXPECT_EQ(send("x"), -1);
  EXPECT_EQ(send(""), 0);
  hdcWaitUntilEmpty();
  hdcStopPrintThread();
  hdcDestroy();
  std::signal(SIGPIPE, SIG_DFL);

  openPipe(O_CLOEXEC);
  hdcInitialize(100, 0);
  hdcStartPrintThread(nullptr);
  EXPECT_EQ(send("again"), 5);
  EXPECT_EQ(receive(), "again");
  EXPECT_EQ(hdcFailure(), 0);
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

TEST_F(Channel, FailsWithoutAPrintThread) {
  pthread_attr_t usual;
  pthread_attr_t impossible;
  ASSERT_EQ(pthread_getattr_default_np(&usual), 0);
  ASSERT_EQ(pthread_getattr_default_np(&impossible), 0);
  ASSERT_EQ(pthread_attr_setstacksize(&impossible, std::size_t{1} << 60), 0);
  ASSERT_EQ(pthread_setattr_default_np(&impossible), 0);
  hdcInitialize(100, 0);
  hdcStartPrintThread(nullptr);
  EXPECT_EQ(hdcFailure(), EAGAIN);
  EXPECT_EQ(hdcContext.running, 0) << "there is nothing to join";
  EXPECT_EQ(send("x"), -1);
  hdcWaitUntilEmpty();
  hdcStopPrintThread();
  pthread_setattr_default_np(&usual);
}

}  // namespace
}  // namespace kesto
