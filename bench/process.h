// Running programs for what they take: their output goes through a pipe and is dropped.
#pragma once

#include <string>

#include "support/process.h"

namespace kesto::bench {

using test::Command;
using test::Outcome;

/// Runs the program with nothing on standard input. Throws std::runtime_error when it fails, which a filter can do with
/// exit status 0 and a line that begins with "ERROR:".
Outcome runProgram(Command program);

/// The same with the output of `producer` as its standard input; what is returned is the program's.
Outcome runProgramBehind(Command producer, Command program);

/// Runs the program and keeps its output in a file.
void runIntoFile(Command program, const std::string& path);

/// By the clock on the wall.
[[nodiscard]] inline double secondsOf(const Outcome& outcome) {
  return std::chrono::duration<double>(outcome.duration).count();
}

}  // namespace kesto::bench
