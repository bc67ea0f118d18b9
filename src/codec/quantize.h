// Quantisation: the scaling of the standard tables for a Q factor, and the division of coefficients by quantisers.
//
// Quantisers are stored times 8, the gain of the transform; a quantiser "6" is 48. No state; any thread may call.
#pragma once

#include <array>
#include <cstdint>

#include "codec/codecstatus.h"
#include "codec/t81tables.h"

namespace kesto {

inline constexpr std::int32_t QUANTIZER_SCALE = 8;

/// The bit of a map value that selects the flat quantiser.
inline constexpr std::uint8_t MAP_FLAT = 2;

/// Scales 64 quantisers for a Q factor: by 5000 / q percent below 50 and by 200 - 2q percent from there on, limited
/// to the 1 to 255 of baseline tables, then times `multiplier`. A q of 0 or less counts as 100 times. This is the
/// quality rule of the IJG library.
constexpr void scaleQuantTable(const std::int32_t* source, std::int32_t* destination, std::int32_t q,
                               std::int32_t multiplier) {
  const std::int64_t percent = q <= 0 ? 10000 : q < 50 ? 5000 / q : (std::int64_t{100} - q) * 2;
  for (std::size_t i = 0; i < BLOCK_SIZE; ++i) {
    std::int64_t quantizer = (source[i] * percent + 50) / 100;
    if (quantizer > 255) quantizer = 255;
    if (quantizer < 1) quantizer = 1;
    destination[i] = static_cast<std::int32_t>(quantizer * multiplier);
  }
}

/// Scales one of two tables for the Q factor `q`: chroma when `which` is 1, luma otherwise. Stores 8 in `scale` and
/// q in `qFactor`.
void scaleTable(std::int32_t q, std::int32_t which, std::int32_t* chromaDestination, const std::int32_t* chromaSource,
                std::int32_t* lumaDestination, const std::int32_t* lumaSource, std::uint32_t* scale,
                std::uint32_t* qFactor);

/// Copies both 64-entry tables, times 8.
void setupQuantTable(std::int32_t* chromaDestination, const std::int32_t* chromaSource, std::int32_t* lumaDestination,
                     const std::int32_t* lumaSource);

/// Divides the coefficients of a plane, `planeWidth` per line and `height` lines, by their quantisers, in place.
///
/// Every block goes by its byte of `map` (row-major): bit 1 set takes `flatQuantizer`, otherwise the table, which is
/// `chromaTable` when isChroma is 1 and `lumaTable` otherwise. Results are rounded to nearest, halves away from zero.
/// Of blocks marked 0 or 2 only the DC is divided, with half a quantiser added whatever its sign.
/// Returns 0; CODEC_NULL_POINTER; CODEC_BAD_SIZE when width or height is no multiple of 8; CODEC_UNSUPPORTED when a
/// quantiser is below 1. Nothing is changed unless the result is 0.
[[nodiscard]] std::int32_t quantizePlane(std::int32_t planeWidth, std::int32_t height, std::int32_t* coefficients,
                                         std::int32_t isChroma, const std::uint8_t* map, std::int32_t flatQuantizer,
                                         const std::int32_t* chromaTable, const std::int32_t* lumaTable);

}  // namespace kesto
