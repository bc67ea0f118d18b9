// Pages that are rendered already: rasters of other programs, and input that stops, ends too early or never comes.
#include <chrono>
#include <vector>

#include <cups/cups.h>
#include <cups/pwg.h>
#include <cups/raster.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include "endtoend/filterrun.h"
#include "support/file.h"

namespace kesto::test {
namespace {

/// A raster of grey or coloured pages as the library writes it for another kind of reader.
std::string rasterOf(cups_mode_t mode, const char* type, unsigned resolution, int pages) {
  const TemporaryFolder folder;
  const std::string path = folder.write("raster", "");
  const int file = open(path.c_str(), O_WRONLY | O_CLOEXEC);
  cups_raster_t* const raster = cupsRasterOpen(file, mode);
  cups_page_header2_t header = {};
  const pwg_media_t* const media = pwgMediaForPWG("na_index-4x6_4x6in");
  EXPECT_NE(cupsRasterInitPWGHeader(&header, const_cast<pwg_media_t*>(media), type, static_cast<int>(resolution),
                                    static_cast<int>(resolution), "one-sided", "normal"),
            0);
  for (int page = 0; page < pages; ++page) {
    cupsRasterWriteHeader2(raster, &header);
    std::vector<unsigned char> line(header.cupsBytesPerLine, static_cast<unsigned char>(50 * page));
    for (unsigned y = 0; y < header.cupsHeight; ++y)
      cupsRasterWritePixels(raster, line.data(), header.cupsBytesPerLine);
  }
  cupsRasterClose(raster);
  close(file);
  return contentOf(path);
}

TEST(RasterFilter, PrintsTheRastersOfOtherSystems) {
  struct Kind {
    cups_mode_t mode;
    const char* type;
    unsigned resolution;
    bool colour;
  };
  for (const Kind& kind : {Kind{CUPS_RASTER_WRITE_PWG, "srgb_8", 600, true},
                           {CUPS_RASTER_WRITE_PWG, "sgray_8", 300, false},
                           {CUPS_RASTER_WRITE_APPLE, "srgb_8", 300, true},
                           {CUPS_RASTER_WRITE_APPLE, "sgray_8", 600, false}}) {
    const Job job =
        printJob({.document = rasterOf(kind.mode, kind.type, kind.resolution, 3),
                  .options = kind.colour ? "PageSize=4x6.FullBleed" : "PageSize=4x6.FullBleed ColorModel=Gray",
                  .copies = "2",
                  .rendered = true});
    ASSERT_EQ(job.pages.size(), 6u) << kind.type;
  }
}

TEST(RasterFilter, WaitsForAWriterThatTakesItsTime) {
  const std::string raster = renderedCall({.document = "page\npage height=2000 pattern=noise\npage"}).document;
  const TemporaryFolder folder;
  Command command = filterCommand({.onStandardInput = true, .rendered = true}, folder);
  const std::string half = std::to_string(raster.size() / 2), file = folder.write("raster", raster);
  command.arguments = {"sh", "-c",
                       "(head -c " + half + " \"$0\"; sleep 0.7; tail -c +$((" + half + " + 1)) \"$0\") | " +
                           command.program + " 17 anna title 1 ''",
                       file};
  command.program = "/bin/sh";
  const Outcome outcome = run(command);
  EXPECT_EQ(parseJob(outcome.output).pages.size(), 3u) << outcome.log;
  EXPECT_EQ(outcome.linesWith("ERROR:").size(), 0u) << outcome.log;
}

TEST(RasterFilter, EndsInOrderWhenItIsCancelledInAPageThatDoesNotCome) {
  const std::string raster = renderedCall({.document = "page\npage height=2000 pattern=noise\npage"}).document;
  const TemporaryFolder folder;
  Command command = filterCommand(
      {.document = raster.substr(0, raster.size() / 2), .onStandardInput = true, .rendered = true}, folder);
  command.keepInputOpen = true;
  Process process(command);
  EXPECT_TRUE(process.waitForLog("PAGE: 2"));
  process.signal(SIGTERM);
  const Outcome outcome = process.finish();
  EXPECT_EQ(outcome.status, 0) << outcome.log;
  EXPECT_EQ(parseJob(outcome.output).pages.size(), 2u);
  EXPECT_LT(outcome.duration, std::chrono::seconds(6));
}

}  // namespace
}  // namespace kesto::test
