#include <string>

#include "documents.h"
#include "measurements.h"

namespace kesto::bench {
namespace {

constexpr int TURNS = 3;

Comparison compareWithRenderer(const std::string& document) {
  return compare(
      TURNS, [&] { return secondsOf(runProgram(Programs::filter(Programs::product(), document))); },
      [&] { return secondsOf(runProgram(Programs::renderer(Programs::product(), document))); });
}

/// Milliseconds of processor time a page, without what came before: both get the raster through a pipe.
Comparison compareWithRasterFilter(const Programs& programs, const Setup& theirs, const std::string& raster) {
  constexpr unsigned PAGES = 30;
  const auto perPage = [](const Outcome& usage) { return 1e3 * usage.processorSeconds / PAGES; };
  return compare(
      TURNS, [&] { return perPage(runProgram(programs.filterOnRaster(raster, PAGES))); },
      [&] { return perPage(runProgramBehind(programs.replay(raster, PAGES), Programs::rasterToPcl(theirs))); });
}

}  // namespace

void measureJobs(const Programs& programs, Report& report) {
  constexpr unsigned TEXT_PAGES = 30;
  constexpr unsigned PHOTOGRAPHS = 8;
  const std::string text = programs.write("text.pdf", makeTextDocument(TEXT_PAGES));
  const std::string photographs = programs.write("photographs.pdf", makePhotographDocument(PHOTOGRAPHS));

  Table jobs{"The whole job", "seconds", "pdftoraster", {}};
  tellProgress("whole job, text");
  jobs.rows.push_back({"30 pages of text", compareWithRenderer(text), Bound::AT_MOST, 1.10});
  tellProgress("whole job, photographs");
  jobs.rows.push_back({"8 full-page photographs", compareWithRenderer(photographs), Bound::AT_MOST, 1.25});
  report.tables.push_back(std::move(jobs));

  tellProgress("processor time beside rastertopclx");
  const std::string page = programs.write("page.pdf", makeTextDocument(1));
  const Setup rgb = programs.rgbPrinter();
  const Setup inks = programs.inkPrinter();
  const std::string raster = programs.render(rgb, page, "page.ras");
  report.tables.push_back(
      {"Processor time of a text page, the renderer's not counted",
       "milliseconds",
       "rastertopclx",
       {{"beside four planes of ink", compareWithRasterFilter(programs, inks, raster), Bound::AT_MOST, 1.0},
        {"beside 24-bit RGB", compareWithRasterFilter(programs, rgb, raster), Bound::AT_MOST, 1.0}}});
}

}  // namespace kesto::bench
