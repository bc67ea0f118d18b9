// The printer's alerts in the log while the job runs, over the network and over USB, and a job that does not care.
#include <chrono>
#include <thread>

#include <gtest/gtest.h>
#include <signal.h>

#include "endtoend/filterrun.h"
#include "kestoprinter/answers.h"
#include "support/hex.h"
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
  EXPECT_TRUE(filter.waitForLog("Sent register command with return status 26\n"));
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

TEST(NetworkStatus, ResponsesInSeveralPacketsAreJoined) {
  PrinterProcess printer({"--error", std::string(200, 'x'), "--packets", "5", "--delay", "30"});
  const Outcome outcome = runFilter({.document = SLOW_DOCUMENT, .deviceUri = printer.uri()});
  const auto warnings = outcome.linesWith("WARNING:");
  ASSERT_GE(warnings.size(), 5u) << outcome.log;
  EXPECT_EQ(warnings[0], "WARNING: " + std::string(200, 'x'));
}

TEST(NetworkStatus, BadAnswersChangeNeitherTheJobNorItsStatus) {
  const Bytes reference = withoutDate(runFilter({.document = SLOW_DOCUMENT}).output);
  for (const char* fault : {"silent", "garbage", "truncated", "oversized", "wrong-id"}) {
    SCOPED_TRACE(fault);
    PrinterProcess printer({"--error", "Paper jam", "--fault", fault});
    const Outcome outcome = runFilter({.document = SLOW_DOCUMENT, .deviceUri = printer.uri()});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(withoutDate(outcome.output), reference);
    EXPECT_TRUE(outcome.linesWith("WARNING:").empty()) << outcome.log;
    EXPECT_LT(outcome.duration, 5s);
  }
  // Nobody at the address at all.
  const Outcome outcome = runFilter({.document = SLOW_DOCUMENT, .deviceUri = "socket://" + ownAddress()});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(withoutDate(outcome.output), reference);
}

TEST(UsbStatus, RequestsPrecedeTheJobAndAnswersAreReported) {
  TemporaryFolder folder;
  Command command = filterCommand({.document = SLOW_DOCUMENT, .deviceUri = "usb://Kesto/Page"}, folder);
  command.backChannel = true;
  Process filter(command);
  ASSERT_TRUE(filter.waitForLog("PAGE: 1"));
  printer::Alert alert;
  alert.entries.push_back({1, "Cover open"});
  const Bytes response =
      printer::alertResponse(printer::MASK_ERRORS, printer::alertBlock(std::vector<printer::Alert>{alert, alert}));
  filter.writeBackChannel(response);
  const Outcome outcome = filter.finish();
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.linesWith("WARNING:"), std::vector<std::string>{"WARNING: Cover open"}) << outcome.log;

  const std::string requests = hex({outcome.output.begin(), outcome.output.begin() + 72});
  EXPECT_EQ(
      requests,
      "A5 00 10 80 A4 5B A4 5B 10 EF A4 5B 11 EE 00 FF 13 EC 2E A5 00 0F 50 E0 73 07 08 00 00 01 00 00 00 00 00 01 00 "
      "A5 00 10 80 A4 5B A4 5B 10 EF A4 5B 11 EE 00 FF 13 EC 2E A5 00 0D 50 E0 73 03 08 00 00 01 00 00 00 00 00");
  EXPECT_EQ(parseJob(outcome.output).pages.size(), 2u);
}

TEST(UsbStatus, AMissingBackChannelNeitherHoldsTheJobNorSpins) {
  const Outcome outcome = runFilter({.document = SLOW_DOCUMENT, .deviceUri = "usb://Kesto/Page"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_LT(outcome.duration, 6s);
  EXPECT_LT(outcome.processorTime, 2s);
}

}  // namespace
}  // namespace kesto::test
