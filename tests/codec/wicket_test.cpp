#include "codec/wicket.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "bandcoder.h"
#include "codec/wicketsegment.h"
#include "support/hex.h"

namespace kesto {
namespace {

using test::BandCoder;
using test::Bytes;
using test::hex;

constexpr std::size_t WHITE_BAND_PIXELS = 16 * 8;

TEST(Wicket, WritesTheseWhiteBands) {
  struct Case {
    int index, intervalWidth, lines;
    std::uint8_t (*change)(WicketSettings*);
    const char* stream;
  };
  constexpr Case CASES[] = {
      {0, 16, 8, nullptr, "FF 2B FE FE 28 A0 0F FF D0"},
      {3, 16, 8, nullptr, "FE FE 28 A0 0F FF D3"},
      {9, 16, 8, nullptr, "FE FE 28 A0 0F FF D1"},
      {0, 16, 16, nullptr, "FF 2B FE FE 28 A0 0F FF D0 FE FE 28 A0 0F FF D1"},
      {0, 0, 16, nullptr, "FF 2B FE FE 28 A0 02 8A 00"},  // no interval: the second row's differences are 0
      {0, 16, 8, setPadQMarker,
       "FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF 2B FE FE 28 A0 0F FF D0"},
      {1, 16, 8, clearUseDeltaDC, "FE FE 2B FB F8 A0 0F FF D1"},
  };
  BandCoder codec;
  for (const Case& c : CASES) {
    codec.prepare(c.index, c.intervalWidth);
    if (c.change != nullptr) c.change(codec.settings.get());
    EXPECT_EQ(hex(codec.white(16, c.lines)), c.stream);
    EXPECT_EQ(codec.status, 0);
  }
}

TEST(Wicket, MarksEveryChangeOfQuantiserInTheFirstBandOnly) {
  struct Case {
    int index;
    Bytes map;
    const char* stream;
  };
  const Case greys[] = {
      {0, {3, 3}, "FF 2B FE FE 28 AF FF D0"},
      {2, {3, 3, 3}, "FE FE 28 A2 BF FF D2"},
      {0, {3, 1}, "FF 2B FE FE 2B FF 2C FA A6 BF FF D0"},
      {1, {3, 1}, "FE FE 2B EA 9A FF D1"},  // without a marker prediction still starts afresh
      {0, {0, 0}, "FF 2C FA A6 8A FF D0"},  // skipped blocks that are not empty are white
  };
  BandCoder codec;
  for (const auto& [index, map, stream] : greys) {
    const int width = static_cast<int>(map.size()) * 8;
    codec.prepare(index, width);
    EXPECT_EQ(hex(codec.mono(width, Bytes(map.size() * 64, 255), map)), stream);
  }
  const Bytes gray(WHITE_BAND_PIXELS, 128);
  for (const Bytes& map : {Bytes{1, 2}, Bytes{3, 0}, Bytes{2, 3}}) {  // bytes of blocks that share chroma are joined
    codec.prepare(0, 16);
    EXPECT_EQ(hex(codec.color(16, Bytes(WHITE_BAND_PIXELS, 255), gray, gray, map)), "FF 2B FE FE 28 A0 0F FF D0");
  }
}

TEST(Wicket, WritesABandWithAnEdgeAndColour) {
  Bytes y;
  Bytes cb;
  Bytes cr;
  for (int row = 0; row < 8; ++row) {
    for (int column = 0; column < 16; ++column) {
      y.push_back(static_cast<std::uint8_t>((column < 9 ? 250 : 20) + row / 2));
      cb.push_back(static_cast<std::uint8_t>(100 + 3 * column - 2 * row));
      cr.push_back(static_cast<std::uint8_t>(128 + (column & 2) * 3));
    }
  }
  BandCoder codec;
  codec.prepare(5, 16);
  EXPECT_EQ(hex(codec.color(16, y, cb, cr, {3, 3})),
            "FE F7 3E CD ED FE 7F EF AA FF 00 1B 5F F8 29 FD B7 FC 6C B7 FE 0A 1F C7 FC DF 37 ED 6B FF 00 AB F7 E2 07 "
            "FB 55 F8 FF 00 82 5C 49 FE E7 FB CF F9 F7 D7 D0 F6 29 FF 00 CB AF FB 97 FF 00 DE 49 FF D5");
}

TEST(Wicket, InterleavesFullResolutionChromaBlockByBlock) {
  BandCoder codec;
  codec.prepare(0, 8);
  setSampleType(SAMPLE_TYPE_444, codec.settings.get());
  // Y 11111110 1111111000 1010, Cb 00 00, Cr 111111110 111111000 (504 in size 9) 00
  EXPECT_EQ(hex(codec.color(8, Bytes(64, 255), Bytes(64, 128), Bytes(64, 191), {3})), "FF 2B FE FE 28 3F DF 83 FF D0");
}

TEST(Wicket, RefusesWhatItIsNotMadeFor) {
  BandCoder codec;
  codec.prepare(0, 24);
  const Bytes plane(16 * 16 * 3, 0);
  const Bytes map(12, 3);
  Bytes out(16 * 16 * 4);
  std::int32_t length = 99;
  const auto run = [&](std::int32_t blocks, std::int32_t width, std::int32_t pixels, std::int32_t capacity) {
    return wicketCompressPlanes(blocks, map.data(), width, pixels, plane.data(), plane.data(), plane.data(), capacity,
                                out.data(), &length, codec.settings.get(), codec.coder.get());
  };
  EXPECT_EQ(run(3, 24, 192, 768), CODEC_BAD_SIZE);  // not in pairs
  EXPECT_EQ(length, 0);
  EXPECT_EQ(run(2, 16, 128, 383), CODEC_BAD_SIZE);
  EXPECT_EQ(run(2, 16, 128, -1), CODEC_BAD_SIZE);
  EXPECT_EQ(run(3, 16, 128, 512), CODEC_BAD_SIZE);  // more blocks than pixels
  EXPECT_EQ(run(3, 16, 192, 768), CODEC_BAD_SIZE);  // 12 lines
  EXPECT_EQ(run(0, 16, 0, 512), CODEC_BAD_SIZE);
  EXPECT_EQ(run(0, 0, 0, 512), CODEC_BAD_SIZE);
  EXPECT_EQ(run(-2, -16, -128, 512), CODEC_BAD_SIZE);
  EXPECT_EQ(run(1, 4, 64, 512), CODEC_BAD_SIZE);
  EXPECT_EQ(run(0x2000000, 0x7FFFFFF0, 0x7FFFFFF0, 0x7FFFFFFF), CODEC_BAD_SIZE);
  EXPECT_EQ(run(2, 16, 128, 512), CODEC_ODD_RESTART_INTERVAL);
  setSampleType(SAMPLE_TYPE_420, codec.settings.get());
  EXPECT_EQ(run(4, 16, 256, 1024), CODEC_UNSUPPORTED);
  setSampleType(SAMPLE_TYPE_444, codec.settings.get());
  EXPECT_EQ(run(3, 24, 192, 768), 0);
  EXPECT_EQ(run(2, 20, 160, 768), CODEC_BAD_SIZE);
  codec.settings->sampleType = 0x411;
  EXPECT_EQ(run(2, 16, 128, 512), CODEC_UNSUPPORTED);
  codec.settings->initStatus = 1234;
  length = 99;
  EXPECT_EQ(run(2, 16, 128, 512), 1234);
  EXPECT_EQ(length, 99);
}

TEST(Wicket, RefusesNullPointers) {
  BandCoder codec;
  codec.prepare(0, 16);
  const Bytes plane(128, 0);
  const Bytes map(2, 3);
  Bytes out(512);
  std::int32_t length = 0;
  for (int missing = 0; missing < 8; ++missing) {
    const auto unless = [missing](int index, auto* pointer) { return index == missing ? nullptr : pointer; };
    EXPECT_EQ(wicketCompressPlanes(2, unless(0, map.data()), 16, 128, unless(1, plane.data()), unless(2, plane.data()),
                                   unless(3, plane.data()), 512, unless(4, out.data()), unless(5, &length),
                                   unless(6, codec.settings.get()), unless(7, codec.coder.get())),
              CODEC_NULL_POINTER)
        << missing;
    if (missing < 1 || missing > 3) {
      EXPECT_EQ(
          wicketCompressMonoPlane(2, unless(0, map.data()), 16, 128, plane.data(), 512, unless(4, out.data()),
                                  unless(5, &length), unless(6, codec.settings.get()), unless(7, codec.coder.get())),
          CODEC_NULL_POINTER)
          << missing;
    }
  }
}

/// Three streams out of one band.
struct Separated {
  std::array<Bytes, 3> out;
  std::array<std::int32_t, 3> length = {99, 99, 99};
  std::int32_t status = -1;

