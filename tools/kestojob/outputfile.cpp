#include "kestojob/outputfile.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "kestojob/reader/fault.h"

namespace kesto::job {
namespace {

/// The signals that end the program where nobody has ignored them. SIGXFSZ is ignored: a file that grows too large is
/// reported as one that cannot be written.
constexpr std::array ENDING = {SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGTERM};

/// The names of the files at work. The program's thread writes them, its signal handler reads them.
std::array<std::atomic<const char*>, 2> unfinished;
static_assert(std::atomic<const char*>::is_always_lock_free, "a signal handler must not wait");

extern "C" void removeAndEnd(int signal) {
  for (const auto& name : unfinished) {
    const char* const path = name.load(std::memory_order_acquire);
    if (path != nullptr) unlink(path);
  }
  raise(signal);  // the handler is gone: the signal ends the program as soon as this one returns
}

void watchSignals() {
  static const bool watched = [] {
    struct sigaction action = {};
    action.sa_handler = removeAndEnd;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    for (const int signal : ENDING) {
      struct sigaction before = {};
      if (sigaction(signal, nullptr, &before) == 0 && before.sa_handler == SIG_DFL) sigaction(signal, &action, nullptr);
    }
    action.sa_handler = SIG_IGN;
    sigaction(SIGXFSZ, &action, nullptr);
    return true;
  }();
  static_cast<void>(watched);
}

/// Holds signals back while a file and its name in the list come and go together.
class SignalsHeld {
 public:
  SignalsHeld() {
    sigset_t ending;
    sigemptyset(&ending);
    for (const int signal : ENDING) sigaddset(&ending, signal);
    pthread_sigmask(SIG_BLOCK, &ending, &before_);
  }
  SignalsHeld(const SignalsHeld&) = delete;
  SignalsHeld& operator=(const SignalsHeld&) = delete;
  ~SignalsHeld() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

 private:
  sigset_t before_{};
};

/// Replaces a name in the list by another; null is a free place.
void exchangeName(const char* from, const char* to) {
  const auto place = std::ranges::find_if(unfinished, [=](const auto& name) { return name.load() == from; });
  if (place != unfinished.end()) place->store(to, std::memory_order_release);
}

/// What a new file may be used for, as other programs' files.
mode_t usualMode() {
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

}  // namespace

OutputFile::OutputFile(const std::string& path) : path_(path), target_(path) {
  if (path == "-") {
    stream_ = stdout;
    return;
  }
  std::error_code none;
  const auto real = std::filesystem::canonical(path, none);
  if (!none) target_ = real.string();
  struct stat status = {};
  if (stat(target_.c_str(), &status) == 0) {
    errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
    if (!S_ISREG(status.st_mode) || access(target_.c_str(), W_OK) != 0) fail();
  }
  open();
}

void OutputFile::open() {
  watchSignals();
  const std::size_t name = target_.rfind('/') + 1;  // 0 without a folder
  temporary_ = target_.substr(0, name) + '.' + target_.substr(name) + ".XXXXXX";
  const SignalsHeld held;
  errno = 0;
  const int descriptor = mkostemp(temporary_.data(), O_CLOEXEC);
  if (descriptor < 0) {
    temporary_.clear();
    fail();
  }
  exchangeName(nullptr, temporary_.c_str());
  fchmod(descriptor, usualMode());
  stream_ = fdopen(descriptor, "wb");
  if (stream_ != nullptr) return;
  close(descriptor);
  unlink(temporary_.c_str());
  exchangeName(temporary_.c_str(), nullptr);
  errno = ENOMEM;
  fail();
}

OutputFile::~OutputFile() {
  if (temporary_.empty()) return;
  const SignalsHeld held;
  if (stream_ != nullptr) static_cast<void>(std::fclose(stream_));
  unlink(temporary_.c_str());
  exchangeName(temporary_.c_str(), nullptr);
}

void OutputFile::commit() {
  errno = 0;
  if (temporary_.empty()) {
    if (std::fflush(stream_) != 0) fail();
    return;
  }
  std::FILE* const stream = stream_;
  stream_ = nullptr;
  if (std::fclose(stream) != 0) fail();
  const SignalsHeld held;
  if (std::rename(temporary_.c_str(), target_.c_str()) != 0) fail();
  exchangeName(temporary_.c_str(), nullptr);
  temporary_.clear();
}

void OutputFile::fail() const {
  const std::string name = path_ == "-" ? "standard output" : path_;
  throw FileError(name + ": " + std::generic_category().message(errno == 0 ? EIO : errno));
}

}  // namespace kesto::job
