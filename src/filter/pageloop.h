// The page loop: every raster page is cut into line blocks for the image thread, between a page start and a page end.
//
// Job thread only; it owns the producer side of imageLineBlockBuffer.
#pragma once

#include <cstdint>
#include <span>

#include "filter/document/rasterstream.h"
#include "filter/lines/blockring.h"
#include "filter/lines/copycache.h"
#include "filter/lines/pagereader.h"
#include "filter/progress.h"
#include "filter/strips/imagethread.h"

namespace kesto {

/// The result of a page loop.
struct PagesPrinted {
  int count = 0;           ///< pages read from the raster
  bool leftEarly = false;  ///< the loop ended although the raster may hold further pages
};

class PageLoop : private BlockTaker, private PageWriter {
 public:
  /// Fixes the page geometry and makes the buffers and the line-block ring, from the raster's current header and the
  /// job settings. Ends the job when the geometry is out of range or memory is short. `fileType` is the spooler's type
  /// of the file, or null; `copies` is how often each page is to be made here, `impressions` the number of pages that
  /// the raster will hold, 0 when it is not known. `raster` and `imageThread` outlive the loop; the image thread may
  /// outlive it and then finds nothing to do.
  PageLoop(RasterStream& raster, ImageThread& imageThread, const char* fileType, std::int32_t copies,
           std::int64_t impressions);

  /// Prints page after page with its copies until the raster ends, after the first page of a job sheet, or after
  /// SIGTERM; a page that has begun is finished first.
  PagesPrinted run();

 private:
  PageLoop(RasterStream& raster, ImageThread& imageThread, const char* fileType, std::int32_t copies,
           std::int64_t impressions, PixelFormat format, const PageGeometry& geometry);
  void printPage(int number);

  // Blocks pass through here on their way from the reader to the ring, so that they can be kept for copies.
  [[nodiscard]] bool hasRoom() const override { return ring_.hasRoom(); }
  [[nodiscard]] std::span<std::uint8_t> place() override { return ring_.place(); }
  void send(std::span<const std::uint8_t> block) override;

  void startPage() override;
  void sendBlock(std::span<const std::uint8_t> block) override { ring_.send(block); }
  void endPage() override;
  [[nodiscard]] bool isCopyWanted() const override;

  RasterStream& raster_;
  ImageThread& imageThread_;
  bool jobSheet_;
  Progress progress_;
  BlockRing ring_;
  CopyCache copies_;
  PageReader reader_;
};

}  // namespace kesto
