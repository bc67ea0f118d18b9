// Every call of the filter that can fail, fails: one run of a job for each call, in which that call and no other is
// made to fail by the preloaded failingcalls.cpp.
//
// A run must end in time, by itself, with nothing left behind; and either its output is that of the run without a fault
// or its exit status is not 0 and one "ERROR:" line names the step that failed. Without KESTO_FAULTS=all in the
// environment a long row of calls is only sampled.
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <optional>
#include <ostream>
#include <regex>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>

#include "endtoend/filterrun.h"
#include "kestoprinter/answers.h"
#include "support/printerprocess.h"

namespace kesto::test {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds TIME_LIMIT{10000};
/// The spooler's library looks at what it has allocated unchecked, in places that docs/reliability.md lists: at most so
/// many calls of a job. A run in which it crashes tells nothing of the filter.
constexpr int LIBRARY_CRASHES = 12;

constexpr std::uint32_t BEYOND_ALL_CALLS = std::numeric_limits<std::uint32_t>::max();

struct JobKind {
  const char* name;
  FilterCall call;
  const char* warning = "";  ///< what the printer tells, so that its answers are read and understood as well
};

constexpr char PAGES[] = "page pattern=noise\npage height=24 pattern=text\n";

/// With a pause, so that the printer's answer comes while the job runs.
constexpr char SLOW_PAGES[] = "page pattern=noise\nsleep ms=60\npage pattern=text\n";

const JobKind KINDS[] = {
    {"Colour", {.document = PAGES, .options = "TonerSave=On ColorOutput=Mono", .onStandardInput = true}},
    {"Grey",
     {.document = "page bits=8 width=50 pattern=gradient\n", .options = "media=Custom.100x200mm", .copies = "2"}},
    {"DuplexCopies",
     {.document = "page duplex=1 pattern=noise\npage duplex=1 pattern=text\npage duplex=1 height=16\n",
      .options = "sides=two-sided-long-edge improve=wrinkleFix",
      .copies = "2"}},
    {"Usb", {.document = SLOW_PAGES, .deviceUri = "usb://Kesto/Page"}, "Cover open"},
    {"Network", {.document = SLOW_PAGES, .deviceUri = "socket://"}, "Paper jam"},
};

/// How the calls of a family fail, and the beginnings of the messages that may come of it.
struct Fault {
  const char* name;
  const char* family;
  int error;  ///< 0: a transfer of one byte
  const char* message;
  bool lasting = false;       ///< all later calls of the family fail as well
  int statusWithMessage = 1;  ///< 0 where a job without pages is a job that has run to its end
  const char* onlyIn = "";    ///< the kind of job that makes such calls; empty: all
};

/// A message that never comes: the output has to be right in spite of the fault.
constexpr char SURVIVED[] = "(?!)";

constexpr char NO_MEMORY[] = "Unable to (allocate memory|ran|start|copy PDF file|read the (options|pages))";
constexpr char NO_FILE[] = "Unable to copy PDF file|Unable to read the options|Unable to open /dev/null";
constexpr char NO_READ[] = "Unable to copy PDF file|Unable to read the (options|pages)";
constexpr char NO_WRITE[] = "Unable to copy PDF file|Unable to write the print data";

const Fault FAULTS[] = {
    {"NoMemoryOnce", "malloc", ENOMEM, NO_MEMORY},
    {"NoMemoryAnyMore", "malloc", ENOMEM, NO_MEMORY, true},
    {"NoObjectOnce", "new", ENOMEM, NO_MEMORY},
    {"NoObjectAnyMore", "new", ENOMEM, NO_MEMORY, true},
    {"OpenTooMany", "open", EMFILE, NO_FILE},
    {"OpenDamaged", "open", EIO, NO_FILE},
    {"ReadDamaged", "read", EIO, NO_READ},
    {"ReadInterrupted", "read", EINTR, SURVIVED},
    {"ReadNothingYet", "read", EAGAIN, SURVIVED},
    {"ReadShort", "read", 0, SURVIVED},
    {"WriteDamaged", "write", EIO, NO_WRITE},
    {"WriteFull", "write", ENOSPC, NO_WRITE},
    {"WriteInterrupted", "write", EINTR, SURVIVED},
    {"WriteNothingYet", "write", EAGAIN, SURVIVED},
    {"WriteShort", "write", 0, SURVIVED},
    {"Pipe", "pipe", EMFILE, "Unable to create pipe"},
    {"Dup", "dup", EMFILE, "Unable to create pipe|Unable to exec pdftoraster", false, 0},
    {"ForkTooMany", "fork", EAGAIN, "Unable to fork pdftoraster"},
    {"ForkNoMemory", "fork", ENOMEM, "Unable to fork pdftoraster"},
    {"ExecNoMemory", "exec", ENOMEM, "Unable to exec pdftoraster", false, 0},
    {"ExecDamaged", "exec", EIO, "Unable to exec pdftoraster", false, 0},
    {"Thread", "thread", EAGAIN, "Unable to (ran|start)"},
    {"PollNoMemory", "poll", ENOMEM, "Unable to copy PDF file|Unable to read the pages"},
    {"PollInterrupted", "poll", EINTR, SURVIVED},
    {"WaitInterrupted", "wait", EINTR, SURVIVED},
    {"UnlinkOnce", "unlink", EIO, SURVIVED, false, 1, "Colour"},
    {"SocketTooMany", "socket", EMFILE, SURVIVED, false, 1, "Network"},
    {"ConnectRefused", "connect", ECONNREFUSED, SURVIVED, false, 1, "Network"},
    {"SendRefused", "send", ECONNREFUSED, SURVIVED, false, 1, "Network"},
    {"SendInterrupted", "send", EINTR, SURVIVED, false, 1, "Network"},
    {"SendShort", "send", 0, SURVIVED, false, 1, "Network"},
    {"ReceiveRefused", "recv", ECONNREFUSED, SURVIVED, false, 1, "Network"},
    {"ReceiveNothingYet", "recv", EAGAIN, SURVIVED, false, 1, "Network"},
    {"ReceiveShort", "recv", 0, SURVIVED, false, 1, "Network"},
};

struct CallCount {
  std::uint32_t calls = 0;
  std::uint32_t failed = 0;
  std::uint32_t libraryCrashed = 0;
};

CallCount readCount(const std::string& file) {
  CallCount count;
  std::ifstream stream(file, std::ios::binary);
  stream.read(reinterpret_cast<char*>(&count), sizeof count);
  return count;
}

struct FaultRun {
  Outcome outcome;
  CallCount count;
  bool leftProcesses = false;
  bool leftFiles = false;
};

printer::Bytes alertOf(const std::string& text) {
  printer::Alert alert;
  alert.entries.push_back({1, text});
  return printer::alertResponse(printer::MASK_ERRORS, printer::alertBlock(std::vector<printer::Alert>{alert}));
}

/// Processes that the filter has left behind come to this one, which has no others but the printer.
bool leftProcesses(int printer) {
  std::ifstream children("/proc/thread-self/children");
  bool left = false;
  for (int child = 0; children >> child;) {
    if (child == printer) continue;
    left = true;
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
  }
  return left;
}

struct FaultyJob {
  JobKind kind;
  Fault fault;

