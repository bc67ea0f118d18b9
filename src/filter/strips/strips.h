// Strips: line blocks become Wicket bands, and up to 32 bands become one PCL XL image strip.
//
// Image thread only. It writes through hdcWrite while it holds a line block, the job thread only while it holds none.
#pragma once

#include <cstdint>
#include <vector>

#include "codec/huffman.h"
#include "codec/wicket.h"
#include "filter/strips/tagplane.h"
#include "filter/strips/whitebands.h"

namespace kesto {

inline constexpr std::uint32_t BANDS_PER_STRIP = 32;

/// The bands of the strip being gathered. Image thread only.
struct BandCache {
  std::uint32_t firstLine = 0;           ///< of the page, where the first band begins
  std::uint32_t width = 0;               ///< pixels of the first band's lines
  std::vector<std::uint8_t> wicketData;  ///< the bands' streams, end to end
  TagPlane tags;                         ///< the bands' tag rows, end to end
  std::vector<std::uint8_t> blockMap;    ///< work space of one band
  std::vector<std::uint8_t> bandStream;  ///< work space of one band
  WhiteBands whiteBands;                 ///< outlive their strip

  /// Forgets the gathered bands.
  void clear();
};
extern BandCache gCacheBands;

/// Index in gCacheBands of the next band, 0 to 31. Image thread only.
extern std::uint32_t gCacheBandIndex;

/// Compresses one band of 8 lines and sends the strip when it is complete, that is with its 32nd band or with the
/// page's last one (`lastBand`). `width` is in pixels, `pixelCount` is 8 x `width`. A colour job uses the planes `y`,
/// `cb` and `cr`, a grey one `imageRows`; `tagRows` holds a byte per pixel. Throws std::bad_alloc. Image thread.
void compress_and_send(WicketSettings* settings, WicketCoder* coder, std::uint32_t firstLine, std::uint32_t width,
                       std::uint32_t pixelCount, const std::uint8_t* y, const std::uint8_t* cb, const std::uint8_t* cr,
                       const std::uint8_t* imageRows, const std::uint8_t* tagRows, std::uint8_t lastBand);

}  // namespace kesto
