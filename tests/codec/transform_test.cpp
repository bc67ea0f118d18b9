#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "codec/downsample.h"
#include "codec/fdct.h"
#include "codec/quantize.h"
#include "codec/wicketsettings.h"
#include "support/hex.h"

namespace kesto {
namespace {

using test::Bytes;
using Samples = std::vector<std::int32_t>;

std::int32_t downSample(const Bytes& plane, std::int32_t width, std::uint32_t type, Samples& samples) {
  return downSampleInt(width, static_cast<std::int32_t>(plane.size()), plane.data(), type,
                       static_cast<std::uint32_t>(samples.size() * 4), samples.data());
}

TEST(DownSample, ShiftsLevelsAndJoinsNeighbours) {
  Bytes plane(16 * 16, 255);
  plane[0] = 0;
  plane[2] = 128;
  plane[3] = 129;
  plane[16] = 1;
  plane[17] = 2;
  Samples samples(256);
  ASSERT_EQ(downSample(plane, 16, SAMPLE_TYPE_444, samples), 0);
  EXPECT_EQ(samples[0], -512);
  EXPECT_EQ(samples[1], 508);
  EXPECT_EQ(samples[2], 0);
  ASSERT_EQ(downSample(plane, 16, SAMPLE_TYPE_422, samples), 0);
  EXPECT_EQ(samples[0], 0);      // 0 and 255
  EXPECT_EQ(samples[1], 4);      // 128 and 129
  EXPECT_EQ(samples[8], -504);   // 1 and 2, the second row's first
  EXPECT_EQ(samples[127], 508);  // white stays white
  ASSERT_EQ(downSample(plane, 16, SAMPLE_TYPE_420, samples), 0);
  EXPECT_EQ(samples[0], -252);  // 0, 255, 1 and 2: -252 / 4 = -63
  EXPECT_EQ(samples[1], 256);   // 128, 129, 255 and 255: 257 / 4 rounds down
}

TEST(DownSample, RefusesShapesThatTheTypeDoesNotTake) {
  const Bytes plane(24 * 8, 7);
  Samples samples(24 * 8);
  EXPECT_EQ(downSample(plane, 24, SAMPLE_TYPE_444, samples), 0);
  EXPECT_EQ(downSample(plane, 24, SAMPLE_TYPE_422, samples), CODEC_BAD_SIZE);
  EXPECT_EQ(downSample(plane, 16, SAMPLE_TYPE_420, samples), CODEC_BAD_SIZE);
  EXPECT_EQ(downSample(plane, 12, SAMPLE_TYPE_444, samples), CODEC_BAD_SIZE);
  EXPECT_EQ(downSample(plane, 0, SAMPLE_TYPE_444, samples), CODEC_BAD_SIZE);
  EXPECT_EQ(downSample(plane, -8, SAMPLE_TYPE_444, samples), CODEC_BAD_SIZE);
  EXPECT_EQ(downSample(plane, 24, 0x411, samples), CODEC_UNSUPPORTED);
  EXPECT_EQ(downSampleInt(24, 192, plane.data(), SAMPLE_TYPE_444, 192 * 4 - 1, samples.data()), CODEC_BAD_SIZE);
  EXPECT_EQ(downSampleInt(24, 192, nullptr, SAMPLE_TYPE_444, 192 * 4, samples.data()), CODEC_NULL_POINTER);
  const auto* inside = reinterpret_cast<const std::uint8_t*>(samples.data() + 100);
  EXPECT_EQ(downSampleInt(24, 192, inside, SAMPLE_TYPE_444, 192 * 4, samples.data()), CODEC_NULL_POINTER);
}

/// Eight times the DCT of T.81 A.3.3 of samples / 4, computed as defined.
std::array<double, 64> referenceDct(const Samples& samples) {
  std::array<double, 64> result{};
  for (int v = 0; v < 8; ++v) {
    for (int u = 0; u < 8; ++u) {
      double sum = 0;
      for (int y = 0; y < 8; ++y) {
        for (int x = 0; x < 8; ++x) {
          sum += samples[y * 8 + x] / 4.0 * std::cos((2 * x + 1) * u * std::numbers::pi / 16) *
                 std::cos((2 * y + 1) * v * std::numbers::pi / 16);
        }
      }
      result[v * 8 + u] = 8 * sum / 4 * (u == 0 ? std::numbers::sqrt2 / 2 : 1) * (v == 0 ? std::numbers::sqrt2 / 2 : 1);
    }
  }
  return result;
}

TEST(ForwardDct, IsWithinAUnitOrTwoOfTheDefinition) {
  std::mt19937 random(11);
  double worst = 0;
  for (int round = 0; round < 300; ++round) {
    Samples block(64);
    for (std::int32_t& sample : block) {
      const std::uint32_t byte = round % 3 == 0 ? random() % 2 * 255 : random() % 256;  // extremes, too
      sample = static_cast<std::int32_t>(byte) * 4 - 512;
    }
    const std::array<double, 64> expected = referenceDct(block);
    ASSERT_EQ(fDCTransform(block.data(), 8, 8, nullptr, 0, nullptr), 0);
    for (std::size_t i = 0; i < 64; ++i) worst = std::max(worst, std::abs(block[i] - expected[i]));
  }
  EXPECT_LT(worst, 2.0);
}

TEST(ForwardDct, GivesUniformBlocksADcOnly) {
  const std::array<std::int32_t, 3> samples = {508, 0, -512};
  const std::array<std::int32_t, 3> dc = {8128, 0, -8192};
  for (std::size_t i = 0; i < samples.size(); ++i) {
    Samples block(64, samples[i]);
    ASSERT_EQ(fDCTransform(block.data(), 8, 8, nullptr, 0, nullptr), 0);
    Samples expected(64, 0);
    expected[0] = dc[i];
    EXPECT_EQ(block, expected);
  }
}

TEST(ForwardDct, LeavesSkippedBlocksWhiteOrEmpty) {
  Samples plane(24 * 8, -100);
  plane[8] = 0;  // the first sample of the second block
  const Bytes map = {0, 0, 1};
  Samples output(24 * 8, 77);
  ASSERT_EQ(fDCTransform(plane.data(), 24, 8, map.data(), 24 * 8 * 4, output.data()), 0);
  EXPECT_EQ(plane[1], -100);
  EXPECT_EQ(output[0], 8128);
  EXPECT_EQ(output[8], 0);
  EXPECT_EQ(output[16], -1600);
  EXPECT_EQ(std::count(output.begin(), output.end(), 0), 24 * 8 - 2);
  ASSERT_EQ(fDCTransform(plane.data(), 24, 8, map.data(), 0, nullptr), 0);
  EXPECT_EQ(plane, output);
}

TEST(ForwardDct, RefusesPlanesThatAreNoBlocks) {
  Samples plane(64);
  Samples output(64);
  EXPECT_EQ(fDCTransform(nullptr, 8, 8, nullptr, 0, nullptr), CODEC_NULL_POINTER);
  EXPECT_EQ(fDCTransform(plane.data(), 8, 8, nullptr, 256, nullptr), CODEC_NULL_POINTER);
  EXPECT_EQ(fDCTransform(plane.data(), 8, 8, nullptr, 255, output.data()), CODEC_BAD_SIZE);
  EXPECT_EQ(fDCTransform(plane.data(), 12, 8, nullptr, 0, nullptr), CODEC_BAD_SIZE);
  EXPECT_EQ(fDCTransform(plane.data(), 8, 4, nullptr, 0, nullptr), CODEC_BAD_SIZE);
  EXPECT_EQ(fDCTransform(plane.data(), -8, -8, nullptr, 0, nullptr), CODEC_BAD_SIZE);
}

/// One block of `values` (the rest 0) quantised with its map byte, by Q 80 tables or by 8.
Samples quantized(const Samples& values, std::uint8_t mapByte, std::int32_t isChroma = 0) {
  WicketSettings settings;
  setQFactor(80, &settings);
  Samples block(64);
  std::copy(values.begin(), values.end(), block.begin());
  EXPECT_EQ(
      quantizePlane(8, 8, block.data(), isChroma, &mapByte, 8, settings.chromaQuant.data(), settings.lumaQuant.data()),
      0);
  return Samples(block.begin(), block.begin() + static_cast<std::ptrdiff_t>(values.size()));
}

TEST(Quantize, RoundsHalvesAwayFromZero) {
  EXPECT_EQ(quantized({8128, -4, 3, 4, -3, -12}, 3), (Samples{1016, -1, 0, 1, 0, -2}));
  EXPECT_EQ(quantized({-8192}, 3), (Samples{-1024}));
  EXPECT_EQ(quantized({8128, 16, 15, -16, -48}, 1), (Samples{169, 1, 0, 0, -1}));  // by 48 32 32 48 80
  EXPECT_EQ(quantized({8128, 28, 27}, 1, 1), (Samples{145, 1, 0}));                // by 56 56 80
  EXPECT_EQ(quantized({8128}, 1, 2), (Samples{169}));                              // only 1 is chroma
}

TEST(Quantize, DividesTheDcAloneInBlocksMarked0And2) {
  EXPECT_EQ(quantized({8128, 500}, 0), (Samples{169, 500}));
  EXPECT_EQ(quantized({8128, 500}, 2), (Samples{1016, 500}));
  EXPECT_EQ(quantized({-100, 500}, 2), (Samples{-12, 500}));  // (-100 + 4) / 8, not -13
}

TEST(Quantize, FollowsTheTableDownTheLinesOfABlock) {
  WicketSettings settings;
  setQFactor(80, &settings);
  Samples plane(16 * 16, 4000);
  const Bytes map = {1, 3, 3, 1};
  ASSERT_EQ(
      quantizePlane(16, 16, plane.data(), 0, map.data(), 8, settings.chromaQuant.data(), settings.lumaQuant.data()), 0);
  EXPECT_EQ(plane[7 * 16 + 7], 13);   // the last entry of the table: 320
  EXPECT_EQ(plane[7 * 16 + 8], 500);  // the block beside it
  EXPECT_EQ(plane[8 * 16 + 7], 500);  // the block below
  EXPECT_EQ(plane[15 * 16 + 8], 17);  // row 7, column 0: 72 scaled by 40 % is 29, times 8 is 232
}

TEST(Quantize, LooksOnlyAtWhatItDividesBy) {
  Samples block(64, 80);
  const std::uint8_t map = 3;
  Samples table(64, 8);
  const auto run = [&](std::int32_t width, std::int32_t flat) {
    return quantizePlane(width, 8, block.data(), 0, &map, flat, table.data(), table.data());
  };
  EXPECT_EQ(run(8, 8), 0);
  EXPECT_EQ(run(4, 8), CODEC_BAD_SIZE);
  EXPECT_EQ(run(-8, 8), CODEC_BAD_SIZE);
  EXPECT_EQ(quantizePlane(8, 8, block.data(), 0, nullptr, 8, table.data(), table.data()), CODEC_NULL_POINTER);
  EXPECT_EQ(quantizePlane(8, 8, nullptr, 0, &map, 8, table.data(), table.data()), CODEC_NULL_POINTER);
  EXPECT_EQ(block[63], 10);
  EXPECT_EQ(quantizePlane(8, 8, block.data(), 0, &map, 5, nullptr, nullptr), 0);
  EXPECT_EQ(block[63], 2) << "the flat quantiser needs no table";
  const std::uint8_t byTable = 1;
  table[63] = -2;
  EXPECT_EQ(quantizePlane(8, 8, block.data(), 0, &byTable, 0, nullptr, table.data()), 0);
  EXPECT_EQ(block[63], 0) << "(2 - 1) / -2";
  EXPECT_EQ(run(8, 0), 0) << "nothing is divided by 0";
  EXPECT_EQ(quantizePlane(8, 8, block.data(), 1, &byTable, 8, nullptr, table.data()), 0);
}

TEST(PlanarZigZag, LeadsThroughTheRasterPlane) {
  WicketSettings settings;
  wicketSetPlanarZigZag(1, 16, 9, 9, &settings);
  EXPECT_EQ(settings.planarZigZag[1][1], 1);
  EXPECT_EQ(settings.planarZigZag[1][2], 16);
  EXPECT_EQ(settings.planarZigZag[1][63], 119);
  settings.planarZigZag[1][5] = -1;
  wicketSetPlanarZigZag(1, 16, 0, 0, &settings);  // stands already
  EXPECT_EQ(settings.planarZigZag[1][5], -1);
  setPlanarZigZag(1, 64, 2, 1, &settings);  // a plane of 32
  EXPECT_EQ(settings.planarZigZag[1][2], 32);
  wicketSetPlanarZigZag(1, 64, 1, 1, &settings);
  EXPECT_EQ(settings.planarZigZag[1][2], 64);
  wicketSetPlanarZigZag(3, 64, 1, 1, &settings);
  setPlanarZigZag(0, 64, 0, 1, &settings);
  EXPECT_EQ(settings.planarZigZag[0][2], 0);
}

}  // namespace
}  // namespace kesto
