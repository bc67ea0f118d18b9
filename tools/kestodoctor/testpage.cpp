#include "kestodoctor/testpage.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <span>
#include <string_view>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "argumentlist.h"
#include "base/descriptor.h"
#include "base/poll.h"
#include "kestodoctor/words.h"
#include "kestojob/reader/fault.h"
#include "kestojob/reader/jobcheck.h"

namespace kesto::doctor {
namespace {

using std::chrono::milliseconds;
using tools::pointersTo;

/// A filter ends within 5 seconds after SIGTERM.
constexpr milliseconds END_TIME{6000};

/// The test page makes a job of a few kilobytes; a filter or renderer that has lost its way must not fill the memory.
constexpr rlim_t LARGEST_FILE = rlim_t{64} << 20;

/// A page of 4 x 6 inches with a black square on white. It needs no font and has nothing that could be misread.
constexpr std::string_view DOCUMENT =
    "%PDF-1.4\n"
    "1 0 obj<</Type/Catalog/Pages 2 0 R>>endobj\n"
    "2 0 obj<</Type/Pages/Kids[3 0 R]/Count 1>>endobj\n"
    "3 0 obj<</Type/Page/Parent 2 0 R/MediaBox[0 0 288 432]/Resources<<>>/Contents 4 0 R>>endobj\n"
    "4 0 obj<</Length 23>>stream\n"
    "0 g 72 144 144 144 re f\n"
    "endstream endobj\n"
    "xref\n"
    "0 5\n"
    "0000000000 65535 f \n"
    "0000000009 00000 n \n"
    "0000000052 00000 n \n"
    "0000000101 00000 n \n"
    "0000000193 00000 n \n"
    "trailer<</Size 5/Root 1 0 R>>\n"
    "startxref\n"
    "262\n"
    "%%EOF\n";
constexpr char OPTIONS[] = "PageSize=4x6 cupsPrintQuality=Draft";

/// Files for the filter have descriptors behind those of the spooler's channels, which it keeps from its renderer.
constexpr int FIRST_DESCRIPTOR = SIDE_CHANNEL + 1;

/// A file that exists in memory alone.
class MemoryFile {
 public:
  explicit MemoryFile(const char* name, std::string_view text = "") {
    const Descriptor file(memfd_create(name, MFD_CLOEXEC));
    if (file.get() >= 0) file_ = Descriptor(fcntl(file.get(), F_DUPFD_CLOEXEC, FIRST_DESCRIPTOR));
    const void* bytes = text.data();
    const int error =
        file_.get() < 0 ? errno : writeFully(file_.get(), static_cast<const std::uint8_t*>(bytes), text.size());
    if (error != 0) throw std::system_error(error, std::generic_category(), "a file in memory");
  }
  [[nodiscard]] int descriptor() const { return file_.get(); }
  /// The name under which a process that has inherited the descriptor opens it.
  [[nodiscard]] std::string path() const { return "/proc/self/fd/" + std::to_string(file_.get()); }
  void rewind() const { lseek(file_.get(), 0, SEEK_SET); }

 private:
  Descriptor file_;
};

/// The darkest and the lightest pixel of a job.
class Shades : public job::PageSink {
 public:
  [[nodiscard]] job::PixelForm form() const override { return {.divisor = 8}; }
  void rows(std::span<const std::uint8_t> pixels, std::size_t) override {
    const auto [low, high] = std::ranges::minmax(pixels);
    darkest_ = std::min(darkest_, low);
    lightest_ = std::max(lightest_, high);
  }
  [[nodiscard]] bool showThePage() const { return darkest_ < 64 && lightest_ > 192; }

 private:
  std::uint8_t darkest_ = 255, lightest_ = 0;
};

class FilterRun {
 public:
  explicit FilterRun(const FilterCall& call)
      : call_(call), ppd_("ppd", call.ppd.value_or("")), document_("page.pdf", DOCUMENT), job_("job"), log_("log") {}
  FilterRun(const FilterRun&) = delete;
  FilterRun& operator=(const FilterRun&) = delete;
  ~FilterRun() { stop(); }

  /// Runs the filter to its end; returns how it failed, empty for success.
  std::string run() {
    start();
    if (child_ < 0) return "it cannot be started: " + std::generic_category().message(errno);
    if (!endsWithin(call_.time)) {
      return "it takes more than " + std::to_string(call_.time.count()) + " seconds" + error();
    }
    const int status = stop();
    if (WIFSIGNALED(status)) return std::string("it is ended by signal ") + sigdescr_np(WTERMSIG(status)) + error();
    if (WEXITSTATUS(status) != 0) return "it ends with status " + std::to_string(WEXITSTATUS(status)) + error();
    return judge();
  }

