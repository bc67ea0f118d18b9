// kestodoctor: says why a printer does not print, and what to do about it. It looks, and changes nothing.
#include <chrono>
#include <iostream>
#include <new>

#include <CLI/CLI.hpp>
#include <cups/cups.h>
#include <signal.h>
#include <unistd.h>

#include "commandline.h"
#include "kestodoctor/checklist.h"
#include "kestodoctor/reportwriter.h"

namespace kesto::doctor {
namespace {

enum ExitStatus { ALL_GOOD = 0, SOMETHING_WRONG = 1 };

void declare(CLI::App& app, Call& call) {
  app.set_help_flag("--help", "Show this help and exit");  // -h names a server, as with the spooler's own programs
  app.add_option("QUEUE", call.queue, "The queue; without it the default one if it uses this driver, else all that do")
      ->type_name("");
  app.add_option("-h", call.server, "The spooler to ask: a host, host:port or socket")->type_name("SERVER");
  app.add_flag("--json", call.json, "As a JSON array, one object a line");
  kesto::tools::addNumber(app, "--timeout", call.pageTime, {1, 3600}, "How long the test page may take, in seconds")
      ->type_name("SECONDS")
      ->default_str(std::to_string(call.pageTime.count()));
  app.footer("Exit status: 0 all is good, 1 something is wrong, 2 a wrong call.");
}

/// How long a check may take besides the test page; each ends much earlier by itself. Nothing but this ends a question
/// to a server that sends a byte a second, or to a network that knows no names.
constexpr std::chrono::seconds CHECK_TIME{60};

void giveUp(int /*signal*/) {
  constexpr char MESSAGE[] = "kestodoctor: given up, because the spooler or the network does not come to an end\n";
  [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, MESSAGE, sizeof MESSAGE - 1);
  _exit(SOMETHING_WRONG);
}

void startTimer(const Call& call) {
  alarm(static_cast<unsigned>((CHECK_TIME + call.pageTime).count()));
}

ExitStatus run(const Call& call) {
  signal(SIGALRM, giveUp);
  startTimer(call);
  const auto writer = call.json ? makeJsonReport(std::cout) : makeTextReport(std::cout);
  bool wrong = false;
  examine(call, [&](const std::string& queue, std::string_view check, const Finding& finding) {
    wrong = wrong || finding.state == State::WRONG;
    writer->add(queue, check, finding);
    startTimer(call);
  });
  writer->finish();
  std::cout.flush();
  if (std::cout) return wrong ? SOMETHING_WRONG : ALL_GOOD;
  std::cerr << "kestodoctor: standard output cannot be written\n";
  return SOMETHING_WRONG;
}

}  // namespace
}  // namespace kesto::doctor

// Only a lack of memory can be thrown past the calls below, and it may end the program.
int main(int argc, char** argv) {  // NOLINT(bugprone-exception-escape)
  using namespace kesto::doctor;
  Call call;
  CLI::App app("Looks why a printer does not print, and says what to do about it.", "kestodoctor");
  declare(app, call);
  if (const auto status = kesto::tools::parseCommandLine(app, argc, argv)) return *status;
  signal(SIGPIPE, SIG_IGN);
  if (!call.server.empty()) cupsSetServer(call.server.c_str());
  return run(call);
}
