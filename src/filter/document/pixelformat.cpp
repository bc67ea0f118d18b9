#include "filter/document/pixelformat.h"

#include <algorithm>
#include <array>

namespace kesto {
namespace {

// Eight bits are taken as grey and 24 bits as RGB, whatever the colour space says: a renderer without a PPD labels them
// loosely.
constexpr std::array RASTER_FORMATS = {
    RasterFormat{CUPS_CSPACE_W, 8, false},         RasterFormat{CUPS_CSPACE_SW, 8, false},
    RasterFormat{CUPS_CSPACE_K, 8, true},          RasterFormat{CUPS_CSPACE_RGB, 8, false},
    RasterFormat{CUPS_CSPACE_RGB, 24, false},      RasterFormat{CUPS_CSPACE_SRGB, 24, false},
    RasterFormat{CUPS_CSPACE_ADOBERGB, 24, false}, RasterFormat{CUPS_CSPACE_CMY, 24, true},
    RasterFormat{CUPS_CSPACE_W, 24, false},
};

/// BT.601 luma with weights that sum to 1024, so that white stays white.
std::uint8_t luma(const std::uint8_t* rgb) {
  return static_cast<std::uint8_t>((306u * rgb[0] + 601u * rgb[1] + 117u * rgb[2] + 128u) >> 10);
}

}  // namespace

const RasterFormat* findRasterFormat(unsigned colorSpace, unsigned bitsPerPixel) {
  const auto found = std::ranges::find_if(RASTER_FORMATS, [&](const RasterFormat& format) {
    return format.colorSpace == colorSpace && format.bitsPerPixel == bitsPerPixel;
  });
  return found == RASTER_FORMATS.end() ? nullptr : &*found;
}

bool isStoredAs(const RasterFormat& from, PixelFormat to) {
  return from.bitsPerPixel == 8 * bytesPerPixel(to) && !from.inverted;
}

void convertPixels(const RasterFormat& from, std::span<const std::uint8_t> source, PixelFormat to,
                   std::span<std::uint8_t> line) {
  const std::size_t sourceBytes = from.bitsPerPixel / 8;
  const std::size_t lineBytes = bytesPerPixel(to);
  const std::size_t pixels = std::min(source.size() / sourceBytes, line.size() / lineBytes);
  const std::uint8_t* in = source.data();
  std::uint8_t* out = line.data();

  if (sourceBytes == lineBytes) {
    std::copy_n(in, pixels * lineBytes, out);
  } else if (sourceBytes == 1) {
    for (std::size_t i = 0; i < pixels; ++i) out[3 * i] = out[3 * i + 1] = out[3 * i + 2] = in[i];
  } else {
    for (std::size_t i = 0; i < pixels; ++i) out[i] = luma(in + 3 * i);
  }
  const auto converted = line.first(pixels * lineBytes);
  if (from.inverted) std::ranges::transform(converted, out, [](std::uint8_t v) -> std::uint8_t { return ~v & 0xFF; });
  std::ranges::fill(line.subspan(converted.size()), std::uint8_t{0xFF});
}

void implement_mirorr_on(std::uint8_t* buffer, std::int32_t start, std::int32_t end, std::uint32_t elementSize) {
  const auto step = static_cast<std::int32_t>(elementSize);
  for (; start < end; start += step, end -= step) {
    std::swap_ranges(buffer + start, buffer + start + step, buffer + end);
  }
}

}  // namespace kesto
