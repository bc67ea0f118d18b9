#include "filter/printjob.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <optional>
#include <string>

#include <fcntl.h>
#include <signal.h>
#include <strings.h>
#include <unistd.h>

#include "base/descriptor.h"
#include "base/report.h"
#include "filter/cancel.h"
#include "filter/device.h"
#include "filter/document/inputfile.h"
#include "filter/document/pagesource.h"
#include "filter/document/pdfdocument.h"
#include "filter/document/rasterdocument.h"
#include "filter/document/rasterstream.h"
#include "filter/joberror.h"
#include "filter/jobframe.h"
#include "filter/jobstate.h"
#include "filter/outputchannel.h"
#include "filter/pageloop.h"
#include "filter/pjl.h"
#include "filter/statusmonitor.h"
#include "filter/strips/imagethread.h"
#include "filter/util.h"
#include "hdc/hdc.h"
#include "jobsettings/jobsettings.h"
#include "jobsettings/optionsource.h"

namespace kesto {
namespace {

/// Positions in the argument list that the spooler gives.
enum Argument { PROGRAM, JOB_ID, USER, TITLE, COPIES, OPTIONS, FILE_NAME };

void signalHandler(int number, siginfo_t*, void*) {
  if (number == SIGTERM) isTerminated.store(1, std::memory_order_release);
}

void installSignalHandlers() {
  struct sigaction action = {};
  action.sa_sigaction = signalHandler;
  action.sa_flags = SA_RESTART | SA_SIGINFO;
  sigemptyset(&action.sa_mask);
  sigaction(SIGTERM, &action, &oldaction);
  // A backend that closes its end shows up as a failed write, and that is reported.
  signal(SIGPIPE, SIG_IGN);
}

/// Opens something harmless in place of a closed descriptor with a fixed meaning, so that no file of the job takes its
/// number. A closed standard output stays unwritable.
void reserveDescriptors() {
  for (int descriptor = STDIN_FILENO; descriptor <= SIDE_CHANNEL; ++descriptor) {
    if (fcntl(descriptor, F_GETFD) >= 0) continue;
    if (open("/dev/null", descriptor == STDOUT_FILENO ? O_RDONLY : O_RDWR) < 0) {
      failJob("ERROR: Unable to open /dev/null", errno);
    }
  }
}

InputFile findInput(int argc, char* argv[]) {
  return argc > FILE_NAME ? InputFile(argv[FILE_NAME]) : InputFile::copyOfStandardInput();
}

std::unique_ptr<PageSource> openDocument(int argc, char* argv[], DocumentType type) {
  if (type == DocumentType::RASTER)
    return std::make_unique<RasterDocument>(argc > FILE_NAME ? argv[FILE_NAME] : nullptr);
  const char* serverBin = environmentValue("CUPS_SERVERBIN");
  return std::make_unique<PdfDocument>(findInput(argc, argv), serverBin != nullptr ? serverBin : "/usr/lib/cups", argv);
}

/// The job setting record, reached through `jobsetting` while it lives.
class Settings {
 public:
  Settings(cups_page_header2_t* header, const char* options) : record_(std::make_unique<JobSetting>()) {
    initializeJobSetting(record_.get(), header, options);
    const int error = optionSourceFailure();
    if (error != 0) failJob("ERROR: Unable to read the options", error);
    jobsetting = record_.get();
  }
  Settings(const Settings&) = delete;
  Settings& operator=(const Settings&) = delete;
  ~Settings() { free(); }
  void free() {
    jobsetting = nullptr;
    record_.reset();
    releaseOptionSource();
  }

