// Megapixels a second of the band encoders, from pixel rows in memory to band streams, called as the image thread does.
#include <memory>
#include <vector>

#include <benchmark/benchmark.h>

#include "codec/colorconvert.h"
#include "codec/huffman.h"
#include "codec/tbrle.h"
#include "codec/wicket.h"

namespace {

using Bytes = std::vector<std::uint8_t>;
using namespace kesto;

constexpr std::int32_t WIDTH = 5104;
constexpr std::int32_t PIXELS = 8 * WIDTH;

enum Kind { WHITE, TEXT, NOISE };

/// A band of `channels` bytes a pixel; the same bytes at every run.
Bytes makeBand(Kind kind, int channels) {
  Bytes band(static_cast<std::size_t>(PIXELS * channels), 255);
  std::uint32_t state = 1;
  for (std::size_t i = 0; i < band.size(); ++i) {
    const std::size_t x = i / static_cast<std::size_t>(channels) % WIDTH;
    state = state * 1664525u + 1013904223u;
    if (kind == NOISE) band[i] = static_cast<std::uint8_t>(state >> 24);
    if (kind == TEXT && x % 48 >= 6 && x % 48 < 14 && x % 700 < 560) band[i] = 0;
  }
  return band;
}

struct Encoder {
  std::unique_ptr<WicketSettings> settings = std::make_unique<WicketSettings>();
  std::unique_ptr<WicketCoder> coder = std::make_unique<WicketCoder>();
  Bytes y = Bytes(PIXELS), cb = Bytes(PIXELS), cr = Bytes(PIXELS), out = Bytes(4 * PIXELS);
  Bytes map = Bytes(WIDTH / 8, 3);
  std::int32_t length = 0;

  void prepare() {
    setHuffman(coder.get());
    coder->restartNumber = 0;
    const std::int32_t status = initialize(coder.get());
    setWicket(settings.get(), coder.get(), &status);
    reinitialize(settings.get(), coder.get());
    setRestartInterval(WIDTH / 8, settings.get());
    settings->firstBand = 1;
  }
  void color(const Bytes& rgb) {
    std::fill(y.begin(), y.end(), std::uint8_t{255});
    std::fill(cb.begin(), cb.end(), std::uint8_t{128});
    std::fill(cr.begin(), cr.end(), std::uint8_t{128});
    rgbtoYCbCr(3 * WIDTH, 3 * PIXELS, rgb.data(), WIDTH, PIXELS, y.data(), cb.data(), cr.data(), 1);
    prepare();
    wicketCompressPlanes(WIDTH / 8, map.data(), WIDTH, PIXELS, y.data(), cb.data(), cr.data(), 4 * PIXELS, out.data(),
                         &length, settings.get(), coder.get());
  }
  void grey(const Bytes& rows) {
    prepare();
    setSampleType(SAMPLE_TYPE_444, settings.get());
    wicketCompressMonoPlane(WIDTH / 8, map.data(), WIDTH, PIXELS, rows.data(), 4 * PIXELS, out.data(), &length,
                            settings.get(), coder.get());
  }
};

void report(benchmark::State& state, double bytesPerBand) {
  state.counters["MP/s"] = benchmark::Counter(PIXELS * 1e-6, benchmark::Counter::kIsIterationInvariantRate);
  state.counters["bytes/band"] = bytesPerBand;
}

void colorBand(benchmark::State& state, Kind kind) {
  const Bytes band = makeBand(kind, 3);
  Encoder encoder;
  for ([[maybe_unused]] auto _ : state) encoder.color(band);
  report(state, encoder.length);
}

void greyBand(benchmark::State& state, Kind kind) {
  const Bytes band = makeBand(kind, 1);
  Encoder encoder;
  for ([[maybe_unused]] auto _ : state) encoder.grey(band);
  report(state, encoder.length);
}

void tagStrip(benchmark::State& state) {
  const Bytes tags(32 * PIXELS, 3);
  Bytes out(2 * tags.size());
  for ([[maybe_unused]] auto _ : state) {
    benchmark::DoNotOptimize(tbrle_encode(static_cast<std::uint32_t>(out.size()), out.data(),
                                          static_cast<std::uint32_t>(tags.size()), tags.data()));
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * static_cast<std::int64_t>(tags.size()));
}

BENCHMARK_CAPTURE(colorBand, white, WHITE);
BENCHMARK_CAPTURE(colorBand, text, TEXT);
BENCHMARK_CAPTURE(colorBand, noise, NOISE);
BENCHMARK_CAPTURE(greyBand, white, WHITE);
BENCHMARK_CAPTURE(greyBand, text, TEXT);
BENCHMARK_CAPTURE(greyBand, noise, NOISE);
BENCHMARK(tagStrip);

}  // namespace

BENCHMARK_MAIN();
