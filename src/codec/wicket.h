// The plane drivers of the Wicket codec: from the planes of a band to its compressed stream.
//
// A band is some lines of a page, 8 as a rule. Its planes are transformed and quantised in working storage of one
// 32-bit word per sample, and then walked block by block:
//
//   colour, one stream:      per pair of blocks across (4:2:2)  Y Y Cb Cr;   per block (4:4:4)  Y Cb Cr
//   a stream for each plane: the plane's blocks in raster order
//
// with restart markers where the interval asks for them, one at the band's end included, and quantiser markers where
// the block map changes, if this is the first band of its strip. The bytes of a band depend on its planes, the
// settings and the coder's restart number only, so bands can be joined end to end.
// A settings record and a coder belong to one thread at a time.
#pragma once

#include <cstdint>

#include "codec/wicketsettings.h"

namespace kesto {

/// Compresses a colour band into one interleaved stream.
///
/// `map` has one byte for each of the `blockCount` luma blocks of the band, row by row; the planes have `bandPixels`
/// bytes each, `bandWidth` per line; `capacity` is the size of `output`. The length of the stream goes to `length`.
/// Returns 0; the settings' initStatus, if that is not 0, with nothing written; CODEC_NULL_POINTER, also when memory is
/// short; CODEC_BAD_SIZE for a capacity below 3 bytes per pixel, for a band that is no whole number of blocks (4:2:2:
/// of pairs of blocks across), or for a blockCount that is not the band's; CODEC_UNSUPPORTED for 4:2:0;
/// CODEC_ODD_RESTART_INTERVAL with 4:2:2; or a status of the transform steps. A stream that outgrows its buffer is cut,
/// and symbols that cannot be coded are left out, without a status.
std::int32_t wicketCompressPlanes(std::int32_t blockCount, const std::uint8_t* map, std::int32_t bandWidth,
                                  std::int32_t bandPixels, const std::uint8_t* yPlane, const std::uint8_t* cbPlane,
                                  const std::uint8_t* crPlane, std::int32_t capacity, std::uint8_t* output,
                                  std::int32_t* length, WicketSettings* settings, WicketCoder* coder);

/// Compresses each plane of a band into a stream of its own, Y at full resolution and chroma as the sample type says,
/// 4:2:0 included. Without any of the six chroma arguments there is one plane, Y.
///
/// Every output holds `capacity` bytes. Returns 0; the settings' initStatus, if that is not 0, with nothing written;
/// CODEC_NULL_POINTER, also when some chroma arguments are missing; CODEC_BAD_SIZE for a capacity below one byte per
/// pixel, for sizes that the sample type or the blockCount do not fit, and when a stream outgrew its buffer or held a
/// value that cannot be coded, which ends the work at once; CODEC_NO_MEMORY. A status of a plane's transform steps
/// stops that plane only: the result is the sum of these, plane p's shifted left by 8p. Planes that failed have
/// length 0.
std::int32_t wicketCompressSeparatedPlanes(std::int32_t blockCount, const std::uint8_t* map, std::int32_t bandWidth,
                                           std::int32_t bandPixels, const std::uint8_t* yPlane,
                                           const std::uint8_t* cbPlane, const std::uint8_t* crPlane,
                                           std::int32_t capacity, std::uint8_t* yOutput, std::uint8_t* cbOutput,
                                           std::uint8_t* crOutput, std::int32_t* yLength, std::int32_t* cbLength,
                                           std::int32_t* crLength, WicketSettings* settings, WicketCoder* coder);

/// Compresses a grey band: wicketCompressSeparatedPlanes with the grey plane as Y and no chroma.
std::int32_t wicketCompressMonoPlane(std::int32_t blockCount, const std::uint8_t* map, std::int32_t bandWidth,
                                     std::int32_t bandPixels, const std::uint8_t* greyPlane, std::int32_t capacity,
                                     std::uint8_t* output, std::int32_t* length, WicketSettings* settings,
                                     WicketCoder* coder);

/// Does nothing. The codec's surface has this name next to the drivers, which do the work.
void compressPlane();

}  // namespace kesto
