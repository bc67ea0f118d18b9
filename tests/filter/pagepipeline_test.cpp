// The bytes of page starts, page ends and image strips, and the image thread's handling of line blocks.
#include <gtest/gtest.h>

#include "base/poll.h"
#include "filter/jobframe.h"
#include "filter/jobstate.h"
#include "filter/lines/lineblock.h"
#include "filter/strips/imagethread.h"
#include "filter/strips/strips.h"
#include "hdc/hdc.h"
#include "jobsettings/jobsettings.h"
#include "jobsettings/optionvalues.h"
#include "support/hex.h"

namespace kesto {
namespace {

using test::Bytes;
using test::hex;

/// A job whose output stays in the channel's ring, where the test takes it out.
class PagePipeline : public testing::Test {
 protected:
  void SetUp() override {
    hdcInitialize(8 * 1024 * 1024, 8 * 1024 * 1024);
    setting_.printQuality = "NORMAL";
    setting_.mediaType = "Automatic";
    setting_.pageMode = NORMAL;
    setting_.colorOutput = INVALIDOPTION;
    setting_.mediaSizeType = MEDIA_SIZE_ENUMERATED;
    setting_.resolution = 600;
    setting_.copies = 1;
    setting_.isColor = 1;
    jobsetting = &setting_;
    gCacheBands.clear();
    gCacheBandIndex = 0;
  }
  void TearDown() override {
    jobsetting = nullptr;
    hdcDestroy();
  }

  static Bytes written() {
    Bytes bytes(cbufferGetAvailableBytes(&hdcContext.buffer));
    EXPECT_TRUE(cbufferReadBytes(&hdcContext.buffer, bytes.data(), static_cast<std::uint32_t>(bytes.size())));
    return bytes;
  }
  static std::string pageStart() {
    start_page();
    return hex(written());
  }

  JobSetting setting_ = {};
};

TEST(ImageThreadLife, EndsHoweverSoonItIsStopped) {
  for (int i = 0; i < 300; ++i) {
    ImageThread thread;
    thread.ensureRunning();
    thread.stop();
    ASSERT_EQ(imageProcessorContext, 0);
  }
}

TEST_F(PagePipeline, StartsAPageWithEverySettingInItsPlace) {
  setting_.mediaSource = 0x104;
  setting_.mediaSize.mediaSizeId = 2;
  setting_.mediaType = "Glossy";
  setting_.colorOutput = COLOR_OUTPUT_COLOR;
  EXPECT_EQ(pageStart(),
            "C0 00 F8 28 C0 04 F8 26 C0 02 F8 25 C8 C0 06 47 6C 6F 73 73 79 F8 27 C1 01 00 F8 EC C0 02 F8 ED 43 "
            "D3 64 00 64 00 F8 2A 75 D5 00 00 80 3F 00 00 80 3F F8 2B 77 C0 02 F8 03 6A C0 50 F8 EF C0 01 F8 EE 40 "
            "C0 CC F8 2C 7B");
}

TEST_F(PagePipeline, NamesPaperByNumberNameOrDimensions) {
  setting_.mediaSizeType = MEDIA_SIZE_NAMED;
  std::snprintf(setting_.mediaSize.mediaSizeName, sizeof setting_.mediaSize.mediaSizeName, "%s", "JPOST");
  EXPECT_NE(pageStart().find("C0 00 F8 26 C8 C0 05 4A 50 4F 53 54 F8 25 C1 01"), std::string::npos);

  setting_.mediaSizeType = MEDIA_SIZE_CUSTOM;
  setting_.mediaSize.custom = {8.5f, 11.0f};
  EXPECT_NE(pageStart().find("D5 00 00 08 41 00 00 30 41 F8 2F C0 00 F8 30 C1 01"), std::string::npos);
}

TEST_F(PagePipeline, ChoosesBorderAndOriginByModeSizeAndQuality) {
  const auto expect = [](const char* bytes) { EXPECT_NE(pageStart().find(bytes), std::string::npos) << bytes; };
  setting_.printQuality = "DRAFT";
  expect("C0 02 F8 ED 43 D3 32 00 32 00 F8 2A 75");
  setting_.mediaSizeType = MEDIA_SIZE_CUSTOM;
  setting_.customMargin = 12;
  expect("C0 02 F8 ED 43 D3 32 00 32 00 F8 2A 75");
  setting_.customMargin = 0;
  expect("C0 01 F8 ED 43 D3 00 00 00 00 F8 2A 75");
  setting_.mediaSizeType = MEDIA_SIZE_ENUMERATED;
  setting_.pageMode = EDGETOEDGE;
  expect("C0 01 F8 ED 43 D3 00 00 00 00 F8 2A 75");
}

TEST_F(PagePipeline, TellsTheColourSpaceOnlyForKnownOutputs) {
  const auto expect = [this](const char* output, const char* bytes) {
    setting_.colorOutput = output;
    EXPECT_NE(pageStart().find(bytes), std::string::npos) << bytes;
  };
  setting_.threshold = 0x180;
  expect(COLOR_OUTPUT_MONO, "F8 2B 77 C0 01 F8 03 6A");
  expect(COLOR_OUTPUT_BLACK, "F8 2B 77 C0 03 F8 03 C0 80 F8 EB 6A");
  expect(COLOR_OUTPUT_GRAYSCALE, "F8 2B 77 C0 01 F8 03 C0 00 F8 EA 6A");
  expect(INVALIDOPTION, "F8 2B 77 6A");
  expect(nullptr, "F8 2B 77 6A");
}

TEST_F(PagePipeline, FramesSessionAndPage) {
  startSession(600);
  const std::string start = hex(written());
  EXPECT_EQ(start.substr(0, 3 * 16), "29 20 48 50 2D 50 43 4C 20 58 4C 3B 32 3B 31 3B ");
  EXPECT_EQ(start.substr(3 * 64),
            "D1 58 02 58 02 F8 89 C0 00 F8 86 C0 03 F8 8F 41 C0 00 F8 88 C0 01 F8 82 48 C8 C0 17 43 6F 72 76 61 6E 65 "
            "20 45 6E 68 61 6E 63 65 64 20 58 4C 3D 31 2E 32 F8 81 47");
  end_page();
  endSession();
  EXPECT_EQ(hex(written()), "C1 01 00 F8 31 44 49 42");
}

/// A white band of 5104 pixels with all it takes to compress it.
struct WhiteBand {
  static constexpr std::uint32_t WIDTH = 5104, PIXELS = 8 * WIDTH;
  Bytes y = Bytes(PIXELS, 255), chroma = Bytes(PIXELS, 128), tags = Bytes(PIXELS, 3);
  std::unique_ptr<WicketSettings> settings = std::make_unique<WicketSettings>();
  std::unique_ptr<WicketCoder> coder = std::make_unique<WicketCoder>();

