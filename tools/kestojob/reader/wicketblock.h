// A strip's image data, read band by band.
//
//   strip := select band marker band marker ...        one marker behind every band, the last one included
//   select := FF 2B | FF 2C                            at the strip's start only
//   marker := FF D0 ... FF D7                          numbered by the band's index in the strip modulo 8
//
// One thread uses a reader. Only one band is held, whatever length the strip announces.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "kestojob/reader/bytesource.h"

namespace kesto::job {

/// The data of one band, without the marker behind them.
struct BandData {
  std::uint64_t offset = 0;  ///< of the first byte in the job
  std::span<const std::uint8_t> bytes;
};

class WicketBlockReader {
 public:
  /// `longest` bounds what a band may have.
  WicketBlockReader(BlockReader& block, std::size_t longest) : block_(block), longest_(longest) {}

  /// Reads the quantiser-select marker that opens the strip. True when it selects the scaled quantisers.
  [[nodiscard]] bool readSelect();
  /// Reads the next band and its restart marker. The bytes stay valid until the next call.
  [[nodiscard]] BandData readBand();
  /// Judges that nothing follows the last band.
  void finish() const;

 private:
  std::uint8_t readToMarker();

  BlockReader& block_;
  std::size_t longest_;
  std::vector<std::uint8_t> band_;
  std::uint64_t markerOffset_ = 0;
  unsigned index_ = 0;
};

}  // namespace kesto::job
