#include "support/process.h"

#include <array>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kesto::test {
namespace {

using std::chrono::milliseconds;

std::array<int, 2> makePipe() {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::system_error(errno, std::generic_category(), "pipe");
  return ends;
}

void closeEnd(int& descriptor) {
  if (descriptor >= 0) close(descriptor);
  descriptor = -1;
}

std::vector<char*> pointers(std::vector<std::string>& texts) {
  std::vector<char*> result;
  for (std::string& text : texts) result.push_back(text.data());
  result.push_back(nullptr);
  return result;
}

}  // namespace

std::vector<std::string> Outcome::linesWith(const std::string& prefix) const {
  std::vector<std::string> lines;
  std::istringstream stream(log);
  for (std::string line; std::getline(stream, line);) {
    if (line.starts_with(prefix)) lines.push_back(line);
  }
  return lines;
}

Process::Process(const Command& command) : command_(command), start_(std::chrono::steady_clock::now()) {
  std::vector<std::string> environment;
  for (const auto& [name, value] : command_.environment) environment.push_back(name + "=" + value);
  const auto arguments = pointers(command_.arguments);
  const auto variables = pointers(environment);
  const auto in = makePipe();
  const auto out = makePipe();
  const auto log = makePipe();
  pid_ = fork();
  if (pid_ < 0) throw std::system_error(errno, std::generic_category(), "fork");
  if (pid_ == 0) {
    dup2(in[0], STDIN_FILENO);
    dup2(out[1], STDOUT_FILENO);
    dup2(log[1], STDERR_FILENO);
    execve(command_.program.c_str(), arguments.data(), variables.data());
    _exit(127);
  }
  close(in[0]);
  close(out[1]);
  close(log[1]);
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
}

void Process::signal(int number) const {
  kill(pid_, number);
}

void Process::closeOutput() {
  closeEnd(output_);
}

void Process::readSome(int waitMs) {
  std::array<pollfd, 3> ends = {pollfd{output_, POLLIN, 0}, pollfd{log_, POLLIN, 0}, pollfd{input_, POLLOUT, 0}};
  if (poll(ends.data(), ends.size(), waitMs) <= 0) return;
  std::array<char, 65536> buffer;
  if (ends[0].revents != 0) {
    const ssize_t got = read(output_, buffer.data(), buffer.size());
    if (got > 0) outcome_.output.insert(outcome_.output.end(), buffer.data(), buffer.data() + got);
    if (got <= 0) closeEnd(output_);
  }
  if (ends[1].revents != 0) {
    const ssize_t got = read(log_, buffer.data(), buffer.size());
    if (got > 0) outcome_.log.append(buffer.data(), static_cast<std::size_t>(got));
    if (got <= 0) closeEnd(log_);
  }
  if (ends[2].revents != 0) {
    const std::string_view rest = std::string_view(command_.input).substr(inputWritten_);
    const ssize_t written = rest.empty() ? -1 : write(input_, rest.data(), rest.size());
    if (written > 0) inputWritten_ += static_cast<std::size_t>(written);
    if (written <= 0) closeEnd(input_);
  }
}

bool Process::waitForLog(const std::string& text) {
  while (outcome_.log.find(text) == std::string::npos) {
    if (log_ < 0 || std::chrono::steady_clock::now() - start_ > command_.timeout) return false;
    readSome(50);
  }
  return true;
}

Outcome Process::finish() {
  int status = 0;
  while (output_ >= 0 || log_ >= 0) {
    if (std::chrono::steady_clock::now() - start_ > command_.timeout) {
      outcome_.timedOut = true;
      kill(pid_, SIGKILL);
      break;
    }
    readSome(50);
  }
  rusage usage = {};
  wait4(pid_, &status, 0, &usage);
  pid_ = -1;
  outcome_.peakMemory = usage.ru_maxrss;
  outcome_.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  outcome_.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
  outcome_.duration = std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - start_);
  return outcome_;
}

Outcome run(const Command& command) {
  return Process(command).finish();
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

std::vector<std::string> TemporaryFolder::files() const {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(path_))
    names.push_back(entry.path().filename().string());
  return names;
}

}  // namespace kesto::test
