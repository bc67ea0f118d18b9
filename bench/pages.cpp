#include "pages.h"

#include <algorithm>
#include <cmath>
#include <span>

#include "fractalnoise.h"
#include "strokes.h"

namespace kesto::bench {
namespace {

constexpr std::size_t CHANNELS = 3;
constexpr std::size_t DPI = 600;

/// A rectangle of a page.
struct Area {
  std::size_t left, top, width, height;
};

/// What distinguishes photographs of one kind from those of another.
struct Photograph {
  std::size_t finestDetail;  // in pixels
  float roughness;           // how much of the detail is fine
  float grain;               // largest deviation by the sensor's noise
};

// An enlarged photograph of 150 dpi, one with noise besides, and one with detail in every pixel.
constexpr Photograph ENLARGED{.finestDetail = 4, .roughness = 0.57F, .grain = 0};
constexpr Photograph GRAINY{.finestDetail = 4, .roughness = 0.57F, .grain = 6.5F};
constexpr Photograph DETAILED{.finestDetail = 1, .roughness = 0.69F, .grain = 0};

std::uint8_t toByte(float value) {
  return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0F, 255.0F)));
}

/// Paints a photograph into an area of `rgb`, whose rows are `pageWidth` pixels.
void paintPhotograph(const Photograph& photograph, const Area& area, std::size_t pageWidth, Bytes& rgb) {
  const auto shape = [&](std::uint32_t seed, float amplitude) {
    return NoiseShape{seed, 1024, photograph.finestDetail, amplitude, photograph.roughness};
  };
  // Photographs differ in lightness more than in colour.
  const NoiseShape lightness = shape(1, 90);
  const NoiseShape tints[CHANNELS] = {shape(1001, 25), shape(2001, 10), shape(3001, 25)};
  std::vector<float> light(area.width);
  std::vector<float> tint(area.width);
  for (std::size_t y = 0; y < area.height; ++y) {
    const auto line = static_cast<std::uint32_t>(y);
    std::uint8_t* row = &rgb[CHANNELS * ((area.top + y) * pageWidth + area.left)];
    makeNoiseRow(lightness, line, light);
    for (std::uint32_t channel = 0; channel < CHANNELS; ++channel) {
      makeNoiseRow(tints[channel], line, tint);
      for (std::uint32_t x = 0; x < area.width; ++x) {
        // Two random numbers make small deviations likelier than large ones, as those of a sensor are.
        const float noise =
            photograph.grain * (signedHashOf(5 + channel, x, line) + signedHashOf(9 + channel, x, line));
        row[CHANNELS * x + channel] = toByte(128 + light[x] + tint[x] + noise / 2);
      }
    }
  }
}

void paintGlyph(const Glyph& glyph, std::size_t left, std::size_t top, Bytes& rgb) {
  for (std::size_t y = 0; y < glyph.height; ++y) {
    std::uint8_t* row = &rgb[CHANNELS * ((top + y) * PAGE_WIDTH + left)];
    for (std::size_t x = 0; x < glyph.width; ++x) {
      const auto paper = static_cast<std::uint8_t>(255 - glyph.ink[y * glyph.width + x]);
      std::fill_n(row + CHANNELS * x, CHANNELS, paper);
    }
  }
}

/// Lines of words with an inch of margin all round, 11 point letters on 14 points, in paragraphs whose last line is
/// short and has an empty one behind it.
void paintText(Bytes& rgb) {
  constexpr std::size_t MARGIN = DPI;
  constexpr std::size_t LEADING = DPI * 14 / 72;
  constexpr std::uint32_t LETTERS_IN_A_WORD = 6;
  constexpr std::uint32_t LINES_IN_A_PARAGRAPH = 7;
  const std::vector<Glyph> glyphs = makeGlyphs(DPI * 11 / 72.0);
  const std::size_t letter = glyphs[0].width;
  std::uint32_t lineOfParagraph = 0;
  for (std::size_t top = MARGIN; top + LEADING < PAGE_HEIGHT - MARGIN; top += LEADING) {
    lineOfParagraph = (lineOfParagraph + 1) % LINES_IN_A_PARAGRAPH;
    if (lineOfParagraph == 0) continue;
    const std::size_t right = lineOfParagraph == LINES_IN_A_PARAGRAPH - 1 ? PAGE_WIDTH / 2 : PAGE_WIDTH - MARGIN;
    for (std::size_t left = MARGIN; left + letter < right; left += letter) {
      const std::uint32_t choice = hashOf(77, static_cast<std::uint32_t>(left), static_cast<std::uint32_t>(top));
      if (choice % LETTERS_IN_A_WORD != 0) paintGlyph(glyphs[(choice >> 8) % glyphs.size()], left, top, rgb);
    }
  }
}

}  // namespace

Bytes makePage(PageKind kind) {
  constexpr Area WHOLE{0, 0, PAGE_WIDTH, PAGE_HEIGHT};
  constexpr Area PICTURE{DPI, DPI, 2400, 1800};
  Bytes rgb(CHANNELS * PAGE_PIXELS, 255);
  if (kind == PageKind::TEXT || kind == PageKind::TEXT_AND_PICTURE) paintText(rgb);
  if (kind == PageKind::TEXT_AND_PICTURE) paintPhotograph(ENLARGED, PICTURE, PAGE_WIDTH, rgb);
  if (kind == PageKind::ENLARGED) paintPhotograph(ENLARGED, WHOLE, PAGE_WIDTH, rgb);
  if (kind == PageKind::GRAIN) paintPhotograph(GRAINY, WHOLE, PAGE_WIDTH, rgb);
  if (kind == PageKind::NATIVE) paintPhotograph(DETAILED, WHOLE, PAGE_WIDTH, rgb);
  return rgb;
}

Bytes makePhotograph(std::size_t width, std::size_t height) {
  Bytes rgb(CHANNELS * width * height);
  paintPhotograph(DETAILED, {0, 0, width, height}, width, rgb);
  return rgb;
}

Bytes toGrey(const Bytes& rgb) {
  Bytes grey(rgb.size() / CHANNELS);
  for (std::size_t i = 0; i < grey.size(); ++i) {
    const std::uint8_t* pixel = &rgb[CHANNELS * i];
    grey[i] = static_cast<std::uint8_t>((299U * pixel[0] + 587U * pixel[1] + 114U * pixel[2] + 500U) / 1000U);
  }
  return grey;
}

}  // namespace kesto::bench
