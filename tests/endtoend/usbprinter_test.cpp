// A USB printer that answers after it has been asked: it is heard whenever it has something to report, however small
// the job and whatever pieces its answer comes in, and the job is the same with and without it.

#include <gtest/gtest.h>

#include "endtoend/filterrun.h"
#include "support/file.h"

namespace kesto::test {
namespace {

using namespace std::chrono_literals;
using Strings = std::vector<std::string>;

constexpr char TINY[] = "page pattern=noise\n";
constexpr char LETTER[] = "page width=5100 height=6600 pattern=text\n";
constexpr char THREE_PAGES[] =
    "page width=1200 height=1600 pattern=text\npage width=1200 height=1600 pattern=noise\npage width=1200 "
    "height=1600\n";

/// Prints on a printer with these options and expects these warnings; returns the job without its date.
Bytes printOn(const std::string& document, const Strings& printer, const Strings& warnings) {
  const TemporaryFolder folder;
  Command command = filterCommand({.document = document, .deviceUri = "usb://Kesto/Page"}, folder);
  Strings arguments = {"kestoprinter", "usb", "-o", folder.path()};
  arguments.insert(arguments.end(), printer.begin(), printer.end());
  command.arguments.front() = command.program;
  arguments.emplace_back("--");
  arguments.insert(arguments.end(), command.arguments.begin(), command.arguments.end());
  command.program = KESTO_PRINTER;
  command.arguments = arguments;
  const Outcome outcome = run(command);
  EXPECT_EQ(outcome.status, 0) << outcome.log;
  EXPECT_EQ(outcome.linesWith("WARNING:"), warnings) << testing::PrintToString(printer) << outcome.log;
  expectNothingLeft(folder);
  const auto job = contentOf<Bytes>(folder.path() + "/job-0001.prn");
  EXPECT_EQ(faultOf(job), "");
  return withoutDate(job);
}

TEST(UsbPrinter, IsHeardHoweverSmallTheJobAndLateTheAnswer) {
  for (const char* document : {TINY, LETTER, THREE_PAGES}) {
    const Bytes reference = printOn(document, {"--error", "Cover open", "--fault", "silent"}, {});
    for (const char* delay : {"0", "30", "100", "300"}) {
      EXPECT_TRUE(printOn(document, {"--error", "Cover open", "--delay", delay}, {"WARNING: Cover open"}) == reference);
    }
  }
}

TEST(UsbPrinter, IsHeardInPiecesAndNotWhenItHasNothingToReport) {
  const std::string wordy(700, 'x');
  const std::string shown = "WARNING: " + wordy.substr(0, 254);
  const std::pair<Strings, Strings> cases[] = {
      {{"--error", "Open", "--error", "Jam"}, {"WARNING: Open"}},
      {{"--error", wordy, "--piece", "512", "--gap", "30"}, {shown}},
      {{"--error", "Cover open", "--piece", "70", "--gap", "100"}, {"WARNING: Cover open"}},
      {{"--error", "Cover open", "--piece", "1"}, {"WARNING: Cover open"}},
      {{"--error", wordy, "--packets", "6", "--piece", "100", "--gap", "10"}, {shown}},
      {{"--warning", "Toner low"}, {}},
      {{}, {}},
      {{"--error", "Open", "--fault", "garbage"}, {}},
      {{"--error", "Open", "--fault", "truncated"}, {}},
      {{"--error", "Open", "--fault", "oversized"}, {}},
  };
  const Bytes reference = printOn(TINY, {"--fault", "silent"}, {});
  for (const auto& [printer, warnings] : cases) EXPECT_TRUE(printOn(TINY, printer, warnings) == reference);
}

TEST(UsbPrinter, ThatIsNotThereHoldsTheJobForASecondAndDoesNotSpin) {
  const Outcome outcome = runFilter({.document = "page\nsleep ms=1000\npage", .deviceUri = "usb://Kesto/Page"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_LT(outcome.duration, 4s);
  EXPECT_LT(outcome.processorSeconds, 0.5);
}

}  // namespace
}  // namespace kesto::test
