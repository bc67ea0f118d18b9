// Choices made the ways a person makes them, through a private spooler: its own mapping, its PDF filter, the renderer
// and the filter stand between the choice and the job that a device file keeps.
#include <fstream>
#include <iterator>

#include <gtest/gtest.h>

#include "support/jobparser.h"
#include "support/pdf.h"
#include "support/spooler.h"

namespace kesto::test {
namespace {

constexpr char QUEUE[] = "Kesto";

class QueueOptions : public ::testing::Test {
 protected:
  void SetUp() override {
    if (const std::string reason = PrivateSpooler::unavailable(); !reason.empty()) GTEST_SKIP() << reason;
    spooler = std::make_unique<PrivateSpooler>(KESTO_FILTER);
    addQueue(QUEUE, {"PageSize=4x6", "cupsPrintQuality=Draft"});  // a twentieth of the work of a Letter page at 600 dpi
  }
  void addQueue(const std::string& queue, const std::vector<std::string>& defaults) const {
    spooler->addQueue(queue, "file://" + spooler->outputPath(queue), KESTO_PPD, defaults);
  }

  /// Prints a small document and returns the job that the device got.
  [[nodiscard]] Job print(const std::vector<std::string>& arguments, const std::string& queue = QUEUE,
                          const std::vector<double>& greys = {0.5}) const {
    spooler->print(queue, folder_.write("document.pdf", pdfOf(288, 432, greys)), arguments);
    std::ifstream stream(spooler->outputPath(queue), std::ios::binary);
    const Bytes bytes{std::istreambuf_iterator<char>(stream), {}};
    return parseJob(bytes);
  }

  std::unique_ptr<PrivateSpooler> spooler;

 private:
  TemporaryFolder folder_;
};

TEST_F(QueueOptions, OfAJobArrive) {
  struct Case {
    const char* option;
    std::vector<std::string> texts;
    unsigned height;  // of the raster, to eights: the paper without its margins of 12 points
  };
  const Case cases[] = {
      {"media=A4", {"MediaSize=2 ", "ECONOMODE=OFF", "DUPLEX=OFF", "LCOLORMODEL=CMYK"}, 3408},
      {"media=iso_a4_210x297mm", {"MediaSize=2 "}, 3408},
      {"media=om_small-photo_100x150mm", {"\"10 x 15 cm\""}, 1672},
      {"media=na_monarch_3.875x7.5in", {"  CustomMediaSize="}, 2152},  // a custom size
      {"PageSize=Custom.4x8in", {"  CustomMediaSize="}, 2304},
      {"sides=two-sided-short-edge", {"DUPLEX=ON", "BINDING=SHORTEDGE", "\"4 x 6 in\""}, 1704},
      {"print-color-mode=monochrome", {"LCOLORMODEL=BLACK", "LCOLORMODEL=BLACK"}, 1704},
      {"print-quality=4", {"PRINTQUALITY=NORMAL", "RESOLUTION=600"}, 3400},
      {"print-quality=5", {"PRINTQUALITY=BEST", "RESOLUTION=600"}, 3400},
      {"TonerSave=On", {"ECONOMODE=ON"}, 1704},
      {"TonerSave=true", {"ECONOMODE=ON"}, 1704},
  };
  for (const auto& [option, texts, height] : cases) {
    const Job job = print({"-o", option});
    ASSERT_EQ(job.pages.size(), 1u) << option;
    expectList(job, texts, option);
    EXPECT_EQ(job.pages[0].height, height) << option;
    EXPECT_EQ(originInPoints(job), 12.0) << option;
  }
}

TEST_F(QueueOptions, SetAsTheQueuesDefaultsApplyAndYieldToTheJobs) {
  addQueue("Defaults", {"PageSize=Postcard.FullBleed.PostcardHagaki", "TonerSave=On", "ColorModel=Gray",
                        "cupsPrintQuality=Draft", "InkToUse=BlackOnly"});
  expectList(print({}, "Defaults"),
             {"MediaSize=14 ", "LPAGEMODE=EDGETOEDGE", "ECONOMODE=ON", "LINKSET=BLACKONLY", "LCOLORMODEL=BLACK",
              "PRINTQUALITY=DRAFT", "RESOLUTION=300"},
             "the queue's defaults");
  const std::vector<std::string> choices = {"-o", "media=na_index-3x5_3x5in", "-o", "TonerSave=Off",
                                            "-o", "print-color-mode=color",   "-o", "print-quality=5"};
  expectList(print(choices, "Defaults"),
             {"\"INDEX CARD\"", "LPAGEMODE=NORMAL", "ECONOMODE=OFF", "LINKSET=BLACKONLY", "LCOLORMODEL=CMYK",
              "PRINTQUALITY=BEST", "RESOLUTION=600"},
             "choices against the queue's defaults");
}

TEST_F(QueueOptions, SavedByAPersonApply) {
  spooler->client("lpoptions", {"-p", QUEUE, "-o", "media=A6", "-o", "improve=tonerFix", "-o", "print-quality=5"});
  const std::vector<std::string> saved = {"\"A6\"", "FIMPROVE=TONERFIX", "RESOLUTION=600"};
  expectList(print({}), saved, "saved options");
  expectList(print({"-o", "improve=none"}), {"\"A6\"", "FIMPROVE=OFF"}, "saved options and a choice");
  spooler->client("lpoptions", {"-p", QUEUE, "-r", "media", "-r", "improve", "-r", "print-quality"});
  expectList(print({}), {"\"4 x 6 in\"", "FIMPROVE=OFF", "RESOLUTION=300"}, "options saved no more");
}

TEST_F(QueueOptions, ReverseTheOrderOfThePages) {
  for (const bool reverse : {false, true}) {
    const std::string order = reverse ? "OutputOrder=Reverse" : "OutputOrder=Normal";
    const Job job = print({"-o", order}, QUEUE, {0.0, 0.6});
    ASSERT_EQ(job.pages.size(), 2u);
    const int first = job.pages[0].luma[0];
    const int second = job.pages[1].luma[0];
    EXPECT_EQ(first < second, !reverse) << order;
  }
}

}  // namespace
}  // namespace kesto::test
