#include "kestojob/contactsheet.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <system_error>

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

ContactSheet::ContactSheet() : file_(std::tmpfile()) {
  if (file_ == nullptr) failTemporary();
}

void ContactSheet::beginPage(unsigned width, unsigned height, unsigned channels) {
  width_ = width;
  height_ = height;
  channels_ = channels;
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
  sizes_.push_back(static_cast<std::uint32_t>(size));
  offsets_.push_back(end_);
  end_ += size;
}

std::vector<std::uint8_t> ContactSheet::load(std::size_t page) {
  std::vector<std::uint8_t> compressed(sizes_[page]);
  std::vector<std::uint8_t> pixels(std::size_t{width_} * height_ * channels_);
  uLongf size = static_cast<uLongf>(pixels.size());
  errno = 0;
  if (fseeko(file_.get(), static_cast<off_t>(offsets_[page]), SEEK_SET) != 0 ||
      std::fread(compressed.data(), 1, compressed.size(), file_.get()) != compressed.size() ||
      uncompress(pixels.data(), &size, compressed.data(), static_cast<uLong>(compressed.size())) != Z_OK) {
    failTemporary();
  }
  return pixels;
}

void ContactSheet::drawTile(std::vector<std::uint8_t>& picture, std::size_t pictureWidth, std::size_t page,
                            std::size_t column) {
  const std::size_t left = GAP + column * (width_ + 2 * FRAME + GAP);
  const auto fill = [&](std::size_t x, std::size_t y, std::size_t count, std::uint8_t grey) {
    std::fill_n(picture.begin() + static_cast<std::ptrdiff_t>((y * pictureWidth + x) * channels_), count * channels_,
                grey);
  };
  for (std::size_t y = 0; y < height_ + 2 * FRAME; ++y) fill(left, y, width_ + 2 * FRAME, FRAME_GREY);
  const std::vector<std::uint8_t> pixels = load(page);
  const std::size_t rowBytes = std::size_t{width_} * channels_;
  for (std::size_t y = 0; y < height_; ++y) {
    const auto row = pixels.begin() + static_cast<std::ptrdiff_t>(y * rowBytes);
    const std::size_t target = ((y + FRAME) * pictureWidth + left + FRAME) * channels_;
    std::copy_n(row, rowBytes, picture.begin() + static_cast<std::ptrdiff_t>(target));
  }
  const std::uint64_t number = page + 1;
  const std::size_t tile = width_ + 2 * FRAME;
  const std::size_t numberLeft = left + (tile > numberWidth(number) ? (tile - numberWidth(number)) / 2 : 0);
  drawNumber(number, [&](unsigned x, unsigned y) {
    if (numberLeft + x < pictureWidth) fill(numberLeft + x, height_ + 2 * FRAME + LABEL_TOP + y, 1, INK);
  });
}

void ContactSheet::write(const std::string& path) {
  const std::size_t pages = sizes_.size();
  const std::size_t columns = columnsFor(pages);
  const std::size_t lines = (pages + columns - 1) / columns;
  const std::size_t tileHeight = height_ + 2 * FRAME + LABEL;
  const std::size_t width = GAP + columns * (width_ + 2 * FRAME + GAP);
  const std::size_t height = GAP + lines * tileHeight + GAP / 2;
  constexpr std::size_t LONGEST_SIDE = 0x7FFFFFFF;  // of a PNG picture
  if (width > LONGEST_SIDE || height > LONGEST_SIDE) throw FileError(path + ": the job has too many pages for a sheet");

  PngWriter png(path, static_cast<unsigned>(width), static_cast<unsigned>(height), channels_);
  const std::vector<std::uint8_t> empty(width * channels_, BACKGROUND);
  for (std::size_t y = 0; y < GAP; ++y) png.row(empty);
  std::vector<std::uint8_t> picture;  // a line of pages
  for (std::size_t line = 0; line < lines; ++line) {
    picture.assign(empty.size() * tileHeight, BACKGROUND);
    for (std::size_t column = 0; column < columns && line * columns + column < pages; ++column) {
      drawTile(picture, width, line * columns + column, column);
    }
    for (std::size_t y = 0; y < tileHeight; ++y) png.row(std::span(picture).subspan(y * empty.size(), empty.size()));
  }
  for (std::size_t y = 0; y < GAP / 2; ++y) png.row(empty);
  png.finish();
}

}  // namespace kesto::job
