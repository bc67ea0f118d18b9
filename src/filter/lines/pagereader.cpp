#include "filter/lines/pagereader.h"

#include <algorithm>

#include "filter/joberror.h"
#include "jobsettings/jobsettings.h"

namespace kesto {

PageReader::PageReader(RasterStream& raster, PixelFormat format, const PageGeometry& geometry, BlockTaker& taker)
    : raster_(raster),
      format_(format),
      geometry_(geometry),
      taker_(taker),
      lines_(geometry.bytesPerLine(), STORE_BYTES) {}

void PageReader::readPage() {
  std::uint32_t read = 0;
  std::uint32_t sent = 0;
  while (sent < geometry_.pixelHeight) {
    const bool maySend = lines_.size() >= LINES_PER_BLOCK;
    const bool mayRead = read < geometry_.pixelHeight && lines_.hasRoom();
    // With an empty store, the next lines go straight into a block.
    if ((maySend || read == sent) && taker_.hasRoom()) {
      sendBlock(sent);
      sent += LINES_PER_BLOCK;
      read = std::max(read, sent);
    } else if (mayRead && (!maySend || raster_.inputWaits())) {
      readLine(lines_.next());
      lines_.push();
      ++read;
    } else if (mayRead) {
      waitForInputOrRoom();
    } else {
      waitInJob([this] { return taker_.hasRoom(); });
    }
  }
  raster_.dropRestOfPage();
}

void PageReader::readLine(std::span<std::uint8_t> line) {
  raster_.readLine(format_, line);
  if (jobsetting->mirror != MIRROR_BY_FILTER) return;
  const auto lastPixel = static_cast<std::int32_t>(line.size() - geometry_.bytesPerPixel);
  implement_mirorr_on(line.data(), 0, lastPixel, geometry_.bytesPerPixel);
}

void PageReader::sendBlock(std::uint32_t firstLine) {
  const LineBlock block(taker_.place(), geometry_, firstLine);
  const bool stored = lines_.size() > 0;
  for (std::uint32_t slot = 0; slot < LINES_PER_BLOCK; ++slot) {
    if (stored) {
      lines_.pop(block.imageRow(slot));
    } else {
      readLine(block.imageRow(slot));
    }
  }
  taker_.send(block.bytes());
}

void PageReader::waitForInputOrRoom() {
  waitInJob([this] { return taker_.hasRoom() || raster_.inputWaits(); }, RasterStream::sleepUntilInput);
}

}  // namespace kesto
