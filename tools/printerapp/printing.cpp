#include "printerapp/printing.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <chrono>
#include <cstdlib>
#include <string_view>

#include <unistd.h>

#include "base/poll.h"
#include "printerapp/driver.h"
#include "printerapp/joborder.h"
#include "printerapp/printerline.h"
#include "printerapp/printerrecord.h"
#include "printerapp/state.h"

namespace kesto::app {
namespace {

using std::chrono::milliseconds;

/// How long after a printer has gone it is looked for again.
constexpr milliseconds RETRY_TIME{5000};

/// A file beside the job's own that is there while the job is printed. Found at the start it says that the application
/// was ended in the middle of the job.
class Marker {
 public:
  explicit Marker(pappl_job_t* job) : job_(job) {
    const int before = open("r");
    wasThere_ = before >= 0;
    if (wasThere_) close(before);
    const int file = open("w");
    if (file >= 0) close(file);
  }
  Marker(const Marker&) = delete;
  Marker& operator=(const Marker&) = delete;
  ~Marker() { open("x"); }
  [[nodiscard]] bool wasThere() const { return wasThere_; }

 private:
  int open(const char* mode) {
    std::array<char, 1024> name;
    return papplJobOpenFile(job_, name.data(), name.size(), nullptr, "printing", mode);
  }
  pappl_job_t* job_;
  bool wasThere_ = false;
};

/// A kind of message line, and where it goes.
struct MessageKind {
  std::string_view start;
  pappl_loglevel_t level;
  bool forPeople;
};
constexpr MessageKind MESSAGE_KINDS[] = {{"ERROR: ", PAPPL_LOGLEVEL_ERROR, true},
                                         {"WARNING: ", PAPPL_LOGLEVEL_WARN, true},
                                         {"INFO: ", PAPPL_LOGLEVEL_INFO, false},
                                         {"DEBUG: ", PAPPL_LOGLEVEL_DEBUG, false},
                                         {"", PAPPL_LOGLEVEL_DEBUG, false}};

const MessageKind& kindOf(const std::string& line) {
  return *std::ranges::find_if(MESSAGE_KINDS, [&](const MessageKind& kind) { return line.starts_with(kind.start); });
}

/// A job's messages: to PAPPL's log, and those for people to the job and its printer.
class JobReport : public JobObserver {
 public:
  JobReport(pappl_job_t* job, Pages pages) : job_(job), pages_(pages) {}

  [[nodiscard]] bool isCancelled() const override { return papplJobIsCanceled(job_); }

  void message(const std::string& line) override {
    const MessageKind& kind = kindOf(line);
    const std::string text = line.substr(kind.start.size());
    papplLogJob(job_, kind.level, "%s", text.c_str());
    if (kind.forPeople) papplJobSetMessage(job_, "%s", text.c_str());
    if (kind.level == PAPPL_LOGLEVEL_WARN) papplPrinterSetReasons(papplJobGetPrinter(job_), PAPPL_PREASON_OTHER, 0);
    if (line.starts_with("PAGE: ") && pages_ == Pages::COUNTED_HERE) papplJobSetImpressionsCompleted(job_, 1);
  }

  void preparation(const std::string& line) override {
    const MessageKind& kind = kindOf(line);
    papplLogJob(job_, kind.level, "%s", line.c_str() + kind.start.size());
  }

  /// Something that a person has to know of this job.
  void tell(const std::string& text) {
    papplLogJob(job_, PAPPL_LOGLEVEL_WARN, "%s", text.c_str());
    papplJobSetMessage(job_, "%s", text.c_str());
  }

