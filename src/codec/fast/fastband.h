// The fast way through a band, for the bands that jobs are made of.
//
// The plane drivers ask for it first and go the literal way, plane by plane in 32-bit words, whenever it declines: on
// other processors, for settings that no job uses, and when a stream comes close to the end of its buffer. Both ways
// give the same bytes and leave the same records. Here a block goes from its bytes to its code in one go, in 16-bit
// lanes, and areas of white are recognised before any of that.
// The limit on the way to take is process-wide; everything else belongs to the calling thread.
#pragma once

#include <cstdint>
#include <span>

#include "codec/bandplanes.h"
#include "codec/wicketsettings.h"

namespace kesto {

/// Compresses a band that the plane driver has accepted: one grey plane, or Y, Cb and Cr for 4:2:2.
///
/// Returns false when the band is not one for this way; the literal way may then start, which is safe: it redoes
/// everything. Otherwise stream, length and records are what the literal way would have left.
[[nodiscard]] bool compressBandFast(const Band& band, const std::uint8_t* map,
                                    std::span<const std::uint8_t* const> planes, std::int32_t capacity,
                                    std::uint8_t* output, std::int32_t* length, WicketSettings* settings,
                                    WicketCoder* coder);

/// The ways through a band, from the slowest on.
enum class BandWay : std::uint8_t {
  LITERAL,
  BASIC,    // the instructions that every processor of the architecture has
  SPECIFIC  // those of the processor at hand
};

/// Limits bands to no faster way than `limit`, for tests and measurements. Any thread.
void limitBandWay(BandWay limit);

}  // namespace kesto
