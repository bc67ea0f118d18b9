#include "hdc/hdc.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include "base/poll.h"
#include "support/sanitized.h"

namespace kesto {
namespace {

using namespace std::chrono_literals;
using test::SANITIZED;
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

TEST_F(Channel, WritesEverythingStoredAsOneBlock) {
  openPipe(O_DIRECT | O_CLOEXEC);
  hdcInitialize(20, 5);
  for (const auto* piece : {"ab", "cdef", "ghijk"}) EXPECT_EQ(send(piece), static_cast<int>(std::string(piece).size()));
  hdcStartPrintThread(nullptr);
  EXPECT_EQ(receive(), "abcdefghijk");
}

TEST_F(Channel, LeavesTheRestInTheRingWhenStopped) {
  hdcInitialize(20, 5);
  hdcStartPrintThread(nullptr);
  EXPECT_EQ(send("12345"), 5);
  hdcStopPrintThread();
  EXPECT_EQ(receive(30ms), "");
  EXPECT_EQ(cbufferGetAvailableBytes(&hdcContext.buffer), 5U);
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

TEST_F(Channel, TakesWhatIsLargerThanTheRingOrThanTheRoomAboveTheThreshold) {
  struct Case {
    std::uint32_t capacity, threshold;
    std::size_t first, second;
  };
  for (const auto& row : {Case{1000, 250, 0, 50'000}, Case{1000, 250, 200, 1000}, Case{1000, 250, 200, 801},
                          Case{1000, 1000, 600, 600}, Case{1000, 5000, 1000, 1}, Case{1, 0, 0, 40}}) {
    hdcInitialize(row.capacity, row.threshold);
    hdcStartPrintThread(nullptr);
    const auto sent = sequence(row.first + row.second);
    std::thread job([&] {
      EXPECT_EQ(hdcWrite(sent.data(), static_cast<std::uint32_t>(row.first)), static_cast<std::int64_t>(row.first));
      EXPECT_EQ(hdcWrite(&sent[row.first], static_cast<std::uint32_t>(row.second)),
                static_cast<std::int64_t>(row.second));
      hdcWaitUntilEmpty();
    });
    const auto received = receiveAll(sent.size());
    job.join();
    EXPECT_TRUE(received == sent) << row.first << " and " << row.second;
    hdcStopPrintThread();
    hdcDestroy();
  }
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

TEST_F(Channel, WritesOnlyWhileItRunsAndHasNotFailed) {
  hdcInitialize(100, 0);
  const Bytes bytes(3);
  write_bytes(bytes.data(), 3);
  EXPECT_EQ(receive(30ms), "") << "nothing runs";
  hdcContext.running = 1;
  hdcContext.outputDescriptor = -1;
  write_bytes(bytes.data(), 3);
  EXPECT_EQ(hdcFailure(), EBADF);
  hdcContext.outputDescriptor = writeEnd_;
  write_bytes(bytes.data(), 3);
  EXPECT_EQ(receive(30ms), "") << "a failure is final";
  hdcContext.running = 0;
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

TEST_F(Channel, RefusesBytesWithoutARing) {
  EXPECT_EQ(send("x"), -1);
  EXPECT_EQ(send(""), 0);
  hdcWaitUntilEmpty();
  hdcInitialize(0, 0);
  EXPECT_EQ(send("x"), -1);
}

TEST_F(Channel, TellsWhenThereIsNoPrintThread) {
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

/// Ends the process with hdcFailure() after `step`, which runs without a byte of new memory.
template <class Step>
[[noreturn]] void exitWithFailureWithoutMemory(Step step) {
  const rlimit nothing{.rlim_cur = 1, .rlim_max = 1};
  setrlimit(RLIMIT_AS, &nothing);
  step();
  std::_Exit(hdcFailure());
}

TEST_F(Channel, TellsWhenMemoryRunsOut) {
  if (SANITIZED) GTEST_SKIP() << "the sanitizer needs memory of its own";
  constexpr std::uint32_t LARGE = 64U << 20;
  const Bytes large(LARGE);
  EXPECT_EXIT(exitWithFailureWithoutMemory([] { hdcInitialize(LARGE, 0); }), testing::ExitedWithCode(ENOMEM),
              "^ERROR: Unable to allocate memory: Cannot allocate memory\n$");
  EXPECT_EXIT(
      {
        hdcInitialize(LARGE, LARGE / 2);
        hdcStartPrintThread(nullptr);
        exitWithFailureWithoutMemory([&large] {
          send(large);
          hdcWaitUntilEmpty();
          hdcStopPrintThread();
        });
      },
      testing::ExitedWithCode(ENOMEM), "^$");
}

}  // namespace
}  // namespace kesto
