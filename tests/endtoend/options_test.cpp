// Papers to their edges, papers that nothing can be printed on, and what is counted.
#include <cerrno>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "endtoend/filterrun.h"
#include "support/pdf.h"

namespace kesto::test {
namespace {

TEST(Options, AFullBleedPaperIsCoveredToItsEdgesAtEveryResolution) {
  for (const auto& [resolution, rows] : {std::pair("150dpi", 904u), {"300dpi", 1800u}, {"600dpi", 3600u}}) {
    const Job job = printJob({.document = pdfOf(288, 432, {0.0}),
                              .options = std::string("PageSize=4x6.FullBleed Resolution=") + resolution,
                              .realRenderer = true});
    EXPECT_EQ(originInPoints(job), 0.0);
    expectList(job, {"LPAGEMODE=EDGETOEDGE"}, resolution);
    EXPECT_EQ(job.pages[0].height, rows);
    EXPECT_EQ(job.pages[0].luma[0], 0) << "ink in the corner";
  }
}

TEST(Pages, AreAccountedInTheLog) {
  const Outcome outcome = runFilter({.document = "page copies=3\npage copies=2\n"});
  EXPECT_EQ(outcome.linesWith("PAGE:"), (std::vector<std::string>{"PAGE: 1 3", "PAGE: 2 2"}));
}

TEST(Options, MaximaThatLeaveNoPaperEndACustomJobBeforeItsFirstByte) {
  const TemporaryFolder folder;
  for (const char* maxima : {"*MaxMediaWidth: \"0\"\n*MaxMediaHeight: \"1008\"\n",
                             "*MaxMediaWidth: \"wide\"\n*MaxMediaHeight: \"1008\"\n", "*MaxMediaHeight: \"high\"\n"}) {
    const std::string ppd = folder.write("limit.ppd", std::string("*PPD-Adobe: \"4.3\"\n") + maxima);
    const Outcome outcome = runFilter({.document = "page", .options = "PageSize=Custom.300x400", .ppd = ppd});
    EXPECT_EQ(outcome.status, EINVAL) << maxima;
    EXPECT_TRUE(outcome.output.empty()) << maxima;
    EXPECT_EQ(outcome.linesWith("ERROR:").size(), 1u) << outcome.log;
  }
}

}  // namespace
}  // namespace kesto::test
