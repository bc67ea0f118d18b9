#include "support/spooler.h"

#include <filesystem>
#include <fstream>
#include <map>
#include <stdexcept>
#include <thread>

#include <signal.h>
#include <unistd.h>

#include "support/file.h"

namespace kesto::test {
namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;

constexpr char CUPSD[] = "/usr/sbin/cupsd";
const fs::path SERVER_BIN = "/usr/lib/cups";

/// Looks every 50 ms until `ready`, for a minute at most.
template <class Ready>
bool waitFor(Ready ready) {
  for (int i = 0; i < 1200; ++i) {
    if (ready()) return true;
    std::this_thread::sleep_for(milliseconds(50));
  }
  return false;
}

}  // namespace

std::string PrivateSpooler::unavailable() {
  if (geteuid() != 0) return "the spooler runs filters for root only; run the tests as root to include these";
  if (!fs::exists(CUPSD)) return "cups-daemon is not installed";
  return "";
}

PrivateSpooler::PrivateSpooler(const std::string& filter, const std::string& driver) {
  makeFolders();
  gatherPrograms(filter);
  gatherData(driver);
  writeConfiguration();
  const std::string configuration = folder_.path() + "/etc/";
  Command command{
      .program = CUPSD,
      .arguments = {"cupsd", "-f", "-c", configuration + "cupsd.conf", "-s", configuration + "cups-files.conf"},
      .environment = {{"PATH", "/usr/sbin:/usr/bin:/sbin:/bin"}, {"LC_ALL", "C"}},
      .timeout = std::chrono::minutes(10)};
  for (const auto& setting : sanitizerSettings()) command.environment.push_back(setting);
  daemon_ = std::make_unique<Process>(command);
  if (!waitFor([this] { return fs::exists(socketPath()); })) throw std::runtime_error("cupsd: " + errorLog());
}

PrivateSpooler::~PrivateSpooler() {
  daemon_->signal(SIGTERM);
  daemon_->finish();
}

void PrivateSpooler::makeFolders() {
  fs::permissions(folder_.path(), fs::perms::owner_all | fs::perms::group_exec | fs::perms::others_exec);
  for (const char* name :
       {"etc/ppd", "spool/tmp", "cache", "state", "log", "output", "home", "bin/filter", "bin/backend", "data"}) {
    fs::create_directories(folder_.path() + "/" + name);
  }
  fs::permissions(outputPath(""), fs::perms::all);
}

void PrivateSpooler::gatherPrograms(const std::string& filter) const {
  const fs::path bin = folder_.path() + "/bin";
  const std::map<fs::path, std::pair<fs::path, fs::path>> ours = {{"filter", {"pdftokesto", filter}},
                                                                  {"backend", {"usb", KESTO_PRINTER}}};
  for (const auto& entry : fs::directory_iterator(SERVER_BIN)) {
    const fs::path name = entry.path().filename();
    if (!ours.contains(name)) fs::create_directory_symlink(entry.path(), bin / name);
  }
  for (const auto& [folder, program] : ours) {
    for (const auto& entry : fs::directory_iterator(SERVER_BIN / folder)) {
      const fs::path name = entry.path().filename();
      if (name != program.first) fs::create_symlink(entry, bin / folder / name);
    }
    // A copy, because the build folder may belong to anybody and be closed to the spooler's user.
    const fs::path copy = bin / folder / program.first;
    fs::copy_file(program.second, copy);
    fs::permissions(copy, fs::perms::owner_all | fs::perms::group_read | fs::perms::group_exec |
                              fs::perms::others_read | fs::perms::others_exec);
  }
}

void PrivateSpooler::gatherData(const std::string& driver) const {
  const fs::path data = folder_.path() + "/data";
  for (const auto& entry : fs::directory_iterator("/usr/share/cups")) {
    fs::create_symlink(entry, data / entry.path().filename());
  }
  if (driver.empty()) return;
  for (const char* name : {"drv", "ppdc"}) fs::remove(data / name);
  fs::create_directory(data / "drv");
  fs::copy_file(fs::path(driver) / "kesto.drv", data / "drv/kesto.drv");
  fs::copy(fs::path(driver) / "po", data / "ppdc");
}

