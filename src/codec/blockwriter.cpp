#include "codec/blockwriter.h"

#include "codec/quantize.h"

namespace kesto {
namespace {

/// The quantiser select of a map byte: 1 for the flat quantiser.
constexpr std::uint8_t selectOf(std::uint8_t mapByte) {
  return (mapByte & MAP_FLAT) != 0 ? 1 : 0;
}

}  // namespace

BlockWriter::BlockWriter(std::uint8_t firstMapByte, std::uint8_t* output, std::int32_t capacity,
                         WicketSettings* settings, WicketCoder* coder)
    : settings_(settings), coder_(coder), select_(selectOf(firstMapByte) == 0 ? 1 : 0) {
  keep(outputBuffer(output, static_cast<std::uint32_t>(capacity), coder_));
}

void BlockWriter::beginBlock(std::uint8_t mapByte) {
  restartIfDue();
  ++settings_->restartMcuCount;
  const std::uint8_t select = selectOf(mapByte);
  if (select == select_) return;
  select_ = select;
  if (settings_->firstBand != 0) {
    keep(settings_->padQMarker != 0 ? quantizationTableMarkerPad(select, coder_)
                                    : quantizationTableMarker(select, coder_));
  }
  settings_->dcPredictor.fill(0);
}

void BlockWriter::restartIfDue() {
  if (settings_->restartInterval <= 0 || settings_->restartMcuCount != settings_->restartInterval) return;
  keep(restartMarker(coder_));
  settings_->restartMcuCount = 0;
  settings_->dcPredictor.fill(0);
}

void BlockWriter::writeBlock(const Plane& plane, std::int32_t row, std::int32_t column) {
  const std::size_t line = static_cast<std::size_t>(row) * BLOCK_SIDE;
  const std::int32_t* block = plane.coefficients + line * plane.width + static_cast<std::size_t>(column) * BLOCK_SIDE;
  writeDC(block[0], plane);
  writeAC(block, settings_->planarZigZag[plane.index], plane.isChroma());
}

std::int32_t BlockWriter::finish() {
  std::uint32_t length = 0;
  keep(finishEncoding(&length, coder_));
  return static_cast<std::int32_t>(length);
}

void BlockWriter::keep(std::int32_t status) {
  if (status_ == CODEC_OK) status_ = status;
}

void BlockWriter::writeDC(std::int32_t dc, const Plane& plane) {
  std::int32_t difference = dc;
  if (settings_->useDeltaDC != 0) {
    difference -= settings_->dcPredictor[plane.index];
    settings_->dcPredictor[plane.index] = dc;
  }
  keep(dcSymbol(difference, plane.isChroma(), coder_));
}

void BlockWriter::writeAC(const std::int32_t* block, const std::array<std::int32_t, BLOCK_SIZE>& scan, bool isChroma) {
  std::uint32_t run = 0;
  for (std::size_t k = 1; k < BLOCK_SIZE; ++k) {
    const std::int32_t value = block[scan[k]];
    if (value == 0) {
      ++run;
      continue;
    }
    for (; run > 15; run -= 16) keep(zrlSymbol(isChroma, coder_));
    keep(acSymbol(run, value, isChroma, coder_));
    run = 0;
  }
  if (run > 0) keep(eobSymbol(isChroma, coder_));
}

}  // namespace kesto
