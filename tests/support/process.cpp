#include "support/process.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "argumentlist.h"

namespace kesto::test {
namespace {

using std::chrono::milliseconds;

constexpr int BACK_CHANNEL = 3;

std::array<int, 2> makePipe() {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::system_error(errno, std::generic_category(), "pipe");
  return ends;
}

void closeEnd(int& descriptor) {
  if (descriptor >= 0) close(descriptor);
  descriptor = -1;
}

}  // namespace

Variables sanitizerSettings() {
  Variables settings;
  for (const char* name : {"ASAN_OPTIONS", "TSAN_OPTIONS", "UBSAN_OPTIONS", "LSAN_OPTIONS"}) {
    const char* value = std::getenv(name);  // NOLINT(concurrency-mt-unsafe): one thread
    if (value != nullptr) settings.emplace_back(name, value);
  }
  return settings;
}

std::vector<std::string> Outcome::linesWith(const std::string& prefix) const {
  std::vector<std::string> lines;
  std::istringstream stream(log);
  for (std::string line; std::getline(stream, line);) {
    if (line.starts_with(prefix)) lines.push_back(line);
  }
  return lines;
}

double processorSeconds(clockid_t clock) {
  timespec time{};
  clock_gettime(clock, &time);
  return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

Process::Process(const Command& command) : command_(command), start_(std::chrono::steady_clock::now()) {
  std::vector<std::string> environment;
  for (const auto& [name, value] : command_.environment) environment.emplace_back(name).append("=").append(value);
  const auto arguments = tools::pointersTo(command_.arguments);
  const auto variables = tools::pointersTo(environment);
  const auto in = makePipe();
  const auto out = makePipe();
  const auto log = makePipe();
  const auto back = makePipe();
  pid_ = fork();
  if (pid_ < 0) throw std::system_error(errno, std::generic_category(), "fork");
  if (pid_ == 0) {
    if (command_.ownGroup) setpgid(0, 0);
    prctl(PR_SET_PDEATHSIG, SIGTERM);  // a test that is killed leaves no daemon behind
    dup2(command_.inputFrom >= 0 ? command_.inputFrom : in[0], STDIN_FILENO);
    dup2(command_.outputTo >= 0 ? command_.outputTo : out[1], STDOUT_FILENO);
    dup2(log[1], STDERR_FILENO);
    if (command_.backChannel) {
      if (back[0] == BACK_CHANNEL) fcntl(BACK_CHANNEL, F_SETFD, 0);
      dup2(back[0], BACK_CHANNEL);
    }
    execve(command_.program.c_str(), arguments.data(), variables.data());
    _exit(127);
  }
  if (command_.ownGroup) setpgid(pid_, pid_);  // whoever of the two comes first makes the group
  close(in[0]);
  close(out[1]);
  close(log[1]);
  close(back[0]);
  backChannel_ = back[1];
  input_ = in[1];
  output_ = out[0];
  log_ = log[0];
  fcntl(input_, F_SETFL, O_NONBLOCK);
  ::signal(SIGPIPE, SIG_IGN);
}

Process::~Process() {
  if (pid_ > 0) {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }
  closeEnd(input_);
  closeEnd(output_);
  closeEnd(log_);
  closeEnd(backChannel_);
}

void Process::signal(int number) const {
  kill(pid_, number);
}

void Process::signalGroup(int number) const {
  kill(-pid_, number);
}

void Process::closeOutput() {
  closeEnd(output_);
}

void Process::noteMemory() {
  constexpr milliseconds BETWEEN_LOOKS{10};
  const auto now = std::chrono::steady_clock::now();
  if (now < nextLook_) return;
  nextLook_ = now + BETWEEN_LOOKS;
  std::ifstream status("/proc/" + std::to_string(pid_) + "/status");
  for (std::string name; status >> name;) {
    if (name == "VmHWM:" && status >> outcome_.peakMemory) return;
  }
}

void Process::readSome(int waitMs) {
  noteMemory();
  const bool inputWanted = inputWritten_ < command_.input.size() || !command_.keepInputOpen;
  std::array<pollfd, 3> ends = {pollfd{outputHeld_ ? -1 : output_, POLLIN, 0}, pollfd{log_, POLLIN, 0},
                                pollfd{inputWanted ? input_ : -1, POLLOUT, 0}};
  if (poll(ends.data(), ends.size(), waitMs) <= 0) return;
  std::array<char, 65536> buffer;
  if (ends[0].revents != 0) {
    const ssize_t got = read(output_, buffer.data(), buffer.size());
    if (got > 0 && !command_.dropOutput)
      outcome_.output.insert(outcome_.output.end(), buffer.data(), buffer.data() + got);
    if (got <= 0) closeEnd(output_);
  }
  if (ends[1].revents != 0) {
    const ssize_t got = read(log_, buffer.data(), buffer.size());
    if (got > 0) outcome_.log.append(buffer.data(), static_cast<std::size_t>(got));
    if (got <= 0) closeEnd(log_);
  }
  if (ends[2].revents != 0) {
    const std::string_view rest = std::string_view(command_.input).substr(inputWritten_);
    const ssize_t written = write(input_, rest.data(), rest.size());
    if (written > 0) inputWritten_ += static_cast<std::size_t>(written);
    if (written < 0 || (rest.empty() && !command_.keepInputOpen)) closeEnd(input_);
  }
}

bool Process::waitFor(const std::function<bool()>& seen) {
  while (!seen()) {
    if ((log_ < 0 && output_ < 0) || std::chrono::steady_clock::now() - start_ > command_.timeout) return false;
    readSome(50);
  }
  return true;
}

bool Process::waitForLog(const std::string& text) {
  return waitFor([&] { return outcome_.log.find(text) != std::string::npos; });
}

bool Process::waitForOutput(const std::string& text) {
  return waitFor([&] { return hasOutput(text); });
}

bool Process::hasOutput(const std::string& text) const {
  const auto& output = outcome_.output;
  return std::search(output.begin(), output.end(), text.begin(), text.end()) != output.end();
}

void Process::collectFor(milliseconds time) {
  const auto end = std::chrono::steady_clock::now() + time;
  for (auto now = std::chrono::steady_clock::now(); now < end; now = std::chrono::steady_clock::now()) {
    readSome(static_cast<int>(std::chrono::ceil<milliseconds>(end - now).count()));
  }
}

void Process::writeBackChannel(const std::vector<std::uint8_t>& bytes) const {
  if (write(backChannel_, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size())) {
    throw std::system_error(errno, std::generic_category(), "back channel");
  }
}

void Process::writeInput(const std::string& text) {
  command_.input += text;
  readSome(0);
}

Outcome Process::finish() {
  int status = 0;
  while ((output_ >= 0 && !outputHeld_) || log_ >= 0) {
    if (std::chrono::steady_clock::now() - start_ > command_.timeout) {
      outcome_.timedOut = true;
      kill(pid_, SIGKILL);
      break;
    }
    readSome(50);
  }
  for (outputHeld_ = false; output_ >= 0 && !outcome_.timedOut;) readSome(50);
  // What the kernel hands out with the exit status counts the children's time as well: the program's clock is read
  // before.
  siginfo_t end = {};
  while (waitid(P_PID, static_cast<id_t>(pid_), &end, WEXITED | WNOWAIT) != 0 && errno == EINTR) {
  }
  clockid_t clock{};
  if (clock_getcpuclockid(pid_, &clock) == 0) outcome_.processorSeconds = processorSeconds(clock);
  waitpid(pid_, &status, 0);
  pid_ = -1;
  outcome_.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  outcome_.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
  outcome_.duration = std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - start_);
  return outcome_;
}

Outcome run(const Command& command) {
  return Process(command).finish();
}

std::string ownAddress(int number) {
  const int process = getpid() % 64516;  // 254 x 254
  return "127." + std::to_string(100 + number) + "." + std::to_string(process / 254 + 1) + "." +
         std::to_string(process % 254 + 1);
}

TemporaryFolder::TemporaryFolder() {
  std::string name = (std::filesystem::temp_directory_path() / "kesto-test-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) throw std::system_error(errno, std::generic_category(), "mkdtemp");
  path_ = name;
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string TemporaryFolder::write(const std::string& name, const std::string& text) const {
  std::ofstream(path_ + "/" + name, std::ios::binary) << text;
  return path_ + "/" + name;
}

}  // namespace kesto::test
