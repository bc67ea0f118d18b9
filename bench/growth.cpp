#include <array>
#include <string>

#include "documents.h"
#include "measurements.h"

namespace kesto::bench {
namespace {

/// How much more a pixel or a page may cost than in the next smaller job and still count as costing the same.
constexpr double SAME = 1.25;

struct Resolution {
  unsigned dpi;
  unsigned pages;  // enough of them that the process's start does not matter
};
constexpr std::array RESOLUTIONS{Resolution{150, 48}, Resolution{300, 24}, Resolution{600, 12}, Resolution{1200, 4}};

/// Seconds a page at each resolution, of real jobs and of the filter by itself.
void measureResolutions(const Programs& programs, Report& report) {
  constexpr unsigned RENDERED_PAGES = 2;
  const std::string page = programs.write("page.pdf", makeTextDocument(1));
  const std::string document = programs.write("pages.pdf", makeTextDocument(RENDERED_PAGES));
  Series renderer{"pdftoraster alone", "seconds a page", {}};
  Series whole{"the whole job", "seconds a page", {}};
  Series own{"the filter's own processor time", "seconds a page", {}};
  for (const Resolution& resolution : RESOLUTIONS) {
    const std::string dpi = std::to_string(resolution.dpi);
    tellProgress(dpi + " dpi");
    const Setup setup = programs.rgbPrinter(resolution.dpi);
    const std::string raster = programs.render(setup, page, dpi + ".ras");
    const Outcome usage = runProgram(programs.filterOnRaster(raster, resolution.pages));
    own.values.emplace_back(dpi, usage.processorSeconds / resolution.pages);
    const Comparison times = compare(
        3, [&] { return secondsOf(runProgram(Programs::filter(setup, document))) / RENDERED_PAGES; },
        [&] { return secondsOf(runProgram(Programs::renderer(setup, document))) / RENDERED_PAGES; });
    whole.values.emplace_back(dpi, times.ours);
    renderer.values.emplace_back(dpi, times.theirs);
  }
  Table table{"Growth with pixels, processor time of the filter", "nanoseconds a pixel", "half the dpi", {}};
  constexpr double SHEET = (612.0 - 24) * (792 - 24) / (72 * 72);  // square inches within the margins
  const auto perPixel = [&](std::size_t i) {
    return own.values[i].second * 1e9 / (SHEET * RESOLUTIONS[i].dpi * RESOLUTIONS[i].dpi);
  };
  for (std::size_t i = 1; i < RESOLUTIONS.size(); ++i) {
    const Comparison measured{perPixel(i), perPixel(i - 1), perPixel(i) / perPixel(i - 1)};
    table.rows.push_back({own.values[i].first + " dpi", measured, Bound::AT_MOST, SAME});
  }
  report.tables.push_back(std::move(table));
  report.series.insert(report.series.end(), {whole, renderer, own});
}

double megabytes(const Outcome& outcome) {
  return 1024e-6 * static_cast<double>(outcome.peakMemory);
}

/// The usage of a job of so many times the one page in `raster`.
Outcome printPages(const Programs& programs, const std::string& raster, unsigned pages) {
  tellProgress(std::to_string(pages) + (pages == 1 ? " page" : " pages"));
  return runProgram(programs.filterOnRaster(raster, pages));
}

void measurePages(const Programs& programs, Report& report) {
  const std::string page = programs.write("page.pdf", makeTextDocument(1));
  const std::string raster = programs.render(Programs::product(), page, "text.ras");
  Table table{"Growth with pages, processor time of the filter", "milliseconds a page", "a tenth of them", {}};
  double before = 0;
  for (const unsigned pages : {1U, 10U, 100U}) {
    const double perPage = 1e3 * printPages(programs, raster, pages).processorSeconds / pages;
    if (before > 0) {
      const Comparison measured{perPage, before, perPage / before};
      table.rows.push_back({std::to_string(pages) + " pages", measured, Bound::AT_MOST, SAME});
    }
    before = perPage;
  }
  report.tables.push_back(std::move(table));
}

/// Photographs take most memory: three of them are enough to have used all of the output channel's ring.
void measureMemory(const Programs& programs, Report& report) {
  constexpr double LIMIT = 80;  // megabytes
  constexpr double SAME_MEMORY = 1.05;
  const std::string page = programs.write("page.pdf", makePhotographDocument(1));
  const std::string raster = programs.render(Programs::product(), page, "photograph.ras");
  const double few = megabytes(printPages(programs, raster, 3));
  const double many = megabytes(printPages(programs, raster, 300));
  report.tables.push_back({"Memory, 600 dpi, no copies",
                           "megabytes resident at most",
                           "compared with",
                           {{"3 photographs, beside the limit", {few, LIMIT, few / LIMIT}, Bound::AT_MOST, 1},
                            {"300 photographs, beside the limit", {many, LIMIT, many / LIMIT}, Bound::AT_MOST, 1},
                            {"300 photographs, beside 3", {many, few, many / few}, Bound::AT_MOST, SAME_MEMORY}}});
}

}  // namespace

void measureGrowth(const Programs& programs, Report& report) {
  measureResolutions(programs, report);
  measurePages(programs, report);
  measureMemory(programs, report);
}

}  // namespace kesto::bench
