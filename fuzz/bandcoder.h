// A codec set up as a page sets it up for each of its bands.
#pragma once

#include <cstdint>
#include <memory>

#include "codec/wicket.h"

namespace kesto::test {

struct BandCoder {
  std::unique_ptr<WicketSettings> settings = std::make_unique<WicketSettings>();
  std::unique_ptr<WicketCoder> coder = std::make_unique<WicketCoder>();

  /// Prepares for band `index` of a strip `width` pixels wide.
  void prepare(int index, int width) const {
    setHuffman(coder.get());
    coder->restartNumber = index % 8;
    const std::int32_t ready = initialize(coder.get());
    setWicket(settings.get(), coder.get(), &ready);
    reinitialize(settings.get(), coder.get());
    setRestartInterval(width / 8, settings.get());
    settings->firstBand = index == 0 ? 1 : 0;
  }
};

}  // namespace kesto::test
