#include "filter/strips/colorplanes.h"

#include "codec/colorconvert.h"
#include "filter/lines/lineblock.h"

namespace kesto {

void ColorPlanes::convert(std::span<const std::uint8_t> rgbRows, std::uint32_t width) {
  constexpr std::size_t RGB = 3;
  const std::size_t pixels = rgbRows.size() / RGB;
  if (!white_ || y_.size() != pixels) {
    y_.assign(pixels, WHITE_Y);
    cb_.assign(pixels, WHITE_CHROMA);
    cr_.assign(pixels, WHITE_CHROMA);
  }
  const auto columns = static_cast<std::int32_t>(width);
  const std::int32_t status =
      rgbtoYCbCr(static_cast<std::int32_t>(RGB) * columns, static_cast<std::int32_t>(rgbRows.size()), rgbRows.data(),
                 columns, static_cast<std::int32_t>(pixels), y_.data(), cb_.data(), cr_.data(), 1);
  white_ = status != COLOR_BAND_PRINTED;
}

}  // namespace kesto