void PrivateSpooler::writeConfiguration() const {
  const std::string& folder = folder_.path();
  const Variables files = {
      {"ServerRoot", "/etc"},     {"RequestRoot", "/spool"}, {"TempDir", "/spool/tmp"}, {"CacheDir", "/cache"},
      {"StateDir", "/state"},     {"ServerBin", "/bin"},     {"DataDir", "/data"},      {"AccessLog", "/log/access"},
      {"ErrorLog", "/log/error"}, {"PageLog", "/log/page"},
  };
  std::ofstream cupsFiles(folder + "/etc/cups-files.conf");
  cupsFiles << "User lp\nGroup lp\nSystemGroup root\nFileDevice Yes\n";
  for (const auto& [name, path] : files) cupsFiles << name << ' ' << folder << path << '\n';

  std::ofstream cupsd(folder + "/etc/cupsd.conf");
  cupsd << "Listen " << socketPath() << '\n';
  for (const auto& [name, value] : sanitizerSettings()) cupsd << "PassEnv " << name << '\n';
  cupsd << R"(LogLevel debug
MaxLogSize 0
Browsing No
WebInterface No
DefaultAuthType None
<Location />
  Order allow,deny
  Allow all
</Location>
<Policy default>
  <Limit All>
    Order allow,deny
    Allow all
  </Limit>
</Policy>
)";
}

std::string PrivateSpooler::client(const std::string& program, const std::vector<std::string>& arguments) {
  Command command{.program = "/usr/bin/" + program,
                  .arguments = {program},
                  .environment = {{"CUPS_SERVER", socketPath()},
                                  {"CUPS_SERVERROOT", folder_.path() + "/etc"},  // where root's lpoptions are
                                  {"HOME", folder_.path() + "/home"},
                                  {"LC_ALL", "C"},
                                  {"PATH", "/usr/sbin:/usr/bin:/sbin:/bin"}}};
  if (!fs::exists(command.program)) command.program = "/usr/sbin/" + program;
  command.arguments.insert(command.arguments.end(), arguments.begin(), arguments.end());
  const Outcome outcome = run(command);
  if (outcome.status != 0) throw std::runtime_error(program + ": " + outcome.log);
  return {outcome.output.begin(), outcome.output.end()};
}

void PrivateSpooler::addQueue(const std::string& queue, const std::string& deviceUri, const std::string& ppd,
                              const std::vector<std::string>& defaults) {
  std::vector<std::string> arguments = {"-p", queue, "-v", deviceUri, "-P", ppd, "-E"};
  for (const std::string& option : defaults) {
    arguments.emplace_back("-o");
    arguments.push_back(option);
  }
  client("lpadmin", arguments);
}

std::string PrivateSpooler::print(const std::string& queue, const std::string& document,
                                  const std::vector<std::string>& arguments) {
  std::vector<std::string> all = {"-d", queue};
  all.insert(all.end(), arguments.begin(), arguments.end());
  all.push_back(document);
  const std::string answer = client("lp", all);  // "request id is queue-17 (1 file(s))"
  if (!waitUntilIdle(queue)) throw std::runtime_error("a job that does not end: " + errorLog());
  const std::size_t start = answer.find(queue + "-");
  return start == std::string::npos ? "" : answer.substr(start, answer.find(' ', start) - start);
}

bool PrivateSpooler::waitUntilIdle(const std::string& queue) {
  return waitFor([&] { return client("lpstat", {"-W", "not-completed", "-o", queue}).empty(); });
}

bool PrivateSpooler::waitForLog(const std::string& text) const {
  return waitFor([&] { return errorLog().find(text) != std::string::npos; });
}

std::string PrivateSpooler::log(const std::string& name) const {
  return contentOf(folder_.path() + "/log/" + name);
}

}  // namespace kesto::test
