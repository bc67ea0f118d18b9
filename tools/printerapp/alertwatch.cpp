#include "printerapp/alertwatch.h"

#include <chrono>

#include "base/poll.h"
#include "printerapp/driver.h"
#include "printerapp/ending.h"
#include "printerapp/joborder.h"
#include "printerapp/numericaddress.h"
#include "printerapp/printing.h"
#include "printerapp/state.h"
#include "statusquery.h"

namespace kesto::app {
namespace {

constexpr std::chrono::milliseconds ROUND_TIME{1000};
constexpr int ROUNDS_BETWEEN_QUESTIONS = 10;

/// The text of all alerts. Warnings alone say nothing, as in a queue.
std::string alertsOf(const tools::PrinterStatus& status) {
  std::string text;
  if (!status.errors) return text;
  for (const std::string& alert : status.alerts) text += (text.empty() ? "" : "; ") + plainText(alert.c_str());
  return text;
}

}  // namespace

AlertWatch::AlertWatch(const Catalogue& catalogue) : catalogue_(catalogue) {
  const auto body = [](void* watch) -> void* {
    static_cast<AlertWatch*>(watch)->watch();
    return nullptr;
  };
  static_cast<void>(thread_.start(body, this));
}

AlertWatch::~AlertWatch() {
  stopped_.store(true, std::memory_order_release);
  thread_.join();
}

void AlertWatch::watch() {
  const auto stopped = [this] { return stopped_.load(std::memory_order_acquire); };
  for (int round = 1; !pollUntil(stopped, ROUND_TIME); ++round) {
    for (PrinterRecord* record = newestRecord(); record != nullptr && !stopped(); record = record->next) {
      serveIdle(*record);
      if (round % ROUNDS_BETWEEN_QUESTIONS == 0) ask(*record);
    }
  }
}

/// Begins jobs that wait for nobody, and has those that came to a stopped printer saved.
void AlertWatch::serveIdle(PrinterRecord& record) {
  pappl_system_t* changed = nullptr;
  {
    const Turn turn(record, [] { return true; });
    pappl_printer_t* const printer = record.printer.load(std::memory_order_acquire);
    if (!turn.isTaken() || printer == nullptr) return;
    if (newJobWaits(record, printer)) changed = papplPrinterGetSystem(printer);
    if (papplPrinterGetState(printer) == IPP_PSTATE_IDLE && !isEnding()) beginStalled(record, printer);
  }
  if (changed != nullptr) saveState(changed);
}

/// Asks without having the turn, so that a job which comes meanwhile need not wait for the answer.
void AlertWatch::ask(PrinterRecord& record) {
  std::string address;
  {
    const Turn turn(record, [] { return true; });
    pappl_printer_t* const printer = record.printer.load(std::memory_order_acquire);
    if (turn.isTaken() && printer != nullptr) address = numericAddress(papplPrinterGetDeviceURI(printer));
  }
  if (address.empty()) return;
  const std::string alerts = alertsOf(tools::queryStatus(address));
  const Turn turn(record, [] { return true; });
  if (turn.isTaken()) show(record, alerts);
}

/// Puts the alerts where clients find them: into the state reasons, and the text into "printer-alert-description" (PWG
/// 5100.9). The state message itself is one of PAPPL's own texts.
void AlertWatch::show(PrinterRecord& record, const std::string& alerts) {
  pappl_printer_t* const printer = record.printer.load(std::memory_order_acquire);
  if (printer == nullptr || alerts == record.alerts) return;
  record.alerts = alerts;
  const bool none = alerts.empty();
  papplLogPrinter(printer, PAPPL_LOGLEVEL_WARN, "%s", none ? "The printer reports no error." : alerts.c_str());
  papplPrinterSetReasons(printer, none ? PAPPL_PREASON_NONE : PAPPL_PREASON_OTHER,
                         none ? PAPPL_PREASON_OTHER : PAPPL_PREASON_NONE);
  setAlertText(catalogue_, printer, alerts);
}

}  // namespace kesto::app
