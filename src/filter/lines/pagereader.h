// The page reader: the lines of a raster page become line blocks.
//
// Lines are read as soon as they arrive, also while the ring has no room for a block: a renderer delivers a page in one
// burst and goes on to the next; otherwise it would wait for the compression. Job thread only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "filter/document/rasterstream.h"
#include "filter/lines/blocktaker.h"
#include "filter/lines/lineblock.h"
#include "filter/lines/linestore.h"

namespace kesto {

class PageReader {
 public:
  /// Memory for lines that have been read ahead. A page of text at 600 dpi takes about as much.
  static constexpr std::size_t STORE_BYTES = std::size_t{16} * 1024 * 1024;

  /// A reader for pages of this geometry, whose blocks are built in `taker`'s memory when it has room. `raster` and
  /// `taker` outlive the reader. Throws std::bad_alloc.
  PageReader(RasterStream& raster, PixelFormat format, const PageGeometry& geometry, BlockTaker& taker);

  /// Reads the raster's current page to its end and sends all its blocks. Lines missing from the raster's page are
  /// white, surplus ones are dropped. Ends the job when another thread fails.
  void readPage();

 private:
  void readLine(std::span<std::uint8_t> line);
  void sendBlock(std::uint32_t firstLine);
  void waitForInputOrRoom();

  RasterStream& raster_;
  PixelFormat format_;
  PageGeometry geometry_;
  BlockTaker& taker_;
  LineStore lines_;
};

}  // namespace kesto
