#include "kestoprinter/usbjob.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "base/descriptor.h"
#include "base/poll.h"
#include "kestoprinter/jobport.h"

namespace kesto::printer {
namespace {

[[noreturn]] void failWith(const std::string& what) {
  throw std::system_error(errno, std::generic_category(), what);
}

Pipe openPipe() {
  Pipe pipe;
  if (const int error = pipe.open(); error != 0) throw std::system_error(error, std::generic_category(), "a pipe");
  return pipe;
}

/// A job's file, which goes again when nothing has come.
class JobFile {
 public:
  explicit JobFile(const UsbJob& job) {
    int number = std::max(job.number, 1);
    descriptor_ = Descriptor(makeJobFile(job.folder, number, name_));
    if (descriptor_.get() < 0) failWith(name_);
  }
  JobFile(const JobFile&) = delete;
  JobFile& operator=(const JobFile&) = delete;
  ~JobFile() {
    if (lseek(descriptor_.get(), 0, SEEK_CUR) == 0) unlink(name_.c_str());
  }
  [[nodiscard]] int descriptor() const { return descriptor_.get(); }

 private:
  std::string name_;
  Descriptor descriptor_;
};

/// Becomes the program, with its output on `output` and its back channel on `answers`, or reports `failure`. Only calls
/// that are safe after a fork.
[[noreturn]] void becomeFilter(char* const arguments[], std::string_view failure, int output, int answers) {
  const int nothing = open("/dev/null", O_RDONLY);
  dup2(nothing, STDIN_FILENO);
  dup2(output, STDOUT_FILENO);
  dup2(answers, BACK_CHANNEL);
  signal(SIGPIPE, SIG_DFL);
  execvp(arguments[0], arguments);
  [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, failure.data(), failure.size());
  _exit(127);
}

int hexDigit(char digit) {
  int value = -1;
  std::from_chars(&digit, &digit + 1, value, 16);
  return value;
}

std::string decoded(std::string_view text) {
  std::string plain;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool escape =
        text[i] == '%' && i + 2 < text.size() && hexDigit(text[i + 1]) >= 0 && hexDigit(text[i + 2]) >= 0;
    if (escape) {
      plain += static_cast<char>(hexDigit(text[i + 1]) * 16 + hexDigit(text[i + 2]));
      i += 2;
    } else {
      plain += text[i] == '+' ? ' ' : text[i];
    }
  }
  return plain;
}

}  // namespace

int printFilter(UsbPrinter& printer, const std::vector<std::string>& command, const UsbJob& job) {
  const JobFile file(job);
  Pipe output = openPipe(), answers = openPipe();
  setenv("DEVICE_URI", "usb://Kesto/Page", 0);  // NOLINT(concurrency-mt-unsafe): one thread
  std::vector<char*> arguments;
  arguments.reserve(command.size() + 1);
  for (const std::string& argument : command) arguments.push_back(const_cast<char*>(argument.c_str()));
  arguments.push_back(nullptr);
  const std::string failure = "kestoprinter: " + command.front() + " cannot be run\n";
  const pid_t child = fork();
  if (child < 0) failWith("fork");
  if (child == 0) becomeFilter(arguments.data(), failure, output.writeEnd.get(), answers.readEnd.get());
  output.writeEnd.close();
  answers.readEnd.close();

  printer.run(output.readEnd.get(), file.descriptor(), answers.writeEnd.get(), STDIN_FILENO, job.ended);
  // A program that has closed its output may still be at work.
  bool told = false;
  int status = 0;
  pollUntil([&] {
    if (job.ended() && !std::exchange(told, true)) kill(child, SIGTERM);
    return waitpid(child, &status, WNOHANG) != 0;
  });
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

void printBackend(UsbPrinter& printer, const std::string& file, const UsbJob& job) {
  const Descriptor data(file.empty() ? dup(STDIN_FILENO) : open(file.c_str(), O_RDONLY | O_CLOEXEC));
  if (data.get() < 0) failWith(file);
  const JobFile kept(job);
  printer.run(data.get(), kept.descriptor(), BACK_CHANNEL, -1, job.ended);
}

std::vector<std::string> optionsOf(const std::string& uri) {
  std::vector<std::string> options;
  const std::size_t query = uri.find('?');
  for (std::size_t at = query; at != std::string::npos; at = uri.find('&', at + 1)) {
    const std::string_view pair = std::string_view(uri).substr(at + 1, uri.find('&', at + 1) - at - 1);
    options.push_back("--" + decoded(pair));
  }
  return options;
}

}  // namespace kesto::printer
