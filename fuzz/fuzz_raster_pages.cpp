// A raster stream through the whole page pipeline: its bytes on standard input, the page loop, the image thread, the
// job. The job reader has to find the job good.
#include <sys/mman.h>
#include <unistd.h>

#include "filter/document/rasterdocument.h"
#include "filter/joberror.h"
#include "filter/jobframe.h"
#include "filter/jobstate.h"
#include "filter/pageloop.h"
#include "filter/pjl.h"
#include "jobjudge.h"
#include "jobsettings/optionsource.h"
#include "jobsettings/optionvalues.h"
#include "kestojob/reader/fault.h"
#include "kestojob/reader/jobcheck.h"
#include "picture.h"

namespace {

using namespace kesto;
using fuzz::Bytes;
using fuzz::Input;
using fuzz::require;

/// What one execution may print, copies and all.
constexpr std::size_t MOST_PIXELS = 500'000;

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
  bool made = false;  ///< the pages are ours, so that the job has to be good
};

/// The pixels of a page of the job, or more than may be printed.
std::size_t pagePixels(const cups_page_header2_t& first, const JobSetting& setting) {
  const bool custom = setting.mediaSizeType == MEDIA_SIZE_CUSTOM;
  const std::size_t width = custom ? static_cast<std::uint32_t>(setting.customPixelWidth) : first.cupsWidth;
  return width > 65520 ? 0 : (width + 15) * (first.cupsHeight + std::size_t{7});
}

/// The job as the filter's main flow runs it, without a renderer and a print thread.
void runJob(RasterStream& raster, const Job& job) {
  const bool pageFollows = raster.readHeader();
  fuzz::note(raster.fault());
  if (!raster.fault().empty()) return;
  JobSetting setting = {};
  initializeJobSetting(&setting, raster.header(), job.ticket.c_str());
  if (pageFollows && pagePixels(*raster.header(), setting) * 5 * static_cast<std::size_t>(job.copies) > MOST_PIXELS) {
    return;
  }
  const bool good = job.made && fuzz::canBeGood(setting);
  const bool refused = pageFollows && fuzz::isRefused(setting, raster.header()->cupsWidth);
  setting.fDateTime = 46342;
  jobsetting = &setting;
  const fuzz::JobInMemory output;
  try {
    std::optional<PageLoop> loop;
    ImageThread imageThread;
    if (pageFollows) loop.emplace(raster, imageThread, job.jobSheet ? "job-sheet" : nullptr, job.copies, 0);
    writePJLHeader(setting, "title", "user", nullptr);
    startSession(setting.resolution);
    const PagesPrinted printed = loop ? loop->run() : PagesPrinted{};
    loop.reset();
    endSession();
    writePJLEndOfJob();
    imageThread.stop();
    require(!refused && printed.leftEarly == (pageFollows && job.jobSheet));
  } catch (const JobError&) {
    return require(refused);
  }
  const Bytes bytes = output.take();
  fuzz::note(bytes);
  try {
    job::checkJob(bytes);
  } catch (const job::Fault&) {
    require(!good);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input in(data, size);
  const std::uint8_t choices = in.byte();
  const Job job = {.ticket = in.text(),
                   .copies = 1 + (choices >> 1 & 3),
                   .jobSheet = (choices & 8) != 0,
                   .made = (choices & 1) == 0};
  provideInput(job.made ? readPages(in) : in.rest());
  collatedFlag_Prototype = 0;
  imageThreadFailure.store(0);
  isTerminated.store((choices & 16) != 0 ? 1 : 0);
  {
    const RasterDocument document(nullptr);
    RasterStream raster(document);
    runJob(raster, job);
  }
  jobsetting = nullptr;
  releaseOptionSource();
  return 0;
}