  void send(std::uint32_t firstLine, std::uint8_t last) {
    compress_and_send(settings.get(), coder.get(), firstLine, WIDTH, PIXELS, y.data(), chroma.data(), chroma.data(),
                      y.data(), tags.data(), last);
  }
};

TEST_F(PagePipeline, SendsAStripWithItsThirtySecondBand) {
  WhiteBand band;
  for (std::uint32_t i = 0; i < 63; ++i) band.send(8 * i, 0);
  written();
  EXPECT_EQ(gCacheBandIndex, 31u);
  band.send(504, 0);
  EXPECT_EQ(gCacheBandIndex, 0u);

  const std::string strip = hex(written());
  EXPECT_TRUE(strip.starts_with(
      "D3 00 00 00 01 F8 4C 6B C0 00 F8 64 C0 02 F8 62 C1 F0 13 F8 6C C1 00 01 F8 6B D1 F0 13 00 01 F8 67 C0 08 F8 FA "
      "C0 02 F8 F9 C1 00 00 F8 F8 C1 58 02 F8 F7 C1 06 00 F8 F6 B0 C1 00 00 F8 6D C1 00 01 F8 63 C0 F6 F8 65 B1 FA "))
      << strip.substr(0, 300);
  EXPECT_TRUE(strip.ends_with(" FF D7 C1 00 00 F8 6D C1 00 01 F8 63 C0 F7 F8 65 B1 FA 01 00 00 00 FF B2"));
  EXPECT_NE(strip.find("FA FF 2B FE"), 0u);
}

TEST_F(PagePipeline, SendsALoneBandAtOnceWhenItIsThePagesLast) {
  WhiteBand band;
  setting_.isColor = 0;
  band.send(0, 1);
  const std::string strip = hex(written());
  EXPECT_NE(strip.find("C1 08 00 F8 6B"), std::string::npos) << "8 lines";
  EXPECT_NE(strip.find(" FF 2B FE FE "), std::string::npos) << "a strip's first band selects the quantiser";
  EXPECT_TRUE(strip.ends_with(" FF D0 C1 00 00 F8 6D C1 08 00 F8 63 C0 F7 F8 65 B1 FA 01 00 00 00 FF B2"));
}

TEST_F(PagePipeline, ImageThreadTurnsBlocksIntoStripsOfPages) {
  const PageGeometry geometry{.pixelWidth = 16, .pixelHeight = 16, .bytesPerPixel = 3};
  WhiteBlock block(geometry);
  const std::uint32_t size = geometry.blockBytes();
  ASSERT_EQ(size, 24u + 8 * 16 * 3 + 8 * 16);
  ASSERT_TRUE(cbufferCreate(&imageLineBlockBuffer, 10 * size));
  {
    ImageThread thread;
    thread.ensureRunning();
    for (int page = 0; page < 2; ++page) {
      for (std::uint32_t line = 0; line < 16; line += 8) {
        ASSERT_TRUE(cbufferWriteBytes(&imageLineBlockBuffer, block.at(line).data(), size));
      }
    }
    pollUntil([] { return cbufferIsEmpty(&imageLineBlockBuffer) && gBlockProcessingCompleted == 1; });
  }
  cbufferFree(&imageLineBlockBuffer);
  const std::string page =
      "D3 00 00 00 00 F8 4C 6B C0 00 F8 64 C0 02 F8 62 C1 10 00 F8 6C C1 10 00 F8 6B D1 10 00 10 00 F8 67 C0 08 F8 FA "
      "C0 02 F8 F9 C1 00 00 F8 F8 C1 58 02 F8 F7 C1 06 00 F8 F6 B0 C1 00 00 F8 6D C1 10 00 F8 63 C0 F6 F8 65 B1 "
      "FA 10 00 00 00 FF 2B FE FE 28 A0 0F FF D0 FE FE 28 A0 0F FF D1 "
      "C1 00 00 F8 6D C1 10 00 F8 63 C0 F7 F8 65 B1 FA 01 00 00 00 FF B2";
  EXPECT_EQ(hex(written()), page + " " + page);
}

TEST_F(PagePipeline, ImageThreadStopsAtOnceWithAndWithoutWork) {
  for (int i = 0; i < 20; ++i) {
    ImageThread thread;
    thread.ensureRunning();
    thread.ensureRunning();
    thread.stop();
    EXPECT_EQ(imageProcessorContext, 0);
  }
  EXPECT_EQ(imageThreadFailure, 0);
}

}  // namespace
}  // namespace kesto
