// Pages of the real renderer, and their lines in the log. The pixels of other rasters are compared with a model by the
// replayed fuzz inputs.
#include <algorithm>
#include <fstream>
#include <iterator>

#include <gtest/gtest.h>

#include "endtoend/filterrun.h"

namespace kesto::test {
namespace {

TEST(Pages, AreAccountedInTheLog) {
  const Outcome outcome = runFilter({.document = "page copies=3\npage copies=2\n"});
  EXPECT_EQ(outcome.linesWith("PAGE:"), (std::vector<std::string>{"PAGE: 1 3", "PAGE: 2 2"}));
}

TEST(Pages, OfTheSampleDocumentHoldInk) {
  std::ifstream stream(KESTO_SAMPLE, std::ios::binary);
  const std::string sample{std::istreambuf_iterator<char>(stream), {}};
  for (const bool color : {true, false}) {
    const Job job = printJob({.document = sample,
                              .options = color ? "Resolution=150dpi" : "Resolution=150dpi ColorModel=Gray",
                              .onStandardInput = color,
                              .realRenderer = true});
    ASSERT_EQ(job.pages.size(), 3u);
    EXPECT_EQ(job.pages[0].layout.color, color);
    EXPECT_EQ(job.pages[0].height, 1600u);
    const Bytes& luma = job.pages[0].luma;
    const auto dark = std::ranges::count_if(luma, [](std::uint8_t v) { return v < 64; });
    EXPECT_GT(dark, std::ssize(luma) / 200);
    EXPECT_LT(dark, std::ssize(luma) / 3);
  }
}

}  // namespace
}  // namespace kesto::test