 private:
  pappl_job_t* job_;
  Pages pages_;
};

/// Waits until the printer is back or the job is cancelled; meanwhile the printer is offline.
bool waitForPrinter(PrinterLine& line, JobReport& report, pappl_printer_t* printer) {
  const auto giveUp = [&] { return report.isCancelled(); };
  if (line.open(giveUp)) return true;
  papplPrinterSetReasons(printer, PAPPL_PREASON_OFFLINE, PAPPL_PREASON_NONE);
  report.tell("The printer cannot be reached (" + line.reason() + "). The job waits for it.");
  bool back = false;
  while (!back && !giveUp()) {
    if (!pollUntil(giveUp, RETRY_TIME)) back = line.open(giveUp);
  }
  papplPrinterSetReasons(printer, PAPPL_PREASON_NONE, PAPPL_PREASON_OFFLINE);
  return back;
}

/// What PAPPL is told of a run that has come to an end. True when the job counts as printed.
bool conclude(pappl_job_t* job, RunResult result, const FilterRun& run) {
  if (result == RunResult::CANCELLED) return true;
  if (!run.remark().empty()) papplJobSetMessage(job, "%s", run.remark().c_str());
  if (result == RunResult::FAILED) {
    papplJobSetReasons(job, PAPPL_JREASON_DOCUMENT_UNPRINTABLE_ERROR, PAPPL_JREASON_NONE);
  } else if (!run.remark().empty()) {
    papplJobSetReasons(job, PAPPL_JREASON_ERRORS_DETECTED, PAPPL_JREASON_NONE);
  }
  return result == RunResult::DONE;
}

/// Runs the filters until the printer has everything.
bool runUntilPrinted(pappl_job_t* job, PrinterLine& line, const FilterCall& call, JobReport& report) {
  pappl_printer_t* const printer = papplJobGetPrinter(job);
  while (waitForPrinter(line, report, printer)) {
    FilterRun run(call);
    const RunResult result = run.run(line, report);
    papplPrinterSetReasons(printer, PAPPL_PREASON_NONE, PAPPL_PREASON_OTHER);
    if (result != RunResult::LINE_LOST) return conclude(job, result, run);
    report.tell("The printer went away (" + line.reason() +
                "). The job begins anew when it is back: pages may come twice.");
    line.drop();
  }
  return true;
}

}  // namespace

std::string plainText(const char* text) {
  std::string plain = text != nullptr ? text : "";
  std::ranges::replace_if(
      plain, [](char c) { return std::iscntrl(static_cast<unsigned char>(c)) != 0; }, ' ');
  std::ranges::replace(plain, '"', '\'');
  return plain;
}

Command filterCommand(const Setup& setup, const char* filter, pappl_job_t* job, int copies,
                      const std::string& options) {
  return {.program = setup.serverBin + "/filter/" + filter,
          .arguments = {plainText(papplPrinterGetName(papplJobGetPrinter(job))), std::to_string(papplJobGetID(job)),
                        plainText(papplJobGetUsername(job)), plainText(papplJobGetName(job)), std::to_string(copies),
                        options}};
}

std::vector<std::string> filterEnvironment(const Setup& setup, pappl_job_t* job, const char* type) {
  pappl_printer_t* const printer = papplJobGetPrinter(job);
  std::vector<std::string> environment = {"PATH=/usr/bin:/bin",
                                          "LC_ALL=C.UTF-8",
                                          "CHARSET=utf-8",
                                          "HOME=" + setup.spool,
                                          "TMPDIR=" + setup.spool,
                                          "PPD=" + setup.catalogue.ppd,
                                          "CUPS_SERVERBIN=" + setup.serverBin,
                                          "PRINTER=" + plainText(papplPrinterGetName(printer)),
                                          std::string("CONTENT_TYPE=") + type,
                                          std::string("FINAL_CONTENT_TYPE=") + PRINTER_FORMAT};
  // On USB the answers would come back through PAPPL, whose reads wait: there the filter asks for nothing.
  const std::string_view uri = papplPrinterGetDeviceURI(printer);
  if (uri.starts_with("socket://")) environment.push_back("DEVICE_URI=" + std::string(uri));
  return environment;
}

bool printJob(pappl_job_t* job, pappl_device_t* device, const FilterCall& call, Pages pages) {
  pappl_printer_t* const printer = papplJobGetPrinter(job);
  JobReport report(job, pages);
  const Turn turn(recordOf(printer), [&] { return report.isCancelled(); });
  if (!turn.isTaken()) return true;
  releaseWaiting(printer);
  saveState(papplPrinterGetSystem(printer));  // so that the job is not forgotten if the application ends now
  const Marker marker(job);
  if (marker.wasThere()) {
    report.tell("The application was ended while it printed this job, which now begins anew: pages may come twice.");
  }
  const auto line = makeLine(job, device);
  const bool printed = runUntilPrinted(job, *line, call, report);
  leaveTurnToOldest(printer);
  return printed;
}

}  // namespace kesto::app
