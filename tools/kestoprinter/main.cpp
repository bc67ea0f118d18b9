// kestoprinter: a printer for people who have none at hand, and for tests. On the network it listens for jobs on a TCP
// port and for status requests on a UDP port; on USB it runs a filter, or is run by the spooler as a backend. It shows
// alerts that its command line, its standard input or its device URI name.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <map>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include <CLI/CLI.hpp>
#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include "kestoprinter/alertpanel.h"
#include "kestoprinter/jobport.h"
#include "kestoprinter/statusport.h"
#include "kestoprinter/usbjob.h"

namespace {

using namespace kesto::printer;
using Clock = std::chrono::steady_clock;

std::atomic<bool> ended{false};

struct Settings {
  std::string address = "127.0.0.1";
  std::uint16_t port = 9100;
  std::uint16_t statusPort = 9300;
  int maxJobs = 0;
  JobBehaviour jobs;
  StatusBehaviour status;
  UsbBehaviour usb;
  std::vector<std::string> filter;  ///< the USB printer's program with its arguments
  std::vector<std::string> errors, warnings;
};

void addTime(CLI::App& app, const std::string& name, std::chrono::milliseconds& time, const std::string& text) {
  app.add_option_function<unsigned>(
      name, [&time](unsigned value) { time = std::chrono::milliseconds(value); }, text);
}

/// What both faces of the printer have; what the command line does not settle is the printer's default.
void addCommonOptions(CLI::App& app, Settings& settings) {
  const std::map<std::string, Fault> faults = {{"silent", Fault::SILENT},
                                               {"garbage", Fault::GARBAGE},
                                               {"truncated", Fault::TRUNCATED},
                                               {"oversized", Fault::OVERSIZED},
                                               {"wrong-id", Fault::WRONG_ID}};
  app.add_option("-o,--output", settings.jobs.folder, "folder in which jobs are kept")
      ->capture_default_str()
      ->check(CLI::ExistingDirectory);
  app.add_option("--error", settings.errors, "show an error with this text (may be repeated)");
  app.add_option("--warning", settings.warnings, "show a warning with this text (may be repeated)");
  app.add_option("--packets", settings.status.packets, "answer alert requests in so many packets")
      ->check(CLI::Range(1, 64));
  addTime(app, "--delay", settings.status.delay, "wait so many milliseconds before each answer");
  app.add_option("--fault", settings.status.fault, "answer status requests badly")
      ->transform(CLI::CheckedTransformer(faults))
      ->option_text("silent|garbage|truncated|oversized|wrong-id");
}

void addNetworkOptions(CLI::App& app, Settings& settings) {
  app.add_option("-a,--address", settings.address, "IPv4 address to listen on")->capture_default_str();
  app.add_option("-p,--port", settings.port, "TCP port for jobs")->capture_default_str();
  app.add_option("-s,--status-port", settings.statusPort, "UDP port for status requests")->capture_default_str();
  app.add_option("-n,--jobs", settings.maxJobs, "end after so many jobs");
  app.add_option("--slow", settings.jobs.bytesPerSecond, "take jobs at so many bytes a second");
  app.add_option("--close-after", settings.jobs.closeAfter, "close a job's connection after so many bytes");
}

void addUsbOptions(CLI::App& app, Settings& settings) {
  app.add_option("--piece", settings.usb.piece, "send answers in pieces of so many bytes")
      ->capture_default_str()
      ->check(CLI::PositiveNumber);
  addTime(app, "--gap", settings.usb.gap, "wait so many milliseconds between two pieces");
}

/// A socket of `type` bound to the address and port.
int bindSocket(int type, const std::string& address, std::uint16_t port) {
  const int descriptor = socket(AF_INET, type | SOCK_CLOEXEC, 0);
  sockaddr_in local = {};
  local.sin_family = AF_INET;
  local.sin_port = htons(port);
  if (inet_pton(AF_INET, address.c_str(), &local.sin_addr) != 1)
    throw std::runtime_error(address + " is no IPv4 address");
  const int on = 1;
  setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  const void* generic = &local;
  if (bind(descriptor, static_cast<const sockaddr*>(generic), sizeof local) != 0 ||
      (type == SOCK_STREAM && listen(descriptor, 16) != 0)) {
    throw std::system_error(errno, std::generic_category(), address + ":" + std::to_string(port));
  }
  return descriptor;
}

void showAlerts(AlertPanel& panel, const Settings& settings) {
  for (const std::string& text : settings.errors) obeyOrComplain(panel, "alert error " + text);
  for (const std::string& text : settings.warnings) obeyOrComplain(panel, "alert warning " + text);
}

/// The running printer: both ports, the panel, and answers that wait for their time.
class Printer {
 public:
  explicit Printer(const Settings& settings)
      : settings_(settings),
        jobs_(settings.jobs, [this](const KeptJob& job) { jobIsOver(job); }),
        status_(settings.status),
        jobListener_(bindSocket(SOCK_STREAM, settings.address, settings.port)),
        statusSocket_(bindSocket(SOCK_DGRAM, settings.address, settings.statusPort)) {
    showAlerts(panel_, settings);
    std::printf("listening on %s, jobs on port %d, status on port %d\n", settings.address.c_str(), settings.port,
                settings.statusPort);
  }
  Printer(const Printer&) = delete;
  Printer& operator=(const Printer&) = delete;
  ~Printer() {
    close(jobListener_);
    close(statusSocket_);
  }

