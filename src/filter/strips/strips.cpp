// Bands and strips: the part of the page pipeline that compresses, gathers and sends.
#include "filter/strips/strips.h"

#include <algorithm>
#include <new>
#include <span>

#include "base/uniform.h"
#include "codec/codecstatus.h"
#include "codec/downsample.h"
#include "filter/lines/lineblock.h"
#include "hdc/hdc.h"
#include "jobsettings/jobsettings.h"
#include "pclxl/pclxl.h"
#include "pclxl/xlnames.h"

namespace kesto {

BandCache gCacheBands;
constinit std::uint32_t gCacheBandIndex = 0;

void BandCache::clear() {
  firstLine = width = 0;
  wicketData.clear();
  tags.clear();
}

namespace {

/// Transformed, and quantised by the flat quantiser.
constexpr std::uint8_t BLOCK_MAP_VALUE = 3;

/// Room for a band's stream, in bytes per pixel.
constexpr std::uint32_t BAND_CAPACITY = 4;

/// Values of the printer-specific image attributes.
constexpr std::uint8_t IMAGE_ATTRIBUTE_0xFA = 8;
constexpr std::uint8_t IMAGE_ATTRIBUTE_0xF9 = 2;
constexpr std::uint16_t IMAGE_ATTRIBUTE_0xF8 = 0;
constexpr std::uint16_t IMAGE_ATTRIBUTE_0xF6 = 6;

std::uint16_t low16(std::uint32_t value) {
  return static_cast<std::uint16_t>(value);
}

/// Sets the codec up for a band of its own: nothing passes from band to band but the restart marker's number.
void prepareCoder(WicketSettings* settings, WicketCoder* coder, std::uint32_t bandIndex, std::uint32_t width) {
  setHuffman(coder);
  coder->restartNumber = static_cast<std::int32_t>(bandIndex % 8);
  const std::int32_t status = initialize(coder);
  setWicket(settings, coder, &status);
  reinitialize(settings, coder);
  setRestartInterval(static_cast<std::int32_t>(width / 8), settings);
  settings->firstBand = bandIndex == 0 ? 1 : 0;
}

/// A band's pixels, as planes for a colour job and as rows for a grey one.
struct BandImage {
  std::uint32_t width;
  std::uint32_t pixelCount;
  const std::uint8_t* y;
  const std::uint8_t* cb;
  const std::uint8_t* cr;
  const std::uint8_t* imageRows;
};

bool isWhite(const BandImage& band) {
  const auto all = [&](const std::uint8_t* plane, std::uint8_t value) {
    return isUniform({plane, band.pixelCount}, value);
  };
  if (jobsetting->isColor == 0) return all(band.imageRows, WHITE_Y);
  return all(band.y, WHITE_Y) && all(band.cb, WHITE_CHROMA) && all(band.cr, WHITE_CHROMA);
}

/// Compresses the band to a stream, which stays until the next call.
std::span<const std::uint8_t> compressBand(WicketSettings* settings, WicketCoder* coder, const BandImage& band) {
  gCacheBands.blockMap.assign(band.width / 8, BLOCK_MAP_VALUE);
  gCacheBands.bandStream.resize(std::size_t{BAND_CAPACITY} * band.pixelCount);
  const auto blocks = static_cast<std::int32_t>(band.width / 8);
  const auto width = static_cast<std::int32_t>(band.width);
  const auto pixels = static_cast<std::int32_t>(band.pixelCount);
  const auto capacity = static_cast<std::int32_t>(gCacheBands.bandStream.size());
  const std::uint8_t* map = gCacheBands.blockMap.data();
  std::uint8_t* out = gCacheBands.bandStream.data();
  std::int32_t length = 0;
  std::int32_t status = CODEC_OK;
  if (jobsetting->isColor != 0) {
    status = wicketCompressPlanes(blocks, map, width, pixels, band.y, band.cb, band.cr, capacity, out, &length,
                                  settings, coder);
  } else {
    setSampleType(SAMPLE_TYPE_444, settings);
    status =
        wicketCompressMonoPlane(blocks, map, width, pixels, band.imageRows, capacity, out, &length, settings, coder);
  }
  // No pointer is null here, so both codes mean a lack of memory. Without the band, the page would have a gap.
  if (status == CODEC_NO_MEMORY || status == CODEC_NULL_POINTER) throw std::bad_alloc();
  return std::span(gCacheBands.bandStream).first(static_cast<std::size_t>(length));
}

/// The stream of a band, which stays until the next call.
std::span<const std::uint8_t> streamOf(WicketSettings* settings, WicketCoder* coder, const BandImage& band) {
  const WhiteBands::Place place = {band.width, jobsetting->isColor != 0, gCacheBandIndex};
  const bool white = isWhite(band);
  if (white) {
    const auto remembered = gCacheBands.whiteBands.find(place);
    if (!remembered.empty()) return remembered;
  }
  prepareCoder(settings, coder, gCacheBandIndex, band.width);
  const auto stream = compressBand(settings, coder, band);
  if (white) gCacheBands.whiteBands.remember(place, stream);
  return stream;
}

void writeImageStart(const BandCache& strip, std::uint16_t height) {
  using namespace xl;
  const std::uint16_t width = low16(strip.width);
  outputXLAttrSInt16XY(hdcWrite, attr::Point, 0, static_cast<std::int16_t>(strip.firstLine));
  outputOperator(hdcWrite, op::SetCursor);
  outputXLAttrByte(hdcWrite, attr::ColorMapping, eDirectPixel);
  outputXLAttrByte(hdcWrite, attr::ColorDepth, e8Bit);
  outputXLAttrUInt16(hdcWrite, attr::SourceWidth, width);
  outputXLAttrUInt16(hdcWrite, attr::SourceHeight, height);
  outputXLAttrUInt16XY(hdcWrite, attr::DestinationSize, width, height);
  outputXLAttrByte(hdcWrite, attr::attribute0xFA, IMAGE_ATTRIBUTE_0xFA);
  outputXLAttrByte(hdcWrite, attr::attribute0xF9, IMAGE_ATTRIBUTE_0xF9);
  outputXLAttrUInt16(hdcWrite, attr::attribute0xF8, IMAGE_ATTRIBUTE_0xF8);
  outputXLAttrUInt16(hdcWrite, attr::attribute0xF7, low16(jobsetting->resolution));
  outputXLAttrUInt16(hdcWrite, attr::attribute0xF6, IMAGE_ATTRIBUTE_0xF6);
  outputOperator(hdcWrite, op::BeginImage);
}

void writeImageData(std::uint16_t height, std::uint8_t compressMode, std::span<const std::uint8_t> data) {
  using namespace xl;
  outputXLAttrUInt16(hdcWrite, attr::StartLine, 0);
  outputXLAttrUInt16(hdcWrite, attr::BlockHeight, height);
  outputXLAttrByte(hdcWrite, attr::CompressMode, compressMode);
  outputOperator(hdcWrite, op::ReadImage);
  outputXLEmbedData(hdcWrite, static_cast<std::uint32_t>(data.size()));
  hdcWrite(data.data(), static_cast<std::uint32_t>(data.size()));
}

/// Sends the gathered bands as one image strip and starts a new one.
void sendStrip(std::uint32_t bandCount) {
  const std::uint16_t height = low16(LINES_PER_BLOCK * bandCount);
  writeImageStart(gCacheBands, height);
  writeImageData(height, xl::eWicketCompression, gCacheBands.wicketData);

  writeImageData(height, xl::eTbrleCompression, gCacheBands.tags.encode());
  outputOperator(hdcWrite, xl::op::EndImage);

  gCacheBands.clear();
  gCacheBandIndex = 0;
}

}  // namespace

void compress_and_send(WicketSettings* settings, WicketCoder* coder, std::uint32_t firstLine, std::uint32_t width,
                       std::uint32_t pixelCount, const std::uint8_t* y, const std::uint8_t* cb, const std::uint8_t* cr,
                       const std::uint8_t* imageRows, const std::uint8_t* tagRows, std::uint8_t lastBand) {
  const std::uint32_t index = gCacheBandIndex;
  const auto stream = streamOf(settings, coder, {width, pixelCount, y, cb, cr, imageRows});
  gCacheBands.wicketData.insert(gCacheBands.wicketData.end(), stream.begin(), stream.end());
  gCacheBands.tags.append({tagRows, pixelCount});
  if (index == 0) {
    gCacheBands.firstLine = firstLine;
    gCacheBands.width = width;
  }
  if (index == BANDS_PER_STRIP - 1 || lastBand != 0) {
    sendStrip(index + 1);
  } else {
    gCacheBandIndex = index + 1;
  }
}

}  // namespace kesto
