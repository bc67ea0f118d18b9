#include "filter/pageloop.h"

#include <algorithm>
#include <cerrno>
#include <string>

#include "base/report.h"
#include "filter/cancel.h"
#include "filter/joberror.h"
#include "filter/jobframe.h"
#include "filter/jobstate.h"
#include "filter/pjl.h"
#include "jobsettings/jobsettings.h"
#include "jobsettings/optionvalues.h"

namespace kesto {
namespace {

constexpr std::uint32_t WIDTH_MULTIPLE = 16;

constexpr std::uint32_t roundUp(std::uint32_t value, std::uint32_t multiple) {
  return (value + multiple - 1) / multiple * multiple;
}

/// The geometry of all pages of the job. Nothing in it has been bounded by the print data before: a custom width comes
/// out of margins and limits that anybody may have written into a PPD.
PageGeometry decideGeometry(const cups_page_header2_t& header, const JobSetting& setting, PixelFormat format) {
  const bool custom = setting.mediaSizeType == MEDIA_SIZE_CUSTOM;
  PageGeometry geometry;
  geometry.pixelWidth =
      custom ? static_cast<std::uint32_t>(setting.customPixelWidth) : roundUp(header.cupsWidth, WIDTH_MULTIPLE);
  geometry.pixelHeight = roundUp(header.cupsHeight, LINES_PER_BLOCK);
  geometry.bytesPerPixel = bytesPerPixel(format);
  report("%s=%d pixHt=%u\n", custom ? "customPixWid" : "pixWid", static_cast<std::int32_t>(geometry.pixelWidth),
         geometry.pixelHeight);
  if (geometry.pixelWidth == 0 || geometry.pixelWidth > MAX_PIXEL_WIDTH || geometry.pixelWidth % WIDTH_MULTIPLE != 0) {
    failJobWithText("ERROR: The paper size leaves a line of " + std::to_string(setting.customPixelWidth) +
                        " pixels, which cannot be printed",
                    EINVAL);
  }
  if (custom && setting.mediaSize.custom.customHeight <= 0) {
    failJobWithText("ERROR: The paper size leaves a sheet without height, which cannot be printed", EINVAL);
  }
  return geometry;
}

/// Waits until the image thread has sent every block of the page, and ends the page.
void finishPage() {
  waitInJob([] { return cbufferIsEmpty(&imageLineBlockBuffer); });
  waitInJob([] { return gBlockProcessingCompleted.load(std::memory_order_acquire) != 0; });
  end_page();
}

bool isCopyWanted() {
  return timeSinceCancel() < CANCEL_COPIES_TIME;
}

}  // namespace

PageLoop::PageLoop(RasterStream& raster, const char* fileType, std::int32_t copies, bool pageFollows)
    : raster_(raster), pageFollows_(pageFollows), jobSheet_(isJobSheet(fileType)) {
  if (!pageFollows_) return;
  const PixelFormat format = jobsetting->isColor != 0 ? PixelFormat::RGB : PixelFormat::GREY;
  const PageGeometry geometry = decideGeometry(*raster_.header(), *jobsetting, format);
  blocks_.emplace(geometry.blockBytes());
  const auto send = [this](CopyCache::Block block) { blocks_->send(block); };
  copies_.emplace(
      copies, jobsetting->duplex == ON, geometry,
      CopyCache::PageWriter{.start = [this] { startPage(); }, .send = send, .end = finishPage, .wanted = isCopyWanted});
  reader_.emplace(raster_, format, geometry,
                  PageReader::BlockSink{.hasRoom = [this] { return blocks_->hasRoom(); },
                                        .place = [this] { return blocks_->place(); },
                                        .send =
                                            [this](CopyCache::Block block) {
                                              copies_->keep(block);
                                              blocks_->send(block);
                                            }});
}

void PageLoop::free() {
  blocks_.reset();
  reader_.reset();
  copies_.reset();
}

void PageLoop::run() {
  while (pageFollows_ && !isCancelled()) {
    printPage();
    if (jobSheet_) {
      leftEarly_ = true;
      return;
    }
    pageFollows_ = raster_.readHeader();
    copies_->finishPage(pageFollows_, isCancelled());
  }
}

void PageLoop::startPage() {
  start_page();
  imageThread_.ensureRunning();
}

void PageLoop::printPage() {
  copies_->beginPage();
  startPage();
  ++pageCount_;
  report("PAGE: %d %u\n", pageCount_, raster_.header()->NumCopies);
  reader_->readPage();
  finishPage();
}

}  // namespace kesto
