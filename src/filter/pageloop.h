// The page loop: every raster page is cut into line blocks for the image thread, between a page start and a page end.
//
// Job thread only; it owns the producer side of imageLineBlockBuffer and the image thread's handle.
#pragma once

#include <cstdint>
#include <optional>

#include "filter/document/rasterstream.h"
#include "filter/lines/blockring.h"
#include "filter/lines/copycache.h"
#include "filter/lines/pagereader.h"
#include "filter/strips/imagethread.h"

namespace kesto {

class PageLoop {
 public:
  /// Fixes the page geometry and makes the buffers and the line-block ring, from the raster's current header and the
  /// job settings. Ends the job when the geometry is out of range or memory is short. `fileType` is the spooler's type
  /// of the file, or null; `copies` is how often each page is to be made here; `pageFollows` says whether the header
  /// has been read.
  PageLoop(RasterStream& raster, const char* fileType, std::int32_t copies, bool pageFollows);
  PageLoop(const PageLoop&) = delete;
  PageLoop& operator=(const PageLoop&) = delete;
  ~PageLoop() = default;

  /// Prints page after page with its copies until the raster ends, after the first page of a job sheet, or after
  /// SIGTERM; a page that has begun is finished first.
  void run();

  /// Frees the line-block ring and the buffers. The image thread may still be running; it finds nothing to do.
  void free();

  void stopImageThread() { imageThread_.stop(); }

  /// Pages read from the raster.
  [[nodiscard]] int pageCount() const { return pageCount_; }

  /// True when the loop ended although the raster may hold further pages.
  [[nodiscard]] bool leftEarly() const { return leftEarly_; }

 private:
  void printPage();
  void startPage();

  RasterStream& raster_;
  bool pageFollows_;
  bool jobSheet_;
  std::optional<BlockRing> blocks_;
  std::optional<PageReader> reader_;
  std::optional<CopyCache> copies_;
  ImageThread imageThread_;  ///< stopped before the ring goes
  int pageCount_ = 0;
  bool leftEarly_ = false;
};

}  // namespace kesto
