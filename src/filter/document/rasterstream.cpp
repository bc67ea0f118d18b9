#include "filter/document/rasterstream.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include <unistd.h>

#include "base/cancellimits.h"
#include "base/descriptor.h"
#include "filter/cancel.h"
#include "filter/joberror.h"
#include "jobsettings/rasterword.h"

namespace kesto {
namespace {

using std::chrono::milliseconds;

/// The highest page whose last strip still begins at a signed 16-bit Point.
constexpr unsigned MAX_HEIGHT = 32768;

/// How much of the input is read at a time. Many lines for one system call, and little enough to stay in a processor's
/// cache until the lines are taken.
constexpr std::size_t INPUT_BYTES = std::size_t{128} * 1024;

/// A renderer that has ended can leave a process of its own that keeps the pipe open without writing.
constexpr milliseconds ORPHAN_SILENCE{300};

/// Terminates a text field of a header.
template <std::size_t N>
void terminate(char (&text)[N]) {
  text[N - 1] = '\0';
}

/// Fills in what a first header may leave open.
void applyDefaults(cups_page_header2_t& header) {
  if (header.cupsBitsPerPixel == 0)
    header.cupsBitsPerPixel = rasterWord(header.cupsColorSpace) != CUPS_CSPACE_W ? 24 : 8;
  header.cupsBitsPerColor = 8;
}

/// Why a header is unusable, or empty. Checks every number from which memory or positions are computed.
std::string findFault(const cups_page_header2_t& header) {
  if (header.cupsWidth == 0 || header.cupsHeight == 0 || header.cupsWidth > MAX_PIXEL_WIDTH ||
      header.cupsHeight > MAX_HEIGHT) {
    return "a page of " + std::to_string(header.cupsWidth) + " x " + std::to_string(header.cupsHeight) +
           " pixels cannot be printed";
  }
  if (rasterWord(header.cupsColorOrder) != CUPS_ORDER_CHUNKED ||
      findRasterFormat(rasterWord(header.cupsColorSpace), header.cupsBitsPerPixel) == nullptr) {
    return "pixels of " + std::to_string(header.cupsBitsPerPixel) + " bits in colour space " +
           std::to_string(rasterWord(header.cupsColorSpace)) + " cannot be printed";
  }
  if (header.cupsBytesPerLine != header.cupsWidth * (header.cupsBitsPerPixel / 8)) {
    return "lines of " + std::to_string(header.cupsBytesPerLine) + " bytes do not hold " +
           std::to_string(header.cupsWidth) + " pixels";
  }
  return {};
}

}  // namespace

RasterStream::RasterStream(const PageSource& source) : source_(source), input_(INPUT_BYTES) {
  errno = 0;
  raster_ = cupsRasterOpenIO(readInput, this, CUPS_RASTER_READ);  // it reads the stream's first word at once
  if (raster_ == nullptr) noteShortage();
}

/// Whether a library call failed for lack of memory, errno having been cleared before: the library has no other way to
/// say so.
void RasterStream::noteShortage() {
  if (errno == ENOMEM && error_ == 0) error_ = ENOMEM;
}

void RasterStream::close() {
  if (raster_ != nullptr) cupsRasterClose(raster_);
  raster_ = nullptr;
  ::close(STDIN_FILENO);
}

bool RasterStream::readHeader() {
  cups_page_header2_t next = {};
  if (raster_ == nullptr || ended_) return false;
  linesLeft_ = 0;
  headerBytes_ = 0;
  errno = 0;
  if (cupsRasterReadHeader2(raster_, &next) == 0) {
    noteShortage();
    // The library read a whole header and refused it.
    if (error_ == 0 && headerBytes_ >= sizeof next) fault_ = "its page header is damaged";
    if (headerBytes_ > 0) endedEarly_ = true;
    return false;
  }
  if (std::exchange(first_, false)) applyDefaults(next);
  fault_ = findFault(next);
  if (!fault_.empty()) return false;

  terminate(next.MediaClass);
  terminate(next.MediaColor);
  terminate(next.MediaType);
  terminate(next.OutputType);
  header_ = next;
  format_ = findRasterFormat(rasterWord(header_.cupsColorSpace), header_.cupsBitsPerPixel);
  linesLeft_ = header_.cupsHeight;
  rasterLine_.resize(header_.cupsBytesPerLine);
  return true;
}

bool RasterStream::readRasterLine(std::uint8_t* line) {
  if (linesLeft_ == 0 || ended_) return false;
  errno = 0;
  const unsigned got = cupsRasterReadPixels(raster_, line, header_.cupsBytesPerLine);
  if (got == header_.cupsBytesPerLine) {
    --linesLeft_;
    return true;
  }
  noteShortage();
  ended_ = true;
  endedEarly_ = true;
  return false;
}

void RasterStream::readLine(PixelFormat format, std::span<std::uint8_t> line) {
  // Pixels that need no conversion are read straight into place, if the line has room for all of them.
  std::size_t pixelBytes = 0;
  if (isStoredAs(*format_, format) && header_.cupsBytesPerLine <= line.size()) {
    if (readRasterLine(line.data())) pixelBytes = header_.cupsBytesPerLine;
  } else if (readRasterLine(rasterLine_.data())) {
    convertPixels(*format_, rasterLine_, format, line);
    return;
  }
  std::ranges::fill(line.subspan(pixelBytes), std::uint8_t{0xFF});
}

bool RasterStream::inputWaits() {
  if (linesLeft_ == 0 || ended_ || !unread_.empty()) return true;
  const ssize_t got = ::read(STDIN_FILENO, input_.data(), input_.size());
  if (got < 0 && (errno == EAGAIN || errno == EINTR)) return false;
  noteInput(got);
  return true;
}

/// After a read of standard input with the result `got`.
void RasterStream::noteInput(ssize_t got) {
  if (got < 0) error_ = errno;
  if (got > 0) unread_ = std::span(input_).first(static_cast<std::size_t>(got));
}

void RasterStream::sleepUntilInput(milliseconds time) {
  waitForInput(STDIN_FILENO, time);
}

void RasterStream::dropRestOfPage() {
  while (readRasterLine(rasterLine_.data())) {
  }
}

ssize_t RasterStream::readInput(void* self, unsigned char* bytes, std::size_t count) {
  auto* stream = static_cast<RasterStream*>(self);
  if (stream->nothingMoreComes(milliseconds{0})) return 0;
  if (stream->unread_.empty()) {
    const ssize_t got = stream->fillInput();
    if (got <= 0) return got;
  }
  const auto taken = stream->unread_.first(std::min(count, stream->unread_.size()));
  std::memcpy(bytes, taken.data(), taken.size());
  stream->unread_ = stream->unread_.subspan(taken.size());
  stream->headerBytes_ += taken.size();
  return static_cast<ssize_t>(taken.size());
}

ssize_t RasterStream::fillInput() {
  ssize_t got = -1;
  if (error_ == 0) {
    got = readWhenReady(STDIN_FILENO, input_.data(), input_.size(),
                        [this](milliseconds silence) { return nothingMoreComes(silence); });
    noteInput(got);
  }
  if (got <= 0) ended_ = true;
  return got;
}

bool RasterStream::nothingMoreComes(milliseconds silence) {
  // When the printer or its cable has failed, there is nobody to render for.
  if (threadsFailed()) return true;
  if (isCancelled()) {
    if (linesLeft_ == 0) return true;  // no page has begun
    return std::min(silence, timeSinceCancel()) >= CANCEL_SILENCE || timeSinceCancel() >= CANCEL_PAGE_TIME;
  }
  return silence >= ORPHAN_SILENCE && source_.ended();
}

}  // namespace kesto
