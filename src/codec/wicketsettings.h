// The settings of the Wicket codec and the state that runs through the planes of a band.
//
// `setWicket` gives the defaults (Q factor 80, 4:2:2, DC differences); `reinitialize` gives them again for the next
// band and leaves what belongs to the strip. A settings record belongs to one thread at a time, together with the
// coder that it is used with.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "codec/codecstatus.h"
#include "codec/downsample.h"
#include "codec/huffman.h"
#include "codec/t81tables.h"

namespace kesto {

inline constexpr std::size_t PLANE_COUNT = 3;  // 0 is Y, 1 is Cb, 2 is Cr
inline constexpr std::int32_t DEFAULT_Q_FACTOR = 80;

/// What the scan table of a plane was built for. Zeros are no plane, so that a fresh record builds its tables.
struct ZigZagCache {
  std::array<std::uint32_t, PLANE_COUNT> planeWidth{};
  std::array<std::uint32_t, PLANE_COUNT> horizontalKey{};
  std::array<std::uint32_t, PLANE_COUNT> verticalKey{};
};

struct WicketSettings {
  /// Per plane and zigzag position: the distance of that coefficient from its block's first one, in a raster plane.
  std::array<std::array<std::int32_t, BLOCK_SIZE>, PLANE_COUNT> planarZigZag{};
  std::array<std::int32_t, PLANE_COUNT> dcPredictor{};  // the last DC value coded
  std::int32_t restartInterval = 0;                     // in luma blocks; 0 or less: no restart markers
  std::int32_t restartMcuCount = 0;                     // blocks since the last restart marker
  std::uint32_t sampleType = 0;
  std::uint32_t segmentNumber = 0;     // reading: segments found so far
  std::uint32_t segmentBytesLeft = 0;  // reading: bytes of the stream not looked at yet
  std::int32_t initStatus = 0;         // of the coder; plane drivers refuse while it is not 0
  std::uint8_t padQMarker = 0;         // write quantiser markers in their padded form
  std::uint8_t useDeltaDC = 0;         // code DC values as differences
  std::uint8_t dumpPlanes = 0;         // kept for callers that set it; nothing is dumped
  ZigZagCache zigzagCache{};
  std::array<std::int32_t, BLOCK_SIZE> lumaQuant{};  // natural order, times 8
  std::array<std::int32_t, BLOCK_SIZE> chromaQuant{};
  std::uint32_t lumaQFactor = 0;
  std::uint32_t chromaQFactor = 0;
  std::uint32_t quantScale = 0;                  // 8; the flat quantiser
  std::uint32_t secondScale = 0;                 // 8; goes with the chroma table
  const std::uint8_t* streamPosition = nullptr;  // reading: the byte after the last segment's marker
  std::uint8_t firstBand = 0;                    // 1: this band may write quantiser markers
};

/// Resets the settings to their defaults and remembers `*status`, the result of `initialize` on the coder. Byte
/// stuffing is switched on in the coder when that is 0. A null status counts as CODEC_NULL_POINTER.
void setWicket(WicketSettings* settings, WicketCoder* coder, const std::int32_t* status);

/// Gives the defaults for another band: as setWicket, but a coder that had failed to initialise is initialised
/// again. The DC predictors, the scan tables and firstBand stay.
void reinitialize(WicketSettings* settings, WicketCoder* coder);

/// Sets the spacing of restart markers in luma blocks, and returns the previous one. 0 or less writes none.
std::int32_t setRestartInterval(std::int32_t interval, WicketSettings* settings);
[[nodiscard]] std::int32_t queryRestartInterval(const WicketSettings* settings);
void clearRestartMcuCount(WicketSettings* settings);

/// Sets the sample type to 0x444, 0x422 or 0x420 and returns 0; any other value sets 0x444 and returns
/// CODEC_UNSUPPORTED.
std::int32_t setSampleType(std::uint32_t type, WicketSettings* settings);
[[nodiscard]] std::uint32_t querySampleType(const WicketSettings* settings);

/// Scale the quantisation tables for one Q factor or for one each, 1 to 100. Return 0, or CODEC_UNSUPPORTED with
/// nothing changed.
std::int32_t setQFactor(std::int32_t q, WicketSettings* settings);
std::int32_t setQFactor2(std::int32_t qLuma, std::int32_t qChroma, WicketSettings* settings);

/// The Q factor, or luma x 256 + chroma when the two differ.
[[nodiscard]] std::uint32_t queryQFactor(const WicketSettings* settings);

/// Set and clear a flag, returning what it was; query it.
std::uint8_t setPadQMarker(WicketSettings* settings);
std::uint8_t clearPadQMarker(WicketSettings* settings);
[[nodiscard]] std::uint8_t queryPadQMarker(const WicketSettings* settings);
std::uint8_t setUseDeltaDC(WicketSettings* settings);
std::uint8_t clearUseDeltaDC(WicketSettings* settings);
[[nodiscard]] std::uint8_t queryUseDeltaDC(const WicketSettings* settings);
std::uint8_t setDumpPlanes(WicketSettings* settings);
std::uint8_t clearDumpPlanes(WicketSettings* settings);
[[nodiscard]] std::uint8_t queryDumpPlanes(const WicketSettings* settings);

/// The same for the coder's byte stuffing.
std::uint8_t wicketSetByteStuffing(WicketCoder* coder);
std::uint8_t wicketClearByteStuffing(WicketCoder* coder);
[[nodiscard]] std::uint8_t wicketQueryByteStuffing(const WicketCoder* coder);

/// Where the coefficient at zigzag position `k` lies behind its block's first one, in a plane of `planeWidth` samples
/// per line.
[[nodiscard]] constexpr std::int32_t scanOffset(std::size_t k, std::int32_t planeWidth) {
  const std::int32_t natural = s_aiZigZagSequence[k];
  return natural / 8 * (planeWidth - 8) + natural;
}

/// Builds the scan table of plane 0 to 2 for planes of `planeWidth` samples per line, unless it stands already. Other
/// plane numbers change nothing. The sampling factors are not used: the width is the plane's own.
void wicketSetPlanarZigZag(std::uint32_t plane, std::uint32_t planeWidth, std::uint32_t horizontal,
                           std::uint32_t vertical, WicketSettings* settings);

/// Builds the scan table of plane 0 to 2 from the width of the full image, which the horizontal sampling factor
/// divides. A factor of 0 or another plane number changes nothing.
void setPlanarZigZag(std::uint32_t plane, std::uint32_t width, std::uint32_t horizontal, std::uint32_t vertical,
                     WicketSettings* settings);

}  // namespace kesto
