#include "codec/colorconvert.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <random>

#include <gtest/gtest.h>

#include "support/hex.h"

namespace kesto {
namespace {

using test::Bytes;

std::uint32_t packed(std::uint8_t red, std::uint8_t green, std::uint8_t blue) {
  const std::array<std::uint8_t, 3> triple{red, green, blue};
  return RGBTripleToCrCbYDword(triple.data());
}

TEST(ColorConvert, GivesThePrimariesTheirValues) {
  EXPECT_EQ(packed(255, 255, 255), 0x8080FFU);
  EXPECT_EQ(packed(0, 0, 0), 0x808000U);
  EXPECT_EQ(packed(255, 0, 0), 0xFF554CU);  // 76, 85, 255
  EXPECT_EQ(packed(0, 255, 0), 0x152B95U);  // 149, 43, 21
  EXPECT_EQ(packed(0, 0, 255), 0x6BFF1DU);  // 29, 255, 107
}

TEST(ColorConvert, FollowsTheEquationsForEveryColour) {
  std::uint64_t wrong = 0;
  for (int red = 0; red < 256; red += 3) {
    for (int green = 0; green < 256; ++green) {
      for (int blue = 0; blue < 256; blue += 5) {
        const int luma = (306 * red + 601 * green + 117 * blue + 128) >> 10;
        const int blueDifference = (((-173 * red - 339 * green + 512 * blue + 128) >> 10) - 128) & 255;
        const int redDifference = (((512 * red - 429 * green - 83 * blue + 128) >> 10) - 128) & 255;
        const auto value =
            packed(static_cast<std::uint8_t>(red), static_cast<std::uint8_t>(green), static_cast<std::uint8_t>(blue));
        wrong += value != static_cast<std::uint32_t>(redDifference << 16 | blueDifference << 8 | luma);
      }
    }
  }
  EXPECT_EQ(wrong, 0U);
}

TEST(StripTrail, CountsUpToTheLastPixelThatIsNotWhite) {
  for (std::int32_t pixels = 1; pixels <= 40; ++pixels) {
    Bytes line(120, 0xFF);
    EXPECT_EQ(stripTrail(line.data(), pixels), 0);
    for (std::int32_t sample = 0; sample < 3 * pixels; ++sample) {
      line[sample] = 0xFE;
      EXPECT_EQ(stripTrail(line.data(), pixels), sample / 3 + 1) << pixels << " pixels, sample " << sample;
      line[sample] = 0xFF;
    }
  }
}

/// A band with its planes: `lines` of `width` pixels, planes in lines of `stride` with eight bytes behind them.
struct Band {
  Band(std::size_t pixels, std::size_t rows, std::size_t planeStride)
      : width(pixels), stride(planeStride), planeSize(planeStride * rows), rgb(3 * pixels * rows, 0xFF) {
    for (auto* plane : {&y, &cb, &cr}) plane->assign(planeSize + 8, 0x33);
  }
  std::uint8_t* pixel(std::size_t line, std::size_t column) { return &rgb[3 * (line * width + column)]; }
  std::int32_t convert(std::uint8_t keepPlanes) {
    const auto number = [](std::size_t size) { return static_cast<std::int32_t>(size); };
    return rgbtoYCbCr(number(3 * width), number(rgb.size()), rgb.data(), number(stride), number(planeSize), y.data(),
                      cb.data(), cr.data(), keepPlanes);
  }

