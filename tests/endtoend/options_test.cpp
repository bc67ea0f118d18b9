// Every option in the finished job: its PJL line, or its attribute in the page's start.
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
const Case OWN_OPTIONS[] = {
    {"", {{"LSHARPEN", "OFF"}, {"ECONOMODE", "OFF"}, {"FIMPROVE", "OFF"}, {"FGHOST", "OFF"}, {"FDENSITY", "OFF"},
          {"LCTPREFERENCE", "OBJECT"}, {"LINKSET", "AUTOMATIC"}, {"LDRYTIMEDELAY", "0"}, {"LCOLLATION", "OFF"},
          {"LPAGEMODE", "NORMAL"}, {"25", "C0 00"}, {"ED", "C0 02"}, {"2A", "D3 64 00 64 00"}, {"03", "none"},
          {"EB", "none"}}},
    {"Sharpen=On TonerSave=On reduceGhost=On printDensity=On",
     {{"LSHARPEN", "ON"}, {"ECONOMODE", "ON"}, {"FGHOST", "ON"}, {"FDENSITY", "ON"}}},
    {"improve=reduceCurl ColorPreferences=Natural InkToUse=ColorBlack DupDryTime=5",
     {{"FIMPROVE", "PAPERCURL"}, {"LCTPREFERENCE", "IMAGE"}, {"LINKSET", "COMPOSITEBLACK"}, {"LDRYTIMEDELAY", "5"}}},
    {"improve=tonerFix ColorPreferences=Vivid InkToUse=ColorOnly DupDryTime=30",
     {{"FIMPROVE", "TONERFIX"}, {"LCTPREFERENCE", "GRAPHIC"}, {"LINKSET", "COMPOSITEONLY"}, {"LDRYTIMEDELAY", "30"}}},
    {"improve=wrinkleFix InkToUse=BlackOnly collate", {{"FIMPROVE", "CREASE"}, {"LINKSET", "BLACKONLY"}}},
    {"Collate=true", {{"LCOLLATION", "ON"}}},
    {"ColorOutput=Color", {{"03", "C0 02"}, {"EA", "none"}, {"EB", "none"}}},
    {"ColorOutput=Mono threshold=64", {{"03", "C0 01"}, {"EA", "none"}, {"EB", "none"}}},
    {"ColorOutput=GrayScale", {{"03", "C0 01"}, {"EA", "C0 00"}, {"EB", "none"}}},
    {"ColorOutput=Black", {{"03", "C0 03"}, {"EA", "none"}, {"EB", "C0 80"}}},
    {"ColorOutput=Black threshold=192", {{"EB", "C0 C0"}}},
    {"PageSize=A4", {{"25", "C0 02"}, {"2F", "none"}, {"LPAGEMODE", "NORMAL"}}},
    {"media=EnvC6", {{"25", "C6"}}},
    {"PageSize=A4.FullBleed",
     {{"25", "C0 02"}, {"LPAGEMODE", "EDGETOEDGE"}, {"ED", "C0 01"}, {"2A", "D3 00 00 00 00"}}},
    // 64 x 16 dots and the margins of 12 points: 0.44 x 0.36 inches
    {"PageSize=Custom.32x26", {{"25", "none"}, {"2F", "D5 AE 47 E1 3E EC 51 B8 3E"}, {"30", "C0 00"}}},
    // Not in the job's bytes, but no reason to fail.
    {"HalftoneLevel=ErrorDiffusion OutputOrder=Reverse orientation-requested=4", {{"28", "C0 00"}}},
};

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

TEST(Options, ReachThePrinterEachInItsPlace) {
  for (const auto& [options, details] : OWN_OPTIONS) {
    expectDetails(printJob({.document = "page", .options = options}), details, options);
  }
}

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

TEST(Options, MissingBrokenAndHugeOnesFallBack) {
  const std::string huge(10000, 'x');
  const std::string tickets[] = {"PageSize=Unheard_of",       "PageSize=",    "PageSize=" + huge,
                                 "Sharpen=\"On PageSize='A4", "= == {} ' \"", "media=" + huge + " DupDryTime=0"};
  for (const std::string& ticket : tickets) {
    const Job job = printJob({.document = "page", .options = ticket});
    EXPECT_EQ(detailOf(job, "25"), "C0 00") << ticket;
    EXPECT_EQ(detailOf(job, "LINKSET"), "AUTOMATIC") << ticket;
  }
  const TemporaryFolder folder;
  const std::string ppds[] = {"/nonexistent.ppd", "/", folder.write("empty", ""), folder.write("text", "no PPD"),
                              folder.write("cut", "*PPD-Adobe: \"4.3\"\n*OpenUI *PageSize: PickOne\n*PageSi")};
  for (const std::string& ppd : ppds) {
    const Job job = printJob({.document = "page", .ppd = ppd});
    EXPECT_EQ(detailOf(job, "25"), "C0 00") << ppd;
    EXPECT_EQ(detailOf(job, "LINKSET"), "none") << ppd;
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
  const std::string negative = folder.write("negative.ppd", "*PPD-Adobe: \"4.3\"\n*MaxMediaWidth: \"-5\"\n");
  const Job job = printJob({.document = "page", .options = "PageSize=Custom.300x400", .ppd = negative});
  EXPECT_EQ(detailOf(job, "2F"), "D5 AE 47 E1 3E EC 51 B8 3E") << "no limit";
}

}  // namespace
}  // namespace kesto::test