 private:
  std::unique_ptr<JobSetting> record_;
};

/// Abandons the channel on its way out, before the job's threads are joined: in a failing job they may be waiting for a
/// reader that takes nothing. At the end of any other job nothing is left to abandon.
struct ChannelGuard {
  ChannelGuard() = default;
  ChannelGuard(const ChannelGuard&) = delete;
  ChannelGuard& operator=(const ChannelGuard&) = delete;
  ~ChannelGuard() { hdcAbandon(); }
};

/// Ends whoever writes the raster: once it is read to the end the writer gets a moment to end by itself, so that its
/// status says how it went.
void endSource(PageSource& source, bool leftEarly) {
  if (isCancelled() || leftEarly) {
    source.stop();
  } else {
    source.finish();
  }
}

/// How many times the filter prints each page: once when the printer or the spooler collates. With any value of the
/// attribute below but one, the spooler's own PDF filter has made the copies already and passes their number on as
/// well (decisions.md#copies-by-the-spooler).
std::int32_t copiesToMake(const char* options) {
  const char* handling = ticketValue(options, "multiple-document-handling");
  const bool madeBySpooler = handling != nullptr && strcasecmp(handling, "separate-documents-uncollated-copies") != 0;
  return madeBySpooler || collatedFlag_Prototype != 0 ? 1 : uncollatedCopies_Prototype;
}

/// The number of pages that the renderer will deliver, or 0 when the client has not said how many the document has.
/// Copies that are not made here are pages of the raster.
std::int64_t expectedPages(const char* options, const char* fileType, std::int32_t copiesMadeHere) {
  const char* impressions = ticketValue(options, "job-impressions");
  if (impressions == nullptr || isJobSheet(fileType)) return 0;
  const std::int64_t copies = copiesMadeHere == uncollatedCopies_Prototype ? 1 : uncollatedCopies_Prototype;
  return decimalInteger(impressions) * copies;
}

/// Ends the job when the renderer's pages could not be read. A raster that ends early is not a read error.
void checkRaster(const RasterStream& raster) {
  if (raster.error() != 0) failJob("ERROR: Unable to read the pages of the document", raster.error());
}

/// Logs one line when the document did not print completely, unless the job was cancelled or wanted only one page.
void reportIncomplete(const PageSource& source, const RasterStream& raster, const PagesPrinted& printed) {
  if (isCancelled() || printed.leftEarly || !source.started()) return;
  const auto failure = source.failure();
  const bool noPage = printed.count == 0;
  if (!raster.fault().empty()) {
    report("ERROR: Page %d is not printed: %s.\n", printed.count + 1, raster.fault().c_str());
  } else if (const int error = source.openError(); noPage && error != 0) {
    reportErrno("ERROR: Unable to open the document", error);
  } else if (noPage) {
    const std::string reason = failure ? std::string(": ") + source.name() + " " + *failure : "";
    report(
        "ERROR: The document has no page that can be printed%s. It may be empty, damaged or protected: open it in a "
        "viewer to check.\n",
        reason.c_str());
  } else if (raster.endedEarly() || failure) {
    report("ERROR: The document is incomplete: %s %s at page %d. Check it, then print from that page on.\n",
           source.name(), failure.value_or("ended early").c_str(), printed.count);
  }
}

int runJob(int argc, char* argv[], DocumentType type) {
  installSignalHandlers();  // first, as a job may be cancelled as soon as it has begun
  const char* fileType = environmentValue("CUPS_FILETYPE");
  report("START MAIN\n");
  const char* uri = environmentValue("DEVICE_URI");
  const Device device = parseDeviceUri(uri != nullptr ? uri : "");
  connectivityType = device.connectivity;
  setvbuf(stderr, nullptr, _IONBF, 0);
  if (argc != OPTIONS + 1 && argc != FILE_NAME + 1) {
    report("Usage: %s job user title copies options [filename]\n", argc > 0 ? argv[PROGRAM] : "pdftokesto");
    return 1;
  }
  reserveDescriptors();

  uncollatedCopies_Prototype = decimalInteger(argv[COPIES]);
  const std::unique_ptr<PageSource> source = openDocument(argc, argv, type);
  RasterStream raster(*source);
  const bool pageFollows = source->started() && raster.readHeader();
  checkRaster(raster);
  Settings settings(raster.header(), argv[OPTIONS]);
  OutputChannel output;
  std::optional<PageLoop> loop;
  ImageThread imageThread;  // ends before the ring goes that it may be working in
  const std::int32_t copies = copiesToMake(argv[OPTIONS]);
  const std::int64_t impressions = expectedPages(argv[OPTIONS], fileType, copies);
  if (pageFollows) loop.emplace(raster, imageThread, fileType, copies, impressions);

  StatusMonitor monitor(device);
  const ChannelGuard guard;
  output.start(connectivityType);
  writeStatusRequests(device);
  writePJLHeader(*jobsetting, argv[TITLE], argv[USER], fileType);
  startSession(jobsetting->resolution);
  const PagesPrinted printed = loop ? loop->run() : PagesPrinted{};

  loop.reset();
  settings.free();
  raster.close();
  endSource(*source, printed.leftEarly);
  endSession();
  writePJLEndOfJob();
  output.finish();
  monitor.stop();
  imageThread.stop();
  checkRaster(raster);
  reportIncomplete(*source, raster, printed);
  report("END MAIN\n");
  report("IS terminated %d\n", isCancelled() ? 1 : 0);
  return 0;
}

}  // namespace

int filterMain(int argc, char* argv[], DocumentType type) {
  try {
    return runJob(argc, argv, type);
  } catch (const JobError& failure) {
    return endFailedJob(failure);
  } catch (const std::bad_alloc&) {
    return endWithoutMemory();
  }
}

}  // namespace kesto
