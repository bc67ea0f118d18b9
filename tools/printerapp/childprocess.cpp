#include "printerapp/childprocess.h"

#include <csignal>
#include <cstring>
#include <system_error>

#include <spawn.h>
#include <unistd.h>

#include "argumentlist.h"
#include "base/poll.h"

namespace kesto::app {
namespace {

using tools::pointersTo;

struct SpawnSettings {
  posix_spawn_file_actions_t files = {};
  posix_spawnattr_t attributes = {};

  SpawnSettings(int input, int output, int log) {
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_adddup2(&files, input, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&files, output, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&files, log, STDERR_FILENO);
    posix_spawn_file_actions_addclosefrom_np(&files, STDERR_FILENO + 1);
    posix_spawnattr_init(&attributes);
    sigset_t ordinary, none;
    sigemptyset(&none);
    sigemptyset(&ordinary);
    for (const int number : {SIGPIPE, SIGTERM, SIGINT, SIGHUP, SIGCHLD}) sigaddset(&ordinary, number);
    posix_spawnattr_setsigdefault(&attributes, &ordinary);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setpgroup(&attributes, 0);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETPGROUP);
  }
  SpawnSettings(const SpawnSettings&) = delete;
  SpawnSettings& operator=(const SpawnSettings&) = delete;
  ~SpawnSettings() {
    posix_spawn_file_actions_destroy(&files);
    posix_spawnattr_destroy(&attributes);
  }
};

}  // namespace

ChildProcess::ChildProcess(const Command& command, const std::vector<std::string>& environment, int input, int output,
                           int log) {
  std::vector<std::string> arguments = command.arguments, variables = environment;
  const SpawnSettings settings(input, output, log);
  const int error = posix_spawn(&id_, command.program.c_str(), &settings.files, &settings.attributes,
                                pointersTo(arguments).data(), pointersTo(variables).data());
  if (error == 0) return;
  id_ = -1;
  throw std::system_error(error, std::generic_category(), command.program);
}

ChildProcess::~ChildProcess() {
  if (id_ < 0) return;
  kill(-id_, SIGKILL);
  while (status_ == -1 && waitpid(id_, &status_, 0) < 0 && errno == EINTR) {
  }
}

bool ChildProcess::hasEnded() {
  if (status_ == -1 && waitpid(id_, &status_, WNOHANG) != id_) status_ = -1;
  return status_ != -1;
}

std::string ChildProcess::failure() {
  if (!hasEnded() || status_ == 0) return "";
  if (WIFSIGNALED(status_)) return std::string("ended by signal ") + sigdescr_np(WTERMSIG(status_));
  return "ended with status " + std::to_string(WEXITSTATUS(status_));
}

void ChildProcess::signal(int number) {
  if (!hasEnded()) kill(-id_, number);
}

void ChildProcess::end(std::chrono::milliseconds time) {
  signal(SIGTERM);
  if (!pollUntil([this] { return hasEnded(); }, time)) signal(SIGKILL);
  pollUntil([this] { return hasEnded(); });
}

}  // namespace kesto::app
