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
#include "printerapp/ending.h"
#include "printerapp/joborder.h"
#include "printerapp/printerline.h"
#include "printerapp/printerrecord.h"
#include "printerapp/state.h"

namespace kesto::app {
namespace {

using std::chrono::milliseconds;

/// How long after a printer has gone it is looked for again, and for how long when it goes away again and again: each
/// time it may have printed pages.
constexpr milliseconds RETRY_TIME{5000}, LONGEST_RETRY_TIME{60000};

/// How often jobs are looked for that came while another one is printed.
constexpr milliseconds SAVE_TIME{200};

/// A file beside the job's own that is there from the first byte for the printer until the job is over. Found before
/// that it says that the application was ended in the middle of the job.
class Marker {
 public:
  explicit Marker(pappl_job_t* job) : job_(job), wasThere_(Descriptor(open("r")).get() >= 0) {}
  Marker(const Marker&) = delete;
  Marker& operator=(const Marker&) = delete;
  ~Marker() { open("x"); }  // removes it; what comes back is no descriptor
  [[nodiscard]] bool wasThere() const { return wasThere_; }
  void set() { const Descriptor made(open("w")); }

 private:
  int open(const char* mode) {
    std::array<char, 1024> name;
    return papplJobOpenFile(job_, name.data(), name.size(), nullptr, "printing", mode);
  }
  pappl_job_t* job_;
  bool wasThere_;
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
  JobReport(pappl_job_t* job, PrinterRecord& record, Pages pages) : job_(job), record_(record), pages_(pages) {}

  [[nodiscard]] bool isCancelled() const override { return papplJobIsCanceled(job_) || isOverdue(); }

  /// Saves the state when jobs have come: PAPPL itself does so only with the next client.
  void look() override {
    const auto now = std::chrono::steady_clock::now();
    if (now - looked_ < SAVE_TIME) return;
    looked_ = now;
    pappl_printer_t* const printer = papplJobGetPrinter(job_);
    if (newJobWaits(record_, printer)) saveState(papplPrinterGetSystem(printer));
  }

  void stalled(bool still) override {
    setPrinterReason(still);
    if (still) tell("The printer takes no more data. The job waits for it.");
    if (!still && !papplJobIsCanceled(job_)) tell("The printer takes data again.");
  }

  void message(const std::string& line) override {
    const MessageKind& kind = kindOf(line);
    const std::string text = line.substr(kind.start.size());
    papplLogJob(job_, kind.level, "%s", text.c_str());
    if (kind.forPeople) papplJobSetMessage(job_, "%s", text.c_str());
    if (kind.level == PAPPL_LOGLEVEL_WARN) setPrinterReason(true);
    if (line.starts_with("PAGE: ") && pages_ == Pages::COUNTED_HERE) papplJobSetImpressionsCompleted(job_, 1);
  }

  void preparation(const std::string& line) override {
    const MessageKind& kind = kindOf(line);
    papplLogJob(job_, kind.level, "%s", line.c_str() + kind.start.size());
  }

  /// Says that the job begins anew, and why.
  void tellBeginning(const std::string& why) {
    if (pages_ == Pages::COUNTED_HERE) papplJobSetImpressionsCompleted(job_, -papplJobGetImpressionsCompleted(job_));
    begunAnew_ = true;
    tell(why);
  }

  /// The last word on a job of which nothing else is to be said.
  void tellEnd() {
    papplJobSetMessage(job_, "%s",
                       begunAnew_ ? "Printed. The job had begun anew: pages may have come twice." : "Printed.");
  }

  /// Something that a person has to know of this job.
  void tell(const std::string& text) {
    papplLogJob(job_, PAPPL_LOGLEVEL_WARN, "%s", text.c_str());
    papplJobSetMessage(job_, "%s", text.c_str());
  }

  /// Shows that something is the matter with the printer, or that the job knows of nothing any more. Alerts of before
  /// the job are still shown then: what has become of them will be asked.
  void setPrinterReason(bool matters) {
    if (!matters && !record_.alerts.empty()) return;
    papplPrinterSetReasons(papplJobGetPrinter(job_), matters ? PAPPL_PREASON_OTHER : PAPPL_PREASON_NONE,
                           matters ? PAPPL_PREASON_NONE : PAPPL_PREASON_OTHER);
  }

 private:
  pappl_job_t* job_;
  PrinterRecord& record_;
  Pages pages_;
  bool begunAnew_ = false;
  std::chrono::steady_clock::time_point looked_ = std::chrono::steady_clock::now();
};

/// A job on its way to a printer that may go away.
class Delivery {
 public:
  Delivery(pappl_job_t* job, PrinterRecord& record, PrinterLine& line, JobReport& report)
      : job_(job), printer_(papplJobGetPrinter(job)), record_(record), line_(line), report_(report), marker_(job) {}

