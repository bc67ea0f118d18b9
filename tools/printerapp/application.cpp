#include "printerapp/application.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "printerapp/alertwatch.h"
#include "printerapp/documents.h"
#include "printerapp/driver.h"
#include "printerapp/ending.h"
#include "printerapp/printerrecord.h"
#include "printerapp/state.h"

namespace kesto::app {
namespace {

constexpr char PROGRAM[] = "kesto-printer-app", TITLE[] = "Kesto Printer Application";
constexpr int PORT = 8631;

/// The name under which PAM looks for the rules of the web page.
constexpr char AUTHENTICATION_SERVICE[] = "kesto-printer-app";

struct Level {
  std::string_view name;
  pappl_loglevel_t level;
};
constexpr Level LEVELS[] = {{"fatal", PAPPL_LOGLEVEL_FATAL},
                            {"error", PAPPL_LOGLEVEL_ERROR},
                            {"warn", PAPPL_LOGLEVEL_WARN},
                            {"info", PAPPL_LOGLEVEL_INFO},
                            {"debug", PAPPL_LOGLEVEL_DEBUG}};

/// The options behind -o.
class Options {
 public:
  Options(int count, cups_option_t* options) : count_(count), options_(options) {}
  [[nodiscard]] const char* get(const char* name) const { return cupsGetOption(name, count_, options_); }
  [[nodiscard]] std::string get(const char* name, const std::string& otherwise) const {
    const char* const value = get(name);
    return value != nullptr ? value : otherwise;
  }

 private:
  int count_;
  cups_option_t* options_;
};

std::string variable(const char* name) {
  const char* const value = std::getenv(name);  // NOLINT(concurrency-mt-unsafe): the program sets no variable
  return value != nullptr ? value : "";
}

/// Where the state and the jobs are kept unless an option says otherwise; empty where no place is known.
std::string defaultSpool() {
  if (geteuid() == 0) return std::string("/var/spool/") + PROGRAM;
  const std::string data = variable("XDG_STATE_HOME"), home = variable("HOME");
  if (data.starts_with('/')) return data + "/" + PROGRAM;
  return home.empty() ? "" : home + "/." + PROGRAM;
}

bool isLoopback(std::string_view host) {
  return host == "localhost" || host.starts_with("127.") || host == "[::1]" || host.starts_with('/');
}

/// Ends the program with one line; PAPPL would add one that says less.
[[noreturn]] void fail(const std::string& reason) {
  std::fprintf(stderr, "%s: %s\n", PROGRAM, reason.c_str());
  _exit(EXIT_FAILURE);
}

/// Lets go of the streams of whoever started this process: a shell that reads what the command writes waits for the end
/// of all that can still write there.
void leaveStandardStreams() {
  const int nowhere = open("/dev/null", O_RDWR | O_CLOEXEC);
  if (nowhere < 0) return;
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) dup2(nowhere, stream);
  close(nowhere);
}

/// A job that is ready for the printer begins as the filter's jobs do.
const char* recognise(const unsigned char* header, std::size_t size, void*) {
  constexpr std::string_view START = "\x1B%-12345X@PJL";
  return size >= START.size() && std::memcmp(header, START.data(), START.size()) == 0 ? PRINTER_FORMAT : nullptr;
}

/// Announces a printer by mDNS, or takes its name away where nobody could reach it. PAPPL announces printers when it
/// starts and those of the web page; one of the command line only when it is named anew.
void announce(pappl_printer_t* printer, void* data) {
  std::array<char, 64> name;
  const bool named = papplPrinterGetDNSSDName(printer, name.data(), name.size()) != nullptr;
  const bool reachable = static_cast<const Setup*>(data)->reachable;
  if (named) papplPrinterSetDNSSDName(printer, reachable ? name.data() : nullptr);
}

void printerMade(pappl_printer_t* printer, void* data) {
  recordOf(printer).printer.store(printer, std::memory_order_release);
  announce(printer, data);
}

/// Waits until nobody looks at the printer any more.
void printerGoes(pappl_printer_t* printer, pappl_pr_driver_data_t* data) {
  auto& record = *static_cast<PrinterRecord*>(data->extension);
  // PAPPL deletes all printers at its end, with jobs still in them: the state has been saved by then.
  const bool atEnd = papplSystemIsShutdown(papplPrinterGetSystem(printer));
  const Turn turn(record, [&] { return atEnd; });
  if (!turn.isTaken()) _exit(EXIT_SUCCESS);
  record.held.clear();
  record.printer.store(nullptr, std::memory_order_release);
  endDeletion(record);
}

/// The strings of one language in the form that PAPPL loads.
std::string stringsOf(const Texts& texts) {
  std::string strings;
  const auto quote = [&](std::string_view text) {
    strings += '"';
    for (const char c : text) {
      if (c == '"' || c == '\\') strings += '\\';
      strings += c;
    }
    strings += '"';
  };
  for (const auto& [name, text] : texts.texts) {
    quote(name);
    strings += " = ";
    quote(text);
    strings += ";\n";
  }
  return strings;
}

/// The printer's own options with their texts, for the web page. PAPPL keeps pointers. Loaded, they are taken from its
/// list of files again: for files on the list it adds an attribute to the printer each time that it is asked for all.
void addTexts(pappl_system_t* system, const Catalogue& catalogue) {
  static std::vector<std::string> kept;
  for (const Texts& texts : catalogue.texts) kept.push_back(stringsOf(texts));
  for (std::size_t i = 0; i < kept.size(); ++i) {
    const std::string& language = catalogue.texts[i].language;
    const std::string path = "/" + language + ".strings";
    papplSystemAddStringsData(system, path.c_str(), language.c_str(), kept[i].c_str());
    papplSystemRemoveResource(system, path.c_str());
  }
}

pappl_version_t version() {
  pappl_version_t version = {};
  std::snprintf(version.name, sizeof version.name, "%s", TITLE);
  std::snprintf(version.sversion, sizeof version.sversion, "%s", KESTO_VERSION);
  std::sscanf(KESTO_VERSION, "%hu.%hu.%hu", &version.version[0], &version.version[1], &version.version[2]);
  return version;
}

}  // namespace

