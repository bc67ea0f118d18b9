// Copies in long jobs. Which pages a job of copies has is pinned by the digests of whole jobs.
#include <gtest/gtest.h>

#include "endtoend/filterrun.h"
#include "support/sanitized.h"

namespace kesto::test {
namespace {

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

}  // namespace
}  // namespace kesto::test
