#include "filter/strips/whitebands.h"

#include "codec/huffman.h"

namespace kesto {
namespace {

std::uint8_t restartMarkerByte(std::uint32_t index) {
  return static_cast<std::uint8_t>(MARKER_RESTART + index % RESTART_NUMBERS);
}

}  // namespace

std::span<const std::uint8_t> WhiteBands::find(const Place& place) {
  Entry& entry = entryOf(place);
  if (place.width == 0 || entry.width != place.width) return {};
  entry.stream.back() = restartMarkerByte(place.index);
  return entry.stream;
}

void WhiteBands::remember(const Place& place, std::span<const std::uint8_t> stream) {
  // A band that the codec refused has no stream.
  if (stream.empty() || stream.back() != restartMarkerByte(place.index)) return;
  Entry& entry = entryOf(place);
  entry.width = 0;  // should the memory for the stream be missing
  entry.stream.assign(stream.begin(), stream.end());
  entry.width = place.width;
}

}  // namespace kesto
