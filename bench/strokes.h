// Text made of strokes: letters of straight and curved strokes with the grey edges that a renderer gives them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace kesto::bench {

/// One letter: how much of each pixel is ink, 0 to 255.
struct Glyph {
  std::size_t width, height;
  std::vector<std::uint8_t> ink;
};

/// The letters of a typeface with an em of `em` pixels; the same ones every time.
[[nodiscard]] std::vector<Glyph> makeGlyphs(double em);

}  // namespace kesto::bench
