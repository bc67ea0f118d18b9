#include "printerapp/rasterspool.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace kesto::app {
namespace {

constexpr std::uint8_t WHITE = 0xFF;

/// The word at the start of a raster stream, from which its byte order is known.
constexpr off_t SYNC_BYTES = 4;

}  // namespace

RasterSpool::RasterSpool(const std::string& folder) {
  std::string name = folder + "/raster-XXXXXX";
  file_ = Descriptor(mkostemp(name.data(), O_CLOEXEC));
  if (file_.get() < 0) throw std::system_error(errno, std::generic_category(), folder);
  unlink(name.c_str());
  errno = ENOMEM;
  raster_ = cupsRasterOpen(file_.get(), CUPS_RASTER_WRITE_COMPRESSED);
  if (raster_ == nullptr) throw std::system_error(errno, std::generic_category(), folder);
}

RasterSpool::~RasterSpool() {
  cupsRasterClose(raster_);
}

void RasterSpool::beginPage(const cups_page_header2_t& page, unsigned margin, unsigned sheetHeight,
                            std::size_t sheetLine) {
  page_ = page;
  margin_ = margin;
  sheetHeight_ = sheetHeight;
  pixel_ = page.cupsBitsPerPixel / 8;
  line_.assign(page.cupsBytesPerLine, WHITE);
  const std::size_t skipped = margin * pixel_;
  copied_ = sheetLine > skipped ? std::min(sheetLine - skipped, line_.size()) : 0;
  linesSeen_ = linesWritten_ = 0;
  errno = 0;
  if (cupsRasterWriteHeader2(raster_, &page_) == 0 && error_ == 0) error_ = errno != 0 ? errno : EIO;
}

void RasterSpool::writeLine(unsigned y, const std::uint8_t* line) {
  ++linesSeen_;
  if (y < margin_ || linesWritten_ == page_.cupsHeight) return;
  std::copy_n(line + margin_ * pixel_, copied_, line_.begin());
  put();
}

void RasterSpool::put() {
  ++linesWritten_;
  errno = 0;
  if (error_ == 0 && cupsRasterWritePixels(raster_, line_.data(), page_.cupsBytesPerLine) == 0) {
    error_ = errno != 0 ? errno : EIO;
  }
}

bool RasterSpool::endPage() {
  const bool whole = linesSeen_ >= sheetHeight_;
  std::ranges::fill(line_, WHITE);
  while (linesWritten_ < page_.cupsHeight) put();
  ++pages_;
  return whole;
}

void RasterSpool::addBlankPage() {
  beginPage(page_, 0, 0, 0);
  static_cast<void>(endPage());
}

std::vector<Extent> RasterSpool::extents(int times) {
  const off_t end = lseek(file_.get(), 0, SEEK_END);
  std::vector<Extent> extents(static_cast<std::size_t>(times), Extent{.begin = SYNC_BYTES, .end = end});
  extents.front().begin = 0;
  return extents;
}

}  // namespace kesto::app
