// Strips as an independent decoder sees them: the streams have to be baseline JPEG data, and the picture the one that
// went in.
#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "bandcoder.h"
#include "support/jpegwrap.h"

namespace kesto {
namespace {

using test::BandCoder;
using test::Bytes;
using test::DecodedImage;

constexpr int WIDTH = 240;
constexpr int BANDS = 20;
constexpr int HEIGHT = BANDS * 8;
constexpr std::size_t BAND_PIXELS = std::size_t{WIDTH} * 8;

/// Good for every quantiser 8: what is lost is the rounding of coefficients to whole units.
constexpr double GOOD_PSNR = 50.0;

using MakePlane = Bytes (*)(int, int, unsigned);
constexpr std::array<MakePlane, 3> PICTURES = {test::naturalPlane, test::textPlane, test::noisePlane};

Bytes band(const Bytes& plane, int index) {
  const auto first = plane.begin() + static_cast<std::ptrdiff_t>(index * BAND_PIXELS);
  return Bytes(first, first + BAND_PIXELS);
}

/// The bands of a strip end to end, as a printer gets them; grey when there is one plane only.
Bytes compressStrip(const std::vector<Bytes>& planes) {
  BandCoder codec;
  Bytes strip;
  for (int i = 0; i < BANDS; ++i) {
    codec.prepare(i, WIDTH);
    const Bytes map(BAND_PIXELS / 64, 3);
    const Bytes stream = planes.size() == 1
                             ? codec.mono(WIDTH, band(planes[0], i), map)
                             : codec.color(WIDTH, band(planes[0], i), band(planes[1], i), band(planes[2], i), map);
    EXPECT_EQ(codec.status, 0);
    strip.insert(strip.end(), stream.begin(), stream.end());
  }
  return strip;
}

/// Chroma as the decoder gives it back at best: pairs joined, and the mean repeated.
Bytes joinPairs(const Bytes& plane) {
  Bytes joined;
  for (std::size_t i = 0; i < plane.size(); i += 2) {
    const int mean = 128 + ((plane[i] + plane[i + 1] - 255) >> 1);
    joined.insert(joined.end(), 2, static_cast<std::uint8_t>(mean));
  }
  return joined;
}

TEST(DecodedStrip, OfGreyIsThePictureThatWentIn) {
  for (const MakePlane makePlane : PICTURES) {
    const Bytes plane = makePlane(WIDTH, HEIGHT, 4);
    const DecodedImage image =
        test::decodeJpeg(test::wrapAsJpeg(compressStrip({plane}), WIDTH, HEIGHT, false, WIDTH / 8));
    EXPECT_EQ(image.warnings, 0);
    EXPECT_EQ(image.components, 1);
    EXPECT_GT(test::psnr(image.pixels, plane), GOOD_PSNR);
  }
}

TEST(DecodedStrip, OfColourIsThePictureThatWentIn) {
  for (const MakePlane makePlane : PICTURES) {
    const std::vector<Bytes> planes = {makePlane(WIDTH, HEIGHT, 1), makePlane(WIDTH, HEIGHT, 2),
                                       makePlane(WIDTH, HEIGHT, 3)};
    const DecodedImage image =
        test::decodeJpeg(test::wrapAsJpeg(compressStrip(planes), WIDTH, HEIGHT, true, WIDTH / 16));
    EXPECT_EQ(image.warnings, 0);
    ASSERT_EQ(image.components, 3);
    EXPECT_GT(test::psnr(test::componentOf(image, 0), planes[0]), GOOD_PSNR);
    EXPECT_GT(test::psnr(test::componentOf(image, 1), joinPairs(planes[1])), GOOD_PSNR);
    EXPECT_GT(test::psnr(test::componentOf(image, 2), joinPairs(planes[2])), GOOD_PSNR);
  }
}

TEST(DecodedStrip, OfWhiteIsWhiteToTheLastBit) {
  const Bytes white(BAND_PIXELS * BANDS, 255);
  const Bytes gray(BAND_PIXELS * BANDS, 128);
  const DecodedImage image =
      test::decodeJpeg(test::wrapAsJpeg(compressStrip({white, gray, gray}), WIDTH, HEIGHT, true, WIDTH / 16));
  EXPECT_EQ(test::componentOf(image, 0), white);
  EXPECT_EQ(test::componentOf(image, 1), gray);
}

TEST(DecodedStrip, IsReportedAsDamagedWhenItIs) {
  Bytes strip = compressStrip({test::noisePlane(WIDTH, HEIGHT, 6)});
  strip.resize(strip.size() / 2);
  EXPECT_GT(test::decodeJpeg(test::wrapAsJpeg(strip, WIDTH, HEIGHT, false, WIDTH / 8)).warnings, 0);
}

}  // namespace
}  // namespace kesto
