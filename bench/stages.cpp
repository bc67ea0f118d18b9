// Each step of a page by itself, called as the filter calls it, on pages that pdftoraster has rendered. What the whole
// filter takes beyond the sum of its steps is told as well.
#include <stdexcept>
#include <string>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

#include "bandencoder.h"
#include "codec/tbrle.h"
#include "documents.h"
#include "filter/lineblock.h"
#include "filter/pagepipeline.h"
#include "filter/rasterstream.h"
#include "filter/renderer.h"
#include "hdc/hdc.h"
#include "measurements.h"

namespace kesto::bench {
namespace {

/// Processor seconds of the whole process, so that the print thread's count.
template <class Work>
double secondsOf(Work work) {
  const double start = processSeconds();
  work();
  return processSeconds() - start;
}

/// A page as the job thread has it: blocks of 8 lines, end to end, padded with white to whole blocks across.
struct PageBlocks {
  std::size_t width = 0;
  Bytes rgb;
};

constexpr std::size_t roundUp(std::size_t value, std::size_t multiple) {
  return (value + multiple - 1) / multiple * multiple;
}

/// Reads the page of a raster file through the renderer's pipe.
double readPage(const Programs& programs, const std::string& raster, PageBlocks& page) {
  std::vector<std::string> texts{"Bench", "1", "bench", "Benchmark", "1", ""};
  std::vector<char*> arguments;
  for (std::string& text : texts) arguments.push_back(text.data());
  const Renderer renderer(REPLAY_SERVERBIN, arguments.data(), programs.replayDocument(raster, 1));
  RasterStream stream(renderer);
  return secondsOf([&] {
    if (!stream.readHeader()) throw std::runtime_error("cannot read " + raster);
    const cups_page_header2_t& header = *stream.header();
    page.width = roundUp(header.cupsWidth, 16);
    const std::size_t height = roundUp(header.cupsHeight, LINES_PER_BLOCK);
    const std::size_t lineBytes = 3 * page.width;
    if (page.rgb.size() != height * lineBytes) page.rgb.assign(height * lineBytes, 0xFF);
    for (std::size_t line = 0; line < height; ++line) {
      stream.readLine(PixelFormat::RGB, std::span(page.rgb).subspan(line * lineBytes, lineBytes));
    }
  });
}

/// Passes the page from a producer to a consumer through a ring as large as the job's.
double passThroughRing(const PageBlocks& page) {
  constexpr std::uint32_t BLOCKS_IN_RING = 10;
  const auto blockBytes = static_cast<std::uint32_t>(4 * LINES_PER_BLOCK * page.width);  // pixels and tags
  Bytes block(blockBytes);
  Bytes taken(blockBytes);
  cbuffer ring;
  if (!cbufferCreate(&ring, BLOCKS_IN_RING * blockBytes)) throw std::bad_alloc();
  const std::size_t blocks = page.rgb.size() / (3 * LINES_PER_BLOCK * page.width);
  const double seconds = secondsOf([&] {
    for (std::size_t i = 0; i < blocks; ++i) {
      if (!cbufferWriteBytes(&ring, block.data(), blockBytes) || !cbufferReadBytes(&ring, taken.data(), blockBytes)) {
        throw std::runtime_error("the ring is full");
      }
    }
  });
  cbufferFree(&ring);
  return seconds;
}

double encodeTags(std::size_t width, std::size_t bands) {
  const Bytes tags(BANDS_PER_STRIP * LINES_PER_BLOCK * width, PAGE_TAG);
  Bytes stream(2 * tags.size());
  return secondsOf([&] {
    for (std::size_t band = 0; band < bands; band += BANDS_PER_STRIP) {
      const std::size_t count = std::min<std::size_t>(BANDS_PER_STRIP, bands - band) * LINES_PER_BLOCK * width;
      if (tbrle_encode(static_cast<std::uint32_t>(stream.size()), stream.data(), static_cast<std::uint32_t>(count),
                       tags.data()) == 0) {
        throw std::runtime_error("tags were not encoded");
      }
    }
  });
}

/// Sends as many bytes as the page's streams have through the output channel.
double writeOut(std::size_t bytes) {
  const Bytes data(bytes, 0x55);
  hdcContext.outputDescriptor = open("/dev/null", O_WRONLY | O_CLOEXEC);
  const double seconds = secondsOf([&] {
    hdcInitialize(20 * 1024 * 1024, 5 * 1024 * 1024);
    hdcStartPrintThread(nullptr);
    hdcWrite(data.data(), static_cast<std::uint32_t>(data.size()));
    hdcWaitUntilEmpty();
    hdcStopPrintThread();
    hdcDestroy();
  });
  close(hdcContext.outputDescriptor);
  return seconds;
}

double convertBands(BandEncoder& encoder, const Bytes& rgb, std::size_t bands) {
  return secondsOf([&] {
    for (std::size_t band = 0; band < bands; ++band) encoder.convert(rgb, band);
  });
}

Series measurePage(const Programs& programs, const std::string& name, const std::string& document) {
  constexpr unsigned PAGES = 10;
  tellProgress("stages, " + name);
  const std::string path = programs.write("stages.pdf", document);
  const double rendering = runProgram(Programs::renderer(Programs::product(), path)).processorSeconds;
  const std::string raster = programs.render(Programs::product(), path, "stages.ras");
  PageBlocks page;
  readPage(programs, raster, page);  // memory that has never been touched would be charged to the reading
  const double reading = readPage(programs, raster, page);
  const std::size_t bands = page.rgb.size() / (3 * LINES_PER_BLOCK * page.width);
  BandEncoder encoder(page.width);
  std::size_t length = encoder.encode(page.rgb, 3);
  const double encoding = secondsOf([&] { length = encoder.encode(page.rgb, 3); });
  const double converting = convertBands(encoder, page.rgb, bands);
  Series series{name, "milliseconds a page", {}};
  const auto add = [&](const char* stage, double seconds) { series.values.emplace_back(stage, 1e3 * seconds); };
  add("rendering", rendering);
  add("reading", reading);
  add("line block ring", passThroughRing(page));
  add("colour conversion", converting);
  add("transform and coding", encoding - converting);
  add("tags", encodeTags(page.width, bands));
  add("writing", writeOut(length));
  double steps = 0;
  for (std::size_t i = 1; i < series.values.size(); ++i) steps += series.values[i].second;
  const double whole = runProgram(programs.filterOnRaster(raster, PAGES)).processorSeconds / PAGES;
  add("everything else", whole - steps / 1e3);
  return series;
}

}  // namespace

void measureStages(const Programs& programs, Report& report) {
  report.series.push_back(measurePage(programs, "a page of text", makeTextDocument(1)));
  report.series.push_back(measurePage(programs, "a photograph", makePhotographDocument(1)));
}

}  // namespace kesto::bench
