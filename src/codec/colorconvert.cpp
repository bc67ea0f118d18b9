#include "codec/colorconvert.h"

#include <algorithm>
#include <cstddef>

#include "base/uniform.h"
#include "codec/codecstatus.h"
#include "codec/colorequations.h"
#include "codec/fast/kernels.h"

namespace kesto {

namespace {

constexpr std::uint8_t WHITE_LUMA = 255;
constexpr std::uint8_t WHITE_CHROMA = 128;
constexpr std::int32_t SMALLEST_BAND = 24;  // one pixel in each of eight lines

template <Equation equation>
constexpr std::uint8_t component(std::int32_t red, std::int32_t green, std::int32_t blue) {
  const std::int32_t sum = equation.red * red + equation.green * green + equation.blue * blue;
  return static_cast<std::uint8_t>(((sum + 128) >> 10) + equation.offset);
}

static_assert(component<LUMA>(255, 255, 255) == WHITE_LUMA &&
              component<BLUE_DIFFERENCE>(255, 255, 255) == WHITE_CHROMA &&
              component<RED_DIFFERENCE>(255, 255, 255) == WHITE_CHROMA);

void convertPlain(const std::uint8_t* __restrict rgb, std::size_t count, std::uint8_t* __restrict y,
                  std::uint8_t* __restrict cb, std::uint8_t* __restrict cr) {
  for (std::size_t i = 0; i < count; ++i) {
    const std::int32_t red = rgb[3 * i];
    const std::int32_t green = rgb[3 * i + 1];
    const std::int32_t blue = rgb[3 * i + 2];
    y[i] = component<LUMA>(red, green, blue);
    cb[i] = component<BLUE_DIFFERENCE>(red, green, blue);
    cr[i] = component<RED_DIFFERENCE>(red, green, blue);
  }
}

const std::uint8_t* pixelAt(const std::uint8_t* line, std::int32_t pixel) {
  return line + std::ptrdiff_t{pixel} * 3;
}

bool isWhitePixel(const std::uint8_t* pixel) {
  return (pixel[0] & pixel[1] & pixel[2]) == 0xFF;
}

constexpr std::int32_t GROUP = 32;  // pixels that are looked at together

/// The number of white pixels at the start of a line.
std::int32_t stripLead(const std::uint8_t* line, std::int32_t pixels) {
  std::int32_t first = 0;
  while (pixels - first >= GROUP && isWhite<GROUP * 3>(pixelAt(line, first))) first += GROUP;
  while (first < pixels && isWhitePixel(pixelAt(line, first))) ++first;
  return first;
}

/// Whether every line fits the planes. Counted in 64 bits: the product of two sizes need not fit 32.
bool areSizesGood(std::int32_t lineBytes, std::int32_t totalBytes, std::int32_t outStride, std::int32_t outSize) {
  if (std::int64_t{3} * outSize < totalBytes || totalBytes < SMALLEST_BAND) return false;
  if (lineBytes <= 0 || lineBytes % 3 != 0 || outStride < 0) return false;
  const std::int64_t lines = totalBytes / lineBytes;
  return lines == 0 || (lines - 1) * outStride + lineBytes / 3 <= outSize;
}

}  // namespace

std::uint32_t RGBTripleToCrCbYDword(const std::uint8_t* triple) {
  const std::int32_t red = triple[0];
  const std::int32_t green = triple[1];
  const std::int32_t blue = triple[2];
  return std::uint32_t{component<RED_DIFFERENCE>(red, green, blue)} << 16 |
         std::uint32_t{component<BLUE_DIFFERENCE>(red, green, blue)} << 8 | component<LUMA>(red, green, blue);
}

std::int32_t stripTrail(const std::uint8_t* line, std::int32_t pixels) {
  std::int32_t last = pixels;
  while (last >= GROUP && isWhite<GROUP * 3>(pixelAt(line, last - GROUP))) last -= GROUP;
  while (last > 0 && isWhitePixel(pixelAt(line, last - 1))) --last;
  return std::max(last, 0);
}

std::int32_t rgbtoYCbCr(std::int32_t lineBytes, std::int32_t totalBytes, const std::uint8_t* rgb,
                        std::int32_t outStride, std::int32_t outSize, std::uint8_t* yPlane, std::uint8_t* cbPlane,
                        std::uint8_t* crPlane, std::uint8_t keepPlanes) {
  if (rgb == nullptr || yPlane == nullptr || cbPlane == nullptr || crPlane == nullptr) return CODEC_NULL_POINTER;
  if (!areSizesGood(lineBytes, totalBytes, outStride, outSize)) return CODEC_BAD_SIZE;
  if (keepPlanes == 0) {
    std::fill_n(yPlane, outSize, WHITE_LUMA);
    std::fill_n(cbPlane, outSize, WHITE_CHROMA);
    std::fill_n(crPlane, outSize, WHITE_CHROMA);
  }
  const auto convertFast = fast::bestKernels().convertPixels;
  std::int32_t status = CODEC_OK;
  const std::int32_t lines = totalBytes / lineBytes;
  for (std::int32_t i = 0; i < lines; ++i) {
    const std::uint8_t* const line = rgb + std::ptrdiff_t{i} * lineBytes;
    const std::int32_t pixels = lineBytes / 3;
    // White lines are found from their start on: memory is read faster in this direction.
    const std::int32_t first = stripLead(line, pixels);
    if (first == pixels) continue;
    const std::int32_t last = stripTrail(line, pixels);
    const std::ptrdiff_t at = std::ptrdiff_t{i} * outStride + first;
    const auto count = static_cast<std::size_t>(last - first);
    std::uint8_t* const y = yPlane + at;
    std::uint8_t* const cb = cbPlane + at;
    std::uint8_t* const cr = crPlane + at;
    const std::size_t done = convertFast(pixelAt(line, first), count, y, cb, cr);
    convertPlain(pixelAt(line, first) + 3 * done, count - done, y + done, cb + done, cr + done);
    status = COLOR_BAND_PRINTED;
  }
  return status;
}

}  // namespace kesto
