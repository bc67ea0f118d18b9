// A printer that lies: whatever comes back over USB while a job runs, at a megabyte a second, the print data are what
// they are without any answer, the job takes no longer, and the log stays readable.
#include <algorithm>
#include <chrono>
#include <functional>
#include <random>
#include <set>
#include <sstream>
#include <thread>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "endtoend/filterrun.h"
#include "kestoprinter/answers.h"
#include "support/sanitized.h"

namespace kesto::test {
namespace {

using namespace std::chrono_literals;
using std::chrono::milliseconds;

using Pieces = std::vector<Bytes>;

/// What the printer says: pieces (writes, or datagrams), one after the other.
using Lie = Pieces (*)(std::mt19937& random);

Pieces truePackets() {
  printer::Alert alert;
  alert.entries = {{1, std::string(100, 'a')}, {2, "Paper jam"}};
  return printer::alertPackets(printer::MASK_ERRORS, printer::alertBlock({alert, alert}), 100);
}

Pieces sayNothing(std::mt19937& /*random*/) {
  return {};
}

Pieces sayByteByByte(std::mt19937& /*random*/) {
  Pieces pieces;
  for (const Bytes& packet : truePackets()) {
    for (const std::uint8_t byte : packet) pieces.push_back({byte});
  }
  return pieces;
}

/// Packets out of order and twice, with bytes changed and garbage between them.
Pieces sayAnything(std::mt19937& random) {
  Pieces pieces = truePackets();
  pieces.push_back(pieces.front());
  std::ranges::shuffle(pieces, random);
  Bytes garbage(random() % 9000 + 1);
  std::ranges::generate(garbage, [&random] { return static_cast<std::uint8_t>(random()); });
  for (Bytes& piece : pieces) {
    if (random() % 2 == 0) piece[random() % piece.size()] = static_cast<std::uint8_t>(random());
    if (random() % 8 == 0) piece = garbage;
  }
  return pieces;
}

/// Tells a lie again and again, a megabyte a second at most, until it goes.
class Liar {
 public:
  /// `say` takes a piece, and says whether anybody is listening just now.
  Liar(Lie lie, std::function<bool(const Bytes&)> say)
      : lie_(lie), say_(std::move(say)), thread_([this](const std::stop_token& stop) { tell(stop); }) {}

  /// Ends it; returns how many bytes have been said.
  std::size_t stop() {
    thread_.request_stop();
    thread_.join();
    return said_;
  }

 private:
  void tell(const std::stop_token& stop) {
    std::mt19937 random(1);
    while (!stop.stop_requested()) {
      std::size_t round = 0;
      for (bool heard = true; heard && round < BYTES_PER_ROUND;) {
        const Pieces pieces = lie_(random);
        heard = !pieces.empty() && std::ranges::all_of(pieces, say_);
        std::size_t size = 0;
        for (const Bytes& piece : pieces) size += piece.size();
        round += size;
        if (heard) said_ += size;
      }
      std::this_thread::sleep_for(ROUND);
    }
  }

  static constexpr milliseconds ROUND{2};
  static constexpr std::size_t BYTES_PER_ROUND = 2000;

  Lie lie_;
  std::function<bool(const Bytes&)> say_;
  std::size_t said_ = 0;
  std::jthread thread_;
};

Outcome printWithLies(const std::string& document, Lie lie) {
  const TemporaryFolder folder;
  Command command = filterCommand({.document = document, .deviceUri = "usb://Kesto/Page"}, folder);
  command.backChannel = true;
  command.timeout = 5min;
  Process filter(command);
  fcntl(filter.backChannel(), F_SETFL, O_NONBLOCK);
  Liar liar(lie, [&](const Bytes& piece) { return write(filter.backChannel(), piece.data(), piece.size()) > 0; });
  Outcome outcome = filter.finish();
  const std::size_t said = liar.stop();
  if (lie != sayNothing) {
    EXPECT_GT(said, 10'000U);
  }
  EXPECT_EQ(outcome.status, 0) << outcome.log;
  EXPECT_TRUE(outcome.linesWith("ERROR:").empty()) << outcome.log;
  expectNothingLeft(folder);
  return outcome;
}

bool isPrintable(const std::string& line) {
  return std::ranges::none_of(line, [](char c) { return (c >= 0 && c < ' ') || c == '\x7F'; });
}

/// Every line beyond those of a job without answers is a printable warning or its trace, and there are not many.
void expectReadableLog(const Outcome& outcome, const Outcome& silent) {
  std::istringstream quiet(silent.log), stream(outcome.log);
  std::set<std::string> known = {"", "Inside GetExtAlerts in hdc"};
  for (std::string line; std::getline(quiet, line);) known.insert(line);
  std::size_t added = 0;
  for (std::string line; std::getline(stream, line);) {
    if (known.contains(line)) continue;
    ++added;
    EXPECT_TRUE(line.starts_with("WARNING: ")) << line;
    EXPECT_TRUE(isPrintable(line)) << line;
  }
  // A response is reported every two seconds at most, five times, with two alerts.
  EXPECT_LE(added, 10 * static_cast<std::size_t>(outcome.duration / 2s + 1));
}

/// In a job that does hardly anything, what lies take of a processor is what they may take from a busy job.
TEST(LyingPrinter, ChangesNothingButTheLogAndCostsLittle) {
  const std::string document = "page pattern=noise\nsleep ms=1500\npage pattern=text";
  const Outcome silent = printWithLies(document, sayNothing);
  EXPECT_EQ(faultOf(silent.output), "");
  for (const Lie lie : {sayByteByByte, sayAnything}) {
    const Outcome outcome = printWithLies(document, lie);
    EXPECT_TRUE(withoutDate(outcome.output) == withoutDate(silent.output));
    expectReadableLog(outcome, silent);
    const double job = std::chrono::duration<double>(outcome.duration).count();
    if (!SANITIZED) {
      EXPECT_LE(outcome.processorSeconds, silent.processorSeconds + job / 20 + 0.02);
    }
  }
}

}  // namespace
}  // namespace kesto::test
