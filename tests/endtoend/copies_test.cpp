// Copies: the pages in the job, told apart by their contents, are the right ones in the right order.
#include <algorithm>
#include <chrono>
#include <thread>

#include <gtest/gtest.h>
#include <signal.h>

#include "endtoend/filterrun.h"
#include "support/sanitized.h"

namespace kesto::test {
namespace {

constexpr int BLANK = 255;

/// A recipe of pages whose every pixel is 10, 20, 30, ... for the first, second, third page.
std::string numberedPages(int count, bool duplex) {
  std::string recipe;
  for (int page = 1; page <= count; ++page) {
    recipe += "page width=32 height=264 pattern=grey bits=8 seed=" + std::to_string(10 * page) +
              (duplex ? " duplex=1" : "") + "\n";
  }
  return recipe;
}

/// The pages of a job by their number in the document; BLANK for a white one.
std::vector<int> pageNumbers(const Job& job) {
  std::vector<int> numbers;
  for (const Page& page : job.pages) {
    const Bytes luma = decodeLuma(page, false);
    EXPECT_EQ(luma.size(), 32u * 264);
    const auto [low, high] = std::minmax_element(luma.begin(), luma.end());
    EXPECT_LE(*high - *low, 2) << "a page of one value";
    numbers.push_back(*high >= 254 ? BLANK : (*high + 5) / 10);
  }
  return numbers;
}

TEST(Copies, EveryPageComesAsOftenAndInTheOrderThatItShould) {
  struct Case {
    int pages;
    const char* copies;
    bool duplex;
    const char* options;
    std::vector<int> expected;
    const char* fileType = "";
  };
  const Case cases[] = {
      {3, "1", false, "", {1, 2, 3}},
      {3, "2", false, "", {1, 1, 2, 2, 3, 3}},
      {2, "3", false, "", {1, 1, 1, 2, 2, 2}},
      {4, "2", true, "", {1, 2, 1, 2, 3, 4, 3, 4}},
      {2, "3", true, "", {1, 2, 1, 2, 1, 2}},
      {3, "2", true, "", {1, 2, 1, 2, 3, BLANK, 3}},
      {3, "3", true, "", {1, 2, 1, 2, 1, 2, 3, BLANK, 3, BLANK, 3}},
      {1, "2", true, "", {1, BLANK, 1}},
      {3, "1", true, "", {1, 2, 3}},
      {3, "2", true, "Collate=True", {1, 2, 3}},
      {3, "2", false, "collate=true", {1, 2, 3}},
      {3, "2", false, "collate", {1, 2, 3}},
      {2, "2", false, "noCollate", {1, 1, 2, 2}},
      {2, "2", false, "multiple-document-handling=separate-documents-collated-copies", {1, 2}},
      {2, "2", false, "multiple-document-handling=separate-documents-uncollated-copies", {1, 1, 2, 2}},
      {2, "0", false, "", {1, 2}},
      {2, "-3", false, "", {1, 2}},
      {2, "many", false, "", {1, 2}},
      {2, "2", true, "", {1}, "job-sheet"},
      {0, "2", true, "", {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::to_string(c.pages) + " pages, copies " + c.copies + (c.duplex ? ", duplex " : " ") + c.options);
    const Outcome outcome = runFilter({.document = numberedPages(c.pages, c.duplex),
                                       .options = c.options,
                                       .copies = c.copies,
                                       .fileType = c.fileType});
    EXPECT_EQ(outcome.status, 0) << outcome.log;
    EXPECT_EQ(pageNumbers(parseJob(outcome.output)), c.expected);
    EXPECT_EQ(outcome.log.find("LIST"), std::string::npos) << outcome.log;
  }
}

TEST(Copies, TakeMemoryForOneSheetWhateverTheNumberOfPages) {
  if (SANITIZED) GTEST_SKIP() << "a sanitizer's own memory drowns the filter's";
  const auto peak = [](int sheets) {
    std::string recipe;
    for (int i = 0; i < 2 * sheets; ++i) recipe += "page width=640 height=800 duplex=1 pattern=text\n";
    const Outcome outcome = runFilter({.document = recipe, .copies = "2"});
    EXPECT_EQ(outcome.linesWith("PAGE:").size(), 2u * static_cast<unsigned>(sheets));
    return outcome.peakMemory;
  };
  // A long job fills the output ring of 20 MiB and its drain block; 200 cached pages would take 400 MB.
  const long outputChannel = 40 * 1024;
  EXPECT_LE(peak(100), peak(2) + outputChannel) << "KiB";
}

TEST(Copies, AFrontPageWhoseBackHasNotBeenReadGetsNoneAfterSigterm) {
  TemporaryFolder folder;
  Process filter(filterCommand({.document = numberedPages(3, true) + "hang", .copies = "2"}, folder));
  ASSERT_TRUE(filter.waitForLog("PAGE: 3"));
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  filter.signal(SIGTERM);
  const Outcome outcome = filter.finish();
  EXPECT_EQ(outcome.status, 0) << outcome.log;
  EXPECT_EQ(pageNumbers(parseJob(outcome.output)), (std::vector<int>{1, 2, 1, 2, 3}));
}

}  // namespace
}  // namespace kesto::test
