#include "filter/document/renderer.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <tuple>
#include <utility>

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "base/descriptor.h"
#include "base/poll.h"
#include "base/report.h"
#include "filter/cancel.h"
#include "filter/joberror.h"

namespace kesto {
namespace {

using std::chrono::milliseconds;

/// How long a renderer may take to end after its raster has ended, and after it was asked to end.
constexpr milliseconds FINISH_TIME{2000};
constexpr milliseconds TERMINATE_TIME{100};

/// Capacity of the raster pipe: the most that an unprivileged process may ask for.
constexpr int RASTER_PIPE_BYTES = 1024 * 1024;

/// The child's way to the renderer program; only calls that are safe after a fork, as is execvp, which needs no memory
/// for a program that is named with its folder. Never returns.
[[noreturn]] void becomeRenderer(const char* program, char* const arguments[], int rasterOut, int errorOut,
                                 pid_t parent) {
  setpgid(0, 0);
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) _exit(ECHILD);  // the parent died before the line above could take effect
  signal(SIGPIPE, SIG_DFL);
  // The spooler's back and side channel are the filter's alone.
  fcntl(BACK_CHANNEL, F_SETFD, FD_CLOEXEC);
  fcntl(SIDE_CHANNEL, F_SETFD, FD_CLOEXEC);
  if (dup2(rasterOut, STDOUT_FILENO) >= 0) execvp(program, arguments);
  const int error = errno;
  // If the parent has gone, nobody needs the number, so the result does not matter.
  [[maybe_unused]] const ssize_t written = write(errorOut, &error, sizeof error);
  _exit(error);
}

}  // namespace

Renderer::Renderer(const char* serverBin, std::string pdf)
    : program_(std::string(serverBin) + "/filter/pdftoraster"), pdf_(std::move(pdf)) {
  constexpr std::size_t PROGRAM_LIMIT = 1024;
  if (program_.size() >= PROGRAM_LIMIT) program_.resize(PROGRAM_LIMIT - 1);
}

Renderer::Renderer(const char* serverBin, char* const argv[], const std::string& pdf) : Renderer(serverBin, pdf) {
  std::array<char*, 8> arguments = {argv[0], argv[1], argv[2], argv[3], argv[4], argv[5], pdf_.data(), nullptr};
  start(arguments.data());
}

void Renderer::start(char* const arguments[]) {
  Pipe raster;
  Pipe execError;
  int error = raster.open();
  // Non-blocking: the job thread has other things to do while no input arrives.
  if (error == 0 && fcntl(raster.readEnd.get(), F_SETFL, O_NONBLOCK) != 0) error = errno;
  // Best effort: a large pipe lets the renderer go on while the job thread is busy.
  if (error == 0) std::ignore = fcntl(raster.readEnd.get(), F_SETPIPE_SZ, RASTER_PIPE_BYTES);
  if (error == 0) error = execError.open();
  if (error != 0) failJob("ERROR: Unable to create pipe!", error);

  const pid_t parent = getpid();
  child_ = fork();
  if (child_ < 0) failJob("ERROR: Unable to fork pdftoraster!", errno);
  if (child_ == 0) {
    becomeRenderer(program_.c_str(), arguments, raster.writeEnd.get(), execError.writeEnd.get(), parent);
  }
  setpgid(child_, child_);  // whoever of the two comes first makes the group
  raster.writeEnd.close();
  execError.writeEnd.close();
  if (dup2(raster.readEnd.get(), STDIN_FILENO) < 0) failJob("ERROR: Unable to create pipe!", errno);
  checkExec(execError.readEnd.get());
}

void Renderer::checkExec(int descriptor) {
  // The pipe closes when the exec succeeds, so this read lasts no longer than the exec.
  int error = 0;
  ssize_t got = -1;
  do {
    got = read(descriptor, &error, sizeof error);
  } while (got < 0 && errno == EINTR);
  started_ = got != sizeof error;
  if (!started_) reportErrno("ERROR: Unable to exec pdftoraster!", error);
}

bool Renderer::ended() const {
  if (child_ < 0) return true;
  siginfo_t end = {};
  // The child stays unreaped, so that its process group keeps its number until `stop` has ended the group.
  return waitid(P_PID, static_cast<id_t>(child_), &end, WEXITED | WNOHANG | WNOWAIT) == 0 && end.si_pid == child_;
}

bool Renderer::endsWithin(milliseconds time) const {
  return pollUntil([this] { return ended(); }, time);
}

void Renderer::finish() {
  std::ignore = pollUntil([this] { return ended() || isCancelled(); }, FINISH_TIME);
  end();
}

void Renderer::end() {
  if (child_ < 0) return;
  const bool endedByItself = ended();
  if (!endedByItself) {
    kill(-child_, SIGTERM);
    std::ignore = endsWithin(TERMINATE_TIME);
  }
  kill(-child_, SIGKILL);
  pollUntil([this] { return ended(); });
  int status = 0;
  pid_t reaped = -1;
  do {
    reaped = waitpid(child_, &status, 0);
  } while (reaped < 0 && errno == EINTR);
  if (reaped == child_ && endedByItself) end_ = status;
  child_ = -1;
}

std::optional<std::string> Renderer::failure() const {
  if (!end_ || !started_) return std::nullopt;
  if (WIFSIGNALED(*end_)) {
    const int number = WTERMSIG(*end_);
    return "was ended by signal " + std::to_string(number) + " (" + sigdescr_np(number) + ")";
  }
  if (WEXITSTATUS(*end_) != 0) return "ended with status " + std::to_string(WEXITSTATUS(*end_));
  return std::nullopt;
}

int Renderer::openError() const {
  return access(pdf_.c_str(), R_OK) == 0 ? 0 : errno;
}

}  // namespace kesto
