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
  for (const auto& [resolution, rows] : {std::pair("300dpi", 1800u), {"600dpi", 3600u}}) {
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
  using Lines = std::vector<std::string>;
  const Outcome outcome = runFilter({.document = "page copies=3\npage copies=2\n", .options = "job-impressions=2"});
  EXPECT_EQ(outcome.linesWith("PAGE:"), (Lines{"PAGE: 1 3", "PAGE: 2 2"}));
  EXPECT_EQ(outcome.linesWith("INFO:"), (Lines{"INFO: Printing page 1.", "INFO: Printing page 2."}));
  EXPECT_EQ(outcome.linesWith("ATTR:"), (Lines{"ATTR: job-media-progress=50", "ATTR: job-media-progress=100"}));
  // Two copies of two pages, made by the spooler: of its four pages this is the first.
  const char* byTheSpooler = "job-impressions=2 multiple-document-handling=single-document";
  EXPECT_EQ(runFilter({.document = "page", .options = byTheSpooler, .copies = "2"}).linesWith("ATTR:"),
            Lines{"ATTR: job-media-progress=25"});
  EXPECT_EQ(runFilter({.document = "page", .options = "job-impressions=many"}).linesWith("ATTR:"), Lines{});
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
