// The forward DCT of 8 x 8 blocks, in integers.
//
// The method is the accurate integer one of the IJG library (Loeffler, Ligtenberg and Moschytz, "Practical fast 1-D
// DCT algorithms with 11 multiplications", 1989): rows, then columns, constants scaled by 2^13. Its result is eight
// times the DCT of T.81 A.3.3 of the bytes less 128, to within about one unit. No state; any thread may call.
#pragma once

#include <cstdint>

#include "codec/codecstatus.h"

namespace kesto {

/// A map value of 0 marks a block that is not transformed: it becomes all zeros, or uniformly white when its first
/// sample is not 0.
inline constexpr std::uint8_t MAP_SKIP = 0;
inline constexpr std::int32_t WHITE_DC = 64 * 508 / 4;  // the DC of 64 white samples

/// Transforms every 8 x 8 block of a plane of level-shifted samples, `planeWidth` per line and `height` lines, into
/// coefficients at the samples' places: horizontal frequency along the line, vertical frequency down the lines.
///
/// In place with a null `output` and capacity 0; otherwise into `output` of `capacity` bytes. `map` has one byte per
/// block in row-major order, or is null to transform all. Samples have to lie in -512 to 511. Returns 0;
/// CODEC_NULL_POINTER for a null plane or a capacity without an output; CODEC_BAD_SIZE when width or height is no
/// multiple of 8 or the output is too small. Nothing is written unless the result is 0.
[[nodiscard]] std::int32_t fDCTransform(std::int32_t* plane, std::int32_t planeWidth, std::int32_t height,
                                        const std::uint8_t* map, std::uint32_t capacity, std::int32_t* output);

}  // namespace kesto
