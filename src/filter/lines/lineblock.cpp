#include "filter/lines/lineblock.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace kesto {

LineBlock::LineBlock(std::span<std::uint8_t> memory, const PageGeometry& geometry, std::uint32_t firstLine)
    : memory_(memory), bytesPerLine_(geometry.bytesPerLine()) {
  const LineBlockHeader header = {.firstLine = firstLine,
                                  .bytesPerPixel = geometry.bytesPerPixel,
                                  .bytesPerLine = bytesPerLine_,
                                  .imageSize = LINES_PER_BLOCK * bytesPerLine_,
                                  .tagSize = LINES_PER_BLOCK * geometry.pixelWidth,
                                  .pageHeight = geometry.pixelHeight};
  std::memcpy(memory_.data(), &header, LINE_BLOCK_HEADER_SIZE);
  std::ranges::fill(memory_.last(header.tagSize), PAGE_TAG);
}

std::span<std::uint8_t> LineBlock::imageRow(std::uint32_t slot) const {
  return memory_.subspan(LINE_BLOCK_HEADER_SIZE + std::size_t{slot} * bytesPerLine_, bytesPerLine_);
}

WhiteBlock::WhiteBlock(const PageGeometry& geometry) : geometry_(geometry), memory_(geometry.blockBytes(), 0xFF) {}

std::span<const std::uint8_t> WhiteBlock::at(std::uint32_t firstLine) {
  return LineBlock(memory_, geometry_, firstLine).bytes();
}

}  // namespace kesto