  void run() {
    while (!ended && (settings_.maxJobs == 0 || finishedJobs_ < settings_.maxJobs)) {
      const auto next = std::min(jobs_.work(), sendDueAnswers());
      waitForInput(next);
    }
    const StatusCounts& counts = status_.counts();
    std::printf("registered %d, unregistered %d, asked for alerts %d, OIR %d\n", counts.registered, counts.unregistered,
                counts.polls, counts.oirPolls);
  }

 private:
  struct DueAnswer {
    Clock::time_point time;
    sockaddr_in to;
    Bytes datagram;
  };

  void waitForInput(Clock::time_point next) {
    std::vector<pollfd> inputs = {
        {jobListener_, POLLIN, 0}, {statusSocket_, POLLIN, 0}, {commands_.descriptor(), POLLIN, 0}};
    jobs_.forEachReading([&](int descriptor) { inputs.push_back({descriptor, POLLIN, 0}); });
    const auto wait = std::chrono::duration_cast<std::chrono::milliseconds>(next - Clock::now()).count();
    if (poll(inputs.data(), inputs.size(), static_cast<int>(std::max<std::int64_t>(wait, 1))) <= 0) return;
    if (inputs[0].revents != 0) jobs_.accept(jobListener_);
    if (inputs[1].revents != 0) takeRequest();
    if (inputs[2].revents != 0) commands_.read(panel_);
  }

  void takeRequest() {
    Bytes request(2048);
    sockaddr_in from = {};
    socklen_t size = sizeof from;
    void* generic = &from;
    const ssize_t got =
        recvfrom(statusSocket_, request.data(), request.size(), 0, static_cast<sockaddr*>(generic), &size);
    if (got <= 0) return;
    request.resize(static_cast<std::size_t>(got));
    for (Bytes& datagram : status_.answer(request, panel_)) {
      due_.push_back({Clock::now() + status_.delay(), from, std::move(datagram)});
    }
  }

  /// Sends the answers whose time has come; returns when the next one is due.
  Clock::time_point sendDueAnswers() {
    for (; !due_.empty() && due_.front().time <= Clock::now(); due_.pop_front()) {
      const DueAnswer& answer = due_.front();
      const void* generic = &answer.to;
      sendto(statusSocket_, answer.datagram.data(), answer.datagram.size(), 0, static_cast<const sockaddr*>(generic),
             sizeof answer.to);
    }
    return due_.empty() ? Clock::time_point::max() : due_.front().time;
  }

  void jobIsOver(const KeptJob& job) {
    ++finishedJobs_;
    std::printf("job %d: %llu bytes in %s%s\n", job.number, static_cast<unsigned long long>(job.bytes),
                job.file.c_str(), job.complete ? "" : ", broken off");
  }

  Settings settings_;
  AlertPanel panel_;
  JobPort jobs_;
  StatusPort status_;
  int jobListener_, statusSocket_;
  PanelInput commands_{STDIN_FILENO};
  std::deque<DueAnswer> due_;
  int finishedJobs_ = 0;
};

bool isEnded() {
  return ended;
}

int printOnUsb(const Settings& settings) {
  UsbPrinter printer(settings.status, settings.usb);
  showAlerts(printer.panel(), settings);
  return printFilter(printer, settings.filter, {.folder = settings.jobs.folder, .ended = isEnded});
}

/// The spooler's backend: without arguments it lists its device, with those of a job it prints.
int runBackend(int argc, char* argv[]) {
  enum Argument { PROGRAM, JOB_ID, USER, TITLE, COPIES, OPTIONS, FILE_NAME };
  if (argc <= OPTIONS) {
    std::puts(
        R"(direct usb://Kesto/Page "Kesto Page" "Kesto virtual USB printer" "MFG:Kesto;MDL:Page;CMD:PJL,PCLXL;" "")");
    return 0;
  }
  Settings settings;
  CLI::App app("The virtual printer as a backend; its options come with the device URI.", "usb");
  addCommonOptions(app, settings);
  addUsbOptions(app, settings);
  const char* uri = std::getenv("DEVICE_URI");  // NOLINT(concurrency-mt-unsafe): one thread
  std::vector<std::string> options = optionsOf(uri != nullptr ? uri : "");
  std::ranges::reverse(options);  // the parser takes the last one first
  app.parse(options);
  UsbPrinter printer(settings.status, settings.usb);
  showAlerts(printer.panel(), settings);
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
  usb->add_option("command", settings.filter, "the filter and its arguments")->required();
  CLI11_PARSE(app, argc, argv);
  if (usb->parsed()) return printOnUsb(settings);
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  Printer(settings).run();
  return 0;
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
    std::fprintf(stderr, "kestoprinter: %s\n", error.what());
    return 1;
  }
}