std::span<pappl_pr_driver_t> driverList(const Setup& setup) {
  static pappl_pr_driver_t driver = {.name = DRIVER_NAME,
                                     .description = setup.catalogue.model.c_str(),
                                     .device_id = setup.catalogue.deviceId.c_str(),
                                     .extension = nullptr};
  return {&driver, 1};
}

const char* chooseDriver(const char*, const char*, const char* deviceId, void* data) {
  const auto& setup = *static_cast<const Setup*>(data);
  if (deviceId == nullptr) return nullptr;
  cups_option_t *ours = nullptr, *theirs = nullptr;
  const int ourCount = papplDeviceParseID(setup.catalogue.deviceId.c_str(), &ours);
  const int theirCount = papplDeviceParseID(deviceId, &theirs);
  const auto same = [&](const char* key) {
    const char *const a = cupsGetOption(key, ourCount, ours), *const b = cupsGetOption(key, theirCount, theirs);
    return a != nullptr && b != nullptr && std::string_view(a) == b;
  };
  const bool found = same("MFG") && same("MDL");
  cupsFreeOptions(ourCount, ours);
  cupsFreeOptions(theirCount, theirs);
  return found ? DRIVER_NAME : nullptr;
}

bool describeDriver(pappl_system_t*, const char*, const char*, const char*, pappl_pr_driver_data_t* driverData,
                    ipp_t** attributes, void* data) {
  const auto& setup = *static_cast<const Setup*>(data);
  describePrinter(setup.catalogue, *driverData);
  setPrintingCallbacks(setup, *driverData);
  driverData->extension = &addRecord();
  driverData->delete_cb = printerGoes;
  *attributes = vendorAttributes(setup.catalogue);
  return true;
}

