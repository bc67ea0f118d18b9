// The renderer: the spooler's pdftoraster as a child process whose raster arrives on the job's standard input.
//
// The child leads a process group of its own. A spooler that cancels a job signals the filter's whole group; the page
// that has begun can be finished all the same. When the job ends, the child's group is killed. Should the job itself be
// killed, the kernel ends the child.
#pragma once

#include <chrono>
#include <optional>
#include <string>

#include <sys/types.h>

#include "base/descriptor.h"

namespace kesto {

class Renderer {
 public:
  /// Starts "`serverBin`/filter/pdftoraster" with the program name and the five job arguments of `argv` and the PDF
  /// file's name, and makes its output this process's standard input. A program that begins with no interpreter's name
  /// is run by the shell. Ends the job when no process can be made; a program that cannot be executed is reported and
  /// leaves a renderer that has not started.
  Renderer(const char* serverBin, char* const argv[], const std::string& pdf);
  Renderer(const Renderer&) = delete;
  Renderer& operator=(const Renderer&) = delete;
  ~Renderer() { stop(); }

  /// True once the child has ended; looks without waiting.
  [[nodiscard]] bool ended() const;

  /// Gives the child a moment to end by itself after its raster has ended, then ends it; at once after SIGTERM.
  void finish();

  /// Ends the child and its process group at once, and reaps the child.
  void stop();

  /// Why the child's own end was not a success, as words for the log ("ended with status 1"); nothing when it was, when
  /// it has not ended, or when this object ended it.
  [[nodiscard]] std::optional<std::string> failure() const;

  /// True when a renderer runs or has run; otherwise the reason has been reported.
  [[nodiscard]] bool started() const { return started_; }

 private:
  /// A renderer that has not started. The other constructor builds on it, so that what it has started is ended when it
  /// fails half-way.
  explicit Renderer(const char* serverBin);

  void start(char* const arguments[]);
  void checkExec(int descriptor);
  [[nodiscard]] bool endsWithin(std::chrono::milliseconds time) const;

  std::string program_;
  pid_t child_ = -1;        ///< -1 once reaped
  std::optional<int> end_;  ///< the child's wait status, when it ended by itself
  bool started_ = false;
};

}  // namespace kesto
