#include "process.h"

#include <cerrno>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>

#include "base/descriptor.h"

namespace kesto::bench {
namespace {

Outcome finish(test::Process& process, const std::string& name) {
  Outcome outcome = process.finish();
  const auto errors = outcome.linesWith("ERROR:");
  if (outcome.status == 0 && errors.empty()) return outcome;
  throw std::runtime_error(name + " failed: " + (errors.empty() ? "" : errors.front()));
}

}  // namespace

Outcome runProgram(Command program) {
  program.dropOutput = true;
  program.timeout = std::chrono::hours{1};
  test::Process process(program);
  return finish(process, program.program);
}

Outcome runProgramBehind(Command producer, Command program) {
  Pipe pipe;
  if (const int error = pipe.open(); error != 0) throw std::system_error(error, std::generic_category(), "pipe");
  producer.outputTo = pipe.writeEnd.get();
  program.inputFrom = pipe.readEnd.get();
  test::Process source(producer);
  pipe.writeEnd.close();
  Outcome outcome = runProgram(program);
  pipe.readEnd.close();
  finish(source, producer.program);
  return outcome;
}

void runIntoFile(Command program, const std::string& path) {
  const Descriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
  if (file.get() < 0) throw std::system_error(errno, std::generic_category(), path);
  program.outputTo = file.get();
  runProgram(program);
}

}  // namespace kesto::bench
