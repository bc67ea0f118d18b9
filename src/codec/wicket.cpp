#include "codec/wicket.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <memory>
#include <span>

#include "codec/bandplanes.h"
#include "codec/blockwriter.h"
#include "codec/fast/fastband.h"

namespace kesto {
namespace {

std::int32_t checkInterleaved(const Band& band, std::int32_t capacity, const WicketSettings* settings) {
  if (static_cast<std::int64_t>(band.pixels) * 3 > capacity) return CODEC_BAD_SIZE;
  const ChromaSampling* sampling = findChromaSampling(settings->sampleType);
  if (sampling == nullptr || sampling->type == SAMPLE_TYPE_420) return CODEC_UNSUPPORTED;
  if (!isBand(band)) return CODEC_BAD_SIZE;
  if (!isMultiple(band, sampling->widthMultiple, sampling->heightMultiple)) return CODEC_BAD_SIZE;
  const bool splitsPair = sampling->horizontal == 2 && settings->restartInterval % 2 != 0;
  return splitsPair ? CODEC_ODD_RESTART_INTERVAL : CODEC_OK;
}

/// Writes Y blocks in raster order, and after the last one of each group across its Cb and Cr.
void writeInterleaved(const std::array<Plane, PLANE_COUNT>& planes, const Band& band, BlockWriter& writer) {
  const auto& [y, cb, cr] = planes;
  const std::int32_t columns = band.blocksPerRow();
  const std::int32_t across = cb.sampling->horizontal;
  for (std::int32_t row = 0; row < band.blockRows(); ++row) {
    for (std::int32_t column = 0; column < columns; ++column) {
      writer.beginBlock(y.map[row * columns + column]);
      writer.writeBlock(y, row, column);
      if ((column + 1) % across != 0) continue;
      writer.writeBlock(cb, row, column / across);
      writer.writeBlock(cr, row, column / across);
    }
  }
  writer.restartIfDue();
}

/// The result of one plane: a refused transform concerns only that plane, a failed write ends the band.
struct PlaneResult {
  std::int32_t transformed;
  std::int32_t written;
};

/// Transforms a plane and codes its blocks in raster order. The length is stored when both went well.
PlaneResult compressOnePlane(const Plane& plane, const Band& band, std::int32_t capacity, std::uint8_t* output,
                             std::int32_t* length, WicketSettings* settings, WicketCoder* coder) {
  const std::int32_t status = transformPlane(plane, band, settings);
  if (status != CODEC_OK) return {status, CODEC_OK};
  BlockWriter writer(plane.map[0], output, capacity, settings, coder);
  const std::int32_t columns = plane.width / BLOCK_SIDE;
  const std::int32_t blocks = columns * (band.blockRows() / plane.sampling->vertical);
  for (std::int32_t b = 0; b < blocks && writer.status() == CODEC_OK; ++b) {
    writer.beginBlock(plane.map[b]);
    writer.writeBlock(plane, b / columns, b % columns);
  }
  writer.restartIfDue();
  const std::int32_t bytes = writer.finish();
  if (writer.status() == CODEC_OK) *length = bytes;
  return {CODEC_OK, writer.status()};
}

std::int32_t checkSeparated(const Band& band, std::int32_t capacity, const ChromaSampling* sampling) {
  if (!isBand(band) || band.pixels > capacity) return CODEC_BAD_SIZE;
  if (sampling == nullptr) return CODEC_UNSUPPORTED;
  // This checks only the sharing of chroma blocks. What a single plane requires is checked by its transform.
  const std::int32_t lineMultiple = sampling->vertical == 2 ? sampling->heightMultiple : 1;
  const std::int32_t widthMultiple = sampling->horizontal == 2 ? sampling->widthMultiple : 1;
  return isMultiple(band, widthMultiple, lineMultiple) ? CODEC_OK : CODEC_BAD_SIZE;
}

}  // namespace

std::int32_t wicketCompressPlanes(std::int32_t blockCount, const std::uint8_t* map, std::int32_t bandWidth,
                                  std::int32_t bandPixels, const std::uint8_t* yPlane, const std::uint8_t* cbPlane,
                                  const std::uint8_t* crPlane, std::int32_t capacity, std::uint8_t* output,
                                  std::int32_t* length, WicketSettings* settings, WicketCoder* coder) {
  if (settings == nullptr || coder == nullptr) return CODEC_NULL_POINTER;
  if (settings->initStatus != CODEC_OK) return settings->initStatus;
  const std::array<const std::uint8_t*, PLANE_COUNT> sources = {yPlane, cbPlane, crPlane};
  const bool missing = std::find(sources.begin(), sources.end(), nullptr) != sources.end();
  if (missing || map == nullptr || output == nullptr || length == nullptr) return CODEC_NULL_POINTER;
  *length = 0;
  const Band band{bandWidth, bandPixels, blockCount};
  const std::int32_t refused = checkInterleaved(band, capacity, settings);
  if (refused != CODEC_OK) return refused;
  if (compressBandFast(band, map, sources, capacity, output, length, settings, coder)) return CODEC_OK;

  BlockMaps maps;
  if (!maps.allocate(band)) return CODEC_NULL_POINTER;
  const ChromaSampling& sampling = *findChromaSampling(settings->sampleType);
  maps.build(band, map, sampling);
  std::array<std::unique_ptr<std::int32_t[]>, PLANE_COUNT> storage;
  std::array<Plane, PLANE_COUNT> planes{};
  for (std::uint32_t p = 0; p < PLANE_COUNT; ++p) {
    storage[p] = allocateSamples(band);
    if (storage[p] == nullptr) return CODEC_NULL_POINTER;
    planes[p] = makePlane(p, sources[p], band, maps, sampling, storage[p].get());
  }
  for (const Plane& plane : planes) {
    const std::int32_t status = transformPlane(plane, band, settings);
    if (status != CODEC_OK) return status;
  }

  BlockWriter writer(maps.luma[0], output, capacity, settings, coder);
  writeInterleaved(planes, band, writer);
  *length = writer.finish();
  return CODEC_OK;
}

std::int32_t wicketCompressSeparatedPlanes(std::int32_t blockCount, const std::uint8_t* map, std::int32_t bandWidth,
                                           std::int32_t bandPixels, const std::uint8_t* yPlane,
                                           const std::uint8_t* cbPlane, const std::uint8_t* crPlane,
                                           std::int32_t capacity, std::uint8_t* yOutput, std::uint8_t* cbOutput,
                                           std::uint8_t* crOutput, std::int32_t* yLength, std::int32_t* cbLength,
                                           std::int32_t* crLength, WicketSettings* settings, WicketCoder* coder) {
  if (settings == nullptr || coder == nullptr) return CODEC_NULL_POINTER;
  if (settings->initStatus != CODEC_OK) return settings->initStatus;
  const std::array<const std::uint8_t*, PLANE_COUNT> sources = {yPlane, cbPlane, crPlane};
  const std::array<std::uint8_t*, PLANE_COUNT> outputs = {yOutput, cbOutput, crOutput};
  const std::array<std::int32_t*, PLANE_COUNT> lengths = {yLength, cbLength, crLength};
  std::size_t given = 0;
  std::size_t complete = 0;
  for (std::size_t p = 0; p < PLANE_COUNT; ++p) {
    if (sources[p] != nullptr || outputs[p] != nullptr || lengths[p] != nullptr) ++given;
    if (sources[p] != nullptr && outputs[p] != nullptr && lengths[p] != nullptr) ++complete;
  }
  if (map == nullptr || yPlane == nullptr || given != complete || given == 2) return CODEC_NULL_POINTER;
  for (std::size_t p = 0; p < given; ++p) *lengths[p] = 0;
  // A single plane shares no chroma blocks, so its map is taken as it is.
  const Band band{bandWidth, bandPixels, blockCount};
  const ChromaSampling* sampling = findChromaSampling(given == 1 ? SAMPLE_TYPE_444 : settings->sampleType);
  const std::int32_t refused = checkSeparated(band, capacity, sampling);
  if (refused != CODEC_OK) return refused;
  const auto grey = std::span(sources).first<1>();
  if (given == 1 && compressBandFast(band, map, grey, capacity, yOutput, yLength, settings, coder)) return CODEC_OK;

  BlockMaps maps;
  const auto coefficients = allocateSamples(band);
  if (coefficients == nullptr || !maps.allocate(band)) return CODEC_NO_MEMORY;
  maps.build(band, map, *sampling);
  std::int32_t sum = CODEC_OK;
  for (std::uint32_t p = 0; p < given; ++p) {
    const Plane plane = makePlane(p, sources[p], band, maps, *sampling, coefficients.get());
    const PlaneResult result = compressOnePlane(plane, band, capacity, outputs[p], lengths[p], settings, coder);
    if (result.written != CODEC_OK) return CODEC_BAD_SIZE;
    sum += result.transformed << (8 * p);
  }
  return sum;
}

std::int32_t wicketCompressMonoPlane(std::int32_t blockCount, const std::uint8_t* map, std::int32_t bandWidth,
                                     std::int32_t bandPixels, const std::uint8_t* greyPlane, std::int32_t capacity,
                                     std::uint8_t* output, std::int32_t* length, WicketSettings* settings,
                                     WicketCoder* coder) {
  return wicketCompressSeparatedPlanes(blockCount, map, bandWidth, bandPixels, greyPlane, nullptr, nullptr, capacity,
                                       output, nullptr, nullptr, length, nullptr, nullptr, settings, coder);
}

void compressPlane() {}

}  // namespace kesto
