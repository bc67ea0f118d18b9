#include "bandencoder.h"

#include <stdexcept>

#include "codec/colorconvert.h"
#include "codec/huffman.h"
#include "filter/lineblock.h"
#include "filter/pagepipeline.h"

namespace kesto::bench {
namespace {

constexpr std::uint8_t TRANSFORMED = 3;

std::int32_t signedSize(std::size_t size) {
  return static_cast<std::int32_t>(size);
}

void require(std::int32_t status) {
  if (status != CODEC_OK) throw std::runtime_error("a band was not encoded: " + std::to_string(status));
}

}  // namespace

BandEncoder::BandEncoder(std::size_t width)
    : width_(width),
      bandPixels_(LINES_PER_BLOCK * width),
      settings_(std::make_unique<WicketSettings>()),
      coder_(std::make_unique<WicketCoder>()),
      y_(bandPixels_),
      cb_(bandPixels_),
      cr_(bandPixels_),
      map_(width / 8, TRANSFORMED),
      stream_(4 * bandPixels_) {}

void BandEncoder::prepare(std::size_t index) {
  const std::size_t bandOfStrip = index % BANDS_PER_STRIP;
  setHuffman(coder_.get());
  coder_->restartNumber = signedSize(bandOfStrip % 8);
  const std::int32_t status = initialize(coder_.get());
  setWicket(settings_.get(), coder_.get(), &status);
  reinitialize(settings_.get(), coder_.get());
  setRestartInterval(signedSize(width_ / 8), settings_.get());
  settings_->firstBand = bandOfStrip == 0 ? 1 : 0;
}

void BandEncoder::convert(const Bytes& rgb, std::size_t index) {
  rgbtoYCbCr(signedSize(3 * width_), signedSize(3 * bandPixels_), &rgb[3 * bandPixels_ * index], signedSize(width_),
             signedSize(bandPixels_), y_.data(), cb_.data(), cr_.data(), 0);
}

std::size_t BandEncoder::compressColor(std::size_t index) {
  prepare(index);
  std::int32_t length = 0;
  require(wicketCompressPlanes(signedSize(map_.size()), map_.data(), signedSize(width_), signedSize(bandPixels_),
                               y_.data(), cb_.data(), cr_.data(), signedSize(stream_.size()), stream_.data(), &length,
                               settings_.get(), coder_.get()));
  return static_cast<std::size_t>(length);
}

std::size_t BandEncoder::compressGrey(const std::uint8_t* rows, std::size_t index) {
  prepare(index);
  setSampleType(SAMPLE_TYPE_444, settings_.get());
  std::int32_t length = 0;
  require(wicketCompressMonoPlane(signedSize(map_.size()), map_.data(), signedSize(width_), signedSize(bandPixels_),
                                  rows, signedSize(stream_.size()), stream_.data(), &length, settings_.get(),
                                  coder_.get()));
  return static_cast<std::size_t>(length);
}

std::size_t BandEncoder::encode(const Bytes& pixels, int channels) {
  const std::size_t bands = pixels.size() / static_cast<std::size_t>(channels) / bandPixels_;
  std::size_t total = 0;
  for (std::size_t index = 0; index < bands; ++index) {
    if (channels == 3) {
      convert(pixels, index);
      total += compressColor(index);
    } else {
      total += compressGrey(&pixels[bandPixels_ * index], index);
    }
  }
  return total;
}

}  // namespace kesto::bench
