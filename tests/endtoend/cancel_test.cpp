// SIGTERM in every state of a job: how soon the end comes, what the output
// is worth, and that nothing is left behind.
#include <algorithm>
#include <optional>
#include <vector>

#include <gtest/gtest.h>
#include <signal.h>

#include "endtoend/filterrun.h"
#include "support/printerprocess.h"
#include "support/sanitized.h"

namespace kesto::test {
namespace {

using namespace std::chrono_literals;
using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

constexpr milliseconds LONGEST_END{SLOWNESS * 5000};

/// Whom the spooler signals: one that runs as root the whole group of the filter, any other the filter alone.
enum class Target { FILTER, GROUP };

/// What becomes of standard output around the cancel.
enum class Reader { READS, STALLS_AND_GOES_ON, STALLS_FOR_GOOD };

void cancel(Process& filter, Target target) {
  if (target == Target::GROUP) {
    filter.signalGroup(SIGTERM);
  } else {
    filter.signal(SIGTERM);
  }
}

/// Waits for the end of a cancelled job and checks what holds for all of them.
void expectOrderlyEnd(Process& filter, const TemporaryFolder& folder, Reader reader, Outcome& outcome) {
  const auto start = Clock::now();
  filter.holdOutput(reader != Reader::READS);
  if (reader == Reader::STALLS_AND_GOES_ON) {
    filter.collectFor(300ms);
    filter.holdOutput(false);
  }
  outcome = filter.finish();
  EXPECT_LE(Clock::now() - start, LONGEST_END);
  EXPECT_FALSE(outcome.timedOut);
  expectNothingLeft(folder);
  EXPECT_TRUE(outcome.linesWith("ERROR:").empty()) << outcome.log;
  if (outcome.signal == SIGTERM && outcome.log.empty()) {
    EXPECT_TRUE(outcome.output.empty());  // the program had not begun
    return;
  }
  EXPECT_EQ(outcome.signal, 0) << outcome.log;
  EXPECT_EQ(outcome.status, 0) << outcome.log;
  if (!outcome.output.empty() && reader != Reader::STALLS_FOR_GOOD) {
    EXPECT_EQ(faultOf(outcome.output), "");
  }
}

struct State {
  const char* name;
  FilterCall call;
  const char* reached;  ///< what the log says when the job has come there
  milliseconds settle{0};
  unsigned fewestPages = 0, mostPages = 0;
  Reader reader = Reader::READS;
};
void PrintTo(const State& state, std::ostream* stream) {
  *stream << state.name;
}

constexpr char RENDERER_IS_THERE[] = "DEBUG: chatter 0";

/// Each page more than the channel's ring and the print thread's block take at most while nobody reads.
constexpr char LARGE_PAGES[] =
    "page width=4800 height=3400 pattern=noise\npage width=4800 height=3400 pattern=noise seed=9\n";
constexpr char SMALL_PAGE[] = "page width=640 height=640 pattern=noise\n";

// clang-format off
const State STATES[] = {
    {"ReadingTheDocument", {.document = "page", .onStandardInput = true}, "DEBUG: The document is copied"},
    {"BeforeTheFirstByte", {.document = "chatter lines=1\nhang"}, RENDERER_IS_THERE},
    {"InTheFirstHeader", {.document = "page headerbytes=100 lines=0\nchatter lines=1\nhang"}, RENDERER_IS_THERE},
    {"InAPage", {.document = "page\npage height=64 lines=20\nchatter lines=1\nignoresignals\nhang",
                 .onStandardInput = true}, "PAGE: 2", 100ms, 2, 2},
    {"InAPageThatComesSlowly", {.document = "page height=30000 pause=10"}, "PAGE: 1", 100ms, 1, 1},
    {"InAPageThatIsThereInASecond", {.document = "page height=64 pause=15 pattern=noise"}, "PAGE: 1", 0ms, 1, 1},
    {"BetweenPages", {.document = "page\npage\nchatter lines=1\nignoresignals\nhang"}, RENDERER_IS_THERE, 100ms, 2, 2},
    {"WithAProcessOfTheRenderer", {.document = "orphan\npage\nchatter lines=1\nignoresignals\nhang"},
     RENDERER_IS_THERE, 100ms, 1, 1},
    {"MakingCopies", {.document = "page width=320 height=320 pattern=text", .copies = "9000"}, "PAGE: 1", 400ms, 1, 8999},
    {"MakingCopiesOfSheets", {.document = "page width=320 height=320 pattern=text duplex=1\npage duplex=1",
                              .copies = "9000"}, "PAGE: 2", 300ms, 2, 17998},
    {"InASheetWithoutItsBack", {.document = "page duplex=1\npage duplex=1\npage duplex=1\nhang", .copies = "2"},
     "PAGE: 3", 100ms, 5, 5},
    {"WaitingForTheRing", {.document = LARGE_PAGES}, "PAGE: 1", 2s, 1, 1, Reader::STALLS_AND_GOES_ON},
    {"WaitingForTheRingForGood", {.document = LARGE_PAGES}, "PAGE: 1", 2s, 0, 0, Reader::STALLS_FOR_GOOD},
    {"WritingTheEnd", {.document = SMALL_PAGE}, "PAGE: 1", 300ms, 1, 1, Reader::STALLS_AND_GOES_ON},
    {"WritingTheEndForGood", {.document = SMALL_PAGE}, "PAGE: 1", 300ms, 0, 0, Reader::STALLS_FOR_GOOD},
    {"AskingASilentPrinter", {.document = "page\nhang", .deviceUri = "socket://" + ownAddress()},
     "Sent register command", 100ms, 1, 1},
    {"ReadingASilentBackChannel", {.document = "page\nchatter lines=1\nhang", .deviceUri = "usb://Kesto/Page"},
     RENDERER_IS_THERE, 100ms, 1, 1},
    {"WaitingForTheRenderersEnd", {.document = "page\nclose\nignoresignals\nhang"}, "PAGE: 1", 200ms, 1, 1},
    {"AtTheVeryEnd", {.document = "page"}, "END MAIN", 0ms, 1, 1},
};
// clang-format on

class CancelledIn : public testing::TestWithParam<std::tuple<State, Target>> {};

TEST_P(CancelledIn, EndsSoonAndInOrder) {
  const auto& [state, target] = GetParam();
  std::optional<PrinterProcess> silentPrinter;
  if (state.call.deviceUri.ends_with(ownAddress()))
    silentPrinter.emplace(std::vector<std::string>{"--fault", "silent"});
  const TemporaryFolder folder;
  Command command = filterCommand(state.call, folder);
  command.ownGroup = true;
  command.keepInputOpen = state.call.onStandardInput && std::string_view(state.name) == "ReadingTheDocument";
  command.backChannel = true;
  Process filter(command);
  filter.holdOutput(state.reader != Reader::READS);
  ASSERT_TRUE(filter.waitForLog(state.reached));
  filter.collectFor(SLOWNESS * state.settle);
  cancel(filter, target);
  Outcome outcome;
  expectOrderlyEnd(filter, folder, state.reader, outcome);
  if (state.reader == Reader::STALLS_FOR_GOOD) return;
  const Job job = parseJob(outcome.output);
  EXPECT_GE(job.pages.size(), state.fewestPages);
  EXPECT_LE(job.pages.size(), state.mostPages);
  if (std::string_view(state.name) == "InAPageThatIsThereInASecond") {
    EXPECT_LT(std::ranges::min(std::span(job.pages[0].luma).last(64)), 200) << "the page was cut off";
  }
  if (state.mostPages == 17998) {
    EXPECT_EQ(job.pages.size() % 2, 0u) << "sheets";
  }
}

INSTANTIATE_TEST_SUITE_P(EveryState, CancelledIn,
                         testing::Combine(testing::ValuesIn(STATES), testing::Values(Target::FILTER, Target::GROUP)),
                         [](const auto& instance) {
                           return std::string(std::get<0>(instance.param).name) +
                                  (std::get<1>(instance.param) == Target::GROUP ? "_Group" : "_Filter");
                         });

}  // namespace
}  // namespace kesto::test