  friend void PrintTo(const FaultyJob& job, std::ostream* out) { *out << job.kind.name << job.fault.name; }
};

class EveryCall : public testing::TestWithParam<FaultyJob> {
 protected:
  EveryCall() : kind_(GetParam().kind), fault_(GetParam().fault) {
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    if (kind_.call.deviceUri != "socket://") return;
    printer_.emplace(std::vector<std::string>{"--error", kind_.warning});
    kind_.call.deviceUri += printer_->address();
  }

  FaultRun runWith(std::uint32_t number) {
    const TemporaryFolder folder;
    Command command = filterCommand(kind_.call, folder);
    command.backChannel = kind_.call.deviceUri.starts_with("usb:");
    command.timeout = 2 * TIME_LIMIT;
    const std::string report = folder.write("count", std::string(sizeof(CallCount), '\0'));
    command.environment.emplace_back("HOME", folder.path() + "/tmp");  // as the spooler sets it
    command.environment.emplace_back("LD_PRELOAD", KESTO_FAILING_CALLS);
    command.environment.emplace_back("KESTO_FAULT_REPORT", report);
    command.environment.emplace_back("KESTO_FAULT", std::string(fault_.family) + " " + std::to_string(number) + " " +
                                                        std::to_string(fault_.error) + (fault_.lasting ? " on" : ""));
    Process filter(command);
    if (command.backChannel) filter.writeBackChannel(alertOf(kind_.warning));
    FaultRun result;
    result.outcome = filter.finish();
    result.count = readCount(report);
    result.leftProcesses = leftProcesses(printer_ ? printer_->pid() : 0);
    result.leftFiles = !std::filesystem::is_empty(folder.path() + "/tmp");
    return result;
  }

