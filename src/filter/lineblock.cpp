#include "filter/lineblock.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace kesto {

LineBlock::LineBlock(const PageGeometry& geometry)
    : header_{.firstLine = 0,
              .bytesPerPixel = geometry.bytesPerPixel,
              .bytesPerLine = geometry.bytesPerLine(),
              .imageSize = LINES_PER_BLOCK * geometry.bytesPerLine(),
              .tagSize = LINES_PER_BLOCK * geometry.pixelWidth,
              .pageHeight = geometry.pixelHeight},
      bytes_(geometry.blockBytes()) {
  std::memcpy(bytes_.data(), &header_, LINE_BLOCK_HEADER_SIZE);
  std::ranges::fill(imageRows(), std::uint8_t{0xFF});
  std::ranges::fill(std::span(bytes_).last(header_.tagSize), PAGE_TAG);
}

void LineBlock::setFirstLine(std::uint32_t line) {
  header_.firstLine = line;
  std::memcpy(bytes_.data(), &header_, LINE_BLOCK_HEADER_SIZE);
}

std::span<std::uint8_t> LineBlock::imageRows() {
  return std::span(bytes_).subspan(LINE_BLOCK_HEADER_SIZE, header_.imageSize);
}

std::span<std::uint8_t> LineBlock::imageRow(std::uint32_t slot) {
  return imageRows().subspan(std::size_t{slot} * header_.bytesPerLine, header_.bytesPerLine);
}

}  // namespace kesto
