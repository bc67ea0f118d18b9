// The line block: the unit of raster that the job thread hands to the image thread.
//
// - header: six 32-bit words in host byte order, those of LineBlockHeader
// - image: 8 rows of bytesPerLine bytes
// - tags: 8 rows of one byte per pixel
//
// A block lies in memory in exactly this order without gaps, so that it goes through the ring as one run of bytes.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace kesto {

inline constexpr std::uint32_t LINES_PER_BLOCK = 8;

struct LineBlockHeader {
  std::uint32_t firstLine = 0;
  std::uint32_t bytesPerPixel = 0;
  std::uint32_t bytesPerLine = 0;
  std::uint32_t imageSize = 0;
  std::uint32_t tagSize = 0;
  std::uint32_t pageHeight = 0;
};
inline constexpr std::uint32_t LINE_BLOCK_HEADER_SIZE = 24;
static_assert(sizeof(LineBlockHeader) == LINE_BLOCK_HEADER_SIZE, "the header's words lie without gaps");

/// What the whole job's pages share; fixed by the first raster page header.
struct PageGeometry {
  std::uint32_t pixelWidth = 0;     ///< pixels of a line, a multiple of 16
  std::uint32_t pixelHeight = 0;    ///< lines of a page, a multiple of 8
  std::uint32_t bytesPerPixel = 0;  ///< 3 for RGB, 1 for grey

  [[nodiscard]] std::uint32_t bytesPerLine() const { return pixelWidth * bytesPerPixel; }

  /// Size of a line block.
  [[nodiscard]] std::uint32_t blockBytes() const {
    return LINE_BLOCK_HEADER_SIZE + LINES_PER_BLOCK * (bytesPerLine() + pixelWidth);
  }
};

/// The tag of every pixel: the renderer delivers pixels, not objects, so that no page has any other.
inline constexpr std::uint8_t PAGE_TAG = 3;

/// Values of a white pixel: of its luma, which is also a grey row's, and of its two colour differences.
inline constexpr std::uint8_t WHITE_Y = 0xFF;
inline constexpr std::uint8_t WHITE_CHROMA = 0x80;

/// A view of memory as a line block.
class LineBlock {
 public:
  /// Lays a block for pages of this geometry over `memory`, which holds geometry.blockBytes() bytes, and writes its
  /// header and its tags, all of them PAGE_TAG. The image rows are left to be filled.
  LineBlock(std::span<std::uint8_t> memory, const PageGeometry& geometry, std::uint32_t firstLine);

  /// Image row `slot`, 0 to 7.
  [[nodiscard]] std::span<std::uint8_t> imageRow(std::uint32_t slot) const;

  /// The whole block as it goes through the ring.
  [[nodiscard]] std::span<const std::uint8_t> bytes() const { return memory_; }

 private:
  std::span<std::uint8_t> memory_;
  std::uint32_t bytesPerLine_;
};

/// A white line block.
class WhiteBlock {
 public:
  /// Throws std::bad_alloc.
  explicit WhiteBlock(const PageGeometry& geometry);

  /// The block of the 8 lines that start at `firstLine`; valid until the next call.
  [[nodiscard]] std::span<const std::uint8_t> at(std::uint32_t firstLine);

 private:
  PageGeometry geometry_;
  std::vector<std::uint8_t> memory_;
};

}  // namespace kesto
