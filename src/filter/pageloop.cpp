#include "filter/pageloop.h"

#include <algorithm>
#include <cerrno>
#include <string>

#include "base/cancellimits.h"
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
                        " pixels, which cannot be printed: choose another size",
                    EINVAL);
  }
  if (custom && setting.mediaSize.custom.customHeight <= 0) {
    failJobWithText("ERROR: The paper size leaves a sheet without height, which cannot be printed: choose another size",
                    EINVAL);
  }
  return geometry;
}

PixelFormat jobFormat() {
  return jobsetting->isColor != 0 ? PixelFormat::RGB : PixelFormat::GREY;
}

}  // namespace

PageLoop::PageLoop(RasterStream& raster, ImageThread& imageThread, const char* fileType, std::int32_t copies,
                   std::int64_t impressions)
    : PageLoop(raster, imageThread, fileType, copies, impressions, jobFormat(),
               decideGeometry(*raster.header(), *jobsetting, jobFormat())) {}

PageLoop::PageLoop(RasterStream& raster, ImageThread& imageThread, const char* fileType, std::int32_t copies,
                   std::int64_t impressions, PixelFormat format, const PageGeometry& geometry)
    : raster_(raster),
      imageThread_(imageThread),
      jobSheet_(isJobSheet(fileType)),
      progress_(impressions),
      ring_(geometry.blockBytes()),
      copies_(copies, jobsetting->duplex == ON, geometry, *this),
      reader_(raster, format, geometry, *this) {}

PagesPrinted PageLoop::run() {
  PagesPrinted printed;
  for (bool pageFollows = true; pageFollows && !isCancelled();) {
    printPage(++printed.count);
    printed.leftEarly = jobSheet_;
    if (jobSheet_) break;
    pageFollows = raster_.readHeader();
    copies_.finishPage(pageFollows, isCancelled());
  }
  return printed;
}

void PageLoop::printPage(int number) {
  copies_.beginPage();
  startPage();
  report("PAGE: %d %u\n", number, raster_.header()->NumCopies);
  progress_.pageBegins(number);
  reader_.readPage();
  endPage();
  progress_.pageEnds(number);
}

void PageLoop::send(std::span<const std::uint8_t> block) {
  copies_.keep(block);
  ring_.send(block);
}

void PageLoop::startPage() {
  start_page();
  imageThread_.ensureRunning();
}

/// Waits until the image thread has sent every block of the page, and ends the page.
void PageLoop::endPage() {
  waitInJob([] { return cbufferIsEmpty(&imageLineBlockBuffer); });
  waitInJob([] { return gBlockProcessingCompleted.load(std::memory_order_acquire) != 0; });
  end_page();
}

bool PageLoop::isCopyWanted() const {
  return timeSinceCancel() < CANCEL_COPIES_TIME;
}

}  // namespace kesto
