// Options that reach the filter by way of the renderer's page header, and papers that nothing can be printed on.
#include <cerrno>
#include <vector>

#include <gtest/gtest.h>

#include "endtoend/filterrun.h"
#include "endtoend/jobdetail.h"
#include "support/pdf.h"

namespace kesto::test {
namespace {

struct Case {
  const char* options;
  std::vector<Detail> details;
};

// clang-format off
const Case RENDERED_OPTIONS[] = {
    {"", {{"PRINTQUALITY", "NORMAL"}, {"RESOLUTION", "600"}, {"DUPLEX", "OFF"}, {"BINDING", "none"},
          {"LCOLORMODEL", "CMYK"}, {"26", "C0 01"}, {"27", "none"}, {"EE", "C0 01"}}},
    {"cupsPrintQuality=Draft InputSlot=Manual MediaType=Plain Duplex=DuplexNoTumble",
     {{"PRINTQUALITY", "DRAFT"}, {"RESOLUTION", "300"}, {"DUPLEX", "ON"}, {"BINDING", "LONGEDGE"}, {"26", "C0 02"},
      {"27", "Plain"}}},
    {"cupsPrintQuality=High InputSlot=Multipurpose MediaType=Glossy Duplex=DuplexTumble ColorModel=Gray",
     {{"PRINTQUALITY", "BEST"}, {"RESOLUTION", "600"}, {"DUPLEX", "ON"}, {"BINDING", "SHORTEDGE"}, {"26", "C0 03"},
      {"27", "Glossy"}, {"LCOLORMODEL", "BLACK"}, {"EE", "C0 00"}, {"LCTPREFERENCE", "IMAGE"}}},
    // A resolution that no quality has brings draft quality with it, and draft quality its resolution.
    {"Resolution=300dpi InputSlot=Tray1", {{"PRINTQUALITY", "DRAFT"}, {"RESOLUTION", "300"}, {"26", "C0 04"}}},
    {"Resolution=300dpi cupsPrintQuality=High InputSlot=Tray2",
     {{"PRINTQUALITY", "DRAFT"}, {"RESOLUTION", "300"}, {"26", "C0 05"}}},
    {"Resolution=600dpi cupsPrintQuality=Draft", {{"PRINTQUALITY", "DRAFT"}, {"RESOLUTION", "300"}}},
};
// clang-format on

TEST(Options, OfTheRasterReachThePrinterAndLeaveThePageInItsPlace) {
  const std::string document = pdfOf(288, 432, {0.5});
  for (const auto& [options, details] : RENDERED_OPTIONS) {
    const std::string onPaper = std::string("PageSize=4x6 ") + options;
    const Job job = printJob({.document = document, .options = onPaper, .realRenderer = true});
    expectDetails(job, details, options);
    EXPECT_EQ(originInPoints(job), 12.0) << "the paper's margin, with " << options;
  }
}

TEST(Options, AFullBleedPaperIsCoveredToItsEdgesAtEveryResolution) {
  for (const auto& [resolution, rows] : {std::pair("150dpi", 904u), {"300dpi", 1800u}, {"600dpi", 3600u}}) {
    const Job job = printJob({.document = pdfOf(288, 432, {0.0}),
                              .options = std::string("PageSize=4x6.FullBleed Resolution=") + resolution,
                              .realRenderer = true});
    EXPECT_EQ(originInPoints(job), 0.0);
    EXPECT_EQ(detailOf(job, "LPAGEMODE"), "EDGETOEDGE");
    EXPECT_EQ(job.pages[0].height(), rows);
    EXPECT_EQ(decodeLuma(job.pages[0], true)[0], 0) << "ink in the corner";
  }
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
