// The fast ways through a band against the literal one: the same streams, statuses and records.
#include "codec/fast/fastband.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <functional>
#include <numbers>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "bandcoder.h"

namespace kesto {
namespace {

using test::BandCoder;
using test::Bytes;

constexpr int LINES = 8;
constexpr std::array FAST_WAYS = {BandWay::BASIC, BandWay::SPECIFIC};
constexpr std::int32_t AMPLE = 1024;  // bytes beyond four a pixel, with which no fast way gives up

/// One band: a grey plane, or Y, Cb and Cr.
struct Picture {
  int width;
  std::vector<Bytes> planes;

  [[nodiscard]] std::int32_t pixels() const { return width * LINES; }
  [[nodiscard]] Picture grey() const { return {width, {planes[0]}}; }
};

/// What a band leaves behind.
struct Outcome {
  std::int32_t status;
  Bytes stream;
  std::string records;
  bool operator==(const Outcome&) const = default;
};

template <class... Fields>
std::string textOf(const Fields&... fields) {
  std::string text;
  ((text += std::to_string(fields) + " "), ...);
  return text;
}

std::string recordsOf(const BandCoder& codec, const std::uint8_t* output) {
  const WicketSettings& s = *codec.settings;
  const WicketCoder& c = *codec.coder;
  std::string text =
      textOf(s.restartInterval, s.restartMcuCount, s.sampleType, s.initStatus, s.firstBand, c.outCapacity,
             c.out == nullptr ? -1 : c.out - output, c.outCount, c.byteStuffing, c.bitBuffer, c.bitCount, c.tablesReady,
             c.coefficientIndex, c.restartNumber, c.reader.bytesLeft);
  for (std::size_t p = 0; p < PLANE_COUNT; ++p) {
    text += textOf(s.dcPredictor[p], s.planarZigZag[p][63], s.zigzagCache.planeWidth[p], s.zigzagCache.verticalKey[p]);
  }
  return text;
}

using Change = std::function<void(BandCoder&)>;

/// A codec for each way, so that what one leaves behind is not there already when another forgets it.
Outcome compress(BandWay way, const Picture& picture, int index, std::int32_t capacity,
                 const Change& change = nullptr) {
  static std::array<BandCoder, 3> codecs;
  limitBandWay(way);
  BandCoder& codec = codecs[static_cast<std::size_t>(way)];
  codec.prepare(index, picture.width);
  if (change) change(codec);
  const Bytes map(static_cast<std::size_t>(picture.width) / 8, 3);
  const auto blocks = static_cast<std::int32_t>(map.size());
  Bytes out(static_cast<std::size_t>(capacity));
  std::int32_t length = -1;
  const auto& planes = picture.planes;
  const std::int32_t status =
      planes.size() == 1
          ? wicketCompressMonoPlane(blocks, map.data(), picture.width, picture.pixels(), planes[0].data(), capacity,
                                    out.data(), &length, codec.settings.get(), codec.coder.get())
          : wicketCompressPlanes(blocks, map.data(), picture.width, picture.pixels(), planes[0].data(),
                                 planes[1].data(), planes[2].data(), capacity, out.data(), &length,
                                 codec.settings.get(), codec.coder.get());
  limitBandWay(BandWay::SPECIFIC);
  const std::string records = recordsOf(codec, out.data());
  out.resize(static_cast<std::size_t>(length));
  return {status, out, records};
}

void expectSame(const Picture& picture, int index, std::int32_t capacity, const Change& change = nullptr) {
  const Outcome literal = compress(BandWay::LITERAL, picture, index, capacity, change);
  for (const BandWay way : FAST_WAYS) {
    const Outcome fast = compress(way, picture, index, capacity, change);
    ASSERT_EQ(fast.status, literal.status) << picture.width << " wide, capacity " << capacity;
    ASSERT_EQ(fast.records, literal.records) << picture.width << " wide, capacity " << capacity;
    ASSERT_TRUE(fast.stream == literal.stream) << picture.width << " wide, " << picture.planes.size() << " planes";
  }
}

/// The three planes of a picture from one function of (x, y, plane).
Picture draw(int width, const std::function<int(int, int, int)>& pixel) {
  Picture picture{width, {}};
  for (int plane = 0; plane < 3; ++plane) {
    Bytes& bytes = picture.planes.emplace_back();
    for (int i = 0; i < width * LINES; ++i)
      bytes.push_back(static_cast<std::uint8_t>(pixel(i % width, i / width, plane)));
  }
  return picture;
}

/// The sign pattern of a basis function in each block of 8 x 8, full black and white: the largest value that its
/// coefficient can take. Chroma has them twice as wide, so that they are there after the joining of pairs.
Picture basisSigns(int width, int firstFunction, bool inverted) {
  return draw(width, [=](int x, int y, int plane) {
    const int column = plane == 0 ? x : x / 2;
    const int function = (firstFunction + column / 8) % 64;
    const auto wave = [](int i, int frequency) { return std::cos((2 * i + 1) * frequency * std::numbers::pi / 16); };
    return (wave(column % 8, function % 8) * wave(y, function / 8) >= 0) == inverted ? 0 : 255;
  });
}

std::vector<Picture> picturesOf(int width, unsigned seed) {
  const auto at = [seed](int x, int y, int plane) {
    std::uint32_t h = seed + x * 0x85EBCA6BU + y * 0xC2B2AE35U + plane * 0x27D4EB2FU;
    h ^= h >> 15;
    h *= 0x2C1B3C6DU;
    return static_cast<int>(h >> 13);
  };
  const auto three = [&](Bytes (*make)(int, int, unsigned)) {
    return Picture{width, {make(width, LINES, seed), make(width, LINES, seed + 1), make(width, LINES, seed + 2)}};
  };
  return {three(test::noisePlane),
          three(test::naturalPlane),
          three(test::textPlane),
          draw(width, [](int, int, int plane) { return plane == 0 ? 255 : 128; }),
          draw(width, [&](int x, int y, int plane) { return at(x, y, plane) % 2 * 255; }),        // black and white
          draw(width, [&](int x, int, int plane) { return at(x / 8, 0, plane) % 2 * 255; }),      // flips of colour
          draw(width, [&](int x, int y, int plane) { return 128 + at(x, y, plane) % 97 / 96; }),  // few and small
          draw(width, [&](int x, int, int plane) { return plane > 0 || at(x / 40, 1, 0) % 2 == 0 ? 128 : 255; })};
}

TEST(FastBand, AgreesOnAllWidthsAndKindsOfPictures) {
  int index = 0;  // counts through the restart numbers and, now and then, a first band
  for (int width = 8; width <= 512; width += 8) {
    for (const Picture& picture : picturesOf(width, static_cast<unsigned>(width))) {
      expectSame(picture.grey(), index % 10, 4 * picture.pixels() + AMPLE);
      if (width % 16 == 0) expectSame(picture, index % 10, 4 * picture.pixels() + AMPLE);
      ++index;
    }
  }
}

TEST(FastBand, AgreesOnWideBands) {
  for (const int width : {2560, 5104, 10208}) {
    for (const Picture& picture : picturesOf(width, 1)) {
      expectSame(picture.grey(), 0, 4 * picture.pixels());
      expectSame(picture, 7, 4 * picture.pixels());
    }
  }
}

TEST(FastBand, AgreesOnEveryBasisFunctionAtFullSwing) {
  for (int first = 0; first < 64; first += 32) {
    for (const bool inverted : {false, true}) expectSame(basisSigns(512, first, inverted), 3, 4 * 4096);
  }
}

TEST(FastBand, AgreesWhateverRoomTheOutputHas) {
  const Picture noise = picturesOf(16, 5)[4];  // the only kind with more than three bytes a pixel
  expectSame(noise, 0, 4096);
  const auto longest = static_cast<std::int32_t>(compress(BandWay::LITERAL, noise, 0, 4096).stream.size());
  ASSERT_GT(longest, 3 * noise.pixels());
  for (std::int32_t capacity = 3 * noise.pixels() - 1; capacity < 2 * longest + 40; ++capacity) {
    expectSame(noise, 0, capacity);
  }
  for (std::int32_t capacity = noise.pixels() - 1; capacity < 3 * noise.pixels(); ++capacity) {
    expectSame(noise.grey(), 1, capacity);
  }
}

/// Whether the fast way takes a band, 16 pixels wide, with changed records.
bool takes(const Change& change, std::size_t planeCount, std::uint8_t mapValue = 3, std::int32_t pixels = 128) {
  BandCoder codec;
  codec.prepare(0, 16);
  change(codec);
  const Bytes plane(static_cast<std::size_t>(pixels), 255);
  const Bytes map(plane.size() / 64, mapValue);
  const std::array sources = {plane.data(), plane.data(), plane.data()};
  Bytes out(AMPLE);
  std::int32_t length = 0;
  return compressBandFast({16, pixels, pixels / 64}, map.data(), std::span(sources).first(planeCount), AMPLE,
                          out.data(), &length, codec.settings.get(), codec.coder.get());
}

#if defined(__x86_64__)
TEST(FastBand, IsForTheBandsOfJobsOnly) {
  const auto nothing = [](BandCoder&) {};
  EXPECT_TRUE(takes(nothing, 1));
  EXPECT_TRUE(takes(nothing, 3));
  EXPECT_FALSE(takes(nothing, 3, 1));
  EXPECT_FALSE(takes(nothing, 1, 3, 256));
  EXPECT_FALSE(takes([](BandCoder& c) { setSampleType(SAMPLE_TYPE_444, c.settings.get()); }, 3));
  EXPECT_FALSE(takes([](BandCoder& c) { clearUseDeltaDC(c.settings.get()); }, 3));
  EXPECT_FALSE(takes([](BandCoder& c) { c.settings->quantScale = 9; }, 3));
  EXPECT_FALSE(takes([](BandCoder& c) { c.coder->bitCount = 3; }, 3));
  EXPECT_FALSE(takes([](BandCoder& c) { c.coder->category[9] = 3; }, 3));
  EXPECT_FALSE(takes([](BandCoder& c) { c.coder->lumaCodes.dcCodes[3].code |= 0x80; }, 3));
  EXPECT_FALSE(takes([](BandCoder& c) { setRestartInterval(0, c.settings.get()); }, 3));
  EXPECT_FALSE(takes([](BandCoder& c) { c.settings->restartMcuCount = 1; }, 3));
  EXPECT_FALSE(takes([](BandCoder& c) { clearByteStuffing(c.coder.get()); }, 3));
  EXPECT_FALSE(takes([](BandCoder& c) { c.coder->lumaCodes.acCodes[7].count = 0; }, 1));
}
#endif

TEST(FastBand, AgreesWithOtherTablesAndPaddedMarkers) {
  const auto spoiltScan = [](BandCoder& c) {
    wicketSetPlanarZigZag(1, 32, 1, 1, c.settings.get());
    std::swap(c.settings->planarZigZag[1][2], c.settings->planarZigZag[1][40]);
  };
  const auto pendingBits = [](BandCoder& c) { static_cast<void>(outputBits(5, 3, c.coder.get())); };
  const auto restartNine = [](BandCoder& c) { c.coder->restartNumber = 9; };
  for (const Picture& picture : picturesOf(64, 3)) {
    for (const Change& change : std::initializer_list<Change>{spoiltScan, pendingBits, restartNine}) {
      expectSame(picture, 1, 4 * picture.pixels() + AMPLE, change);
    }
    const auto chromaForLuma = [](BandCoder& c) {
      const HuffmanCodeTable table = c.coder->chromaCodes;
      setHuffmanCodec(&table, false, c.coder.get());
    };
    expectSame(picture, 0, 4 * picture.pixels() + AMPLE, [](BandCoder& c) { setPadQMarker(c.settings.get()); });
    expectSame(picture, 2, 4 * picture.pixels() + AMPLE, chromaForLuma);
  }
}

}  // namespace
}  // namespace kesto