pappl_system_t* makeSystem(int optionCount, cups_option_t* optionList, void* data) {
  auto& setup = *static_cast<Setup*>(data);
  const Options options(optionCount, optionList);
  const std::string portText = options.get("server-port", std::to_string(PORT)),
                    level = options.get("log-level", "info");
  int port = 0;
  const auto parsed = std::from_chars(portText.data(), portText.data() + portText.size(), port);
  if (parsed.ec != std::errc() || *parsed.ptr != '\0' || port < 1 || port > 65535) {
    fail("server-port takes a number from 1 to 65535, not '" + portText + "'");
  }
  const auto* const found = std::ranges::find(LEVELS, level, &Level::name);
  if (found == std::end(LEVELS)) fail("log-level takes fatal, error, warn, info or debug, not '" + level + "'");

  setup.spool = options.get("spool-directory", defaultSpool());
  if (setup.spool.empty()) fail("HOME is not set: spool-directory has to say where jobs are kept");
  if (mkdir(setup.spool.c_str(), S_IRWXU) != 0 && errno != EEXIST) {
    fail(setup.spool + ": " + std::generic_category().message(errno));
  }
  setup.temporary = setup.spool + "/tmp";
  if (const std::string fault = emptyFolder(setup.temporary); !fault.empty()) fail(fault);
  // Whoever listens to others asks them who they are before they may change anything.
  const std::string host = options.get("listen-hostname", "127.0.0.1");
  const bool open = setup.reachable = !isLoopback(host);
  const std::string authentication = options.get("auth-service", open ? AUTHENTICATION_SERVICE : "none");
  if (open && authentication == "none") {
    fail("without an auth-service only this machine may be listened to, not '" + host + "'");
  }
  // PAPPL starts a private server for a command that finds none.
  const bool isPrivate = options.get("private-server") != nullptr;
  // PAPPL 1.3 locks itself out when it begins a new log file and standard error is one that is long already: there it
  // may say nothing before that is switched off.
  const std::string log = options.get("log-file", isPrivate ? setup.spool + "/log" : "-");
  const bool toStandardError = log == "-";
  pappl_system_t* const system =
      papplSystemCreate(PAPPL_SOPTIONS_MULTI_QUEUE | PAPPL_SOPTIONS_WEB_INTERFACE |
                            (open ? PAPPL_SOPTIONS_WEB_REMOTE | PAPPL_SOPTIONS_WEB_TLS : PAPPL_SOPTIONS_NO_TLS),
                        TITLE, port, "_print,_universal", setup.spool.c_str(), log.c_str(),
                        toStandardError ? PAPPL_LOGLEVEL_FATAL : found->level, authentication.c_str(), false);
  if (system == nullptr) fail("the system cannot be made");
  if (toStandardError) papplSystemSetMaxLogSize(system, 0);
  papplSystemSetLogLevel(system, found->level);
  if (const char* const group = options.get("admin-group")) papplSystemSetAdminGroup(system, group);
  if (const char* const name = options.get("server-hostname")) papplSystemSetHostName(system, name);
  if (!isPrivate && !papplSystemAddListeners(system, host.c_str())) {
    fail("'" + host + "' port " + portText + " cannot be listened to");
  }
  pappl_version_t numbers = version();
  papplSystemSetVersions(system, 1, &numbers);
  papplSystemSetMIMECallback(system, recognise, nullptr);
  for (const char* type : {"application/pdf", "image/jpeg", "image/png"}) {
    papplSystemAddMIMEFilter(system, type, PRINTER_FORMAT, printDocument, &setup);
  }
  addTexts(system, setup.catalogue);
  const auto drivers = driverList(setup);
  papplSystemSetPrinterDrivers(system, static_cast<int>(drivers.size()), drivers.data(), chooseDriver, printerMade,
                               describeDriver, &setup);
  restoreState(system, setup.spool);
  papplSystemIteratePrinters(system, announce, &setup);
  if (!open) papplSystemSetDNSSDName(system, nullptr);
  watchForEnd(system);
  static const AlertWatch watch(setup.catalogue);
  if (isPrivate) leaveStandardStreams();
  return system;
}

}  // namespace kesto::app
