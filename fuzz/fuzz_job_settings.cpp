// A ticket, a raster header and a PPD of any kind through to the bytes of a job: whatever they hold, the job reader
// accepts the job that comes of them.
#include <cstdlib>
#include <memory>

#include <cups/cups.h>
#include <sys/mman.h>
#include <unistd.h>

#include "codec/wicket.h"
#include "filter/jobframe.h"
#include "filter/pjl.h"
#include "filter/strips/strips.h"
#include "jobjudge.h"
#include "jobsettings/optionsource.h"
#include "kestojob/reader/fault.h"
#include "kestojob/reader/jobcheck.h"

namespace {

using namespace kesto;
using fuzz::Bytes;
using fuzz::Input;
using fuzz::require;

/// A PPD as a file without a name, and the environment that tells the job of it. Empty means none.
class PpdFile {
 public:
  explicit PpdFile(const Bytes& text) {
    if (text.empty()) return;
    descriptor_ = memfd_create("ppd", MFD_CLOEXEC);
    require(write(descriptor_, text.data(), text.size()) == std::ssize(text));
    // NOLINTNEXTLINE(concurrency-mt-unsafe): one thread
    setenv("PPD", ("/proc/self/fd/" + std::to_string(descriptor_)).c_str(), 1);
  }
  PpdFile(const PpdFile&) = delete;
  PpdFile& operator=(const PpdFile&) = delete;
  ~PpdFile() {
    releaseOptionSource();
    // NOLINTNEXTLINE(concurrency-mt-unsafe): one thread
    unsetenv("PPD");
    if (descriptor_ >= 0) close(descriptor_);
  }

 private:
  int descriptor_ = -1;
};

template <std::size_t N>
void store(char (&field)[N], const std::string& text) {
  text.copy(field, N - 1);
}

cups_page_header2_t readHeader(Input& in) {
  cups_page_header2_t header = {};
  store(header.OutputType, in.text());
  store(header.MediaType, in.text());
  const std::uint8_t flags = in.byte();
  header.Duplex = (flags & 1) != 0 ? CUPS_TRUE : CUPS_FALSE;
  header.Tumble = (flags & 2) != 0 ? CUPS_TRUE : CUPS_FALSE;
  header.cupsColorSpace = (flags & 4) != 0 ? CUPS_CSPACE_RGB : CUPS_CSPACE_W;
  header.MirrorPrint = (flags & 8) != 0 ? CUPS_TRUE : CUPS_FALSE;
  const auto number = [&] { return (flags & 16) != 0 ? in.word32() : in.word16(); };
  for (auto* pair : {header.HWResolution, header.Margins, header.PageSize}) {
    pair[0] = number();
    pair[1] = number();
  }
  header.cupsWidth = number();
  header.cupsHeight = number();
  header.MediaPosition = number();
  header.cupsRowStep = in.byte();
  if ((flags & 32) != 0) std::copy_n(header.PageSize, 2, header.ImagingBoundingBox + 2);
  return header;
}

/// The smallest page: one white band.
void writePage(const JobSetting& setting) {
  static const auto settings = std::make_unique<WicketSettings>();
  static const auto coder = std::make_unique<WicketCoder>();
  constexpr std::uint32_t WIDTH = 16;
  constexpr std::uint32_t PIXELS = 8 * WIDTH;
  const Bytes white(PIXELS, 255);
  const Bytes chroma(PIXELS, 128);
  const Bytes tags(PIXELS, 3);
  start_page();
  compress_and_send(settings.get(), coder.get(), 0, WIDTH, PIXELS, white.data(), chroma.data(), chroma.data(),
                    white.data(), tags.data(), 1);
  end_page();
  require(setting.copies == 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input in(data, size);
  const std::string ticket = in.text();
  const std::string title = in.text();
  const std::string user = in.text();
  const std::string fileType = in.text();
  cups_page_header2_t header = readHeader(in);
  const PpdFile ppd(in.rest());

  collatedFlag_Prototype = 0;
  JobSetting setting = {};
  initializeJobSetting(&setting, &header, ticket.empty() ? nullptr : ticket.c_str());
  setting.fDateTime = 46342;
  const bool withPage = setting.resolution % 0x10000 != 0;
  if (withPage && fuzz::isRefused(setting, header.cupsWidth)) return 0;

  const fuzz::JobInMemory output;
  jobsetting = &setting;
  writePJLHeader(setting, title.c_str(), user.c_str(), fileType.empty() ? nullptr : fileType.c_str());
  startSession(setting.resolution);
  if (withPage) writePage(setting);
  endSession();
  writePJLEndOfJob();
  jobsetting = nullptr;
  try {
    const Bytes job = output.take();
    fuzz::note(job);
    const job::JobSummary summary = job::checkJob(job);
    require(summary.pages == (withPage ? 1 : 0));
  } catch (const job::Fault&) {
    require(!fuzz::canBeGood(setting) || fuzz::hasControlCharacter(title) || fuzz::hasControlCharacter(user));
  }
  return 0;
}
