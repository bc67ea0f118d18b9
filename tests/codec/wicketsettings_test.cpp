#include "codec/wicketsettings.h"

#include <cstdint>
#include <memory>

#include <gtest/gtest.h>

#include "codec/quantize.h"

namespace kesto {
namespace {

struct Codec {
  WicketSettings settings;
  std::unique_ptr<WicketCoder> coder = std::make_unique<WicketCoder>();

  explicit Codec(std::int32_t status = 0) { setWicket(&settings, coder.get(), &status); }
};

TEST(WicketSettings, StartWithTheirDefaults) {
  Codec codec;
  const WicketSettings& settings = codec.settings;
  EXPECT_EQ(queryQFactor(&settings), 80U);
  EXPECT_EQ(settings.lumaQuant[0], 48);
  EXPECT_EQ(settings.lumaQuant[6], 160);  // 51 scaled by 40 % is 20
  EXPECT_EQ(settings.lumaQuant[63], 320);
  EXPECT_EQ(settings.chromaQuant[0], 56);
  EXPECT_EQ(settings.chromaQuant[3], 152);
  EXPECT_EQ(settings.quantScale, 8U);
  EXPECT_EQ(querySampleType(&settings), 0x422U);
  EXPECT_EQ(queryRestartInterval(&settings), 0);
  EXPECT_EQ(queryUseDeltaDC(&settings), 1);
  EXPECT_EQ(queryPadQMarker(&settings), 0);
  EXPECT_EQ(queryDumpPlanes(&settings), 0);
  EXPECT_EQ(wicketQueryByteStuffing(codec.coder.get()), 1);
  EXPECT_EQ(wicketQueryByteStuffing(Codec(CODEC_INVALID_SYMBOL).coder.get()), 0);  // a coder that failed is left alone
}

TEST(WicketSettings, ReinitializeTheCoderThatHadFailed) {
  Codec codec(CODEC_INVALID_SYMBOL);
  setHuffman(codec.coder.get());
  codec.coder->chromaLists.dcSymbols[2] = 99;
  reinitialize(&codec.settings, codec.coder.get());
  EXPECT_EQ(codec.settings.initStatus, CODEC_DC_SYMBOL_RANGE);
  EXPECT_EQ(codec.coder->tablesReady, 0U);
  codec.coder->chromaLists.dcSymbols[2] = 2;
  reinitialize(&codec.settings, codec.coder.get());
  EXPECT_EQ(codec.settings.initStatus, 0);
  EXPECT_EQ(wicketQueryByteStuffing(codec.coder.get()), 1);
}

TEST(WicketSettings, KeepWhatBelongsToTheStripWhenReinitialized) {
  Codec codec;
  WicketSettings& settings = codec.settings;
  settings.dcPredictor = {1, 2, 3};
  settings.firstBand = 1;
  settings.restartMcuCount = 7;
  wicketSetPlanarZigZag(0, 64, 1, 1, &settings);
  setQFactor(10, &settings);
  setSampleType(SAMPLE_TYPE_444, &settings);
  EXPECT_EQ(setRestartInterval(5, &settings), 0);
  EXPECT_EQ(setPadQMarker(&settings), 0);
  EXPECT_EQ(clearUseDeltaDC(&settings), 1);
  EXPECT_EQ(setDumpPlanes(&settings), 0);
  reinitialize(&settings, codec.coder.get());
  EXPECT_EQ(settings.dcPredictor[2], 3);
  EXPECT_EQ(settings.firstBand, 1);
  EXPECT_EQ(settings.planarZigZag[0][2], 64);
  EXPECT_EQ(settings.restartMcuCount, 0);
  EXPECT_EQ(settings.lumaQuant[0], 48);
  EXPECT_EQ(querySampleType(&settings), 0x422U);
  EXPECT_EQ(setRestartInterval(9, &settings), 0);
  EXPECT_EQ(setRestartInterval(0, &settings), 9);
  EXPECT_EQ(clearPadQMarker(&settings), 0);
  EXPECT_EQ(setUseDeltaDC(&settings), 1);
  EXPECT_EQ(clearDumpPlanes(&settings), 0);
  EXPECT_EQ(wicketClearByteStuffing(codec.coder.get()), 1);
  EXPECT_EQ(wicketSetByteStuffing(codec.coder.get()), 0);
}

TEST(WicketSettings, ScaleTheirTablesForTheQFactor) {
  Codec codec;
  WicketSettings& settings = codec.settings;
  for (const std::int32_t q : {0, 101, -1}) EXPECT_EQ(setQFactor(q, &settings), CODEC_UNSUPPORTED);
  EXPECT_EQ(setQFactor2(50, 0, &settings), CODEC_UNSUPPORTED);
  EXPECT_EQ(settings.lumaQuant[0], 48);
  EXPECT_EQ(setQFactor(100, &settings), 0);
  EXPECT_EQ(settings.lumaQuant[63], 8);
  EXPECT_EQ(setQFactor(1, &settings), 0);
  EXPECT_EQ(settings.lumaQuant[1], 2040);
  EXPECT_EQ(setQFactor2(80, 60, &settings), 0);
  EXPECT_EQ(queryQFactor(&settings), 20540U);
  EXPECT_EQ(settings.lumaQuant[0], 48);
  EXPECT_EQ(settings.chromaQuant[0], 112);  // 17 scaled by 80 % is 14
  EXPECT_EQ(setQFactor(49, &settings), 0);
  EXPECT_EQ(settings.lumaQuant[0], 128);   // 5000 / 49 is 102 %: 16
  EXPECT_EQ(settings.lumaQuant[61], 816);  // 100 x 102 %
}

TEST(WicketSettings, RefuseUnknownSampleTypesButFallBackToFullResolution) {
  Codec codec;
  EXPECT_EQ(setSampleType(0x420, &codec.settings), 0);
  EXPECT_EQ(querySampleType(&codec.settings), 0x420U);
  EXPECT_EQ(setSampleType(0x421, &codec.settings), CODEC_UNSUPPORTED);
  EXPECT_EQ(querySampleType(&codec.settings), 0x444U);
}

TEST(QuantTables, ScaleOneTableAtATimeAndOnlyWithinBaseline) {
  WicketSettings settings;
  std::uint32_t scale = 0;
  std::uint32_t qFactor = 0;
  scaleTable(50, 1, settings.chromaQuant.data(), S_aiChromStdQuantTable.data(), settings.lumaQuant.data(),
             S_aiLumStdQuantTable.data(), &scale, &qFactor);
  EXPECT_EQ(settings.chromaQuant[0], 17 * 8);
  EXPECT_EQ(settings.lumaQuant[0], 0);
  EXPECT_EQ(scale, 8U);
  EXPECT_EQ(qFactor, 50U);
  scaleTable(0, 2, settings.chromaQuant.data(), S_aiChromStdQuantTable.data(), settings.lumaQuant.data(),
             S_aiLumStdQuantTable.data(), &scale, &qFactor);
  EXPECT_EQ(settings.lumaQuant[2], 2040);  // 10 times 100 is beyond 255
  setupQuantTable(settings.chromaQuant.data(), S_aiChromStdQuantTable.data(), settings.lumaQuant.data(),
                  S_aiLumStdQuantTable.data());
  EXPECT_EQ(settings.chromaQuant[63], 792);
  EXPECT_EQ(settings.lumaQuant[53], 968);
}

}  // namespace
}  // namespace kesto
