// The renderer: the spooler's pdftoraster as a child process whose raster arrives on the job's standard input.
//
// The child leads a process group of its own. A spooler that cancels a job signals the filter's whole group; the page
// in progress can be finished all the same. When the job ends, the child's group is killed. Should the job itself be
// killed, the kernel ends the child (decisions.md#renderer-group).
#pragma once

#include <chrono>
#include <optional>
#include <string>

#include <sys/types.h>

#include "filter/document/pagesource.h"

namespace kesto {

class Renderer : public PageSource {
 public:
  /// Starts "`serverBin`/filter/pdftoraster" with the program name and the five job arguments of `argv` and the PDF
  /// file's name, and makes its output this process's standard input. A script without an interpreter line is run by
  /// the shell. Ends the job when no process can be made; a program that cannot be executed is reported and leaves a
  /// renderer that has not started.
  Renderer(const char* serverBin, char* const argv[], const std::string& pdf);
  Renderer(const Renderer&) = delete;
  Renderer& operator=(const Renderer&) = delete;
  ~Renderer() override { end(); }

  [[nodiscard]] const char* name() const override { return "pdftoraster"; }
  [[nodiscard]] bool started() const override { return started_; }
  [[nodiscard]] bool ended() const override;
  void finish() override;
  /// Ends the child and its process group, and reaps the child.
  void stop() override { end(); }
  [[nodiscard]] std::optional<std::string> failure() const override;
  [[nodiscard]] int openError() const override;

 private:
  /// A renderer that has not started. The public constructor delegates to it, so that a child already started is ended
  /// when a later step fails.
  Renderer(const char* serverBin, std::string pdf);

  void start(char* const arguments[]);
  void end();
  void checkExec(int descriptor);
  [[nodiscard]] bool endsWithin(std::chrono::milliseconds time) const;

  std::string program_;
  std::string pdf_;
  pid_t child_ = -1;        ///< -1 once reaped
  std::optional<int> end_;  ///< the child's wait status, when it ended by itself
  bool started_ = false;
};

}  // namespace kesto
