// The alerts of a network printer in the log while the job runs, and a job that does not care.
#include <chrono>
#include <thread>

#include <gtest/gtest.h>
#include <signal.h>

#include "endtoend/filterrun.h"
#include "support/printerprocess.h"

namespace kesto::test {
namespace {

using namespace std::chrono_literals;

constexpr char SLOW_DOCUMENT[] =
    "page width=64 height=16 pattern=noise\nsleep ms=3000\npage width=64 height=16 pattern=noise seed=7\n";

TEST(NetworkStatus, AnAlertRaisedDuringTheJobIsReportedUntilItIsCleared) {
  PrinterProcess printer({"--warning", "Toner low"});
  TemporaryFolder folder;
  Process filter(filterCommand({.document = SLOW_DOCUMENT, .deviceUri = printer.uri()}, folder));
  EXPECT_TRUE(filter.waitForLog("Sent register command with return status 26"));
  printer.tell("alert error \"Paper\\x1b[31m jam\x01\xFF\"");
  EXPECT_TRUE(filter.waitForLog("WARNING:"));
  printer.tell("clear");
  const Outcome outcome = filter.finish();
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(faultOf(outcome.output), "");
  const auto warnings = outcome.linesWith("WARNING:");
  // All alerts of a response that tells of an error are reported in order, five times.
  ASSERT_EQ(warnings.size(), 10u) << outcome.log;
  EXPECT_EQ(warnings[0], "WARNING: Toner low");
  EXPECT_EQ(warnings[1], "WARNING: Paper\\x1b[31m jam ?");
  EXPECT_EQ(outcome.linesWith("PAGE:").size(), 2u);
  const std::string told = printer.finish();
  EXPECT_NE(told.find("registered 1, unregistered 1,"), std::string::npos) << told;
}

TEST(NetworkStatus, ThePageThatPrintsTakesNoAlertsPlaceInTheQueue) {
  PrinterProcess printer({"--error", "Paper jam"});
  const Outcome outcome = runFilter({.document = SLOW_DOCUMENT, .deviceUri = printer.uri()});
  EXPECT_GE(outcome.linesWith("WARNING: Paper jam").size(), 5u) << outcome.log;
  EXPECT_EQ(outcome.linesWith("INFO: Printing page 2"), std::vector<std::string>{}) << outcome.log;
}

TEST(NetworkStatus, AShortJobWaitsForTheAnswerThatIsOnItsWay) {
  for (const char* delay : {"0", "50", "300"}) {
    SCOPED_TRACE(delay);
    PrinterProcess printer({"--error", "Paper jam", "--delay", delay});
    const Outcome outcome = runFilter({.document = "page", .deviceUri = printer.uri()});
    EXPECT_EQ(outcome.linesWith("WARNING: Paper jam").size(), 5u) << outcome.log;
    EXPECT_EQ(outcome.linesWith("PAGE: 1 1").size(), 1u) << "the traces swallow no line: " << outcome.log;
  }
}

TEST(NetworkStatus, BadAnswersChangeNeitherTheJobNorItsStatus) {
  const Bytes reference = withoutDate(runFilter({.document = "page"}).output);
  for (const char* fault : {"silent", "garbage", "truncated", "oversized", "wrong-id"}) {
    SCOPED_TRACE(fault);
    PrinterProcess printer({"--error", "Paper jam", "--fault", fault});
    const Outcome outcome = runFilter({.document = "page", .deviceUri = printer.uri()});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(withoutDate(outcome.output), reference);
    EXPECT_TRUE(outcome.linesWith("WARNING:").empty()) << outcome.log;
    EXPECT_LT(outcome.duration, 8s);
  }
}

}  // namespace
}  // namespace kesto::test
