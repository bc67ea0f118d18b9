#include "printerapp/ending.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <ctime>

#include <unistd.h>

#include "base/poll.h"
#include "base/thread.h"
#include "printerapp/state.h"

namespace kesto::app {
namespace {

/// How long a job may go on, and how long it then takes at most to close it in order: together well under the 90
/// seconds after which a service manager kills.
constexpr std::chrono::milliseconds GRACE_TIME{30000}, CLOSING_TIME{10000};

std::atomic<bool> ending{false}, overdue{false};

sigset_t endSignals() {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGTERM);
  sigaddset(&set, SIGINT);
  return set;
}

bool signalHasCome() {
  constexpr timespec AT_ONCE = {.tv_sec = 0, .tv_nsec = 0};
  const sigset_t set = endSignals();
  return sigtimedwait(&set, nullptr, &AT_ONCE) > 0;
}

/// True when no job is being printed but such as wait for the end.
bool isQuiet() {
  for (const PrinterRecord* record = newestRecord(); record != nullptr; record = record->next) {
    pappl_printer_t* const printer = record->printer.load(std::memory_order_acquire);
    if (printer == nullptr || record->suspended.load(std::memory_order_acquire)) continue;
    if (papplPrinterGetState(printer) == IPP_PSTATE_PROCESSING) return false;
  }
  return true;
}

void* waitForEnd(void* data) {
  auto* const system = static_cast<pappl_system_t*>(data);
  pollUntil(signalHasCome);
  papplLog(system, PAPPL_LOGLEVEL_INFO, "Ending: no job begins any more.");
  ending.store(true, std::memory_order_release);
  if (!pollUntil(isQuiet, GRACE_TIME)) {
    papplLog(system, PAPPL_LOGLEVEL_WARN, "Ending: what is being printed is broken off.");
    overdue.store(true, std::memory_order_release);
    static_cast<void>(pollUntil(isQuiet, CLOSING_TIME));
  }
  saveState(system);
  papplLog(system, PAPPL_LOGLEVEL_INFO, "Ended.");
  _exit(EXIT_SUCCESS);  // PAPPL's threads still run
}

/// Called by PAPPL's main loop, once a second. Asked to shut down while it has jobs, even such as wait for a printer,
/// the server ends as by a signal; the main loop stays here, so that it frees nothing meanwhile.
bool followShutdown(pappl_system_t* system, void*) {
  if (!papplSystemIsShutdown(system)) return true;
  kill(getpid(), SIGTERM);
  for (;;) detail::sleepOnce(std::chrono::seconds{1});
}

}  // namespace

void watchForEnd(pappl_system_t* system) {
  static Thread thread;
  const sigset_t set = endSignals();
  pthread_sigmask(SIG_BLOCK, &set, nullptr);
  if (thread.start(waitForEnd, system) != 0) {
    pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
    return;
  }
  papplSystemAddTimerCallback(system, std::time(nullptr), 1, followShutdown, nullptr);
}

bool isEnding() {
  return ending.load(std::memory_order_acquire);
}

bool isOverdue() {
  return overdue.load(std::memory_order_acquire);
}

void suspend(PrinterRecord& record) {
  record.suspended.store(true, std::memory_order_release);
  for (;;) detail::sleepOnce(std::chrono::seconds{1});
}

}  // namespace kesto::app
