// A page on its sheet: the rows of its image come in, the rows of the reduced sheet go out.
//
// The sheet is white; the image lies on it from its origin on, and what would lie beyond the sheet's edge is cut off.
// Reducing takes the mean of the pixels that come to lie on one. One row of sums is held, never the sheet.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace kesto::job {

/// A sheet in pixels as the image's rows come in, and how many of them make one that goes out.
struct SheetGeometry {
  unsigned width = 0, height = 0;
  unsigned originX = 0, originY = 0;
  unsigned reduction = 1;
  unsigned channels = 1;

  [[nodiscard]] unsigned reducedWidth() const { return (width + reduction - 1) / reduction; }
  [[nodiscard]] unsigned reducedHeight() const { return (height + reduction - 1) / reduction; }
};

/// Takes a row of the reduced sheet.
using RowSink = std::function<void(std::span<const std::uint8_t>)>;

class SheetPainter {
 public:
  SheetPainter(const SheetGeometry& geometry, RowSink sink);

  /// The next row of the image.
  void row(std::span<const std::uint8_t> pixels);
  /// The rest of the sheet is white.
  void finish();

 private:
  void whiteRow();
  void addRow();
  void sendReduced(unsigned rows);

  SheetGeometry geometry_;
  RowSink sink_;
  std::vector<std::uint8_t> line_;   // of the sheet
  std::vector<std::uint32_t> sums_;  // of the lines since the last one sent
  std::vector<std::uint8_t> reduced_;
  unsigned lines_ = 0;  // of the sheet so far
};

}  // namespace kesto::job
