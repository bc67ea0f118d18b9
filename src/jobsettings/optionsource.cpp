#include "jobsettings/optionsource.h"

#include <cerrno>
#include <cstdlib>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include <cups/cups.h>
#include <cups/ppd.h>

#include "jobsettings/jobsettings.h"

// CUPS marks its PPD interface as deprecated for clients; filters have no other one.
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

namespace kesto {
namespace {

/// The system's first failure while options were read, as an error number; 0 for none.
constinit int failure = 0;

/// Runs `read`, one of the library's readers. When the system fails them they silently return less; only the error
/// number shows it. Other numbers mean a file that is missing or cannot be understood.
template <class Read>
auto noteFailure(Read read) {
  errno = 0;
  auto result = read();
  for (const int error : {ENOMEM, EIO, EMFILE, ENFILE}) {
    if (errno == error && failure == 0) failure = error;
  }
  return result;
}

class Ticket {
 public:
  explicit Ticket(const char* text)
      : count_(noteFailure([this, text] { return cupsParseOptions(text, 0, &options_); })) {
    if (failure == 0) return;
    // An option whose name could not be allocated has none, and the library's search would crash on it.
    cupsFreeOptions(count_, options_);
    options_ = nullptr;
    count_ = 0;
  }
  ~Ticket() { cupsFreeOptions(count_, options_); }
  Ticket(const Ticket&) = delete;
  Ticket& operator=(const Ticket&) = delete;

  const char* value(const char* option) const { return cupsGetOption(option, count_, options_); }
  std::span<const cups_option_t> options() const { return {options_, static_cast<std::size_t>(count_)}; }

 private:
  cups_option_t* options_ = nullptr;
  int count_;
};

struct ClosePpd {
  void operator()(ppd_file_t* ppd) const { ppdClose(ppd); }
};
using OpenedPpd = std::unique_ptr<ppd_file_t, ClosePpd>;

/// Everything parsed and opened so far, because a record may point into an older ticket or PPD.
struct OptionSources {
  std::map<std::string, Ticket> tickets;  ///< by text
  std::vector<OpenedPpd> ppds;            ///< the newest one last
  std::string ppdPath;                    ///< of the newest; empty: it is to be opened again
};

constinit std::unique_ptr<OptionSources> sources;

OptionSources& openSources() {
  if (sources == nullptr) sources = std::make_unique<OptionSources>();
  return *sources;
}

const Ticket& parsedTicket(const char* ticket) {
  const char* text = ticket == nullptr ? "" : ticket;
  return openSources().tickets.try_emplace(text, text).first->second;
}

}  // namespace

const char* ticketValue(const char* ticket, const char* option) {
  return parsedTicket(ticket).value(option);
}

const char* ticketValueByPrefix(const char* ticket, std::string_view prefix) {
  for (const cups_option_t& option : parsedTicket(ticket).options()) {
    if (std::string_view(option.name).starts_with(prefix)) return option.value;
  }
  return nullptr;
}

ppd_file_s* jobPpd() {
  const char* path = std::getenv("PPD");  // NOLINT(concurrency-mt-unsafe): the filter never sets a variable
  if (path == nullptr) return nullptr;
  OptionSources& all = openSources();
  if (all.ppds.empty() || all.ppdPath != path) {
    all.ppds.emplace_back(noteFailure([path] { return ppdOpenFile(path); }));
    all.ppdPath = path;
  }
  return all.ppds.back().get();
}

void reopenPpd() {
  if (sources != nullptr) sources->ppdPath.clear();
}

const char* ppdDefaultChoice(const char* option) {
  const ppd_option_t* found = ppdFindOption(jobPpd(), option);
  return found == nullptr ? nullptr : found->defchoice;
}

const char* ppdAttribute(ppd_file_s* ppd, const char* keyword) {
  const ppd_attr_t* found = ppdFindAttr(ppd, keyword, nullptr);
  return found == nullptr ? nullptr : found->value;
}

const char* resolveOption(const char* ticket, const char* option) {
  const char* value = ticketValue(ticket, option);
  return value == nullptr ? ppdDefaultChoice(option) : value;
}

std::int32_t decimalInteger(const char* text) {
  return static_cast<std::int32_t>(std::strtol(text, nullptr, 10));
}

std::int32_t getIntAttrFromPPD(ppd_file_s* ppd, const char* keyword, std::int32_t defaultValue) {
  const char* text = ppdAttribute(ppd, keyword);
  return text == nullptr ? defaultValue : decimalInteger(text);
}

int optionSourceFailure() {
  return failure;
}

void releaseOptionSource() {
  sources.reset();
  failure = 0;
}

}  // namespace kesto