  /// A run without a fault, in which everything that the job is there for has happened.
  FaultRun referenceRun() {
    FaultRun reference;
    for (int attempt = 0; attempt < 5; ++attempt) {
      reference = runWith(BEYOND_ALL_CALLS);
      if (reference.outcome.log.find(kind_.warning) != std::string::npos) break;
    }
    EXPECT_NE(reference.outcome.log.find(kind_.warning), std::string::npos) << reference.outcome.log;
    EXPECT_EQ(reference.outcome.status, 0) << reference.outcome.log;
    EXPECT_TRUE(reference.outcome.linesWith("ERROR:").empty()) << reference.outcome.log;
    EXPECT_GT(reference.count.calls, 0u) << "no call of this family is made, so that none can fail";
    EXPECT_EQ(reference.count.failed, 0u);
    return reference;
  }

  void judge(const Outcome& reference, const FaultRun& faulty) const {
    const Outcome& outcome = faulty.outcome;
    EXPECT_LT(outcome.duration, TIME_LIMIT);
    EXPECT_EQ(outcome.signal, 0);
    EXPECT_FALSE(faulty.leftProcesses);
    EXPECT_FALSE(faulty.leftFiles);
    EXPECT_EQ(outcome.log.find("open descriptor"), std::string::npos);
    const auto errors = outcome.linesWith("ERROR:");
    if (errors.empty()) {
      EXPECT_EQ(outcome.status, 0);
      EXPECT_TRUE(withoutDate(outcome.output) == withoutDate(reference.output)) << "another job";
      // The fault may have hit the log. Lines of two threads mix when it takes a byte of one, which no pipe does.
      const bool logIsWhole = fault_.family != std::string("write") || fault_.error == EINTR || fault_.error == EAGAIN;
      if (logIsWhole) {
        EXPECT_EQ(outcome.linesWith("PAGE:"), reference.linesWith("PAGE:"));
      }
      return;
    }
    EXPECT_EQ(errors.size(), 1u);
    const std::regex expected("ERROR: (" + std::string(fault_.message) + ").*");
    EXPECT_TRUE(std::regex_match(errors[0], expected)) << errors[0];
    EXPECT_GE(outcome.status, fault_.statusWithMessage);
    if (outcome.status == 0) {
      EXPECT_EQ(faultOf(outcome.output), "");
      EXPECT_EQ(outcome.linesWith("PAGE:").size(), 0u);
    }
  }

  JobKind kind_;
  Fault fault_;
  std::optional<PrinterProcess> printer_;
};

TEST_P(EveryCall, ThatFailsIsSurvivedOrTold) {
  constexpr std::uint32_t SAMPLES = 24;
  const char* extent = std::getenv("KESTO_FAULTS");  // NOLINT(concurrency-mt-unsafe): one thread
  const bool all = extent != nullptr && std::string(extent) == "all";

  const FaultRun reference = referenceRun();
  if (HasFailure()) return;
  const std::uint32_t step = all ? 1 : std::max(reference.count.calls / SAMPLES, 1u);
  int libraryCrashes = 0;
  for (std::uint32_t number = 1;; number += step) {
    SCOPED_TRACE(std::string(fault_.family) + " " + std::to_string(number) + " of " +
                 std::to_string(reference.count.calls));
    const FaultRun faulty = runWith(number);
    if (faulty.count.failed == 0) break;
    if (faulty.outcome.signal == SIGSEGV && faulty.count.libraryCrashed != 0) {
      ++libraryCrashes;
    } else {
      judge(reference.outcome, faulty);
    }
    if (number == 1 && fault_.family == std::string("thread")) {
      EXPECT_NE(faulty.outcome.log.find("Unable to ran process_pdf_thread!"), std::string::npos);
    }
    if (HasFailure()) FAIL() << faulty.outcome.log;
  }
  EXPECT_LE(libraryCrashes, LIBRARY_CRASHES);
}

std::vector<FaultyJob> faultyJobs() {
  std::vector<FaultyJob> pairs;
  for (const JobKind& kind : KINDS) {
    for (const Fault& fault : FAULTS) {
      if (*fault.onlyIn == '\0' || fault.onlyIn == std::string(kind.name)) pairs.push_back({kind, fault});
    }
  }
  return pairs;
}

INSTANTIATE_TEST_SUITE_P(Jobs, EveryCall, testing::ValuesIn(faultyJobs()), testing::PrintToStringParamName());

}  // namespace
}  // namespace kesto::test
