#include "kestojob/contactsheet.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <system_error>
#include <utility>

#include <zlib.h>

#include "kestojob/digits.h"
#include "kestojob/pngwriter.h"
#include "kestojob/reader/fault.h"

namespace kesto::job {
namespace {

constexpr std::size_t GAP = 16;    // between pages, and around them
constexpr std::size_t FRAME = 1;   // around a page
constexpr std::size_t LABEL = 26;  // below a page, for its number
constexpr std::size_t LABEL_TOP = 6;
constexpr std::uint8_t BACKGROUND = 0xD8, FRAME_GREY = 0x80, INK = 0x30;

[[noreturn]] void failTemporary() {
  throw FileError("a temporary file: " + std::generic_category().message(errno == 0 ? EIO : errno));
}

/// As many columns as make the sheet about as wide as a screen.
std::size_t columnsFor(std::size_t pages) {
  const auto wanted = static_cast<std::size_t>(std::ceil(std::sqrt(1.6 * static_cast<double>(pages))));
  return std::clamp<std::size_t>(wanted, 1, std::max<std::size_t>(pages, 1));
}

}  // namespace

/// A line of pages: all cells are as large as the largest page. Greys are drawn in colours where one page has them.
struct ContactSheet::Canvas {
  std::size_t cellWidth = 0, cellHeight = 0;  // the frame included
  std::size_t width = 0;                      // in pixels
  std::size_t channels = 1;
  std::vector<std::uint8_t> pixels{};

  [[nodiscard]] std::size_t rowBytes() const { return width * channels; }
  void fill(std::size_t x, std::size_t y, std::size_t count, std::uint8_t grey) {
    const std::size_t first = y * rowBytes() + x * channels;
    std::fill_n(pixels.begin() + static_cast<std::ptrdiff_t>(first), count * channels, grey);
  }
  /// A row of a picture with as many channels or with one.
  void copyRow(std::size_t x, std::size_t y, std::span<const std::uint8_t> row, std::size_t rowChannels) {
    auto out = pixels.begin() + static_cast<std::ptrdiff_t>(y * rowBytes() + x * channels);
    if (rowChannels == channels) {
      std::ranges::copy(row, out);
      return;
    }
    for (const std::uint8_t grey : row) out = std::fill_n(out, channels, grey);
  }
};

ContactSheet::ContactSheet() : file_(std::tmpfile()) {
  if (file_ == nullptr) failTemporary();
}

void ContactSheet::beginPage(std::uint64_t number, unsigned width, unsigned height, unsigned channels) {
  tile_ = {.number = number, .width = width, .height = height, .channels = channels};
  page_.clear();
}

void ContactSheet::row(std::span<const std::uint8_t> pixels) {
  page_.insert(page_.end(), pixels.begin(), pixels.end());
}

void ContactSheet::endPage() {
  uLongf size = compressBound(static_cast<uLong>(page_.size()));
  std::vector<std::uint8_t> compressed(size);
  errno = 0;
  if (compress2(compressed.data(), &size, page_.data(), static_cast<uLong>(page_.size()), Z_BEST_SPEED) != Z_OK ||
      std::fwrite(compressed.data(), 1, size, file_.get()) != size) {
    failTemporary();
  }
  tile_.offset = end_;
  tile_.size = static_cast<std::uint32_t>(size);
  end_ += size;
  tiles_.push_back(tile_);
}

std::vector<std::uint8_t> ContactSheet::load(const Tile& tile) {
  std::vector<std::uint8_t> compressed(tile.size);
  std::vector<std::uint8_t> pixels(std::size_t{tile.width} * tile.height * tile.channels);
  uLongf size = static_cast<uLongf>(pixels.size());
  errno = 0;
  if (fseeko(file_.get(), static_cast<off_t>(tile.offset), SEEK_SET) != 0 ||
      std::fread(compressed.data(), 1, compressed.size(), file_.get()) != compressed.size() ||
      uncompress(pixels.data(), &size, compressed.data(), static_cast<uLong>(compressed.size())) != Z_OK) {
    failTemporary();
  }
  return pixels;
}

void ContactSheet::drawTile(Canvas& canvas, const Tile& tile, std::size_t left) {
  const std::size_t width = tile.width + 2 * FRAME;
  const std::size_t height = tile.height + 2 * FRAME;
  for (std::size_t y = 0; y < height; ++y) canvas.fill(left, y, width, FRAME_GREY);
  const std::vector<std::uint8_t> pixels = load(tile);
  const std::size_t rowBytes = std::size_t{tile.width} * tile.channels;
  for (std::size_t y = 0; y < tile.height; ++y) {
    canvas.copyRow(left + FRAME, y + FRAME, std::span(pixels).subspan(y * rowBytes, rowBytes), tile.channels);
  }
  const std::size_t digits = numberWidth(tile.number);
  const std::size_t numberLeft = left + (width > digits ? (width - digits) / 2 : 0);
  drawNumber(tile.number, [&](unsigned x, unsigned y) {
    if (numberLeft + x < canvas.width) canvas.fill(numberLeft + x, height + LABEL_TOP + y, 1, INK);
  });
}

void ContactSheet::write(std::unique_ptr<OutputFile> file, const std::string& name) {
  const std::size_t columns = columnsFor(tiles_.size());
  const std::size_t lines = (tiles_.size() + columns - 1) / columns;
  Canvas canvas{.cellWidth = 2 * FRAME, .cellHeight = 2 * FRAME};
  for (const Tile& tile : tiles_) {
    canvas.cellWidth = std::max(canvas.cellWidth, tile.width + 2 * FRAME);
    canvas.cellHeight = std::max(canvas.cellHeight, tile.height + 2 * FRAME);
    canvas.channels = std::max<std::size_t>(canvas.channels, tile.channels);
  }
  canvas.width = GAP + columns * (canvas.cellWidth + GAP);
  const std::size_t lineHeight = canvas.cellHeight + LABEL;
  const std::size_t height = GAP + lines * lineHeight + GAP / 2;
  constexpr std::size_t LONGEST_SIDE = 0x7FFFFFFF;  // of a PNG picture
  if (canvas.width > LONGEST_SIDE || height > LONGEST_SIDE) {
    throw FileError(name + ": these are too many pages for a sheet");
  }

  PngWriter png(std::move(file), static_cast<unsigned>(canvas.width), static_cast<unsigned>(height),
                static_cast<unsigned>(canvas.channels));
  const std::vector<std::uint8_t> empty(canvas.rowBytes(), BACKGROUND);
  for (std::size_t y = 0; y < GAP; ++y) png.row(empty);
  for (std::size_t line = 0; line < lines; ++line) {
    canvas.pixels.assign(canvas.rowBytes() * lineHeight, BACKGROUND);
    for (std::size_t column = 0; column < columns && line * columns + column < tiles_.size(); ++column) {
      drawTile(canvas, tiles_[line * columns + column], GAP + column * (canvas.cellWidth + GAP));
    }
    for (std::size_t y = 0; y < lineHeight; ++y) {
      png.row(std::span(canvas.pixels).subspan(y * canvas.rowBytes(), canvas.rowBytes()));
    }
  }
  for (std::size_t y = 0; y < GAP / 2; ++y) png.row(empty);
  png.finish();
}

}  // namespace kesto::job
