#include "kestojob/reader/wicketblock.h"

#include <algorithm>

#include "kestojob/reader/fault.h"
#include "kestojob/reader/text.h"

namespace kesto::job {
namespace {

constexpr std::uint8_t MARKER = 0xFF;
constexpr std::uint8_t STUFFED = 0x00;
constexpr std::uint8_t SELECT_FLAT = 0x2B;
constexpr std::uint8_t SELECT_SCALED = 0x2C;
constexpr std::uint8_t RESTART_0 = 0xD0;

}  // namespace

bool WicketBlockReader::readSelect() {
  const std::uint64_t offset = block_.offset();
  const std::uint8_t first = block_.byte("its quantiser-select marker");
  const std::uint8_t second = block_.byte("its quantiser-select marker");
  if (first != MARKER || (second != SELECT_FLAT && second != SELECT_SCALED)) {
    throw Fault(offset, "The strip's image data do not begin with a quantiser-select marker.");
  }
  return second == SELECT_SCALED;
}

std::uint8_t WicketBlockReader::readToMarker() {
  band_.clear();
  while (true) {
    const auto bytes = block_.available("a band");
    const auto end = std::ranges::find(bytes, MARKER);
    band_.insert(band_.end(), bytes.begin(), end);
    if (band_.size() > longest_) throw Fault(block_.offset(), "The data of a band are longer than any band's.");
    block_.advance(static_cast<std::size_t>(end - bytes.begin()));
    if (end == bytes.end()) continue;
    markerOffset_ = block_.offset();
    block_.advance(1);
    const std::uint8_t code = block_.byte("a marker");
    if (code != STUFFED) return code;
    band_.insert(band_.end(), {MARKER, STUFFED});
  }
}

BandData WicketBlockReader::readBand() {
  const std::uint64_t offset = block_.offset();
  const std::uint8_t code = readToMarker();
  const auto expected = static_cast<std::uint8_t>(RESTART_0 + index_ % 8);
  if (code != expected) {
    throw Fault(markerOffset_, "The marker " + hexByte(code) + " stands where the restart marker " + hexByte(expected) +
                                   " of band " + std::to_string(index_ + 1) + " belongs.");
  }
  ++index_;
  return {offset, band_};
}

void WicketBlockReader::finish() const {
  if (block_.left() == 0) return;
  throw Fault(block_.offset(), "The strip's image data go on behind its last band.");
}

}  // namespace kesto::job