 private:
  void start() {
    std::vector<std::string> arguments = {call_.queue, "1", "kestodoctor", "Test page", "1", OPTIONS, document_.path()};
    std::vector<std::string> environment = {"PATH=/usr/bin:/bin", "LC_ALL=C.UTF-8", "CUPS_SERVERBIN=" + call_.serverBin,
                                            "PRINTER=" + call_.queue, "CONTENT_TYPE=application/pdf"};
    if (call_.ppd) environment.push_back("PPD=" + ppd_.path());
    const std::string program = call_.serverBin + "/filter/pdftokesto";
    const std::vector<char*> argv = pointersTo(arguments), variables = pointersTo(environment);
    const pid_t parent = getpid();
    child_ = fork();
    if (child_ == 0) become(program.c_str(), argv.data(), variables.data(), parent);
  }

  /// The child's way to the filter; only calls that are safe after a fork. Never returns.
  [[noreturn]] void become(const char* program, char* const* argv, char* const* variables, pid_t parent) const {
    setpgid(0, 0);  // the terminal's Ctrl-C is not for the filter, which ends in order when we die of it
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() != parent) _exit(ECHILD);
    const rlimit limit = {.rlim_cur = LARGEST_FILE, .rlim_max = LARGEST_FILE};
    setrlimit(RLIMIT_FSIZE, &limit);
    close(STDIN_FILENO);  // which may not have been open
    const bool ready = open("/dev/null", O_RDONLY) == STDIN_FILENO && dup2(job_.descriptor(), STDOUT_FILENO) >= 0 &&
                       dup2(log_.descriptor(), STDERR_FILENO) >= 0 && fcntl(ppd_.descriptor(), F_SETFD, 0) == 0 &&
                       fcntl(document_.descriptor(), F_SETFD, 0) == 0;
    if (ready) execve(program, argv, variables);
    constexpr char MESSAGE[] = "ERROR: the filter cannot be executed";
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, MESSAGE, sizeof MESSAGE - 1);
    _exit(errno);
  }

  [[nodiscard]] bool endsWithin(milliseconds time) const {
    return pollUntil(
        [this] {
          siginfo_t end = {};
          return waitid(P_PID, static_cast<id_t>(child_), &end, WEXITED | WNOHANG | WNOWAIT) == 0 &&
                 end.si_pid == child_;
        },
        time);
  }

  /// Ends the filter if it still runs, and takes its status.
  int stop() {
    if (child_ < 0) return 0;
    if (!endsWithin(milliseconds{0})) {
      kill(-child_, SIGTERM);  // with time to end its renderer, which has a group of its own
      if (!endsWithin(END_TIME)) kill(-child_, SIGKILL);
    }
    int status = 0;
    while (waitpid(child_, &status, 0) < 0 && errno == EINTR) {
    }
    child_ = -1;
    return status;
  }

  [[nodiscard]] std::string judge() const {
    job_.rewind();
    job::ByteSource source(job_.descriptor());
    Shades shades;
    try {
      job::JobCheck(source, &shades).run();
    } catch (const job::Fault& fault) {
      return "its job is not as it should be: offset " + std::to_string(fault.offset()) + ": " + plain(fault.what()) +
             error();
    }
    return shades.showThePage() ? "" : "its job does not show what was on the page" + error();
  }

  /// The filter's first error behind a colon; empty when it has reported none.
  [[nodiscard]] std::string error() const {
    constexpr std::string_view START = "ERROR: ";
    log_.rewind();
    std::array<char, 65536> text;
    const ssize_t got = read(log_.descriptor(), text.data(), text.size());
    std::string_view rest(text.data(), static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
    while (!rest.empty()) {
      const std::string_view line = rest.substr(0, rest.find('\n'));
      if (line.starts_with(START)) return ": " + inQuotes(line.substr(START.size()));
      rest.remove_prefix(std::min(line.size() + 1, rest.size()));
    }
    return "";
  }

  const FilterCall& call_;
  MemoryFile ppd_, document_, job_, log_;
  pid_t child_ = -1;
};

}  // namespace

std::string printTestPage(const FilterCall& call) {
  try {
    return FilterRun(call).run();
  } catch (const std::runtime_error& error) {
    return std::string("there is no room for it: ") + plain(error.what());
  }
}

}  // namespace kesto::doctor
