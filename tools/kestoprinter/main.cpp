// kestoprinter: a printer for people who have none at hand, and for tests. Listens for jobs on a TCP port and for
// status requests on a UDP port; shows alerts that its command line or its standard input name.
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
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
  std::vector<std::string> errors, warnings;
};

/// The command line; what it does not settle is the printer's default.
void addOptions(CLI::App& app, Settings& settings, unsigned& delay) {
  const std::map<std::string, Fault> faults = {{"silent", Fault::SILENT},
                                               {"garbage", Fault::GARBAGE},
                                               {"truncated", Fault::TRUNCATED},
                                               {"oversized", Fault::OVERSIZED},
                                               {"wrong-id", Fault::WRONG_ID}};
  app.add_option("-a,--address", settings.address, "IPv4 address to listen on")->capture_default_str();
  app.add_option("-p,--port", settings.port, "TCP port for jobs")->capture_default_str();
  app.add_option("-s,--status-port", settings.statusPort, "UDP port for status requests")->capture_default_str();
  app.add_option("-o,--output", settings.jobs.folder, "folder in which jobs are kept")
      ->capture_default_str()
      ->check(CLI::ExistingDirectory);
  app.add_option("-n,--jobs", settings.maxJobs, "end after so many jobs");
  app.add_option("--error", settings.errors, "show an error with this text (may be repeated)");
  app.add_option("--warning", settings.warnings, "show a warning with this text (may be repeated)");
  app.add_option("--packets", settings.status.packets, "answer alert requests in so many packets")
      ->check(CLI::Range(1, 64));
  app.add_option("--delay", delay, "wait so many milliseconds before each answer");
  app.add_option("--fault", settings.status.fault, "answer status requests badly")
      ->transform(CLI::CheckedTransformer(faults))
      ->option_text("silent|garbage|truncated|oversized|wrong-id");
  app.add_option("--slow", settings.jobs.bytesPerSecond, "take jobs at so many bytes a second");
  app.add_option("--close-after", settings.jobs.closeAfter, "close a job's connection after so many bytes");
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

/// The running printer: both ports, the panel, and answers that wait for their time.
class Printer {
 public:
  explicit Printer(const Settings& settings)
      : settings_(settings),
        jobs_(settings.jobs, [this](const KeptJob& job) { jobIsOver(job); }),
        status_(settings.status),
        jobListener_(bindSocket(SOCK_STREAM, settings.address, settings.port)),
        statusSocket_(bindSocket(SOCK_DGRAM, settings.address, settings.statusPort)) {
    for (const std::string& text : settings.errors) obey("alert error " + text);
    for (const std::string& text : settings.warnings) obey("alert warning " + text);
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
    std::vector<pollfd> inputs = {{jobListener_, POLLIN, 0}, {statusSocket_, POLLIN, 0}, {commands_, POLLIN, 0}};
    jobs_.forEachReading([&](int descriptor) { inputs.push_back({descriptor, POLLIN, 0}); });
    const auto wait = std::chrono::duration_cast<std::chrono::milliseconds>(next - Clock::now()).count();
    if (poll(inputs.data(), inputs.size(), static_cast<int>(std::max<std::int64_t>(wait, 1))) <= 0) return;
    if (inputs[0].revents != 0) jobs_.accept(jobListener_);
    if (inputs[1].revents != 0) takeRequest();
    if (inputs[2].revents != 0) readCommands();
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

  void readCommands() {
    std::array<char, 4096> text;
    const ssize_t got = read(commands_, text.data(), text.size());
    if (got <= 0) {
      commands_ = -1;
      return;
    }
    commandText_.append(text.data(), static_cast<std::size_t>(got));
    for (std::size_t end = 0; (end = commandText_.find('\n')) != std::string::npos; commandText_.erase(0, end + 1)) {
      obey(commandText_.substr(0, end));
    }
  }

  void obey(const std::string& line) {
    const std::string complaint = panel_.obey(line);
    if (!complaint.empty()) std::fprintf(stderr, "kestoprinter: %s\n", complaint.c_str());
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
  int commands_ = STDIN_FILENO;  ///< -1 once it has ended
  std::string commandText_;
  std::deque<DueAnswer> due_;
  int finishedJobs_ = 0;
};

}  // namespace

int main(int argc, char* argv[]) {
  CLI::App app("A virtual printer: keeps the jobs that are sent to it, and answers status requests.", "kestoprinter");
  Settings settings;
  unsigned delay = 0;
  addOptions(app, settings, delay);
  CLI11_PARSE(app, argc, argv);
  settings.status.delay = std::chrono::milliseconds(delay);

  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  struct sigaction action = {};
  action.sa_handler = [](int) { ended = true; };
  sigaction(SIGTERM, &action, nullptr);
  sigaction(SIGINT, &action, nullptr);
  try {
    Printer(settings).run();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "kestoprinter: %s\n", error.what());
    return 1;
  }
  return 0;
}
