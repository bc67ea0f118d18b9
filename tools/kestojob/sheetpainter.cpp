#include "kestojob/sheetpainter.h"

#include <algorithm>
#include <utility>

namespace kesto::job {
namespace {

constexpr std::uint8_t WHITE = 0xFF;

}  // namespace

SheetPainter::SheetPainter(const SheetGeometry& geometry, RowSink sink)
    : geometry_(geometry),
      sink_(std::move(sink)),
      line_(std::size_t{geometry.width} * geometry.channels, WHITE),
      sums_(std::size_t{geometry.reducedWidth()} * geometry.channels),
      reduced_(sums_.size()) {}

void SheetPainter::row(std::span<const std::uint8_t> pixels) {
  while (lines_ < std::min(geometry_.originY, geometry_.height)) whiteRow();
  if (lines_ == geometry_.height) return;
  const std::size_t left = std::min(geometry_.originX, geometry_.width) * std::size_t{geometry_.channels};
  const std::size_t count = std::min(pixels.size(), line_.size() - left);
  const auto start = line_.begin() + static_cast<std::ptrdiff_t>(left);
  std::ranges::copy(pixels.first(count), start);
  std::fill(start + static_cast<std::ptrdiff_t>(count), line_.end(), WHITE);
  addRow();
}

void SheetPainter::finish() {
  while (lines_ < geometry_.height) whiteRow();
}

void SheetPainter::whiteRow() {
  std::ranges::fill(line_, WHITE);
  addRow();
}

void SheetPainter::addRow() {
  ++lines_;
  if (geometry_.reduction == 1) return sink_(line_);
  const std::size_t channels = geometry_.channels;
  const std::size_t box = geometry_.reduction * channels;
  for (std::size_t out = 0; out < geometry_.reducedWidth(); ++out) {
    const std::size_t end = std::min((out + 1) * box, line_.size());
    for (std::size_t i = out * box; i < end; i += channels) {
      for (std::size_t c = 0; c < channels; ++c) sums_[out * channels + c] += line_[i + c];
    }
  }
  const unsigned rows = (lines_ - 1) % geometry_.reduction + 1;
  if (rows == geometry_.reduction || lines_ == geometry_.height) sendReduced(rows);
}

void SheetPainter::sendReduced(unsigned rows) {
  for (std::size_t out = 0; out < geometry_.reducedWidth(); ++out) {
    const auto first = static_cast<unsigned>(out) * geometry_.reduction;
    const std::uint32_t count = std::min(geometry_.reduction, geometry_.width - first) * rows;
    for (std::size_t c = 0; c < geometry_.channels; ++c) {
      const std::size_t i = out * geometry_.channels + c;
      reduced_[i] = static_cast<std::uint8_t>((sums_[i] + count / 2) / count);
    }
  }
  std::ranges::fill(sums_, 0U);
  sink_(reduced_);
}

}  // namespace kesto::job
