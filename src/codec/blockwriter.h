// The walk over the blocks of one stream: markers where they are due, then the symbols of each block.
//
// A writer lives for one stream, a band's or one plane's. It never stops at a write that fails, because the
// interleaved stream goes on without the symbols that cannot be coded; the first failure is kept for the driver.
// It works on the settings and the coder that it is given, and belongs to their thread.
#pragma once

#include <array>
#include <cstdint>

#include "codec/bandplanes.h"
#include "codec/wicketsettings.h"

namespace kesto {

class BlockWriter {
 public:
  /// Begins a stream at `output`, on a byte of its own whatever an earlier stream that failed has left pending.
  /// `firstMapByte` is that of the first block, which always counts as a change of quantiser.
  BlockWriter(std::uint8_t firstMapByte, std::uint8_t* output, std::int32_t capacity, WicketSettings* settings,
              WicketCoder* coder);

  /// What comes before a block that counts for the restart interval: the restart marker that is due, and, when the
  /// map changes its quantiser, fresh predictors and, in the first band of a strip, the quantiser marker.
  void beginBlock(std::uint8_t mapByte);

  /// Writes a restart marker and starts prediction afresh, if the interval is complete.
  void restartIfDue();

  /// Writes the DC difference, the AC symbols and the end of the block at (row, column) of a transformed plane.
  void writeBlock(const Plane& plane, std::int32_t row, std::int32_t column);

  /// Ends the stream and returns its length.
  [[nodiscard]] std::int32_t finish();

  /// 0, or the status of the first write that failed.
  [[nodiscard]] std::int32_t status() const { return status_; }

 private:
  void keep(std::int32_t status);
  void writeDC(std::int32_t dc, const Plane& plane);
  void writeAC(const std::int32_t* block, const std::array<std::int32_t, BLOCK_SIZE>& scan, bool isChroma);

  WicketSettings* settings_;
  WicketCoder* coder_;
  std::uint8_t select_;
  std::int32_t status_ = CODEC_OK;
};

}  // namespace kesto
