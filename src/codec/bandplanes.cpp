#include "codec/bandplanes.h"

#include <algorithm>
#include <new>

#include "codec/fdct.h"
#include "codec/quantize.h"

namespace kesto {

namespace {

constexpr std::int32_t BLOCK_PIXELS = BLOCK_SIDE * BLOCK_SIDE;

}  // namespace

bool isBand(const Band& band) {
  return band.width >= BLOCK_SIDE && band.pixels >= BLOCK_PIXELS && band.blockCount >= 0 &&
         band.blockCount <= band.pixels / BLOCK_PIXELS;
}

bool isMultiple(const Band& band, std::int32_t widthMultiple, std::int32_t lineMultiple) {
  return band.width % widthMultiple == 0 && band.pixels % (static_cast<std::int64_t>(band.width) * lineMultiple) == 0;
}

bool BlockMaps::allocate(const Band& band) {
  const auto count = static_cast<std::size_t>(band.pixels / BLOCK_PIXELS);
  luma.reset(new (std::nothrow) std::uint8_t[count]);
  chroma.reset(new (std::nothrow) std::uint8_t[count]);
  if (luma == nullptr || chroma == nullptr) return false;
  std::fill_n(luma.get(), count, std::uint8_t{0});
  std::fill_n(chroma.get(), count, std::uint8_t{0});
  return true;
}

void BlockMaps::build(const Band& band, const std::uint8_t* map, const ChromaSampling& sampling) {
  const std::int32_t columns = band.blocksPerRow();
  const std::int32_t chromaColumns = columns / sampling.horizontal;
  const auto shared = [&](std::int32_t row, std::int32_t column) -> std::uint8_t& {
    return chroma[row / sampling.vertical * chromaColumns + column / sampling.horizontal];
  };
  for (std::int32_t row = 0; row < band.blockRows(); ++row) {
    for (std::int32_t column = 0; column < columns; ++column) shared(row, column) |= map[row * columns + column];
  }
  for (std::int32_t row = 0; row < band.blockRows(); ++row) {
    for (std::int32_t column = 0; column < columns; ++column) luma[row * columns + column] = shared(row, column);
  }
}

std::unique_ptr<std::int32_t[]> allocateSamples(const Band& band) {
  return std::unique_ptr<std::int32_t[]>(new (std::nothrow) std::int32_t[static_cast<std::size_t>(band.pixels)]);
}

Plane makePlane(std::uint32_t index, const std::uint8_t* source, const Band& band, const BlockMaps& maps,
                const ChromaSampling& sampling, std::int32_t* coefficients) {
  const ChromaSampling* own = index == 0 ? findChromaSampling(SAMPLE_TYPE_444) : &sampling;
  const std::uint8_t* map = index == 0 ? maps.luma.get() : maps.chroma.get();
  return {index, source, map, own, band.width / own->horizontal, band.lines() / own->vertical, coefficients};
}

std::int32_t transformPlane(const Plane& plane, const Band& band, WicketSettings* settings) {
  const std::uint64_t storage = sizeof(std::int32_t) * static_cast<std::uint64_t>(band.pixels);
  const auto capacity = static_cast<std::uint32_t>(std::min<std::uint64_t>(storage, UINT32_MAX));
  std::int32_t status =
      downSampleInt(band.width, band.pixels, plane.source, plane.sampling->type, capacity, plane.coefficients);
  if (status != CODEC_OK) return status;
  status = fDCTransform(plane.coefficients, plane.width, plane.height, plane.map, 0, nullptr);
  if (status != CODEC_OK) return status;
  status = quantizePlane(plane.width, plane.height, plane.coefficients, plane.isChroma() ? 1 : 0, plane.map,
                         static_cast<std::int32_t>(settings->quantScale), settings->chromaQuant.data(),
                         settings->lumaQuant.data());
  if (status != CODEC_OK) return status;
  wicketSetPlanarZigZag(plane.index, static_cast<std::uint32_t>(plane.width), 1, 1, settings);
  return CODEC_OK;
}

}  // namespace kesto
