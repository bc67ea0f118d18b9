// Where the time of a page goes: the steps of the job thread and of the image thread, called band by band as the two
// call them, on pages that pdftoraster has rendered. What the whole filter takes beyond the sum is told as well.
#include <span>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <unistd.h>

#include "argumentlist.h"
#include "bandencoder.h"
#include "documents.h"
#include "filter/document/rasterstream.h"
#include "filter/document/renderer.h"
#include "filter/lines/blockring.h"
#include "filter/lines/lineblock.h"
#include "filter/lines/linestore.h"
#include "filter/lines/pagereader.h"
#include "filter/strips/strips.h"
#include "filter/strips/tagplane.h"
#include "measurements.h"
#include "support/standardinput.h"

namespace kesto::bench {
namespace {

constexpr unsigned PAGES = 10;

/// Processor seconds of each step, of all pages together.
struct StageTimes {
  double reading = 0, passing = 0, converting = 0, compressing = 0, writing = 0;
};

/// The processor time of this thread since the last call.
class Lap {
 public:
  double operator()() {
    const double before = std::exchange(now_, test::processorSeconds(CLOCK_THREAD_CPUTIME_ID));
    return now_ - before;
  }

 private:
  double now_ = test::processorSeconds(CLOCK_THREAD_CPUTIME_ID);
};

PageGeometry geometryOf(const cups_page_header2_t& header) {
  const auto roundUp = [](std::uint32_t value, std::uint32_t multiple) {
    return (value + multiple - 1) / multiple * multiple;
  };
  return {roundUp(header.cupsWidth, 16), roundUp(header.cupsHeight, LINES_PER_BLOCK), 3};
}

/// Takes the stream's current page through all steps. The blocks lie in `ring` one behind the other.
void printPage(RasterStream& stream, const PageGeometry& page, LineStore& lines, Bytes& ring, BandEncoder& encoder,
               StageTimes& times) {
  Lap lap;
  for (std::uint32_t line = 0; line < page.pixelHeight; line += LINES_PER_BLOCK) {
    for (std::uint32_t slot = 0; slot < LINES_PER_BLOCK; ++slot) {
      stream.readLine(PixelFormat::RGB, lines.next());
      lines.push();
    }
    times.reading += lap();
    const std::uint32_t band = line / LINES_PER_BLOCK;
    const std::size_t place = std::size_t{band % BlockRing::BLOCKS} * page.blockBytes();
    const LineBlock block({&ring[place], page.blockBytes()}, page, line);
    for (std::uint32_t slot = 0; slot < LINES_PER_BLOCK; ++slot) lines.pop(block.imageRow(slot));
    times.passing += lap();
    encoder.convert(block.imageRow(0).data());
    times.converting += lap();
    encoder.compress(block.imageRow(0).data(), band, line + LINES_PER_BLOCK == page.pixelHeight);
    times.compressing += lap();
  }
}

StageTimes printPages(const Programs& programs, const std::string& raster) {
  std::vector<std::string> arguments{"Bench", "1", "bench", "Benchmark", "1", ""};
  const test::StandardInput restoredAtEnd;
  const Renderer renderer(REPLAY_SERVERBIN, tools::pointersTo(arguments).data(),
                          programs.replayDocument(raster, PAGES));
  RasterStream stream(renderer);
  if (!stream.readHeader()) throw std::runtime_error("cannot read " + raster);
  const PageGeometry page = geometryOf(*stream.header());
  LineStore lines(page.bytesPerLine(), PageReader::STORE_BYTES);
  Bytes ring(std::size_t{BlockRing::BLOCKS} * page.blockBytes());
  BandEncoder encoder(page.pixelWidth, 3);

  StageTimes times;
  const double processStart = test::processorSeconds(CLOCK_PROCESS_CPUTIME_ID);
  const double threadStart = test::processorSeconds(CLOCK_THREAD_CPUTIME_ID);
  do {
    printPage(stream, page, lines, ring, encoder, times);
  } while (stream.readHeader());
  encoder.finish();
  times.writing = test::processorSeconds(CLOCK_PROCESS_CPUTIME_ID) - processStart -
                  (test::processorSeconds(CLOCK_THREAD_CPUTIME_ID) - threadStart);
  return times;
}

/// The tags of all pages, strip by strip.
double encodeTags(const PageGeometry& page) {
  const Bytes tags(LINES_PER_BLOCK * page.pixelWidth, PAGE_TAG);
  const std::uint32_t bands = page.pixelHeight / LINES_PER_BLOCK;
  TagPlane plane;
  Lap lap;
  for (std::uint32_t band = 0; band < PAGES * bands; ++band) {
    plane.append(tags);
    if (band % bands % BANDS_PER_STRIP != BANDS_PER_STRIP - 1 && band % bands != bands - 1) continue;
    if (plane.encode().empty()) throw std::runtime_error("tags were not encoded");
    plane.clear();
  }
  return lap();
}

Series measurePage(const Programs& programs, const std::string& name, const std::string& document) {
  constexpr PageGeometry LETTER{4912, 6400, 3};
  tellProgress("stages, " + name);
  const std::string path = programs.write("stages.pdf", document);
  const double rendering = runProgram(Programs::renderer(Programs::product(), path)).processorSeconds;
  const std::string raster = programs.render(Programs::product(), path, "stages.ras");
  const StageTimes times = printPages(programs, raster);
  const double tags = encodeTags(LETTER);
  const double whole = runProgram(programs.filterOnRaster(raster, PAGES)).processorSeconds;
  const double steps = times.reading + times.passing + times.converting + times.compressing + times.writing;

  Series series{name, "milliseconds a page", {{"rendering", 1e3 * rendering}}};
  const auto add = [&](const char* stage, double seconds) { series.values.emplace_back(stage, 1e3 * seconds / PAGES); };
  add("reading into the store", times.reading);
  add("line blocks", times.passing);
  add("colour conversion", times.converting);
  add("transform and coding", times.compressing - tags);
  add("tags", tags);
  add("writing", times.writing);
  add("everything else", whole - steps);
  return series;
}

}  // namespace

void measureStages(const Programs& programs, Report& report) {
  report.series.push_back(measurePage(programs, "a page of text", makeTextDocument(1)));
  report.series.push_back(measurePage(programs, "a photograph", makePhotographDocument(1)));
}

}  // namespace kesto::bench
