// Finding the segments of a Wicket stream: what lies between its restart markers.
//
// A stream that is damaged can be read again from any segment on, because prediction starts afresh there. The
// position is kept in the settings record, which belongs to one thread at a time. Compression does not use this.
#pragma once

#include <cstdint>

#include "codec/wicketsettings.h"

namespace kesto {

/// Starts looking for segments in `count` bytes at `stream`, which have to outlive the search. Returns 0 or
/// CODEC_NULL_POINTER.
[[nodiscard]] std::int32_t setSegmentStream(const std::uint8_t* stream, std::uint32_t count, WicketSettings* settings);

/// Finds the next restart marker and stores where the bytes before it lie and how many they are; the search goes on
/// behind the marker. What follows the last marker is a segment, too, unless it is empty.
///
/// Returns 0 with segmentNumber counted up, CODEC_INPUT_END when nothing is left, or CODEC_NULL_POINTER.
[[nodiscard]] std::int32_t getSegment(const std::uint8_t** segment, std::uint32_t* length, WicketSettings* settings);

}  // namespace kesto
