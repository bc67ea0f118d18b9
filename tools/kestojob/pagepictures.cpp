#include "kestojob/pagepictures.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <system_error>
#include <utility>

#include "kestojob/reader/fault.h"
#include "kestojob/reader/text.h"

namespace kesto::job {
namespace {

/// Pages on a contact sheet are no larger.
constexpr unsigned WIDEST_TILE = 480;
constexpr unsigned HIGHEST_TILE = 960;

/// More pixels of a sheet are not worth the wait; a legal sheet at 1200 dpi has 171 million.
constexpr double LARGEST_SHEET = 536870912;

/// The largest reduction: sums of so many squared white pixels still fit 32 bits.
constexpr unsigned LARGEST_REDUCTION = 4096;

/// Colours of the tags 4, 1, 2 and 3, by their 2-bit codes.
constexpr std::array<std::array<std::uint8_t, 3>, 4> TAG_COLORS = {{
    {0xF2, 0xC9, 0x4C},
    {0xD6, 0x45, 0x41},
    {0x3A, 0x9D, 0x5D},
    {0x8F, 0xB8, 0xE8},
}};

unsigned divided(unsigned value, unsigned divisor) {
  return (value + divisor - 1) / divisor;
}

/// What the decoder can reduce by on the way to this scale. Without a scale, only a small contact sheet is wanted.
unsigned decoderDivisor(const PictureChoices& choices) {
  unsigned divisor = 8;
  const unsigned scale = choices.scale.value_or(choices.folder.empty() ? divisor : 1);
  while (scale % divisor != 0) divisor /= 2;
  return divisor;
}

void makeFolder(const std::string& folder) {
  std::error_code error;
  std::filesystem::create_directories(folder, error);
  if (!std::filesystem::is_directory(folder)) {
    throw FileError(folder + ": " + (error ? error : std::make_error_code(std::errc::not_a_directory)).message());
  }
}

std::string pagePath(const std::string& folder, std::uint64_t page) {
  std::array<char, 40> name{};
  std::snprintf(name.data(), name.size(), "page-%04llu.png", static_cast<unsigned long long>(page));
  return folder + '/' + name.data();
}

}  // namespace

PagePictures::PagePictures(const PictureChoices& choices, std::function<void(std::uint64_t)> step)
    : choices_(choices),
      step_(std::move(step)),
      imageDivisor_(choices.tags ? 8 : decoderDivisor(choices)),
      divisor_(choices.tags ? 1 : imageDivisor_) {
  if (!choices_.folder.empty()) makeFolder(choices_.folder);
  if (choices_.sheet.empty()) return;
  sheetFile_ = std::make_unique<OutputFile>(choices_.sheet);
  sheet_.emplace();
}

SheetGeometry PagePictures::geometryOf(const PageLayout& layout) const {
  const double width = std::ceil(std::max(1.0, std::round(layout.sheet.width * layout.unitsPerInch)) / divisor_);
  const double height = std::ceil(std::max(1.0, std::round(layout.sheet.height * layout.unitsPerInch)) / divisor_);
  if (width * height > LARGEST_SHEET) {
    throw FileError("page " + std::to_string(page_) + ": a sheet of " + decimal(width, 0) + " x " + decimal(height, 0) +
                    " pixels is too large to draw");
  }
  SheetGeometry geometry;
  geometry.width = static_cast<unsigned>(width);
  geometry.height = static_cast<unsigned>(height);
  geometry.originX = (static_cast<unsigned>(layout.originX) + divisor_ / 2) / divisor_;
  geometry.originY = (static_cast<unsigned>(layout.originY) + divisor_ / 2) / divisor_;
  geometry.channels = layout.color || choices_.tags ? 3 : 1;
  return geometry;
}

void PagePictures::beginPage(const PageLayout& layout) {
  ++page_;
  step_(page_);
  painters_.clear();
  if (!choices_.pages.has(page_)) return;
  SheetGeometry geometry = geometryOf(layout);
  geometry.reduction = std::max(choices_.scale.value_or(1) / divisor_, 1U);
  if (!choices_.folder.empty()) {
    file_ = std::make_unique<PngWriter>(std::make_unique<OutputFile>(pagePath(choices_.folder, page_)),
                                        geometry.reducedWidth(), geometry.reducedHeight(), geometry.channels);
    painters_.emplace_back(geometry, [this](std::span<const std::uint8_t> row) { file_->row(row); });
  }
  if (sheet_) {
    geometry.reduction =
        std::max({geometry.reduction, divided(geometry.width, WIDEST_TILE), divided(geometry.height, HIGHEST_TILE)});
    geometry.reduction = std::min(geometry.reduction, LARGEST_REDUCTION);
    sheet_->beginPage(page_, geometry.reducedWidth(), geometry.reducedHeight(), geometry.channels);
    painters_.emplace_back(geometry, [this](std::span<const std::uint8_t> row) { sheet_->row(row); });
  }
  painting_ = drawn_ = true;
}

void PagePictures::beginStrip(const StripShape& strip) {
  if (!choices_.tags) return;
  tagRow_.resize(std::size_t{strip.width} * 3);
  tagsInRow_ = 0;
}

void PagePictures::paint(std::span<const std::uint8_t> row) {
  for (SheetPainter& painter : painters_) painter.row(row);
}

void PagePictures::rows(std::span<const std::uint8_t> pixels, std::size_t rowBytes) {
  step_(page_);
  if (choices_.tags) return;
  for (; pixels.size() >= rowBytes; pixels = pixels.subspan(rowBytes)) paint(pixels.first(rowBytes));
}

void PagePictures::tags(std::uint8_t packed, std::uint64_t count) {
  if (!choices_.tags || !painting_) return;
  for (; count > 0; --count) {
    for (int pixel = 0; pixel < 4; ++pixel) {
      std::ranges::copy(TAG_COLORS[packed >> (2 * pixel) & 3],
                        tagRow_.begin() + static_cast<std::ptrdiff_t>(tagsInRow_));
      tagsInRow_ += 3;
    }
    if (tagsInRow_ < tagRow_.size()) continue;
    paint(tagRow_);
    tagsInRow_ = 0;
  }
}

void PagePictures::endPage() {
  if (!painting_) return;
  painting_ = false;
  for (SheetPainter& painter : painters_) painter.finish();
  if (file_) file_->finish();
  file_.reset();
  if (sheet_) sheet_->endPage();
}

void PagePictures::finish(bool allGood) {
  if (!drawn_ && !choices_.pages.areAll()) {
    throw FileError("none of the chosen pages is among its " + counted(page_, "page"));
  }
  if (sheet_ && (drawn_ || allGood)) sheet_->write(std::move(sheetFile_), choices_.sheet);
}

}  // namespace kesto::job
