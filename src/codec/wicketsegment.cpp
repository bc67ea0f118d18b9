#include "codec/wicketsegment.h"

#include <span>

namespace kesto {
namespace {

constexpr std::size_t MARKER_BYTES = 2;

/// The offset of the first restart marker, or the size of the data.
std::size_t findRestartMarker(std::span<const std::uint8_t> data) {
  for (std::size_t i = 0; i + MARKER_BYTES <= data.size(); ++i) {
    const std::uint32_t word = static_cast<std::uint32_t>(data[i]) << 8 | data[i + 1];
    if (word >= MARKER_RESTART && word < MARKER_RESTART + RESTART_NUMBERS) return i;
  }
  return data.size();
}

}  // namespace

std::int32_t setSegmentStream(const std::uint8_t* stream, std::uint32_t count, WicketSettings* settings) {
  if (stream == nullptr || settings == nullptr) return CODEC_NULL_POINTER;
  settings->streamPosition = stream;
  settings->segmentBytesLeft = count;
  settings->segmentNumber = 0;
  return CODEC_OK;
}

std::int32_t getSegment(const std::uint8_t** segment, std::uint32_t* length, WicketSettings* settings) {
  if (segment == nullptr || length == nullptr || settings == nullptr) return CODEC_NULL_POINTER;
  if (settings->segmentBytesLeft == 0) return CODEC_INPUT_END;
  const std::span<const std::uint8_t> rest(settings->streamPosition, settings->segmentBytesLeft);
  const std::size_t found = findRestartMarker(rest);
  const std::size_t used = found == rest.size() ? found : found + MARKER_BYTES;
  *segment = rest.data();
  *length = static_cast<std::uint32_t>(found);
  settings->streamPosition += used;
  settings->segmentBytesLeft -= static_cast<std::uint32_t>(used);
  ++settings->segmentNumber;
  return CODEC_OK;
}

}  // namespace kesto
