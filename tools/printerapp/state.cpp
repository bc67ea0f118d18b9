#include "printerapp/state.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <string_view>
#include <system_error>
#include <utility>

#include "base/poll.h"

namespace kesto::app {
namespace {

std::string stateFile;            // set before the system runs
std::atomic<bool> saving{false};  // the printers stay as they are for whoever has set it

/// How long somebody waits who wants to save the state. A printer's deletion may wait for the same somebody.
constexpr std::chrono::milliseconds SAVING_TIME{5000};

/// The number behind ` name="` in a line of the file. A value that looks like that has its quotation marks escaped.
int numberIn(const std::string& line, const std::string& name) {
  const std::string start = " " + name + "=\"";
  const std::size_t at = line.find(start);
  return at == std::string::npos ? 0 : std::atoi(line.c_str() + at + start.size());
}

/// True for a job that PAPPL would not begin by itself: one that was being printed, and one that was held only until
/// the next one has begun.
bool hasToWait(const std::string& line, bool allHeld) {
  const int state = numberIn(line, "state"), reasons = numberIn(line, "state_reasons");
  const bool heldByPeople = allHeld || (reasons & PAPPL_JREASON_JOB_HOLD_UNTIL_SPECIFIED) != 0;
  const bool hasDocument = line.find(" filename=\"") != std::string::npos;
  return state == IPP_JSTATE_PROCESSING || (state == IPP_JSTATE_HELD && hasDocument && !heldByPeople);
}

void makeInterruptedJobsWait(const std::string& file) {
  std::string text, line;
  bool allHeld = false;
  {
    std::ifstream in(file);
    while (std::getline(in, line)) {
      if (line.starts_with("<Printer")) allHeld = false;
      if (line == "HoldNewJobs") allHeld = true;
      if (line.starts_with("Job ") && hasToWait(line, allHeld)) {
        constexpr std::string_view STATE = " state=\"";
        line[line.find(STATE) + STATE.size()] = '0' + IPP_JSTATE_PENDING;
      }
      text += line + '\n';
    }
  }
  const std::string fresh = file + ".new";
  if (!text.empty() && (std::ofstream(fresh) << text << std::flush)) std::rename(fresh.c_str(), file.c_str());
}

/// Printer and number of a job.
using JobKey = std::pair<int, int>;

/// Removes the files of jobs that are not waiting any more: markers, documents and tickets that were left behind.
void removeOldFiles(pappl_system_t* system, const std::string& folder) {
  std::set<JobKey> waiting;
  const auto note = [](pappl_job_t* job, void* data) {
    const JobKey key(papplPrinterGetID(papplJobGetPrinter(job)), papplJobGetID(job));
    static_cast<std::set<JobKey>*>(data)->insert(key);
  };
  struct Visit {
    std::set<JobKey>* jobs;
    pappl_job_cb_t note;
  } visit = {&waiting, note};
  papplSystemIteratePrinters(
      system,
      [](pappl_printer_t* printer, void* data) {
        const auto& [jobs, noteJob] = *static_cast<Visit*>(data);
        papplPrinterIterateActiveJobs(printer, noteJob, jobs, 1, 0);
      },
      &visit);
  std::error_code ignored;
  for (const auto& entry : std::filesystem::directory_iterator(folder, ignored)) {
    JobKey key;
    int end = 0;
    std::sscanf(entry.path().filename().c_str(), "p%dj%d-%n", &key.first, &key.second, &end);
    if (end == 0 || waiting.contains(key)) continue;
    papplLog(system, PAPPL_LOGLEVEL_WARN, "Removing %s, which no job waits for.", entry.path().c_str());
    std::filesystem::remove(entry.path(), ignored);
  }
}

/// True when the file has all its printers, each with its end: PAPPL does not tell when the disk was full.
bool isWhole(const std::string& file) {
  int expected = 0, begun = 0, ended = 0;
  for (const PrinterRecord* record = newestRecord(); record != nullptr; record = record->next) {
    pappl_printer_t* const printer = record->printer.load(std::memory_order_acquire);
    expected += printer != nullptr && !papplPrinterIsDeleted(printer) ? 1 : 0;
  }
  bool identified = false;
  std::ifstream in(file);
  for (std::string line; std::getline(in, line);) {
    identified = identified || line.starts_with("UUID ");
    begun += line.starts_with("<Printer ") ? 1 : 0;
    ended += line == "</Printer>" ? 1 : 0;
  }
  return identified && begun == ended && begun >= expected;
}

/// A state that is to be saved.
struct Saving {
  pappl_system_t* system;
  const char* file;
  const PrinterRecord* next;  ///< the first printer that is not locked yet
  bool done = false, saved = false;
};

/// Saves the state with all printers locked for reading, as they are in a callback for a job of theirs.
///
/// PAPPL locks the system and then each printer. A client that is told to come later with its raster has its printer
/// locked and then wants the system: neither would go on. It cannot have a printer that is locked here.
void lockAndSave(Saving& state) {
  while (state.next != nullptr) {
    pappl_printer_t* const printer = state.next->printer.load(std::memory_order_acquire);
    state.next = state.next->next;
    const auto goOn = [](pappl_job_t*, void* data) { lockAndSave(*static_cast<Saving*>(data)); };
    if (printer != nullptr) papplPrinterIterateAllJobs(printer, goOn, &state, 1, 1);
  }
  if (!state.done) state.saved = papplSystemSaveState(state.system, state.file);
  state.done = true;
}

void saveWhole(pappl_system_t* system) {
  const std::string fresh = stateFile + ".new";
  Saving state = {.system = system, .file = fresh.c_str(), .next = newestRecord()};
  errno = 0;
  lockAndSave(state);
  const int error = errno;
  if (state.saved && isWhole(fresh) && std::rename(fresh.c_str(), stateFile.c_str()) == 0) return;
  papplLog(system, PAPPL_LOGLEVEL_ERROR, "Unable to save '%s': %s", stateFile.c_str(),
           error != 0 ? std::generic_category().message(error).c_str() : "it is not whole");
}

/// Called in the thread that deletes a printer, just before it does so.
void noteEvent(pappl_system_t*, pappl_printer_t* printer, pappl_job_t*, pappl_event_t event, void*) {
  if ((event & PAPPL_EVENT_PRINTER_DELETED) == 0) return;
  pollUntil([] { return !saving.exchange(true, std::memory_order_acquire); });
  recordOf(printer).blocksSaving = true;
}

}  // namespace

std::string emptyFolder(const std::string& folder) {
  std::error_code error;
  std::filesystem::remove_all(folder, error);
  if (!error && std::filesystem::create_directory(folder, error)) return "";
  return folder + ": " + error.message();
}

void restoreState(pappl_system_t* system, const std::string& folder) {
  stateFile = folder + "/printers.state";
  makeInterruptedJobsWait(stateFile);
  if (papplSystemLoadState(system, stateFile.c_str())) removeOldFiles(system, folder);
  papplSystemSetEventCallback(system, noteEvent, nullptr);
  papplSystemSetSaveCallback(
      system,
      [](pappl_system_t* saved, void*) {
        saveState(saved);
        return true;
      },
      nullptr);
}

void endDeletion(PrinterRecord& record) {
  if (record.blocksSaving) saving.store(false, std::memory_order_release);
  record.blocksSaving = false;
}

void saveState(pappl_system_t* system) {
  if (!pollUntil([] { return !saving.exchange(true, std::memory_order_acquire); }, SAVING_TIME)) return;
  saveWhole(system);
  saving.store(false, std::memory_order_release);
}

}  // namespace kesto::app
