#include "codec/wicketsettings.h"

#include <utility>

#include "codec/quantize.h"

namespace kesto {
namespace {

void scaleBothTables(std::int32_t qLuma, std::int32_t qChroma, WicketSettings* settings) {
  const auto scale = [settings](std::int32_t q, std::int32_t which, std::uint32_t* scaleWord, std::uint32_t* qFactor) {
    scaleTable(q, which, settings->chromaQuant.data(), S_aiChromStdQuantTable.data(), settings->lumaQuant.data(),
               S_aiLumStdQuantTable.data(), scaleWord, qFactor);
  };
  scale(qLuma, 0, &settings->quantScale, &settings->lumaQFactor);
  scale(qChroma, 1, &settings->secondScale, &settings->chromaQFactor);
}

/// What setWicket and reinitialize have in common.
void setDefaults(WicketSettings* settings, WicketCoder* coder) {
  scaleBothTables(DEFAULT_Q_FACTOR, DEFAULT_Q_FACTOR, settings);
  settings->sampleType = SAMPLE_TYPE_422;
  if (settings->initStatus == CODEC_OK) setByteStuffing(coder);
  settings->restartInterval = 0;
  settings->restartMcuCount = 0;
  settings->padQMarker = 0;
  settings->useDeltaDC = 1;
  settings->dumpPlanes = 0;
}

constexpr bool isQFactor(std::int32_t q) {
  return q >= 1 && q <= 100;
}

}  // namespace

void setWicket(WicketSettings* settings, WicketCoder* coder, const std::int32_t* status) {
  settings->initStatus = status != nullptr ? *status : CODEC_NULL_POINTER;
  setDefaults(settings, coder);
}

void reinitialize(WicketSettings* settings, WicketCoder* coder) {
  if (settings->initStatus != CODEC_OK) settings->initStatus = initialize(coder);
  setDefaults(settings, coder);
}

std::int32_t setRestartInterval(std::int32_t interval, WicketSettings* settings) {
  return std::exchange(settings->restartInterval, interval);
}

std::int32_t queryRestartInterval(const WicketSettings* settings) {
  return settings->restartInterval;
}

void clearRestartMcuCount(WicketSettings* settings) {
  settings->restartMcuCount = 0;
}

std::int32_t setSampleType(std::uint32_t type, WicketSettings* settings) {
  const bool known = findChromaSampling(type) != nullptr;
  settings->sampleType = known ? type : SAMPLE_TYPE_444;
  return known ? CODEC_OK : CODEC_UNSUPPORTED;
}

std::uint32_t querySampleType(const WicketSettings* settings) {
  return settings->sampleType;
}

std::int32_t setQFactor(std::int32_t q, WicketSettings* settings) {
  return setQFactor2(q, q, settings);
}

std::int32_t setQFactor2(std::int32_t qLuma, std::int32_t qChroma, WicketSettings* settings) {
  if (!isQFactor(qLuma) || !isQFactor(qChroma)) return CODEC_UNSUPPORTED;
  scaleBothTables(qLuma, qChroma, settings);
  return CODEC_OK;
}

std::uint32_t queryQFactor(const WicketSettings* settings) {
  if (settings->lumaQFactor == settings->chromaQFactor) return settings->lumaQFactor;
  return settings->lumaQFactor * 256 + settings->chromaQFactor;
}

std::uint8_t setPadQMarker(WicketSettings* settings) {
  return std::exchange(settings->padQMarker, std::uint8_t{1});
}
std::uint8_t clearPadQMarker(WicketSettings* settings) {
  return std::exchange(settings->padQMarker, std::uint8_t{0});
}
std::uint8_t queryPadQMarker(const WicketSettings* settings) {
  return settings->padQMarker;
}

std::uint8_t setUseDeltaDC(WicketSettings* settings) {
  return std::exchange(settings->useDeltaDC, std::uint8_t{1});
}
std::uint8_t clearUseDeltaDC(WicketSettings* settings) {
  return std::exchange(settings->useDeltaDC, std::uint8_t{0});
}
std::uint8_t queryUseDeltaDC(const WicketSettings* settings) {
  return settings->useDeltaDC;
}

std::uint8_t setDumpPlanes(WicketSettings* settings) {
  return std::exchange(settings->dumpPlanes, std::uint8_t{1});
}
std::uint8_t clearDumpPlanes(WicketSettings* settings) {
  return std::exchange(settings->dumpPlanes, std::uint8_t{0});
}
std::uint8_t queryDumpPlanes(const WicketSettings* settings) {
  return settings->dumpPlanes;
}

std::uint8_t wicketSetByteStuffing(WicketCoder* coder) {
  return setByteStuffing(coder);
}
std::uint8_t wicketClearByteStuffing(WicketCoder* coder) {
  return clearByteStuffing(coder);
}
std::uint8_t wicketQueryByteStuffing(const WicketCoder* coder) {
  return queryByteStuffing(coder);
}

void wicketSetPlanarZigZag(std::uint32_t plane, std::uint32_t planeWidth, std::uint32_t /*horizontal*/,
                           std::uint32_t /*vertical*/, WicketSettings* settings) {
  setPlanarZigZag(plane, planeWidth, 1, 1, settings);
}

void setPlanarZigZag(std::uint32_t plane, std::uint32_t width, std::uint32_t horizontal, std::uint32_t vertical,
                     WicketSettings* settings) {
  if (plane >= PLANE_COUNT || horizontal == 0 || vertical == 0) return;
  ZigZagCache& cache = settings->zigzagCache;
  if (cache.planeWidth[plane] == width && cache.horizontalKey[plane] == horizontal &&
      cache.verticalKey[plane] == vertical) {
    return;
  }
  cache.planeWidth[plane] = width;
  cache.horizontalKey[plane] = horizontal;
  cache.verticalKey[plane] = vertical;
  const auto planeWidth = static_cast<std::int32_t>(width / horizontal);
  for (std::size_t k = 0; k < BLOCK_SIZE; ++k) {
    settings->planarZigZag[plane][k] = scanOffset(k, planeWidth);
  }
}

}  // namespace kesto
