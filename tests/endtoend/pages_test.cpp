// Whole jobs through the built filter: the pages that come out are the pages that went in.
#include <cmath>
#include <fstream>
#include <iterator>

#include <gtest/gtest.h>

#include "endtoend/filterrun.h"
#include "support/psnr.h"
#include "support/raster.h"

namespace kesto::test {
namespace {

std::string fileText(const std::string& path) {
  std::ifstream stream(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

/// The luma of RGB rows, as BT.601 defines it, with rows padded white to `width` pixels and `height` rows.
Bytes lumaOf(const Bytes& pixels, unsigned channels, unsigned rowPixels, unsigned width, unsigned height) {
  Bytes luma(std::size_t{width} * height, 255);
  const std::size_t rows = pixels.size() / (std::size_t{rowPixels} * channels);
  for (std::size_t y = 0; y < rows; ++y) {
    for (std::size_t x = 0; x < std::min(rowPixels, width); ++x) {
      const std::uint8_t* p = &pixels[(y * rowPixels + x) * channels];
      const double value = channels == 1 ? p[0] : 0.299 * p[0] + 0.587 * p[1] + 0.114 * p[2];
      luma[y * width + x] = static_cast<std::uint8_t>(std::lround(value));
    }
  }
  return luma;
}

unsigned stripWidth(const Page& page) {
  return page.strips.at(0).width;
}

/// Expects the page to look like the raster of `pageLine`, to 40 dB or better.
void expectPage(const Page& page, const std::string& pageLine, bool color) {
  const Step step = parseRecipe(pageLine).at(0);
  const unsigned bits = step.number("bits", 24);
  const unsigned width = stripWidth(page), height = page.height();
  const Bytes expected = lumaOf(pixelsOf(pageLine), bits / 8, step.number("width", 64), width, height);
  const Bytes decoded = decodeLuma(page, color);
  ASSERT_EQ(decoded.size(), expected.size()) << pageLine;
  EXPECT_GE(psnr(decoded, expected), 40.0) << pageLine;
}

TEST(Pages, ComeOutAsTheyWentIn) {
  const std::string pages[] = {
      "page width=1000 height=2000 pattern=text",        "page width=1000 height=300 pattern=noise",
      "page width=640 height=264 pattern=gradient",      "page width=1000 height=600 bits=8 pattern=text",
      "page width=1000 height=300 bits=8 pattern=noise",
  };
  for (const std::string& page : pages) {
    const bool color = page.find("bits=8") == std::string::npos;
    const Job job = printJob({.document = page});
    ASSERT_EQ(job.pages.size(), 1u);
    const Page& printed = job.pages[0];
    const unsigned height = parseRecipe(page)[0].number("height", 0);
    EXPECT_EQ(printed.height(), (height + 7) / 8 * 8);
    EXPECT_EQ(stripWidth(printed), (parseRecipe(page)[0].number("width", 0) + 15) / 16 * 16);
    EXPECT_EQ(printed.strips.size(), (printed.height() + 255) / 256);
    for (const Strip& strip : printed.strips) EXPECT_EQ(strip.tags, Bytes{0xFF});
    EXPECT_EQ(printed.setup.at(0xEE).number(), color ? 1u : 0u);
    expectPage(printed, page, color);
  }
}

TEST(Pages, OfAnotherFormThanTheFirstAreCutPaddedAndConverted) {
  const std::string lines[] = {
      "page width=320 height=160 pattern=noise",
      "page width=480 height=200 pattern=noise seed=5",           // cut
      "page width=100 height=40 pattern=noise seed=9",            // padded
      "page width=320 height=160 bits=8 space=18 pattern=noise",  // grey
      "page width=320 height=160 pattern=text",                   // the raster is still in step
  };
  std::string recipe;
  for (const std::string& line : lines) recipe += line + "\n";
  const Job color = printJob({.document = recipe});
  ASSERT_EQ(color.pages.size(), std::size(lines));
  for (std::size_t i = 0; i < std::size(lines); ++i) {
    EXPECT_EQ(stripWidth(color.pages[i]), 320u);
    EXPECT_EQ(color.pages[i].height(), 160u);
    const Step step = parseRecipe(lines[i])[0];
    Bytes pixels = pixelsOf(lines[i]);
    const unsigned rowBytes = step.number("width", 0) * step.number("bits", 24) / 8;
    pixels.resize(std::min<std::size_t>(pixels.size(), std::size_t{rowBytes} * 160));
    const Bytes expected = lumaOf(pixels, step.number("bits", 24) / 8, step.number("width", 0), 320, 160);
    EXPECT_GE(psnr(decodeLuma(color.pages[i], true), expected), 40.0) << lines[i];
  }

  const Job grey =
      printJob({.document = "page bits=8 width=64 height=32 pattern=text\npage width=64 height=32 pattern=gradient"});
  ASSERT_EQ(grey.pages.size(), 2u);
  expectPage(grey.pages[1], "page width=64 height=32 pattern=gradient", false);
}

TEST(Pages, OfGreyLabelledAsSomethingElseAreWidenedToColour) {
  const std::string line = "page width=160 height=64 bits=8 space=18 pattern=gradient";
  const Job job = printJob({.document = line});
  EXPECT_EQ(job.pages.at(0).setup.at(0xEE).number(), 1u);
  expectPage(job.pages[0], line, true);
}

TEST(Pages, ThatEndEarlyAreFilledUpWhite) {
  const Outcome outcome = runFilter({.document = "page width=64 height=640 pattern=grey seed=0 lines=100 part=90"});
  EXPECT_EQ(outcome.status, 0);
  const auto errors = outcome.linesWith("ERROR:");
  ASSERT_EQ(errors.size(), 1u) << outcome.log;
  EXPECT_NE(errors[0].find("ended early at page 1"), std::string::npos) << errors[0];
  const Job job = parseJob(outcome.output);
  const Bytes luma = decodeLuma(job.pages.at(0), true);
  ASSERT_EQ(luma.size(), 64u * 640);
  EXPECT_LE(luma[64 * 95], 2);
  EXPECT_GE(luma[64 * 100], 250) << "a line that did not arrive whole is white";
  EXPECT_GE(luma[64 * 110], 253);
  EXPECT_GE(luma[64 * 639], 253);
}

TEST(Pages, AreMirroredWhenTheTicketAsksForIt) {
  const Job job = printJob({.document = "page width=100 height=16 pattern=gradient", .options = "CorvaneMirror=true"});
  const Bytes luma = decodeLuma(job.pages.at(0), true);
  EXPECT_GE(luma[0], 250) << "the white padding comes first";
  EXPECT_GE(luma[12], 90) << "then the bright end of the row";
  EXPECT_LE(luma[111], 15);
}

TEST(Pages, AnEmptyRasterGivesAJobWithoutPages) {
  const Outcome outcome = runFilter({.document = "exit"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.linesWith("ERROR:").size(), 1u) << outcome.log;
  EXPECT_EQ(parseJob(outcome.output).pages.size(), 0u);
}

TEST(Pages, AJobSheetPrintsOnePageWhateverFollows) {
  const Job job = printJob({.document = "page duplex=1\npage\npage\nhang", .fileType = "job-sheet"});
  EXPECT_EQ(job.pages.size(), 1u);
  for (const std::string& line : job.pjl) EXPECT_EQ(line.find("BINDING"), std::string::npos);
}

TEST(Pages, AreAccountedInTheLog) {
  const Outcome outcome = runFilter({.document = "page copies=3\npage copies=2\n"});
  EXPECT_EQ(outcome.linesWith("PAGE:"), (std::vector<std::string>{"PAGE: 1 3", "PAGE: 2 2"}));
}

TEST(RealRenderer, PrintsTheSampleDocument) {
  const std::string sample = fileText(KESTO_SAMPLE);
  ASSERT_FALSE(sample.empty());
  for (const bool color : {true, false}) {
    const Job job = printJob({.document = sample,
                              .options = color ? "Resolution=150dpi" : "Resolution=150dpi ColorModel=Gray",
                              .onStandardInput = color,
                              .realRenderer = true});
    ASSERT_EQ(job.pages.size(), 3u);
    EXPECT_EQ(job.pages[0].setup.at(0xEE).number(), color ? 1u : 0u);
    EXPECT_EQ(job.pages[0].height(), 1600u);
    const Bytes luma = decodeLuma(job.pages[0], color);
    const auto dark = std::count_if(luma.begin(), luma.end(), [](std::uint8_t v) { return v < 64; });
    EXPECT_GT(dark, static_cast<long>(luma.size() / 200)) << "a page of text holds ink";
    EXPECT_LT(dark, static_cast<long>(luma.size() / 3));
  }
}

}  // namespace
}  // namespace kesto::test
