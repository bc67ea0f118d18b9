// Strips as an independent decoder sees them: the streams have to be baseline JPEG data, and the picture the one that
// went in.
#include <array>
#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "bandcoder.h"
#include "kestojob/reader/banddecoder.h"
#include "kestojob/reader/bytesource.h"
#include "kestojob/reader/entropycheck.h"
#include "kestojob/reader/wicketblock.h"
#include "support/psnr.h"

namespace kesto {
namespace {

using test::BandCoder;
using test::Bytes;

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

/// The strip as the job reader decodes it: grey, or Y, Cb and Cr. Every band has to be exactly the announced blocks.
Bytes decodeStrip(const Bytes& strip, bool color) {
  const unsigned units = WIDTH / (color ? 16 : 8);
  const job::WicketTables tables = job::standardTables();
  const job::EntropyCheck entropy(tables);
  job::BandDecoder decoder(tables, {.divisor = 1, .ycbcr = true});
  job::ByteSource source(strip);
  job::BlockReader block(source, strip.size());
  job::WicketBlockReader reader(block, job::EntropyCheck::longestBand(units, color));
  EXPECT_FALSE(reader.readSelect());
  Bytes pixels;
  for (int i = 0; i < BANDS; ++i) {
    const job::BandData band = reader.readBand();
    entropy.check(band.bytes, units, color, band.offset);
    const auto rows = decoder.decode({WIDTH, color, false}, band.bytes);
    pixels.insert(pixels.end(), rows.begin(), rows.end());
  }
  reader.finish();
  return pixels;
}

/// One component of pixels that have three.
Bytes componentOf(const Bytes& pixels, std::size_t component) {
  Bytes plane;
  for (std::size_t i = component; i < pixels.size(); i += 3) plane.push_back(pixels[i]);
  return plane;
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
    EXPECT_GT(test::psnr(decodeStrip(compressStrip({plane}), false), plane), GOOD_PSNR);
  }
}

TEST(DecodedStrip, OfColourIsThePictureThatWentIn) {
  for (const MakePlane makePlane : PICTURES) {
    const std::vector<Bytes> planes = {makePlane(WIDTH, HEIGHT, 1), makePlane(WIDTH, HEIGHT, 2),
                                       makePlane(WIDTH, HEIGHT, 3)};
    const Bytes pixels = decodeStrip(compressStrip(planes), true);
    EXPECT_GT(test::psnr(componentOf(pixels, 0), planes[0]), GOOD_PSNR);
    EXPECT_GT(test::psnr(componentOf(pixels, 1), joinPairs(planes[1])), GOOD_PSNR);
    EXPECT_GT(test::psnr(componentOf(pixels, 2), joinPairs(planes[2])), GOOD_PSNR);
  }
}

}  // namespace
}  // namespace kesto
