// Readers of standard output that stop, dawdle or go away: nothing is lost while somebody reads on, and the job ends in
// order when nobody does.
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <random>

#include <gtest/gtest.h>

#include "endtoend/filterrun.h"

namespace kesto::test {
namespace {

/// A job larger than the channel's ring, the print thread's block and the pipe together, and one that is drained only
/// at its end.
constexpr char LARGE_JOB[] =
    "page width=4800 height=1700 pattern=noise\npage width=4800 height=1700 pattern=noise seed=5\n";
constexpr char SMALL_JOB[] = "page width=480 height=480 pattern=noise\npage width=480 height=480 pattern=text\n";

/// How long a reader stops: KESTO_STALL seconds, or 3.
std::chrono::seconds stallTime() {
  const char* seconds = std::getenv("KESTO_STALL");  // NOLINT(concurrency-mt-unsafe): one thread
  return std::chrono::seconds(seconds == nullptr ? 3 : std::atoi(seconds));
}

Command outputCommand(const char* document, const TemporaryFolder& folder) {
  Command command = filterCommand({.document = document}, folder);
  command.timeout = stallTime() + std::chrono::seconds(60);
  return command;
}

void expectAllThere(const Outcome& outcome, const TemporaryFolder& folder, const char* document) {
  EXPECT_EQ(outcome.status, 0) << outcome.log;
  EXPECT_TRUE(outcome.linesWith("ERROR:").empty()) << outcome.log;
  expectNothingLeft(folder);
  EXPECT_TRUE(withoutDate(outcome.output) == withoutDate(runFilter({.document = document}).output));
}

TEST(Output, ThatTakesNothingForAWhileGetsEverything) {
  for (const char* document : {SMALL_JOB, LARGE_JOB}) {
    const TemporaryFolder folder;
    Process filter(outputCommand(document, folder));
    filter.holdOutput(true);
    filter.collectFor(stallTime());
    filter.holdOutput(false);
    const Outcome outcome = filter.finish();
    EXPECT_GE(outcome.duration, stallTime());
    expectAllThere(outcome, folder, document);
  }
}

TEST(Output, ThatIsReadByteByByteGetsEverything) {
  const TemporaryFolder folder;
  Command command = outputCommand(SMALL_JOB, folder);
  command.outputPiece = 1;
  expectAllThere(run(command), folder, SMALL_JOB);
}

TEST(Output, ThatIsClosedAfterAnyNumberOfBytesEndsTheJobWithOneError) {
  std::mt19937 random(7);
  std::vector<std::size_t> counts = {0, 1, 65536};
  for (int i = 0; i < soakCount(3); ++i) counts.push_back(random() % 20'000'000);
  for (const std::size_t count : counts) {
    SCOPED_TRACE(count);
    const TemporaryFolder folder;
    Process filter(outputCommand(LARGE_JOB, folder));
    while (filter.outputSize() < count) filter.collectFor(std::chrono::milliseconds(1));
    filter.closeOutput();
    const Outcome outcome = filter.finish();
    EXPECT_EQ(outcome.status, EPIPE) << outcome.log;
    const auto errors = outcome.linesWith("ERROR:");
    ASSERT_EQ(errors.size(), 1u) << outcome.log;
    EXPECT_EQ(errors[0], "ERROR: Unable to write the print data: Broken pipe");
    expectNothingLeft(folder);
  }
}

}  // namespace
}  // namespace kesto::test
