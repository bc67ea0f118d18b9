// Pixel formats: how a raster may store its pixels, and how they become the job's RGB or grey.
//
// The job prints every page in the format of its first one; pages in the other format are converted from grey to RGB or
// from RGB to grey.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include <cups/raster.h>

namespace kesto {

/// The widest line of a page. Rounded up to a multiple of 16 it still fits the 16-bit SourceWidth.
inline constexpr std::uint32_t MAX_PIXEL_WIDTH = 65520;

/// What a job's line blocks hold.
enum class PixelFormat : std::uint8_t { GREY, RGB };

[[nodiscard]] constexpr std::uint32_t bytesPerPixel(PixelFormat format) {
  return format == PixelFormat::RGB ? 3 : 1;
}

/// One way in which a raster may store its pixels.
struct RasterFormat {
  unsigned colorSpace;    ///< a cups_cspace_t, or any other number that a header may hold
  unsigned bitsPerPixel;  ///< 8 or 24
  bool inverted;          ///< 0 is white, as with inks
};

/// The format of a raster with this colour space and pixel size, or null when the job cannot print such pixels.
[[nodiscard]] const RasterFormat* findRasterFormat(unsigned colorSpace, unsigned bitsPerPixel);

/// True when pixels of `from` are the job's own, byte for byte.
[[nodiscard]] bool isStoredAs(const RasterFormat& from, PixelFormat to);

/// Turns raster pixels into the job's. `source` holds whole pixels of `from`; as many of them as fit `line` are
/// converted to `to`, and the rest of `line` becomes white.
void convertPixels(const RasterFormat& from, std::span<const std::uint8_t> source, PixelFormat to,
                   std::span<std::uint8_t> line);

/// Reverses the order of the elements of `elementSize` bytes from the one at offset `start` of `buffer` to the one at
/// offset `end`, in place; the bytes of an element keep their order. Does nothing unless `start` is less than `end`.
void implement_mirorr_on(std::uint8_t* buffer, std::int32_t start, std::int32_t end, std::uint32_t elementSize);

}  // namespace kesto