  std::size_t width, stride, planeSize;
  Bytes rgb, y, cb, cr;
};

TEST(RgbToYCbCr, KeepsThePlanesForAWhiteBandOrFillsThemWithWhite) {
  Band band(20, 8, 20);
  EXPECT_EQ(band.convert(1), 0);
  for (const Bytes* plane : {&band.y, &band.cb, &band.cr}) EXPECT_EQ(*plane, Bytes(168, 0x33));
  EXPECT_EQ(band.convert(0), 0);
  Bytes white(168, 0x33);
  std::fill_n(white.begin(), 160, 0xFF);
  EXPECT_EQ(band.y, white);
  std::fill_n(white.begin(), 160, 0x80);
  EXPECT_EQ(band.cb, white);
  EXPECT_EQ(band.cr, white);
}

TEST(RgbToYCbCr, ConvertsFromTheFirstToTheLastPixelThatIsNotWhite) {
  Band band(40, 3, 48);
  *band.pixel(1, 39) = 0;    // cyan in the last pixel only
  band.pixel(2, 10)[1] = 0;  // magenta, white, magenta
  band.pixel(2, 12)[1] = 0;
  EXPECT_EQ(band.convert(1), 257);
  Bytes luma(152, 0x33);
  luma[48 + 39] = 178;
  luma[96 + 10] = luma[96 + 12] = 105;
  luma[96 + 11] = 255;
  EXPECT_EQ(band.y, luma);
  EXPECT_EQ(band.cb[48 + 39], 171);
  EXPECT_EQ(band.cr[48 + 39], 0);
  EXPECT_EQ(band.cb[96 + 11], 128);
  EXPECT_EQ(band.cb[96 + 13], 0x33);
  EXPECT_EQ(band.cr[48 + 38], 0x33);
}

TEST(RgbToYCbCr, TouchesNothingButASinglePixelInAnyColumn) {
  for (std::size_t column = 0; column < 100; ++column) {
    Band band(100, 1, 100);
    *band.pixel(0, column) = 0;
    EXPECT_EQ(band.convert(1), 257);
    Bytes luma(108, 0x33);
    luma[column] = 178;
    EXPECT_EQ(band.y, luma) << "column " << column;
  }
}

TEST(RgbToYCbCr, ConvertsLongLinesLikeSinglePixels) {
  std::mt19937 random(3);
  for (std::size_t width = 1; width < 140; ++width) {
    Band band(width, 8, width + 2);
    for (auto& byte : band.rgb) byte = static_cast<std::uint8_t>(random() % 255);
    ASSERT_EQ(band.convert(1), 257);
    for (std::size_t line = 0; line < 8; ++line) {
      for (std::size_t column = 0; column < width; ++column) {
        const std::uint8_t* const pixel = band.pixel(line, column);
        const auto at = line * band.stride + column;
        const auto value = packed(pixel[0], pixel[1], pixel[2]);
        ASSERT_EQ(static_cast<std::uint32_t>(band.cr[at] << 16 | band.cb[at] << 8 | band.y[at]), value)
            << "column " << column << " of " << width;
      }
    }
  }
}

TEST(RgbToYCbCr, ChecksPointersBeforeSizesAndNeverLeavesThePlanes) {
  Band band(4, 2, 4);
  const auto convert = [&band](std::int32_t lineBytes, std::int32_t totalBytes, std::int32_t stride,
                               std::int32_t outSize, std::uint8_t* cbPlane) {
    return rgbtoYCbCr(lineBytes, totalBytes, band.rgb.data(), stride, outSize, band.y.data(), cbPlane, band.cr.data(),
                      0);
  };
  std::uint8_t* const cb = band.cb.data();
  constexpr std::int32_t LOWEST = std::numeric_limits<std::int32_t>::min();
  constexpr std::int32_t HIGHEST = std::numeric_limits<std::int32_t>::max();
  EXPECT_EQ(convert(100, 23, 4, 8, nullptr), 1);
  EXPECT_EQ(convert(12, 23, 4, 8, cb), 2);
  EXPECT_EQ(convert(100, 24, 4, 8, cb), 2);
  EXPECT_EQ(convert(12, 24, 4, 7, cb), 2) << "planes too small";
  EXPECT_EQ(convert(12, 24, 5, 8, cb), 2) << "the last line would end behind the planes";
  EXPECT_EQ(convert(0, 24, 4, 8, cb), 2);
  EXPECT_EQ(convert(-12, 24, 4, 8, cb), 2);
  EXPECT_EQ(convert(12, 24, -4, 8, cb), 2);
  EXPECT_EQ(convert(12, 24, HIGHEST, 8, cb), 2);
  EXPECT_EQ(convert(12, LOWEST, 4, LOWEST, cb), 2);
  EXPECT_EQ(convert(3, HIGHEST, HIGHEST, HIGHEST, cb), 2);
  EXPECT_EQ(band.y, Bytes(16, 0x33)) << "a refused call writes nothing";
  EXPECT_EQ(convert(12, 24, 4, 8, cb), 0);
}

TEST(RgbToYCbCr, LeavesATrailingPieceOfALineAlone) {
  Band band(4, 3, 4);
  *band.pixel(2, 0) = 0;
  EXPECT_EQ(rgbtoYCbCr(12, 35, band.rgb.data(), 4, 12, band.y.data(), band.cb.data(), band.cr.data(), 1), 0);
  EXPECT_EQ(band.y, Bytes(20, 0x33));
}

}  // namespace
}  // namespace kesto
