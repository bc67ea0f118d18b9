// A codec set up as a page sets it up for each of its bands, and planes to feed it with.
#pragma once

#include <cmath>
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "codec/wicket.h"
#include "support/hex.h"

namespace kesto::test {

struct BandCoder {
  std::unique_ptr<WicketSettings> settings = std::make_unique<WicketSettings>();
  std::unique_ptr<WicketCoder> coder = std::make_unique<WicketCoder>();
  std::int32_t status = -1;  // of the last band
  std::int32_t length = -1;

  /// Prepares for band `index` of a strip `width` pixels wide.
  void prepare(int index, int width) {
    setHuffman(coder.get());
    coder->restartNumber = index % 8;
    const std::int32_t ready = initialize(coder.get());
    setWicket(settings.get(), coder.get(), &ready);
    reinitialize(settings.get(), coder.get());
    setRestartInterval(width / 8, settings.get());
    settings->firstBand = index == 0 ? 1 : 0;
  }

  /// Compresses planes of any number of lines with one map byte per block.
  Bytes color(int width, const Bytes& y, const Bytes& cb, const Bytes& cr, const Bytes& map) {
    Bytes out(y.size() * 4);
    status = wicketCompressPlanes(
        static_cast<std::int32_t>(map.size()), map.data(), width, static_cast<std::int32_t>(y.size()), y.data(),
        cb.data(), cr.data(), static_cast<std::int32_t>(out.size()), out.data(), &length, settings.get(), coder.get());
    out.resize(static_cast<std::size_t>(length));
    return out;
  }

  Bytes mono(int width, const Bytes& grey, const Bytes& map) {
    Bytes out(grey.size() * 4);
    setSampleType(SAMPLE_TYPE_444, settings.get());
    status = wicketCompressMonoPlane(
        static_cast<std::int32_t>(map.size()), map.data(), width, static_cast<std::int32_t>(grey.size()), grey.data(),
        static_cast<std::int32_t>(out.size()), out.data(), &length, settings.get(), coder.get());
    out.resize(static_cast<std::size_t>(length));
    return out;
  }

  /// A white colour band whose map is all 3.
  Bytes white(int width, int lines) {
    const auto pixels = static_cast<std::size_t>(width) * lines;
    const Bytes gray(pixels, 128);
    return color(width, Bytes(pixels, 255), gray, gray, Bytes(pixels / 64, 3));
  }
};

/// A plane of independent random bytes.
inline Bytes noisePlane(int width, int height, unsigned seed) {
  std::mt19937 random(seed);
  Bytes plane(static_cast<std::size_t>(width) * height);
  for (std::uint8_t& byte : plane) byte = static_cast<std::uint8_t>(random() & 0xFF);
  return plane;
}

/// A plane like a photograph: broad waves, an edge and a little grain.
inline Bytes naturalPlane(int width, int height, unsigned seed) {
  std::mt19937 random(seed);
  Bytes plane;
  for (int row = 0; row < height; ++row) {
    for (int column = 0; column < width; ++column) {
      const double waves = 60 * std::sin(column / 23.0 + seed) + 40 * std::cos(row / 17.0 + column / 61.0);
      const double edge = column * 2 > width + row ? 20 : -20;
      plane.push_back(static_cast<std::uint8_t>(128 + waves + edge + static_cast<double>(random() % 7)));
    }
  }
  return plane;
}

/// A plane like a page of text: black strokes, one to three pixels wide, on white, between white lines.
inline Bytes textPlane(int width, int height, unsigned seed) {
  std::mt19937 random(seed);
  Bytes plane(static_cast<std::size_t>(width) * height, 255);
  for (int i = 0; i < width * height / 160; ++i) {
    const int row = static_cast<int>(random() % height);
    const int column = static_cast<int>(random() % width);
    const bool upright = random() % 2 == 0;
    for (int step = 0; step < 9; ++step) {
      const int r = row + (upright ? step : 0);
      const int c = column + (upright ? 0 : step);
      if (r < height && r % 24 < 14 && c < width) plane[static_cast<std::size_t>(r) * width + c] = 0;
    }
  }
  return plane;
}

}  // namespace kesto::test
