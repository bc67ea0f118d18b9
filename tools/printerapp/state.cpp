#include "printerapp/state.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string_view>

#include "base/poll.h"

namespace kesto::app {
namespace {

std::string stateFile;  // set before the system runs
std::atomic<bool> saving{false};

/// PAPPL lists a job that was being printed when the application ended as such, and never begins it again: it has to
/// wait instead. A name that looks like the word has its quotation marks escaped.
void makeInterruptedJobsWait(const std::string& file) {
  constexpr std::string_view JOB = "Job ", PRINTING = " state=\"5\"", WAITING = " state=\"3\"";
  std::string text, line;
  {
    std::ifstream in(file);
    while (std::getline(in, line)) {
      const std::size_t at = line.starts_with(JOB) ? line.find(PRINTING) : std::string::npos;
      if (at != std::string::npos) line.replace(at, PRINTING.size(), WAITING);
      text += line + '\n';
    }
  }
  if (!text.empty()) std::ofstream(file) << text;
}

void saveWhole(pappl_system_t* system) {
  const std::string fresh = stateFile + ".new";
  if (papplSystemSaveState(system, fresh.c_str()) && std::rename(fresh.c_str(), stateFile.c_str()) == 0) return;
  papplLog(system, PAPPL_LOGLEVEL_ERROR, "Unable to save '%s': %s", stateFile.c_str(), std::strerror(errno));
}

}  // namespace

void restoreState(pappl_system_t* system, const std::string& folder) {
  stateFile = folder + "/printers.state";
  makeInterruptedJobsWait(stateFile);
  papplSystemLoadState(system, stateFile.c_str());
  papplSystemSetSaveCallback(
      system,
      [](pappl_system_t* saved, void*) {
        saveState(saved);
        return true;
      },
      nullptr);
}

void saveState(pappl_system_t* system) {
  pollUntil([] { return !saving.exchange(true, std::memory_order_acquire); });
  saveWhole(system);
  saving.store(false, std::memory_order_release);
}

}  // namespace kesto::app