  Separated(BandCoder& codec, std::int32_t width, const std::array<Bytes, 3>& planes, const Bytes& map,
            std::size_t capacity) {
    out.fill(Bytes(capacity));
    status = wicketCompressSeparatedPlanes(
        static_cast<std::int32_t>(map.size()), map.data(), width, static_cast<std::int32_t>(planes[0].size()),
        planes[0].data(), planes[1].data(), planes[2].data(), static_cast<std::int32_t>(capacity), out[0].data(),
        out[1].data(), out[2].data(), &length[0], &length[1], &length[2], codec.settings.get(), codec.coder.get());
  }

  std::string stream(std::size_t plane) {
    return hex(std::span(out[plane]).first(static_cast<std::size_t>(length[plane])));
  }
};

std::array<Bytes, 3> whitePlanes(std::size_t pixels) {
  return {Bytes(pixels, 255), Bytes(pixels, 128), Bytes(pixels, 128)};
}

TEST(Wicket, WritesSeparatedPlanes) {
  BandCoder codec;
  codec.prepare(0, 16);
  Separated pairs(codec, 16, whitePlanes(128), {3, 3}, 128);
  EXPECT_EQ(pairs.status, 0);
  EXPECT_EQ(pairs.stream(0), "FF 2B FE FE 28 AF FF D0");
  EXPECT_EQ(pairs.stream(1), "FF 2B 0F");  // half an interval, which the next plane completes
  EXPECT_EQ(pairs.stream(2), "FF 2B 0F FF D1");

  codec.prepare(0, 0);
  setSampleType(SAMPLE_TYPE_420, codec.settings.get());
  Separated squares(codec, 16, whitePlanes(256), {1, 1, 2, 0}, 256);
  EXPECT_EQ(squares.status, 0);
  EXPECT_EQ(squares.stream(0), "FF 2B FE FE 28 A2 8A");
  EXPECT_EQ(squares.stream(1), "FF 2B 0F");

  codec.prepare(0, 0);
  setSampleType(SAMPLE_TYPE_444, codec.settings.get());
  Separated full(codec, 8, whitePlanes(64), {1}, 64);
  EXPECT_EQ(full.stream(0), "FF 2C FA A6 BF");
  EXPECT_EQ(full.stream(2), "FF 2C 0F");
}

TEST(Wicket, AddsUpTheStatusOfSeparatedPlanes) {
  BandCoder codec;
  codec.prepare(0, 0);
  setSampleType(SAMPLE_TYPE_444, codec.settings.get());
  Separated badWidth(codec, 20, whitePlanes(160), {3, 3}, 160);
  EXPECT_EQ(badWidth.status, 0x020202);
  EXPECT_EQ(badWidth.length, (std::array<std::int32_t, 3>{0, 0, 0}));
  setSampleType(SAMPLE_TYPE_422, codec.settings.get());
  EXPECT_EQ(Separated(codec, 24, whitePlanes(192), {3, 3, 3}, 192).status, CODEC_BAD_SIZE);
  setSampleType(SAMPLE_TYPE_420, codec.settings.get());
  EXPECT_EQ(Separated(codec, 16, whitePlanes(128), {3, 3}, 128).status, CODEC_BAD_SIZE);
  EXPECT_EQ(Separated(codec, 16, whitePlanes(256), {3, 3, 3, 3}, 255).status, CODEC_BAD_SIZE);
}

TEST(Wicket, TakesChromaWholeOrNotAtAll) {
  BandCoder codec;
  codec.prepare(0, 16);
  const Bytes plane(128, 255);
  const Bytes map = {3, 3};
  Bytes out(128);
  std::int32_t length = 0;
  const auto run = [&](const std::uint8_t* cb, std::uint8_t* crOut, std::int32_t* cbLength) {
    return wicketCompressSeparatedPlanes(2, map.data(), 16, 128, plane.data(), cb, nullptr, 128, out.data(), nullptr,
                                         crOut, &length, cbLength, nullptr, codec.settings.get(), codec.coder.get());
  };
  EXPECT_EQ(run(plane.data(), nullptr, nullptr), CODEC_NULL_POINTER);
  EXPECT_EQ(run(nullptr, out.data(), nullptr), CODEC_NULL_POINTER);
  EXPECT_EQ(run(nullptr, nullptr, &length), CODEC_NULL_POINTER);
  EXPECT_EQ(run(nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(length, 8);
}

TEST(Wicket, CodesAsManyRowsOfBlocksAsTheMapCovers) {
  BandCoder codec;
  const Bytes plane = test::noisePlane(16, 16, 1);
  const Bytes top(plane.begin(), plane.begin() + WHITE_BAND_PIXELS);
  codec.prepare(0, 16);
  const Bytes firstRow = codec.color(16, top, top, top, {3, 3});
  for (const std::size_t blocks : {std::size_t{2}, std::size_t{3}}) {
    codec.prepare(0, 16);
    EXPECT_EQ(hex(codec.color(16, plane, plane, plane, Bytes(blocks, 3))), hex(firstRow));
  }
  codec.prepare(0, 16);
  EXPECT_EQ(hex(codec.color(16, plane, plane, plane, {3})), "") << "not a whole row";
  EXPECT_EQ(codec.status, 0);
}

TEST(Wicket, GivesUpAGreyBandThatOutgrowsItsBufferAndStartsTheNextCleanly) {
  BandCoder codec;
  codec.prepare(0, 64);
  setSampleType(SAMPLE_TYPE_444, codec.settings.get());
  Bytes noise = test::noisePlane(64, 8, 1);
  for (std::uint8_t& byte : noise) byte = byte < 128 ? 0 : 255;
  const Bytes map(8, 3);
  Bytes out(512);
  std::int32_t length = 99;
  EXPECT_EQ(wicketCompressMonoPlane(8, map.data(), 64, 512, noise.data(), 512, out.data(), &length,
                                    codec.settings.get(), codec.coder.get()),
            CODEC_BAD_SIZE);
  EXPECT_EQ(length, 0);
  codec.prepare(0, 0);
  setSampleType(SAMPLE_TYPE_444, codec.settings.get());
  EXPECT_EQ(hex(codec.mono(16, Bytes(WHITE_BAND_PIXELS, 255), {3, 3})), "FF 2B FE FE 28 AF");
}

TEST(Wicket, LeavesOutUnquantisedCoefficientsThatHaveNoCode) {
  BandCoder codec;
  codec.prepare(1, 16);
  Bytes stripes(WHITE_BAND_PIXELS);
  for (std::size_t i = 0; i < stripes.size(); ++i) stripes[i] = i % 8 < 4 ? 255 : 0;
  const Bytes gray(WHITE_BAND_PIXELS, 128);
  codec.color(16, stripes, gray, gray, {2, 2});
  EXPECT_EQ(codec.status, 0);
  codec.prepare(1, 16);
  EXPECT_EQ(codec.mono(16, stripes, {2, 2}), Bytes{});
  EXPECT_EQ(codec.status, CODEC_BAD_SIZE);
}

TEST(Wicket, SegmentsEndAtRestartMarkers) {
  const Bytes stream = {0xFF, 0x2B, 0x01, 0xFF, 0x00, 0xFF, 0xD0, 0xFF, 0xD7, 0xD1, 0xFF};
  WicketSettings settings;
  const std::uint8_t* segment = nullptr;
  std::uint32_t length = 99;
  EXPECT_EQ(getSegment(&segment, &length, &settings), CODEC_INPUT_END);
  ASSERT_EQ(setSegmentStream(stream.data(), static_cast<std::uint32_t>(stream.size()), &settings), 0);
  std::vector<std::string> segments;
  while (getSegment(&segment, &length, &settings) == 0) segments.push_back(hex(std::span(segment, length)));
  EXPECT_EQ(segments, (std::vector<std::string>{"FF 2B 01 FF 00", "", "D1 FF"}));
  EXPECT_EQ(settings.segmentNumber, 3U);
  EXPECT_EQ(setSegmentStream(nullptr, 1, &settings), CODEC_NULL_POINTER);
  EXPECT_EQ(getSegment(nullptr, &length, &settings), CODEC_NULL_POINTER);
}

}  // namespace
}  // namespace kesto
