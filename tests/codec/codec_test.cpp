// The codec beside outside sources and at its edges. What comes out of it is pinned by the replayed fuzz inputs and by
// the digests of whole jobs.
#include <algorithm>
#include <array>
#include <random>

#include <gtest/gtest.h>
#include <unistd.h>

#include "codec/codetabletext.h"
#include "codec/colorconvert.h"
#include "codec/downsample.h"
#include "codec/fast/fastband.h"
#include "codec/fdct.h"
#include "codec/quantize.h"
#include "codec/tbrle.h"
#include "codec/wicket.h"
#include "fuzz/bandcoder.h"
#include "kestojob/reader/wicketcode.h"
#include "support/digest.h"
#include "support/file.h"
#include "support/hex.h"

namespace kesto {
namespace {

using test::BandCoder;
using test::Bytes;
using Samples = std::vector<std::int32_t>;

TEST(Tables, AreThoseOfTheStandard) {
  const job::WicketTables standard = job::standardTables();
  BandCoder codec;
  codec.prepare(0, 16);
  ASSERT_EQ(setQFactor(job::SCALED_QUALITY, codec.settings.get()), CODEC_OK);
  for (std::size_t i = 0; i < 64; ++i) {
    EXPECT_EQ(codec.settings->lumaQuant[i], 8 * standard.scaled[0][i]) << i;
    EXPECT_EQ(codec.settings->chromaQuant[i], 8 * standard.scaled[1][i]) << i;
  }
  const auto expectSame = [](const auto& counts, const auto& symbols, const job::HuffmanSpec& spec) {
    EXPECT_TRUE(std::ranges::equal(counts, std::span(spec.counts).subspan(1)));
    std::size_t used = 0;
    for (const std::uint32_t count : counts) used += count;
    EXPECT_TRUE(std::ranges::equal(std::span(symbols).first(used), std::span(spec.symbols).first(used)));
  };
  for (const std::size_t which : {0U, 1U}) {
    const HuffmanLists& lists = which == 0 ? codec.coder->lumaLists : codec.coder->chromaLists;
    expectSame(lists.dcCounts, lists.dcSymbols, standard.dc[which]);
    expectSame(lists.acCounts, lists.acSymbols, standard.ac[which]);
  }
}

TEST(Tables, CanBeScaledAndPrinted) {
  WicketSettings settings;
  std::uint32_t scale = 0, qFactor = 0;
  const auto scaleTo = [&](std::int32_t q, std::int32_t which) {
    scaleTable(q, which, settings.chromaQuant.data(), S_aiChromStdQuantTable.data(), settings.lumaQuant.data(),
               S_aiLumStdQuantTable.data(), &scale, &qFactor);
    return std::pair(settings.lumaQuant[2], settings.chromaQuant[0]);
  };
  EXPECT_EQ(scaleTo(50, 1), std::pair(0, 17 * 8));
  EXPECT_EQ(std::pair(scale, qFactor), std::pair(8U, 50U));
  EXPECT_EQ(scaleTo(0, 2), std::pair(255 * 8, 17 * 8)) << "10 times 100 is beyond 255";
  EXPECT_EQ(scaleTo(49, 0), std::pair(10 * 8, 17 * 8)) << "5000 / 49 is 102 %";
  setupQuantTable(settings.chromaQuant.data(), S_aiChromStdQuantTable.data(), settings.lumaQuant.data(),
                  S_aiLumStdQuantTable.data());
  EXPECT_EQ(std::pair(settings.lumaQuant[53], settings.chromaQuant[63]), std::pair(968, 792));

  BandCoder codec;
  codec.prepare(0, 16);
  const std::string path = testing::TempDir() + "codetables." + std::to_string(getpid());
  ASSERT_TRUE(writeTables(path.c_str(), codec.coder.get()));
  const std::string text = test::contentOf(path);
  test::Digest digest;
  digest.add(text);
  EXPECT_EQ(digest.text(), "8219e7aee3ae2779") << text.substr(0, 200);
  const Bytes bytes = {0, 255, 10};
  EXPECT_TRUE(__dump_data(path.c_str(), bytes.data(), 3));
  EXPECT_EQ(test::contentOf<Bytes>(path), bytes);
  EXPECT_FALSE(writeTables("/no/such/folder/file", codec.coder.get()));
  EXPECT_FALSE(__dump_data("/dev/full", bytes.data(), 3));
  unlink(path.c_str());
  for (std::int32_t index = 0; index < 162; ++index) {
    EXPECT_EQ(codecCodeIndex(static_cast<std::uint32_t>(codecRSSymbol(index))), index);
  }
  for (const std::uint32_t symbol : {0x10U, 0x0BU, 0xFFU, 0x101U}) EXPECT_EQ(codecCodeIndex(symbol), -1) << symbol;
  EXPECT_EQ(codecRSSymbol(162) + codecRSSymbol(-1), -2);
}

TEST(Codec, RefusesShapesAndPointersThatItCannotUse) {
  const Bytes bytes(192, 7);
  const std::uint8_t map[] = {0, 0, 3};
  Samples in(192, -100), out(192);
  in[8] = 0;  // the second block's first
  EXPECT_EQ(downSampleInt(24, 192, bytes.data(), SAMPLE_TYPE_444, 767, out.data()), CODEC_BAD_SIZE);
  EXPECT_EQ(downSampleInt(24, 192, bytes.data(), SAMPLE_TYPE_422, 768, out.data()), CODEC_BAD_SIZE);
  EXPECT_EQ(downSampleInt(24, 192, bytes.data(), 0x411, 768, out.data()), CODEC_UNSUPPORTED);
  EXPECT_EQ(downSampleInt(24, 192, nullptr, SAMPLE_TYPE_444, 768, out.data()), CODEC_NULL_POINTER);
  EXPECT_EQ(fDCTransform(in.data(), 24, 8, map, 768, out.data()), CODEC_OK);
  EXPECT_EQ((Samples{out[0], out[8], out[16]}), (Samples{8128, 0, -1600})) << "white, empty, transformed";
  EXPECT_EQ(fDCTransform(in.data(), 24, 8, map, 767, out.data()), CODEC_BAD_SIZE);
  EXPECT_EQ(fDCTransform(in.data(), 24, 4, map, 0, nullptr), CODEC_BAD_SIZE);
  EXPECT_EQ(fDCTransform(nullptr, 24, 8, map, 0, nullptr), CODEC_NULL_POINTER);
  EXPECT_EQ(quantizePlane(8, 8, out.data(), 0, map + 2, 5, nullptr, nullptr), CODEC_OK)
      << "the flat one needs no table";
  EXPECT_EQ(quantizePlane(4, 8, out.data(), 0, map, 8, nullptr, in.data()), CODEC_BAD_SIZE);
  EXPECT_EQ(quantizePlane(8, 8, out.data(), 0, nullptr, 8, nullptr, in.data()), CODEC_NULL_POINTER);
  WicketSettings settings;
  for (const std::int32_t q : {0, 101, -1}) EXPECT_EQ(setQFactor(q, &settings), CODEC_UNSUPPORTED);
  EXPECT_EQ(rgbtoYCbCr(24, 24, nullptr, 8, 8, nullptr, nullptr, nullptr, 0), CODEC_NULL_POINTER);
}

/// Whether the fast way takes a noisy band of three planes, with changed records.
template <class Change>
bool isFast(Change change, std::uint8_t mapValue = 3, std::int32_t bytesPerPixel = 4) {
  constexpr std::int32_t WIDTH = 2048;
  constexpr std::int32_t PIXELS = WIDTH * 8;
  BandCoder codec;
  codec.prepare(0, WIDTH);
  change(*codec.settings, *codec.coder);
  std::mt19937 random(5);
  Bytes plane(PIXELS);
  for (std::uint8_t& byte : plane) byte = static_cast<std::uint8_t>(random());
  const Bytes map(PIXELS / 64, mapValue);
  const std::array planes = {plane.data(), plane.data(), plane.data()};
  Bytes out(static_cast<std::size_t>(bytesPerPixel) * PIXELS);
  std::int32_t length = 0;
  return compressBandFast({WIDTH, PIXELS, PIXELS / 64}, map.data(), planes, bytesPerPixel * PIXELS, out.data(), &length,
                          codec.settings.get(), codec.coder.get());
}

TEST(FastBand, TakesTheBandsOfJobsInTheRoomThatJobsGiveThem) {
  const auto asIs = [](WicketSettings&, WicketCoder&) {};
  EXPECT_TRUE(isFast(asIs)) << "noise has its room";
  EXPECT_FALSE(isFast(asIs, 3, 2));
  EXPECT_FALSE(isFast(asIs, 1));
  EXPECT_FALSE(isFast([](auto& settings, auto&) { setSampleType(SAMPLE_TYPE_444, &settings); }));
  EXPECT_FALSE(isFast([](auto&, auto& coder) { coder.bitCount = 3; }));
  EXPECT_FALSE(isFast([](auto& settings, auto&) {
    wicketSetPlanarZigZag(2, 1024, 1, 1, &settings);
    ++settings.planarZigZag[2][7];
  }));
  EXPECT_FALSE(isFast([](auto&, auto& coder) { coder.lumaCodes.dcCodes[3].code |= 0x80; }));
  EXPECT_FALSE(isFast([](auto&, auto& coder) { clearByteStuffing(&coder); }));
}

}  // namespace
}  // namespace kesto