  /// Opens the line. Waits for a printer that is not there until it is, and shows it as offline meanwhile; before the
  /// first look passes `pause`. False when the job is cancelled or the printer deleted.
  [[nodiscard]] bool reach(milliseconds pause) {
    const auto giveUp = [this] { return isGivenUp(); };
    if (pause.count() == 0 && line_.open(giveUp)) return true;
    papplPrinterSetReasons(printer_, PAPPL_PREASON_OFFLINE, PAPPL_PREASON_NONE);
    papplJobSetReasons(job_, PAPPL_JREASON_PRINTER_STOPPED, PAPPL_JREASON_NONE);
    if (pause.count() == 0)
      report_.tell("The printer cannot be reached (" + line_.reason() + "). The job waits for it.");
    bool back = false;
    for (milliseconds time = std::max(pause, RETRY_TIME); !back && !giveUp(); time = RETRY_TIME) {
      if (!pollUntil(giveUp, time)) back = line_.open(giveUp);
    }
    if (isEnding() && !back && !papplJobIsCanceled(job_)) suspend(record_);
    papplPrinterSetReasons(printer_, PAPPL_PREASON_NONE, PAPPL_PREASON_OFFLINE);
    papplJobSetReasons(job_, PAPPL_JREASON_NONE, PAPPL_JREASON_PRINTER_STOPPED);
    if (back) papplLogJob(job_, PAPPL_LOGLEVEL_INFO, "The printer is back.");
    return back;
  }

  /// Runs the filters until the printer has everything. True when the job counts as printed.
  [[nodiscard]] bool make(const FilterCall& call) {
    if (marker_.wasThere()) {
      report_.tellBeginning(
          "The application was ended while it printed this job, which now begins anew: pages may come twice.");
    }
    milliseconds pause{0};
    while (reach(pause)) {
      marker_.set();
      FilterRun run(call);
      const RunResult result = run.run(line_, report_);
      report_.setPrinterReason(false);
      if (isOverdue() && result != RunResult::DONE && !papplJobIsCanceled(job_)) suspend(record_);
      if (result != RunResult::LINE_LOST || report_.isCancelled()) return conclude(result, run);
      report_.tellBeginning("The printer went away (" + line_.reason() +
                            "). The job begins anew when it is back: pages may come twice.");
      line_.drop();
      pause = std::min(pause + RETRY_TIME, LONGEST_RETRY_TIME);
    }
    return true;
  }

 private:
  [[nodiscard]] bool isGivenUp() {
    report_.look();
    return report_.isCancelled() || isEnding() || papplPrinterIsDeleted(printer_);
  }

  /// What PAPPL is told of a run that has come to an end.
  [[nodiscard]] bool conclude(RunResult result, const FilterRun& run) {
    if (report_.isCancelled() || result == RunResult::CANCELLED) return true;
    if (!run.remark().empty()) {
      papplLogJob(job_, PAPPL_LOGLEVEL_ERROR, "%s", run.remark().c_str());
      papplJobSetMessage(job_, "%s", run.remark().c_str());
      papplJobSetReasons(job_, PAPPL_JREASON_ERRORS_DETECTED, PAPPL_JREASON_NONE);
    }
    if (result == RunResult::FAILED) {
      papplJobSetReasons(job_,
                         run.isOurFault() ? PAPPL_JREASON_ABORTED_BY_SYSTEM : PAPPL_JREASON_DOCUMENT_UNPRINTABLE_ERROR,
                         PAPPL_JREASON_ERRORS_DETECTED);
    }
    if (result == RunResult::DONE && run.remark().empty()) report_.tellEnd();
    return result == RunResult::DONE;
  }

  pappl_job_t* job_;
  pappl_printer_t* printer_;
  PrinterRecord& record_;
  PrinterLine& line_;
  JobReport& report_;
  Marker marker_;
};

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
                                          "HOME=" + setup.temporary,
                                          "TMPDIR=" + setup.temporary,
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

void beginOnce(pappl_job_t* job) {
  if (firstTime(recordOf(papplJobGetPrinter(job)), papplJobGetID(job))) return;
  papplLogJob(job, PAPPL_LOGLEVEL_WARN, "The job has been begun twice; once is enough.");
  pthread_exit(nullptr);
}

bool printJob(pappl_job_t* job, pappl_device_t* device, const FilterCall& call, Pages pages) {
  pappl_printer_t* const printer = papplJobGetPrinter(job);
  PrinterRecord& record = recordOf(printer);
  const Turn turn(record, [&] { return papplJobIsCanceled(job); });
  if (!turn.isTaken()) return true;
  if (isEnding()) suspend(record);
  JobReport report(job, record, pages);
  releaseWaiting(record, printer);
  static_cast<void>(newJobWaits(record, printer));
  saveState(papplPrinterGetSystem(printer));  // so that the job is not forgotten if the application ends now
  const auto line = makeLine(job, device);
  const bool printed = Delivery(job, record, *line, report).make(call);
  leaveTurnToOldest(record, printer);
  return printed;
}

}  // namespace kesto::app
