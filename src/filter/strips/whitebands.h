// The streams of white bands, which are compressed once for a page width and then remembered.
//
// A band's stream depends on its pixels, its width, whether it is grey, whether it is the first of its strip (which
// selects the quantiser) and on the number of the restart marker that ends it, its last byte, which is filled in.
// Image thread only.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace kesto {

class WhiteBands {
 public:
  /// Where a band stands and what it is.
  struct Place {
    std::uint32_t width;  ///< pixels
    bool color;           ///< planes, not grey rows
    std::uint32_t index;  ///< of the band in its strip
  };

  /// The stream of a white band, or nothing when none of its kind is remembered. It stays until the next call.
  [[nodiscard]] std::span<const std::uint8_t> find(const Place& place);

  /// Remembers the stream that a white band was compressed to. Throws std::bad_alloc.
  void remember(const Place& place, std::span<const std::uint8_t> stream);

 private:
  struct Entry {
    std::uint32_t width = 0;  ///< 0: nothing is remembered
    std::vector<std::uint8_t> stream;
  };
  [[nodiscard]] Entry& entryOf(const Place& place) { return entries_[place.color ? 1 : 0][place.index == 0 ? 1 : 0]; }

  Entry entries_[2][2];
};

}  // namespace kesto
