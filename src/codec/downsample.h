// Level shift and chroma down-sampling: from a plane of bytes to the transform's signed samples.
//
// Samples are (byte - 128) x 4. The factor gives the integer transform two more bits of precision; together with the
// transform's own gain it is why every quantiser carries a factor of 8. No state; any thread may call.
#pragma once

#include <cstdint>

#include "codec/codecstatus.h"

namespace kesto {

inline constexpr std::uint32_t SAMPLE_TYPE_444 = 0x444;  // chroma at full resolution
inline constexpr std::uint32_t SAMPLE_TYPE_422 = 0x422;  // chroma halved horizontally
inline constexpr std::uint32_t SAMPLE_TYPE_420 = 0x420;  // chroma halved both ways

/// What a sample type asks of a plane, in samples: its width and height are multiples of the first two, and a
/// horizontal x vertical group becomes one chroma sample.
struct ChromaSampling {
  std::uint32_t type;
  std::int32_t widthMultiple;
  std::int32_t heightMultiple;
  std::int32_t horizontal;
  std::int32_t vertical;
};

/// The sampling of a type, or null for a number that is no sample type.
[[nodiscard]] const ChromaSampling* findChromaSampling(std::uint32_t sampleType);

/// Turns `size` bytes, `width` per line, into level-shifted samples, one for each group of the sample type: means of
/// the group, rounded down, in raster order of the smaller plane.
///
/// `capacity` is the size of `samples` in bytes. Returns 0; CODEC_NULL_POINTER for a null plane or planes that
/// overlap; CODEC_BAD_SIZE when the result does not fit or width or height is no multiple of what the type needs;
/// CODEC_UNSUPPORTED for an unknown sample type. Nothing is written unless the result is 0.
[[nodiscard]] std::int32_t downSampleInt(std::int32_t width, std::int32_t size, const std::uint8_t* source,
                                         std::uint32_t sampleType, std::uint32_t capacity, std::int32_t* samples);

}  // namespace kesto
