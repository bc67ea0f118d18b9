// The three planes of a colour band, as the codec takes them.
//
// Only pixels that are not white are written, so the planes have to be white beforehand. After a white band they still
// are and need no refill. Image thread only.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace kesto {

class ColorPlanes {
 public:
  /// Converts the rows of a band, RGB pixels without gaps, lines of `width` pixels. The planes then have as many
  /// samples as the band has pixels, and stay until the next call. Throws std::bad_alloc.
  void convert(std::span<const std::uint8_t> rgbRows, std::uint32_t width);

  [[nodiscard]] const std::uint8_t* y() const { return y_.data(); }
  [[nodiscard]] const std::uint8_t* cb() const { return cb_.data(); }
  [[nodiscard]] const std::uint8_t* cr() const { return cr_.data(); }

 private:
  std::vector<std::uint8_t> y_, cb_, cr_;
  bool white_ = false;  ///< what the band before has left them
};

}  // namespace kesto
