// Colour conversion of a band: interleaved 8-bit RGB to the planes Y, Cb and Cr.
//
// The equations are those of ITU-R BT.601 at full range, as JFIF uses them, with coefficients scaled by 1024. White at
// both ends of a line, and with it most of a page of text, is not converted: the planes are filled with the value of
// white beforehand, which is what the conversion would give.
//
// Nothing is kept between calls, so any thread may call.
#pragma once

#include <cstdint>

namespace kesto {

/// What rgbtoYCbCr returns when some line held a pixel that is not white.
inline constexpr std::int32_t COLOR_BAND_PRINTED = 257;

/// Converts one RGB triple: Y in bits 0 to 7, Cb in bits 8 to 15, Cr in bits 16 to 23.
std::uint32_t RGBTripleToCrCbYDword(const std::uint8_t* triple);

/// The number of pixels up to and including the last one that is not white, among `pixels` RGB triples; 0 when all are.
std::int32_t stripTrail(const std::uint8_t* line, std::int32_t pixels);

/// Converts the `totalBytes` / `lineBytes` whole lines at `rgb`, `lineBytes` bytes each, into three planes of `outSize`
/// bytes whose lines start `outStride` bytes apart.
///
/// White at the start and at the end of a line is not written. With `keepPlanes` 0 the planes are filled with white
/// first; otherwise the caller has done so. The buffers must not overlap.
///
/// Returns CODEC_OK when every line was white, else COLOR_BAND_PRINTED. With nothing written, returns
/// CODEC_NULL_POINTER, or CODEC_BAD_SIZE when 3 x `outSize` < `totalBytes`, `totalBytes` < 24, `lineBytes` is no
/// positive multiple of 3, `outStride` is negative, or the last line would end outside a plane.
std::int32_t rgbtoYCbCr(std::int32_t lineBytes, std::int32_t totalBytes, const std::uint8_t* rgb,
                        std::int32_t outStride, std::int32_t outSize, std::uint8_t* yPlane, std::uint8_t* cbPlane,
                        std::uint8_t* crPlane, std::uint8_t keepPlanes);

}  // namespace kesto
