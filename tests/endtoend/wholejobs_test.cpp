// Whole jobs of every kind over and over. Under ThreadSanitizer or AddressSanitizer a report ends the filter with a
// status of its own, so that each run is a judgement on its threads as well.
#include <gtest/gtest.h>
#include <signal.h>

#include "endtoend/filterrun.h"
#include "support/printerprocess.h"

namespace kesto::test {
namespace {

using namespace std::chrono_literals;

struct JobKind {
  const char* name;
  FilterCall call;
  std::size_t pages;
  int cancelledAfterMs = -1;
};

const JobKind KINDS[] = {
    {"Colour", {.document = "page width=320 height=600 pattern=noise\npage width=320 height=600 pattern=text"}, 2},
    {"Grey", {.document = "page bits=8 height=300 pattern=noise\npage bits=8 height=300", .onStandardInput = true}, 2},
    {"Copies", {.document = "page height=40 pattern=noise\npage height=40", .copies = "5"}, 10},
    {"Sheets",
     {.document = "page duplex=1 height=40\npage duplex=1 height=40\npage duplex=1 height=40", .copies = "3"},
     11},
    {"Usb", {.document = "page pattern=noise\nsleep ms=50\npage", .deviceUri = "usb://Kesto/Page"}, 2},
    {"Network", {.document = "page pattern=noise\nsleep ms=50\npage", .deviceUri = "socket://" + ownAddress()}, 2},
    {"EndsEarly", {.document = "page\npage height=640 lines=70\ncrash signal=9"}, 2},
    {"Cancelled", {.document = "page height=64 pattern=noise\npage height=4000 pause=5", .copies = "3"}, 0, 60},
};

void printOne(const JobKind& kind) {
  SCOPED_TRACE(kind.name);
  const TemporaryFolder folder;
  Command command = filterCommand(kind.call, folder);
  command.backChannel = true;
  Process filter(command);
  if (kind.cancelledAfterMs >= 0) {
    filter.waitForLog("PAGE: 1");
    filter.collectFor(std::chrono::milliseconds(kind.cancelledAfterMs));
    filter.signal(SIGTERM);
  }
  const Outcome outcome = filter.finish();
  EXPECT_EQ(outcome.status, 0) << outcome.log;
  EXPECT_EQ(outcome.log.find("Sanitizer"), std::string::npos) << outcome.log;
  expectNothingLeft(folder);
  const Job job = parseJob(outcome.output);
  if (kind.cancelledAfterMs < 0) {
    EXPECT_EQ(job.pages.size(), kind.pages);
  }
}

TEST(WholeJobs, OfEveryKindComeOutRightAgainAndAgain) {
  const PrinterProcess printer({"--error", "Paper jam"});
  const int jobs = soakCount(static_cast<int>(std::size(KINDS)));
  for (int i = 0; i < jobs; ++i) printOne(KINDS[static_cast<std::size_t>(i) % std::size(KINDS)]);
}

}  // namespace
}  // namespace kesto::test
