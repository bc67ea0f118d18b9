#include "filter/pagereader.h"

#include <utility>

#include "filter/joberror.h"
#include "filter/pagepipeline.h"
#include "jobsettings/jobsettings.h"

namespace kesto {

PageReader::PageReader(RasterStream& raster, PixelFormat format, const PageGeometry& geometry, BlockSink sink)
    : raster_(raster),
      format_(format),
      geometry_(geometry),
      sink_(std::move(sink)),
      lines_(geometry.bytesPerLine(), STORE_BYTES),
      block_(geometry) {}

void PageReader::readPage() {
  std::uint32_t read = 0;
  std::uint32_t sent = 0;
  while (sent < geometry_.pixelHeight) {
    const bool maySend = lines_.size() >= LINES_PER_BLOCK;
    const bool mayRead = read < geometry_.pixelHeight && lines_.hasRoom();
    if (maySend && sink_.hasRoom()) {
      sendBlock(sent);
      sent += LINES_PER_BLOCK;
    } else if (mayRead && (!maySend || raster_.inputWaits())) {
      readLine();
      ++read;
    } else if (mayRead) {
      waitForInputOrRoom();
    } else {
      waitInJob(sink_.hasRoom);
    }
  }
  raster_.dropRestOfPage();
}

void PageReader::readLine() {
  const auto line = lines_.next();
  raster_.readLine(format_, line);
  if (jobsetting->mirror == MIRROR_BY_FILTER) {
    const auto lastPixel = static_cast<std::int32_t>(line.size() - geometry_.bytesPerPixel);
    implement_mirorr_on(line.data(), 0, lastPixel, geometry_.bytesPerPixel);
  }
  lines_.push();
}

void PageReader::sendBlock(std::uint32_t firstLine) {
  for (std::uint32_t slot = 0; slot < LINES_PER_BLOCK; ++slot) lines_.pop(block_.imageRow(slot));
  block_.setFirstLine(firstLine);
  sink_.send(block_.bytes());
}

void PageReader::waitForInputOrRoom() {
  waitInJob([this] { return sink_.hasRoom() || raster_.inputWaits(); }, RasterStream::sleepUntilInput);
}

}  // namespace kesto
