// Running a program as the spooler would, with its output kept.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <time.h>

namespace kesto::test {

using Variables = std::vector<std::pair<std::string, std::string>>;

/// What the environment tells the sanitizers, for a program whose environment is its own.
[[nodiscard]] Variables sanitizerSettings();

/// What to run, and with what around it.
struct Command {
  std::string program;
  std::vector<std::string> arguments;  ///< argv[0] included
  Variables environment{};             ///< all of it
  std::string input{};                 ///< written to standard input, then closed
  int inputFrom = -1;                  ///< a descriptor that is standard input instead
  int outputTo = -1;                   ///< a descriptor that is standard output instead of what is kept in Outcome
  bool dropOutput = false;             ///< standard output is read and not kept
  bool backChannel = false;            ///< the program reads from descriptor 3 what writeBackChannel writes
  bool keepInputOpen = false;
  bool ownGroup = false;  ///< the program leads a process group, as under a spooler that runs as root
  std::chrono::milliseconds timeout{30000};  ///< the program is killed then
};

struct Outcome {
  int status = -1;  ///< exit status; -1 when a signal ended the program
  int signal = 0;
  bool timedOut = false;
  std::vector<std::uint8_t> output;
  std::string log;  ///< standard error
  std::chrono::milliseconds duration{0};
  double processorSeconds = 0;  ///< of the program's own threads, its children's not counted
  long peakMemory = 0;          ///< KiB resident at most, of the program alone, looked at every 10 ms

  [[nodiscard]] std::vector<std::string> linesWith(const std::string& prefix) const;
};

/// The time of a clock of processor time, in seconds.
[[nodiscard]] double processorSeconds(clockid_t clock);

/// A program that has been started.
class Process {
 public:
  explicit Process(const Command& command);
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;
  ~Process();

  void signal(int number) const;
  /// Signals the program's whole process group, which must be its own.
  void signalGroup(int number) const;
  /// While held, nothing is read from the program's standard output. `finish` reads what is left there after the end.
  void holdOutput(bool held) { outputHeld_ = held; }
  /// Closes this side of the program's standard output, so that it writes into a broken pipe.
  void closeOutput();
  /// Reads what comes until `text` has appeared on standard error, or on standard output. False when it did not within
  /// the time-out.
  bool waitForLog(const std::string& text);
  bool waitForOutput(const std::string& text);
  /// Reads what comes within `time`.
  void collectFor(std::chrono::milliseconds time);
  /// Whether `text` has appeared on standard output.
  [[nodiscard]] bool hasOutput(const std::string& text) const;
  /// Writes to the program's descriptor 3, as the spooler's back channel does.
  void writeBackChannel(const std::vector<std::uint8_t>& bytes) const;
  /// Appends to the program's standard input, which must have been kept open.
  void writeInput(const std::string& text);
  /// Waits for the end.
  Outcome finish();
  [[nodiscard]] int pid() const { return pid_; }

 private:
  void readSome(int waitMs);
  void noteMemory();
  bool waitFor(const std::function<bool()>& seen);

  Command command_;
  int pid_ = -1;
  int input_ = -1, output_ = -1, log_ = -1, backChannel_ = -1;
  std::size_t inputWritten_ = 0;
  bool outputHeld_ = false;
  std::chrono::steady_clock::time_point start_, nextLook_;
  Outcome outcome_;
};

Outcome run(const Command& command);

/// A loopback address that no other test program listens on, one for each `number` from 0 to 99.
[[nodiscard]] std::string ownAddress(int number = 0);

/// A folder that goes with the object.
class TemporaryFolder {
 public:
  TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder();

  [[nodiscard]] const std::string& path() const { return path_; }
  /// Writes a file into the folder and returns its path.
  [[nodiscard]] std::string write(const std::string& name, const std::string& text) const;

 private:
  std::string path_;
};

}  // namespace kesto::test
