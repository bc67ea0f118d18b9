// A printer that lies: whatever comes back over USB while a job runs, at a megabyte a second, the print data are what
// they are without any answer, the job takes no longer, and the log stays readable.
#include <algorithm>
#include <random>
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

/// What the printer says, a write after the other.
using Lie = std::vector<Bytes> (*)(std::mt19937& random);

std::vector<Bytes> truePackets() {
  printer::Alert alert;
  alert.entries = {{1, std::string(100, 'a')}, {2, "Paper jam"}};
  return printer::alertPackets(printer::MASK_ERRORS, printer::alertBlock({alert, alert}), 100);
}

std::vector<Bytes> sayByteByByte(std::mt19937& /*random*/) {
  std::vector<Bytes> pieces;
  for (const Bytes& packet : truePackets()) {
    for (const std::uint8_t byte : packet) pieces.push_back({byte});
  }
  return pieces;
}

/// Packets out of order and twice, with bytes changed and garbage between them.
std::vector<Bytes> sayAnything(std::mt19937& random) {
  std::vector<Bytes> pieces = truePackets();
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

/// Runs a job; `lie`, unless it is null, is said again and again, a megabyte a second at most.
Outcome printWithLies(Lie lie) {
  const TemporaryFolder folder;
  Command command = filterCommand(
      {.document = "page pattern=noise\nsleep ms=1500\npage pattern=text", .deviceUri = "usb://Kesto/Page"}, folder);
  command.backChannel = true;
  Process filter(command);
  fcntl(filter.backChannel(), F_SETFL, O_NONBLOCK);
  std::size_t said = 0;
  std::jthread liar([&](const std::stop_token& stop) {
    for (std::mt19937 random(1); lie != nullptr && !stop.stop_requested(); std::this_thread::sleep_for(2ms)) {
      for (const Bytes& piece : lie(random)) {
        said += static_cast<std::size_t>(std::max<ssize_t>(write(filter.backChannel(), piece.data(), piece.size()), 0));
      }
    }
  });
  const Outcome outcome = filter.finish();
  liar.request_stop();
  liar.join();
  EXPECT_TRUE(lie == nullptr || said > 10'000U);
  EXPECT_EQ(outcome.status, 0) << outcome.log;
  EXPECT_TRUE(outcome.linesWith("ERROR:").empty()) << outcome.log;
  expectNothingLeft(folder);
  return outcome;
}

TEST(LyingPrinter, ChangesNothingButTheLogAndCostsLittle) {
  const Outcome silent = printWithLies(nullptr);
  EXPECT_EQ(faultOf(silent.output), "");
  for (const Lie lie : {sayByteByByte, sayAnything}) {
    const Outcome outcome = printWithLies(lie);
    EXPECT_TRUE(withoutDate(outcome.output) == withoutDate(silent.output));
    for (const std::string& line : outcome.linesWith("")) {
      EXPECT_TRUE(std::ranges::none_of(line, [](char c) { return (c >= 0 && c < ' ') || c == '\x7F'; })) << line;
    }
    EXPECT_LE(outcome.linesWith("WARNING:").size(), 20u) << "a response every two seconds, two alerts";
    if (SANITIZED) continue;
    const double job = std::chrono::duration<double>(outcome.duration).count();
    EXPECT_LE(outcome.processorSeconds, silent.processorSeconds + job / 20 + 0.02);
  }
}

}  // namespace
}  // namespace kesto::test
