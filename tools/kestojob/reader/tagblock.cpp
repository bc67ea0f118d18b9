#include "kestojob/reader/tagblock.h"

#include <algorithm>

#include "kestojob/reader/fault.h"

namespace kesto::job {
namespace {

constexpr std::array<std::uint8_t, 4> PATTERNS = {0x00, 0x55, 0xAA, 0xFF};
constexpr std::array<std::uint64_t, 4> UNITS = {1, 8, 64, 512};
constexpr std::uint8_t RUN = 0x80;

/// Counts what has been decoded and refuses what would be too much.
class Plane {
 public:
  Plane(std::uint64_t packedBytes, const TagRun& run) : left_(packedBytes), run_(run) {}

  void add(std::uint8_t packed, std::uint64_t count, std::uint64_t offset) {
    if (count > left_) throw Fault(offset, "The tag plane has more tags than the strip has pixels.");
    left_ -= count;
    for (int pixel = 0; pixel < 4; ++pixel) counts_[packed >> (2 * pixel) & 3] += count;
    if (run_) run_(packed, count);
  }
  [[nodiscard]] std::uint64_t left() const { return left_; }
  [[nodiscard]] const TagCounts& counts() const { return counts_; }

 private:
  std::uint64_t left_;
  const TagRun& run_;
  TagCounts counts_{};
};

void readRun(std::uint8_t header, Plane& plane, std::uint64_t offset) {
  const std::uint64_t count = ((header & 7U) + 1) * UNITS[header >> 3 & 3];
  plane.add(PATTERNS[header >> 5 & 3], count, offset);
}

void readLiterals(BlockReader& block, std::uint8_t header, Plane& plane) {
  for (unsigned i = 0; i <= header; ++i) {
    const std::uint64_t offset = block.offset();
    plane.add(block.byte("a run of literal tags"), 1, offset);
  }
}

void readLoneByte(BlockReader& block, Plane& plane) {
  const std::uint64_t offset = block.offset();
  const std::uint8_t packed = block.byte("the tag plane");
  if (std::ranges::find(PATTERNS, packed) == PATTERNS.end()) {
    throw Fault(offset, "The lone byte of the tag plane is not four pixels of one tag.");
  }
  plane.add(packed, plane.left(), offset);
}

}  // namespace

TagCounts readTags(BlockReader& block, std::uint64_t packedBytes, const TagRun& run) {
  Plane plane(packedBytes, run);
  if (block.left() == 1) {
    readLoneByte(block, plane);
    return plane.counts();
  }
  while (block.left() > 0) {
    const std::uint64_t offset = block.offset();
    const std::uint8_t header = block.byte("the tag plane");
    if (header >= RUN) {
      readRun(header, plane, offset);
    } else {
      readLiterals(block, header, plane);
    }
  }
  if (plane.left() > 0) throw Fault(block.offset(), "The tag plane has fewer tags than the strip has pixels.");
  return plane.counts();
}

}  // namespace kesto::job
