// A raster stream through the whole page pipeline: its bytes on standard input, the page loop, the image thread, the
// job. The job reader has to find the job good, with as many pages as are due.
#include <sys/mman.h>
#include <unistd.h>

#include "copyplan.h"
#include "filter/joberror.h"
#include "filter/jobframe.h"
#include "filter/jobstate.h"
#include "filter/pageloop.h"
#include "filter/pjl.h"
#include "jobjudge.h"
#include "jobsettings/optionsource.h"
#include "jobsettings/optionvalues.h"
#include "kestojob/reader/jobcheck.h"
#include "picture.h"
#include "rastermodel.h"

namespace {

using namespace kesto;
using fuzz::Bytes;
using fuzz::Input;
using fuzz::RasterPage;
using fuzz::require;

/// What one execution may print, copies and all.
constexpr std::size_t MOST_PIXELS = 100'000;

/// Standard input with these bytes in it.
void provideInput(const Bytes& bytes) {
  const int file = memfd_create("raster", 0);
  require(write(file, bytes.data(), bytes.size()) == std::ssize(bytes) && lseek(file, 0, SEEK_SET) == 0);
  if (file == STDIN_FILENO) return;
  dup2(file, STDIN_FILENO);
  close(file);
}

void append(Bytes& stream, const void* bytes, std::size_t count) {
  const auto* first = static_cast<const std::uint8_t*>(bytes);
  stream.insert(stream.end(), first, first + count);
}

/// Pages out of a few bytes each, as a renderer would send them.
Bytes readPages(Input& in) {
  constexpr std::uint32_t SYNC = 0x52615333;  // "RaS3": not compressed, in the host's byte order
  constexpr std::array SPACES = {CUPS_CSPACE_RGB, CUPS_CSPACE_W, CUPS_CSPACE_SRGB, CUPS_CSPACE_K, CUPS_CSPACE_CMY};
  Bytes stream;
  append(stream, &SYNC, sizeof SYNC);
  std::uint8_t last = 0;
  for (int page = 0; page < 4 && !in.empty(); ++page) {
    cups_page_header2_t header = {};
    last = in.byte();
    header.cupsColorSpace = SPACES[(last & 7U) % SPACES.size()];
    const bool grey = header.cupsColorSpace == CUPS_CSPACE_W || header.cupsColorSpace == CUPS_CSPACE_K;
    header.Duplex = (last & 8) != 0 ? CUPS_TRUE : CUPS_FALSE;
    header.cupsRowStep = (last & 16) != 0 ? MIRROR_BY_FILTER : 1;
    header.HWResolution[0] = header.HWResolution[1] = (last & 32) != 0 ? 300 : 600;
    header.cupsWidth = in.number(1, 100);
    header.cupsHeight = in.number(1, 300);
    header.cupsBitsPerColor = 8;
    header.cupsNumColors = grey ? 1 : 3;
    header.cupsBitsPerPixel = 8 * header.cupsNumColors;
    header.cupsBytesPerLine = header.cupsWidth * header.cupsNumColors;
    append(stream, &header, sizeof header);
    const Bytes pixels = fuzz::readPicture(in, header.cupsBytesPerLine, header.cupsHeight);
    append(stream, pixels.data(), pixels.size());
  }
  if ((last & 64) != 0) stream.resize(stream.size() - std::min<std::size_t>(stream.size(), in.word16()));
  return stream;
}

struct Job {
  std::string ticket;
  std::int32_t copies = 1;
  bool jobSheet = false;
};

/// The size of every page.
struct Size {
  std::size_t width = 0, height = 0;
};

Size sizeOf(const RasterPage& first, const JobSetting& setting) {
  const bool custom = setting.mediaSizeType == MEDIA_SIZE_CUSTOM;
  const std::size_t width = (first.header.cupsWidth + 15) / 16 * 16;
  return {custom ? static_cast<std::uint32_t>(setting.customPixelWidth) : width, (first.header.cupsHeight + 7) / 8 * 8};
}

void requireJob(const Bytes& bytes, const Job& job, const std::vector<RasterPage>& pages, const JobSetting& setting) {
  const auto plan = fuzz::copyPlan(job.jobSheet ? std::min<std::size_t>(pages.size(), 1) : pages.size(),
                                   job.jobSheet ? 1 : job.copies, setting.duplex == ON && !job.jobSheet, false, 100);
  require(job::checkJob(bytes).pages == plan.size());
}

/// The job as the filter's main flow runs it, without a renderer and a print thread.
void runJob(RasterStream& raster, const Job& job, const std::vector<RasterPage>& pages) {
  const bool pageFollows = raster.readHeader();
  require(pageFollows == !pages.empty());
  if (!raster.fault().empty()) return;
  JobSetting setting = {};
  initializeJobSetting(&setting, raster.header(), job.ticket.c_str());
  const Size size = pageFollows ? sizeOf(pages[0], setting) : Size{};
  const std::size_t printedPages = pages.size() * static_cast<std::size_t>(job.copies);
  if (size.width <= 65520 && size.width * size.height * printedPages > MOST_PIXELS) return;
  const bool canBeGood = fuzz::canBeGood(setting) && std::ranges::none_of(pages, [](const RasterPage& page) {
                           const char* type = page.header.MediaType;
                           return fuzz::hasControlCharacter({type, strnlen(type, sizeof page.header.MediaType - 1)});
                         });
  setting.fDateTime = 46342;
  jobsetting = &setting;
  const fuzz::JobInMemory output;
  try {
    std::optional<PageLoop> loop;
    ImageThread imageThread;
    if (pageFollows) loop.emplace(raster, imageThread, job.jobSheet ? "job-sheet" : nullptr, job.copies);
    writePJLHeader(setting, "title", "user", nullptr);
    startSession(setting.resolution);
    const PagesPrinted printed = loop ? loop->run() : PagesPrinted{};
    loop.reset();
    endSession();
    writePJLEndOfJob();
    imageThread.stop();
    require(printed.leftEarly == (pageFollows && job.jobSheet));
  } catch (const JobError&) {
    return require(fuzz::isRefused(setting, pages[0].header.cupsWidth));
  }
  require(!pageFollows || !fuzz::isRefused(setting, pages[0].header.cupsWidth));
  const Bytes bytes = output.take();
  fuzz::note(bytes);
  if (canBeGood) requireJob(bytes, job, pages, setting);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static char name[] = "fuzz";
  static char* const arguments[] = {name, name, name, name, name, name, nullptr};
  static const Renderer renderer("/nowhere", arguments, "/nowhere/document.pdf");  // has ended, like every renderer

  Input in(data, size);
  const std::uint8_t choices = in.byte();
  const Job job = {.ticket = in.text(), .copies = 1 + (choices >> 1 & 3), .jobSheet = (choices & 8) != 0};
  const Bytes stream = (choices & 1) != 0 ? in.rest() : readPages(in);
  auto pages = fuzz::readRaster(stream, MOST_PIXELS);
  if (!pages) return 0;
  const bool cancelled = (choices & 16) != 0;
  if (cancelled) pages->clear();
  provideInput(stream);
  collatedFlag_Prototype = 0;
  imageThreadFailure.store(0);
  isTerminated.store(cancelled ? 1 : 0);
  {
    RasterStream raster(renderer);
    runJob(raster, job, *pages);
  }
  jobsetting = nullptr;
  releaseOptionSource();
  return 0;
}
