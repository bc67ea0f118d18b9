// Whole strips against the codec's plain calls: what is remembered or left out on the way changes no byte.
#include "filter/strips/strips.h"

#include <gtest/gtest.h>

#include "codec/bandcoder.h"
#include "codec/fast/fastband.h"
#include "codec/tbrle.h"
#include "hdc/hdc.h"
#include "jobsettings/jobsettings.h"

namespace kesto {
namespace {

using test::Bytes;

/// Bands from top to bottom; the last one ends the page. Pixels: w white, f, l one luma byte at the band's first or
/// last place that is not white, b, r the same with the last byte of a colour difference, t text. Tags: a digit for all
/// of the band, m mixed.
struct Page {
  std::uint32_t width;
  bool color;
  std::string pixels;
  std::string tags;
};

/// A strip's two streams, as they follow the image attributes.
void append(Bytes& strip, std::uint8_t compressMode, std::size_t height, const Bytes& data) {
  const auto low = [](std::size_t value, int byte) { return static_cast<std::uint8_t>(value >> (8 * byte)); };
  const std::size_t n = data.size();
  const Bytes start = {0xC1,           0,    0,         0xF8,      0x6D,         0xC1,     low(height, 0),
                       low(height, 1), 0xF8, 0x63,      0xC0,      compressMode, 0xF8,     0x65,
                       0xB1,           0xFA, low(n, 0), low(n, 1), low(n, 2),    low(n, 3)};
  strip.insert(strip.end(), start.begin(), start.end());
  strip.insert(strip.end(), data.begin(), data.end());
}

class Strips : public testing::TestWithParam<BandWay> {
 protected:
  void SetUp() override {
    hdcInitialize(8 * 1024 * 1024, 8 * 1024 * 1024);
    jobsetting = &setting_;
    gCacheBands.clear();
    gCacheBandIndex = 0;
  }
  void TearDown() override {
    limitBandWay(BandWay::SPECIFIC);
    jobsetting = nullptr;
    hdcDestroy();
  }

  /// Sends a page band by band and expects every strip to be what the plain calls give.
  void print(const Page& page) {
    setting_.isColor = page.color ? 1 : 0;
    Bytes stream, tags;
    for (std::size_t i = 0; i < page.pixels.size(); ++i) {
      const std::size_t index = i % BANDS_PER_STRIP;
      const bool last = i + 1 == page.pixels.size();
      const std::size_t pixels = 8 * std::size_t{page.width};
      Bytes y(pixels, 255), cb(pixels, 128), cr(pixels, 128), bandTags(pixels, 3);
      const char kind = page.pixels[i];
      if (kind == 'f') y.front() = 254;
      if (kind == 'l') y.back() = 254;
      if (kind == 'b') cb.back() = 127;
      if (kind == 'r') cr.back() = 0;
      if (kind == 't') y = test::textPlane(static_cast<int>(page.width), 8, static_cast<unsigned>(i));
      const char tag = page.tags[i % page.tags.size()];
      std::ranges::fill(bandTags, static_cast<std::uint8_t>(tag == 'm' ? 2 : tag - '0'));
      if (tag == 'm') bandTags.back() = 4;

      // The reference goes the literal way through a coder of its own.
      limitBandWay(BandWay::LITERAL);
      const int width = static_cast<int>(page.width);
      plain_.prepare(static_cast<int>(index), width);
      const Bytes map(page.width / 8, 3);
      const Bytes band = page.color ? plain_.color(width, y, cb, cr, map) : plain_.mono(width, y, map);
      stream.insert(stream.end(), band.begin(), band.end());
      tags.insert(tags.end(), bandTags.begin(), bandTags.end());

      limitBandWay(GetParam());
      compress_and_send(settings_.get(), coder_.get(), static_cast<std::uint32_t>(8 * i), page.width,
                        static_cast<std::uint32_t>(pixels), y.data(), cb.data(), cr.data(), y.data(), bandTags.data(),
                        last ? 1 : 0);
      if (index + 1 == BANDS_PER_STRIP || last) expectStrip(8 * (index + 1), stream, tags);
    }
  }

 private:
  static void expectStrip(std::size_t height, Bytes& stream, Bytes& tags) {
    Bytes expected;
    append(expected, 246, height, stream);
    Bytes tagStream(2 * tags.size());
    tagStream.resize(tbrle_encode(static_cast<std::uint32_t>(tagStream.size()), tagStream.data(),
                                  static_cast<std::uint32_t>(tags.size()), tags.data()));
    append(expected, 247, height, tagStream);
    expected.push_back(0xB2);

    Bytes written(cbufferGetAvailableBytes(&hdcContext.buffer));
    ASSERT_TRUE(cbufferReadBytes(&hdcContext.buffer, written.data(), static_cast<std::uint32_t>(written.size())));
    ASSERT_GE(written.size(), expected.size());
    written.erase(written.begin(), written.end() - static_cast<std::ptrdiff_t>(expected.size()));
    EXPECT_EQ(test::hex(written), test::hex(expected));
    stream.clear();
    tags.clear();
  }

  JobSetting setting_ = {};
  test::BandCoder plain_;
  std::unique_ptr<WicketSettings> settings_ = std::make_unique<WicketSettings>();
  std::unique_ptr<WicketCoder> coder_ = std::make_unique<WicketCoder>();
};

TEST_P(Strips, AreThoseOfThePlainCalls) {
  const std::string mixture = "wwtwflwbwrwwttwwwfwlwbwrtwwwwwwwwwwwtww";
  const Page pages[] = {
      {64, true, std::string(70, 'w'), "3"},   // all restart numbers, at the start of a strip and within
      {64, true, mixture, "3"},                //
      {80, true, mixture, "3"},                // another width, nothing remembered
      {64, false, mixture, "3"},               // grey beside colour of one width
      {64, true, "w" + mixture, "3"},          //
      {80, false, std::string(33, 'w'), "3"},  //
      {80, true, "wwwwwwwwww", "0"},           // tags that are one value, strip by strip another
      {80, true, "wwwwwwwwww", "1"},           //
      {80, true, "wwwwwwwwww", "3332"},        // one value within each band only
      {80, true, "wwwwwwwwww", "33m3"},        //
      {80, true, "wwwwwwwwww", "m0"},          //
      {24, true, "ww", "3"},                   // refused: half a pair of blocks
      {24, false, "www", "3"},                 //
      {16, true, "w", "3"},                    //
  };
  for (const Page& page : pages) {
    SCOPED_TRACE(std::to_string(page.width) + (page.color ? " colour " : " grey ") + page.pixels + " " + page.tags);
    print(page);
  }
}

INSTANTIATE_TEST_SUITE_P(Ways, Strips, testing::Values(BandWay::LITERAL, BandWay::BASIC, BandWay::SPECIFIC));

}  // namespace
}  // namespace kesto
