#include "process.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <ctime>
#include <fstream>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/argumentlist.h"

namespace kesto::bench {
namespace {

using Clock = std::chrono::steady_clock;

/// A descriptor that is closed with the object.
class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {
    if (number_ < 0) throw std::system_error(errno, std::generic_category());
  }
  Descriptor(Descriptor&& other) noexcept : number_(other.number_) { other.number_ = -1; }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() { close(); }
  void close() {
    if (number_ >= 0) ::close(number_);
    number_ = -1;
  }
  [[nodiscard]] int get() const { return number_; }

 private:
  int number_;
};

struct Pipe {
  Descriptor readEnd, writeEnd;
};

Pipe makePipe() {
  std::array<int, 2> ends{-1, -1};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::system_error(errno, std::generic_category(), "pipe");
  return {Descriptor(ends[0]), Descriptor(ends[1])};
}

Descriptor openNull() {
  return Descriptor(open("/dev/null", O_RDWR | O_CLOEXEC));
}

double secondsOf(clockid_t clock) {
  timespec time{};
  clock_gettime(clock, &time);
  return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

/// A program that runs.
class Child {
 public:
  Child(const Program& program, int input, int output) : path_(program.path) {
    std::vector<std::string> arguments = program.arguments;
    std::vector<std::string> environment = program.environment;
    environment.emplace_back("PATH=/usr/sbin:/usr/bin:/sbin:/bin");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, log_.get(), STDERR_FILENO);
    const int error = posix_spawn(&pid_, path_.c_str(), &actions, nullptr, test::pointers(arguments).data(),
                                  test::pointers(environment).data());
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) throw std::system_error(error, std::generic_category(), path_);
  }
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;
  ~Child() {
    if (pid_ < 0) return;
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }

  /// The most memory that has been resident so far.
  [[nodiscard]] double peakMegabytes() const {
    std::ifstream status("/proc/" + std::to_string(pid_) + "/status");
    for (std::string name; status >> name;) {
      double kibibytes = 0;
      if (name == "VmHWM:" && status >> kibibytes) return kibibytes * 1024 / 1e6;
    }
    return 0;
  }

  /// Waits for the end and returns the processor time of the program's own threads. What the kernel hands out together
  /// with the exit status counts the children's as well, so that the program's clock is read before.
  double finish() {
    siginfo_t end = {};
    while (waitid(P_PID, static_cast<id_t>(pid_), &end, WEXITED | WNOWAIT) != 0 && errno == EINTR) {
    }
    clockid_t clock{};
    const double seconds = clock_getcpuclockid(pid_, &clock) == 0 ? secondsOf(clock) : 0;
    int status = 0;
    waitpid(pid_, &status, 0);
    pid_ = -1;
    const std::string error = firstError();
    if (status != 0 || !error.empty()) throw std::runtime_error(path_ + " failed: " + error);
    return seconds;
  }

 private:
  /// The first line on standard error that says so. A filter's exit status can be 0 although it could not do its work.
  [[nodiscard]] std::string firstError() const {
    std::ifstream log("/dev/fd/" + std::to_string(log_.get()));
    for (std::string line; std::getline(log, line);) {
      if (line.starts_with("ERROR:")) return line;
    }
    return {};
  }

  Descriptor log_{memfd_create("log", MFD_CLOEXEC)};  // what the program says on standard error
  std::string path_;
  pid_t pid_ = -1;
};

/// Reads everything that comes, and looks at the memory of `child` now and then.
double drain(int output, const Child& child) {
  constexpr std::chrono::milliseconds BETWEEN_LOOKS{10};
  std::vector<char> buffer(65536);
  double peak = 0;
  auto nextLook = Clock::now();
  while (read(output, buffer.data(), buffer.size()) > 0) {
    if (Clock::now() < nextLook) continue;
    peak = std::max(peak, child.peakMegabytes());
    nextLook = Clock::now() + BETWEEN_LOOKS;
  }
  return peak;
}

Usage runWithInput(const Program& program, int input) {
  const auto start = Clock::now();
  Pipe output = makePipe();
  Child child(program, input, output.writeEnd.get());
  output.writeEnd.close();
  Usage usage;
  usage.peakMegabytes = drain(output.readEnd.get(), child);
  usage.processorSeconds = child.finish();
  usage.seconds = std::chrono::duration<double>(Clock::now() - start).count();
  return usage;
}

}  // namespace

Usage runProgram(const Program& program) {
  const Descriptor null = openNull();
  return runWithInput(program, null.get());
}

Usage runProgramBehind(const Program& producer, const Program& program) {
  const Descriptor null = openNull();
  Pipe raster = makePipe();
  Child source(producer, null.get(), raster.writeEnd.get());
  raster.writeEnd.close();
  const Usage usage = runWithInput(program, raster.readEnd.get());
  source.finish();
  return usage;
}

void runIntoFile(const Program& program, const std::string& path) {
  const Descriptor null = openNull();
  const Descriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
  Child(program, null.get(), file.get()).finish();
}

double threadSeconds() {
  return secondsOf(CLOCK_THREAD_CPUTIME_ID);
}

double processSeconds() {
  return secondsOf(CLOCK_PROCESS_CPUTIME_ID);
}

}  // namespace kesto::bench
