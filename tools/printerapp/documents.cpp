#include "printerapp/documents.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <system_error>

#include "printerapp/driver.h"
#include "printerapp/jobticket.h"
#include "printerapp/rasterspool.h"

namespace kesto::app {
namespace {

constexpr char PDF_TYPE[] = "application/pdf", RASTER_TYPE[] = "application/vnd.cups-raster";
constexpr unsigned DRAFT_RESOLUTION = 300, NORMAL_RESOLUTION = 600;
constexpr unsigned MARGIN_POINTS = 12, POINTS_PER_INCH = 72;
constexpr unsigned COLOUR_BITS = 24, GREY_BITS = 8;
constexpr char COLOUR_FAULT[] = "Pages are printed in sRGB or in grey of 8 bits only.";

using PrintOptions = std::unique_ptr<pappl_pr_options_t, decltype(&papplJobDeletePrintOptions)>;

const Setup* theSetup = nullptr;  // PAPPL gives its raster callbacks no data of ours; set before the system runs

/// The raster of one job, and why it cannot be printed.
struct RasterJob {
  RasterSpool spool;
  PageForm form;  ///< of the first page
  std::string options;
  std::string fault;
  pappl_jreason_t reason = PAPPL_JREASON_NONE;

  explicit RasterJob(const std::string& folder) : spool(folder) {}
};

bool refuse(pappl_job_t* job, const std::string& why, pappl_jreason_t reason) {
  papplLogJob(job, PAPPL_LOGLEVEL_ERROR, "%s", why.c_str());
  papplJobSetMessage(job, "%s", why.c_str());
  papplJobSetReasons(job, reason, PAPPL_JREASON_NONE);
  return false;
}

/// PAPPL begins a job that is cancelled just then, and has taken its file away.
bool refuseWithoutFile(pappl_job_t* job) {
  return refuse(job, "The job was cancelled before it began.", PAPPL_JREASON_JOB_CANCELED_BY_USER);
}

RasterJob* rasterOf(pappl_job_t* job) {
  return static_cast<RasterJob*>(papplJobGetData(job));
}

/// A number of pixels in hundredths of a millimetre; what no paper has is INT_MAX.
int lengthOf(unsigned pixels, unsigned resolution) {
  constexpr std::uint64_t HUNDREDTHS_PER_INCH = 2540;
  return static_cast<int>(std::min<std::uint64_t>(pixels * HUNDREDTHS_PER_INCH / resolution, INT_MAX));
}

/// The form of a sheet, by its own pixels.
PageForm sheetForm(const pappl_pr_options_t& options) {
  const cups_page_header2_t& sheet = options.header;
  const unsigned resolution = sheet.HWResolution[0];
  PageForm form = formOf(options);
  form.draft = resolution == DRAFT_RESOLUTION;
  form.colour = sheet.cupsBitsPerPixel == COLOUR_BITS;
  form.width = lengthOf(sheet.cupsWidth, resolution);
  form.length = lengthOf(sheet.cupsHeight, resolution);
  return form;
}

/// True when the options have a header of PAPPL's own, which it makes when it does not take the client's: for pages of
/// one bit per pixel, whose lines are not what that header says.
bool hasOwnHeader(pappl_job_t* job, const pappl_pr_options_t& options) {
  const PrintOptions own(papplJobCreatePrintOptions(job, 0, false), papplJobDeletePrintOptions);
  if (!own) return false;
  unsigned* const numbers = own->header.cupsInteger;
  numbers[CUPS_RASTER_PWG_TotalPageCount] = options.header.cupsInteger[CUPS_RASTER_PWG_TotalPageCount];
  // Made by the same function, they are alike to the byte.
  // NOLINTNEXTLINE(bugprone-suspicious-memory-comparison)
  return std::memcmp(&own->header, &options.header, sizeof own->header) == 0;
}

/// Why a sheet cannot be printed; empty when it can.
std::string sheetFault(const cups_page_header2_t& sheet) {
  const unsigned resolution = sheet.HWResolution[0];
  if (resolution != sheet.HWResolution[1] || (resolution != DRAFT_RESOLUTION && resolution != NORMAL_RESOLUTION)) {
    return "Pages of " + std::to_string(resolution) + " x " + std::to_string(sheet.HWResolution[1]) +
           " dpi cannot be printed.";
  }
  const bool colour = sheet.cupsColorSpace == CUPS_CSPACE_SRGB && sheet.cupsBitsPerPixel == COLOUR_BITS;
  const bool grey = sheet.cupsColorSpace == CUPS_CSPACE_SW && sheet.cupsBitsPerPixel == GREY_BITS;
  if (!colour && !grey) return COLOUR_FAULT;
  if (sheet.cupsBytesPerLine != std::uint64_t{sheet.cupsWidth} * sheet.cupsBitsPerPixel / 8) {
    return "The raster's lines do not fit its width.";
  }
  return "";
}

bool startRasterJob(pappl_job_t* job, pappl_pr_options_t*, pappl_device_t*) {
  beginOnce(job);
  try {
    papplJobSetData(job, new RasterJob(theSetup->temporary));
    return true;
  } catch (const std::exception& error) {
    return refuse(job, std::string("The pages cannot be kept: ") + error.what(), PAPPL_JREASON_ERRORS_DETECTED);
  }
}

/// Why a page cannot follow the first one, or cannot be the first; empty when it can.
std::string formFault(const PageForm& form, const PageForm& first) {
  const auto near = [](int a, int b) { return std::abs(a - b) <= PAPER_TOLERANCE; };
  if (form.draft != first.draft || form.colour != first.colour) {
    return "The pages of a job have one resolution and one kind of colour.";
  }
  if (!near(form.width, first.width) || !near(form.length, first.length)) return "The pages of a job have one size.";
  const Catalogue& catalogue = theSetup->catalogue;
  const auto within = [](int length, int least, int most) {
    return length >= least - PAPER_TOLERANCE && length <= most + PAPER_TOLERANCE;
  };
  const bool custom = within(form.width, catalogue.smallest.width, catalogue.largest.width) &&
                      within(form.length, catalogue.smallest.length, catalogue.largest.length);
  if (custom || catalogue.find(form.width, form.length, form.borderless) != nullptr) return "";
  return "The pages are of a size that the printer has no paper for.";
}

/// Begins a page as the first one determines: what the printer is told stands at the start of its job.
bool startRasterPage(pappl_job_t* job, pappl_pr_options_t* options, pappl_device_t*, unsigned) {
  RasterJob& raster = *rasterOf(job);
  const cups_page_header2_t& sheet = options->header;
  raster.fault = hasOwnHeader(job, *options) ? COLOUR_FAULT : sheetFault(sheet);
  raster.reason = PAPPL_JREASON_DOCUMENT_UNPRINTABLE_ERROR;
  if (!raster.fault.empty()) return false;
  const PageForm form = sheetForm(*options);
  if (raster.spool.pages() == 0) raster.form = form;
  raster.fault = formFault(form, raster.form);
  if (!raster.fault.empty()) return false;
  try {
    raster.options = driverOptions(theSetup->catalogue, papplJobGetPrinter(job), *options, raster.form);
    const Paper* const paper = theSetup->catalogue.find(raster.form.width, raster.form.length, raster.form.borderless);
    const bool bordered = paper == nullptr || !paper->borderless;
    const unsigned margin = bordered ? MARGIN_POINTS * sheet.HWResolution[0] / POINTS_PER_INCH : 0;
    raster.spool.beginPage(pageHeader(theSetup->catalogue, raster.options), margin, sheet.cupsHeight,
                           sheet.cupsBytesPerLine);
  } catch (const std::exception& error) {
    raster.fault = error.what();
    return false;
  }
  return true;
}

bool writeRasterLine(pappl_job_t* job, pappl_pr_options_t*, pappl_device_t*, unsigned y, const unsigned char* line) {
  RasterSpool& spool = rasterOf(job)->spool;
  spool.writeLine(y, line);
  return spool.error() == 0;
}

bool endRasterPage(pappl_job_t* job, pappl_pr_options_t*, pappl_device_t*, unsigned page) {
  RasterJob& raster = *rasterOf(job);
  const bool whole = raster.spool.endPage();
  if (raster.spool.error() != 0) {
    raster.fault = "The pages cannot be kept: " + std::generic_category().message(raster.spool.error());
    raster.reason = PAPPL_JREASON_ERRORS_DETECTED;
  } else if (!whole && !papplJobIsCanceled(job)) {
    raster.fault = "The raster ends within page " + std::to_string(page) + ".";
    raster.reason = PAPPL_JREASON_DOCUMENT_FORMAT_ERROR;
  }
  return raster.fault.empty();
}

bool endRasterJob(pappl_job_t* job, pappl_pr_options_t* options, pappl_device_t* device) {
  const std::unique_ptr<RasterJob> raster(rasterOf(job));
  papplJobSetData(job, nullptr);
  if (!raster) return true;
  if (!raster->fault.empty()) return refuse(job, raster->fault, raster->reason);
  if (papplJobGetState(job) == IPP_JSTATE_ABORTED) {
    return refuse(job, "The raster has a page that cannot be read.", PAPPL_JREASON_DOCUMENT_FORMAT_ERROR);
  }
  if (papplJobIsCanceled(job)) return true;
  if (raster->spool.pages() == 0) {
    return refuse(job, "The raster has no page.", PAPPL_JREASON_DOCUMENT_FORMAT_ERROR);
  }
  const bool collated = isCollated(job) && raster->spool.pages() > 1;
  const bool twoSided = options->sides != PAPPL_SIDES_ONE_SIDED;
  // Each copy of a two-sided document begins on a sheet of its own.
  if (collated && options->copies > 1 && twoSided && raster->spool.pages() % 2 != 0) raster->spool.addBlankPage();
  const FilterCall call = {
      .commands = {filterCommand(*theSetup, "rastertokesto", job, collated ? 1 : options->copies, raster->options)},
      .environment = filterEnvironment(*theSetup, job, RASTER_TYPE),
      .input = raster->spool.descriptor(),
      .extents = raster->spool.extents(collated ? options->copies : 1)};
  return printJob(job, device, call, Pages::COUNTED_BY_PAPPL);
}

/// Passes a job on that is ready for the printer.
bool printReadyJob(pappl_job_t* job, pappl_pr_options_t*, pappl_device_t* device) {
  beginOnce(job);
  const char* const file = papplJobGetFilename(job);
  if (file == nullptr) return refuseWithoutFile(job);
  const FilterCall call = {.commands = {{.program = "/bin/cat", .arguments = {"cat", file}}},
                           .environment = {},
                           .extents = {},
                           .ready = true};
  return printJob(job, device, call, Pages::COUNTED_BY_PAPPL);
}

const char* testPage(pappl_printer_t*, char* buffer, std::size_t size) {
  papplCopyString(buffer, theSetup->testPage.c_str(), size);
  return buffer;
}

}  // namespace

bool printDocument(pappl_job_t* job, pappl_device_t* device, void* data) {
  beginOnce(job);
  const Setup& setup = *static_cast<const Setup*>(data);
  const PrintOptions options(papplJobCreatePrintOptions(job, 0, true), papplJobDeletePrintOptions);
  if (!options) return refuse(job, "The system has no memory left.", PAPPL_JREASON_ERRORS_DETECTED);
  const char* const file = papplJobGetFilename(job);
  if (file == nullptr) return refuseWithoutFile(job);
  const std::string ticket = driverOptions(setup.catalogue, papplJobGetPrinter(job), *options, formOf(*options));
  const std::string wishes = ticket + ' ' + documentOptions(job, *options);
  const bool pdf = std::string_view(papplJobGetFormat(job)) == PDF_TYPE;
  // An image is one page: its copies are the same collated or not, and made by the last filter.
  Command first = pdf ? filterCommand(setup, "pdftopdf", job, options->copies, wishes)
                      : filterCommand(setup, "imagetopdf", job, 1, wishes);
  first.arguments.emplace_back(file);
  const FilterCall call = {
      .commands = {first, filterCommand(setup, "pdftokesto", job, options->copies, pdf ? wishes : ticket)},
      .environment = filterEnvironment(setup, job, papplJobGetFormat(job)),
      .extents = {}};
  return printJob(job, device, call, Pages::COUNTED_HERE);
}

void setPrintingCallbacks(const Setup& setup, pappl_pr_driver_data_t& data) {
  theSetup = &setup;
  data.printfile_cb = printReadyJob;
  data.rstartjob_cb = startRasterJob;
  data.rstartpage_cb = startRasterPage;
  data.rwriteline_cb = writeRasterLine;
  data.rendpage_cb = endRasterPage;
  data.rendjob_cb = endRasterJob;
  data.testpage_cb = testPage;
}

}  // namespace kesto::app
