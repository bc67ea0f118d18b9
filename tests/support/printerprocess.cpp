#include "support/printerprocess.h"

#include <stdexcept>

#include <signal.h>

#include "support/file.h"

namespace kesto::test {

PrinterProcess::PrinterProcess(const std::vector<std::string>& options, int number)
    : address_(ownAddress(number)), process_(command(options)) {
  if (!process_.waitForOutput("listening")) throw std::runtime_error("no printer: " + process_.finish().log);
}

Command PrinterProcess::command(const std::vector<std::string>& options) const {
  Command command{.program = KESTO_PRINTER,
                  .arguments = {"kestoprinter", "-a", address_, "-o", folder_.path()},
                  .environment = {{"PATH", "/usr/bin:/bin"}},
                  .keepInputOpen = true,
                  .timeout = std::chrono::minutes(5)};
  command.arguments.insert(command.arguments.end(), options.begin(), options.end());
  return command;
}

Bytes PrinterProcess::job(int number) {
  const std::string line = "job " + std::to_string(number) + ": ";
  if (!process_.waitForOutput(line)) throw std::runtime_error("the printer got no " + line);
  std::string name = std::to_string(number);
  name.insert(0, 4 - name.size(), '0');
  return contentOf<Bytes>(folder_.path() + "/job-" + name + ".prn");
}

Bytes PrinterProcess::lastJob() {
  int count = 1;
  process_.collectFor(std::chrono::milliseconds(200));
  while (process_.hasOutput("job " + std::to_string(count + 1) + ": ")) ++count;
  return job(count);
}

std::string PrinterProcess::finish() {
  process_.signal(SIGTERM);
  const Outcome outcome = process_.finish();
  return {outcome.output.begin(), outcome.output.end()};
}

}  // namespace kesto::test
