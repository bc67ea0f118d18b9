// Running programs as the spooler would, their output thrown away through a pipe, and what they took.
#pragma once

#include <string>
#include <vector>

namespace kesto::bench {

/// What to run: the program's path, all its arguments (argv[0] included) and its environment besides PATH.
struct Program {
  std::string path;
  std::vector<std::string> arguments;
  std::vector<std::string> environment{};
};

struct Usage {
  double seconds = 0;           ///< by the clock on the wall
  double processorSeconds = 0;  ///< of the program's own threads; its children's are not counted
  double peakMegabytes = 0;     ///< resident at most, of the program alone
};

/// Runs the program with an empty standard input and reads its output to the end. Throws std::runtime_error when it
/// cannot be run or its exit status is not 0.
[[nodiscard]] Usage runProgram(const Program& program);

/// The same with the output of `producer` as its standard input. What is told is of `program`.
[[nodiscard]] Usage runProgramBehind(const Program& producer, const Program& program);

/// Runs the program and keeps its output in a file.
void runIntoFile(const Program& program, const std::string& path);

/// The processor time of the calling thread and of the whole process, in seconds.
[[nodiscard]] double threadSeconds();
[[nodiscard]] double processSeconds();

}  // namespace kesto::bench
