// kestoprinter: a printer for people who have none at hand, and for tests. On the network it listens for jobs on a TCP
// port and for status requests on a UDP port; on USB it runs a filter, or is run by the spooler as a backend. It shows
// alerts that its command line, its standard input or its device URI name.
#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <arpa/inet.h>
#include <signal.h>

#include "commandline.h"
#include "kestoprinter/networkprinter.h"
#include "kestoprinter/printermib.h"
#include "kestoprinter/usbjob.h"

namespace {

using namespace kesto::printer;
using kesto::tools::addNumber;
using kesto::tools::Range;

std::atomic<bool> ended{false};

struct Settings {
  NetworkSettings network;
  JobBehaviour jobs;
  StatusBehaviour status;
  UsbBehaviour usb;
  std::vector<std::string> filter;  ///< the USB printer's program with its arguments
  std::vector<std::string> errors, warnings, levels;
};

constexpr Range PORTS = {1, 65535};
constexpr Range MILLISECONDS = {0, 3600000};
constexpr Range BYTES = {1, 1000000000000};

void addFault(CLI::App& app, Fault& fault) {
  static constexpr std::array<std::pair<std::string_view, Fault>, 5> FAULTS = {{{"silent", Fault::SILENT},
                                                                                {"garbage", Fault::GARBAGE},
                                                                                {"truncated", Fault::TRUNCATED},
                                                                                {"oversized", Fault::OVERSIZED},
                                                                                {"wrong-id", Fault::WRONG_ID}}};
  std::string kinds;
  for (const auto& [kind, value] : FAULTS) kinds += (kinds.empty() ? "" : "|") + std::string(kind);
  const auto read = [&fault, kinds](const std::string& text) {
    const auto* const found = std::ranges::find(FAULTS, text, &std::pair<std::string_view, Fault>::first);
    if (found == FAULTS.end()) throw CLI::ValidationError("--fault", "takes " + kinds);
    fault = found->second;
  };
  app.add_option_function<std::string>("--fault", read, "answer status requests badly")->option_text(kinds);
}

/// What both faces of the printer have; what the command line does not settle is the printer's default.
void addCommonOptions(CLI::App& app, Settings& settings) {
  app.add_option("-o,--output", settings.jobs.folder, "folder in which jobs are kept")
      ->type_name("FOLDER")
      ->capture_default_str()
      ->check(CLI::Validator(CLI::ExistingDirectory).description(""));
  app.add_option("--error", settings.errors, "show an error with this text (may be repeated)");
  app.add_option("--warning", settings.warnings, "show a warning with this text (may be repeated)");
  addNumber(app, "--packets", settings.status.packets, {1, 64}, "answer alert requests in so many packets");
  addNumber(app, "--delay", settings.status.delay, MILLISECONDS, "wait so many milliseconds before each answer");
  addFault(app, settings.status.fault);
}

std::string addressError(const std::string& text) {
  in_addr address = {};
  return inet_pton(AF_INET, text.c_str(), &address) == 1 ? "" : "takes an IPv4 address";
}

std::string levelError(const std::string& text) {
  return Supplies().set(text);
}

void addNetworkOptions(CLI::App& app, Settings& settings) {
  NetworkSettings& network = settings.network;
  app.add_option("-a,--address", network.address, "IPv4 address to listen on")
      ->type_name("ADDRESS")
      ->capture_default_str()
      ->check(addressError);
  addNumber(app, "-p,--port", network.port, PORTS, "TCP port for jobs");
  addNumber(app, "-s,--status-port", network.statusPort, PORTS, "UDP port for status requests");
  addNumber(app, "--snmp-port", network.snmpPort, {0, PORTS.high},
            "UDP port for SNMP, 0 for none (default: 161 if it can be had)");
  app.add_option("--level", settings.levels, "how full a toner cartridge is, in percent (may be repeated)")
      ->type_name("COLOUR=PERCENT")
      ->check(levelError);
  addNumber(app, "-n,--jobs", network.maxJobs, {1, 1000000000}, "end after so many jobs");
  addNumber(app, "--slow", settings.jobs.bytesPerSecond, BYTES, "take jobs at so many bytes a second");
  addNumber(app, "--close-after", settings.jobs.closeAfter, BYTES, "close a job's connection after so many bytes");
}

void addUsbOptions(CLI::App& app, Settings& settings) {
  addNumber(app, "--piece", settings.usb.piece, BYTES, "send answers in pieces of so many bytes");
  addNumber(app, "--gap", settings.usb.gap, MILLISECONDS, "wait so many milliseconds between two pieces");
}

/// Brings the panel into the state that the options name.
void setPanel(AlertPanel& panel, const Settings& settings) {
  for (const std::string& text : settings.errors) obeyOrComplain(panel, "alert error " + text);
  for (const std::string& text : settings.warnings) obeyOrComplain(panel, "alert warning " + text);
  for (const std::string& text : settings.levels) obeyOrComplain(panel, "level " + text);
}

bool isEnded() {
  return ended;
}

int printOnUsb(const Settings& settings) {
  UsbPrinter printer(settings.status, settings.usb);
  setPanel(printer.panel(), settings);
  return printFilter(printer, settings.filter, {.folder = settings.jobs.folder, .ended = isEnded});
}

int printOnNetwork(const Settings& settings) {
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  NetworkPrinter printer(settings.network, settings.jobs, settings.status);
  setPanel(printer.panel(), settings);
  printer.run(isEnded);
  return 0;
}

/// The spooler's backend: without arguments it lists its device, with those of a job it prints.
int runBackend(int argc, char* argv[]) {
  enum Argument { PROGRAM, JOB_ID, USER, TITLE, COPIES, OPTIONS, FILE_NAME };
  if (argc <= OPTIONS) {
    std::printf("direct usb://Kesto/Page \"%s\" \"Kesto virtual USB printer\" \"%s\" \"\"\n", MAKE_AND_MODEL,
                DEVICE_ID);
    return 0;
  }
  Settings settings;
  CLI::App app("The virtual printer as a backend; its options come with the device URI.", "usb");
  addCommonOptions(app, settings);
  addUsbOptions(app, settings);
  const char* uri = std::getenv("DEVICE_URI");  // NOLINT(concurrency-mt-unsafe): one thread
  std::vector<std::string> options = optionsOf(uri != nullptr ? uri : "");
  std::ranges::reverse(options);  // the parser takes the last one first
  try {
    app.parse(options);
  } catch (const CLI::ParseError& error) {
    throw std::runtime_error("device URI: " + kesto::tools::reasonOf(app, error));
  }
  UsbPrinter printer(settings.status, settings.usb);
  setPanel(printer.panel(), settings);
  printBackend(printer, argc > FILE_NAME ? argv[FILE_NAME] : "",
               {.folder = settings.jobs.folder, .number = std::atoi(argv[JOB_ID]), .ended = isEnded});
  return 0;
}

/// The spooler runs a backend under the device URI, or under its own name to have it list its devices.
bool isBackend(std::string_view name) {
  return name.starts_with("usb:") || name.substr(name.rfind('/') + 1) == "usb";
}

int runProgram(int argc, char* argv[]) {
  if (isBackend(argv[0])) return runBackend(argc, argv);
  CLI::App app("A virtual printer: keeps the jobs that are sent to it, and answers status requests.", "kestoprinter");
  Settings settings;
  addCommonOptions(app, settings);
  addNetworkOptions(app, settings);
  CLI::App* usb = app.add_subcommand("usb", "runs a filter as a USB printer: usb [options] -- PROGRAM ARGUMENT...");
  usb->fallthrough();
  addUsbOptions(*usb, settings);
  usb->add_option("PROGRAM", settings.filter, "the filter and its arguments")->required();
  if (const auto status = kesto::tools::parseCommandLine(app, argc, argv)) return *status;
  return usb->parsed() ? printOnUsb(settings) : printOnNetwork(settings);
}

}  // namespace

int main(int argc, char* argv[]) {
  struct sigaction action = {};
  action.sa_handler = [](int) { ended = true; };
  sigaction(SIGTERM, &action, nullptr);
  sigaction(SIGINT, &action, nullptr);
  signal(SIGPIPE, SIG_IGN);
  try {
    return runProgram(argc, argv);
  } catch (const std::exception& error) {
    // The spooler shows a backend's lines that are marked as errors.
    std::fprintf(stderr, "%skestoprinter: %s\n", isBackend(argv[0]) ? "ERROR: " : "", error.what());
    return 1;
  }
}
