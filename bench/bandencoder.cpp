#include "bandencoder.h"

#include <cerrno>
#include <system_error>

#include <unistd.h>

#include "filter/lines/lineblock.h"
#include "filter/strips/strips.h"
#include "hdc/hdc.h"

namespace kesto::bench {
namespace {

constexpr std::uint32_t CHANNEL_CAPACITY = 20 * 1024 * 1024;
constexpr std::uint32_t CHANNEL_THRESHOLD = 5 * 1024 * 1024;

std::uint32_t size32(std::size_t size) {
  return static_cast<std::uint32_t>(size);
}

}  // namespace

BandEncoder::BandEncoder(std::size_t width, int channels)
    : width_(width),
      channels_(static_cast<std::size_t>(channels)),
      bandPixels_(LINES_PER_BLOCK * width),
      settings_(std::make_unique<WicketSettings>()),
      coder_(std::make_unique<WicketCoder>()),
      tags_(bandPixels_, PAGE_TAG) {
  setting_.isColor = channels == 3 ? 1 : 0;
  jobsetting = &setting_;
  gCacheBands.clear();
  gCacheBandIndex = 0;
  sink_ = popen("cat >/dev/null", "w");
  if (sink_ == nullptr) throw std::system_error(errno, std::generic_category(), "cat");
  hdcContext.outputDescriptor = fileno(sink_);
  hdcInitialize(CHANNEL_CAPACITY, CHANNEL_THRESHOLD);
  hdcStartPrintThread(nullptr);
}

BandEncoder::~BandEncoder() {
  finish();
  hdcStopPrintThread();
  hdcDestroy();
  pclose(sink_);
  hdcContext.outputDescriptor = STDOUT_FILENO;
  jobsetting = nullptr;
}

void BandEncoder::finish() {
  hdcWaitUntilEmpty();
}

void BandEncoder::convert(const std::uint8_t* rows) {
  planes_.convert({rows, 3 * bandPixels_}, size32(width_));
}

void BandEncoder::compress(const std::uint8_t* rows, std::size_t band, bool isLast) {
  compress_and_send(settings_.get(), coder_.get(), size32(LINES_PER_BLOCK * band), size32(width_), size32(bandPixels_),
                    planes_.y(), planes_.cb(), planes_.cr(), rows, tags_.data(), isLast ? 1 : 0);
}

void BandEncoder::encode(const Bytes& pixels) {
  const std::size_t bands = pixels.size() / bandBytes();
  for (std::size_t band = 0; band < bands; ++band) {
    const std::uint8_t* rows = &pixels[band * bandBytes()];
    if (channels_ == 3) convert(rows);
    compress(rows, band, band == bands - 1);
  }
}

}  // namespace kesto::bench
