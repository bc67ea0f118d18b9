// Who writes the raster that arrives on the job's standard input.
#pragma once

#include <optional>
#include <string>

namespace kesto {

/// Job thread only.
class PageSource {
 public:
  PageSource() = default;
  PageSource(const PageSource&) = delete;
  PageSource& operator=(const PageSource&) = delete;
  virtual ~PageSource() = default;

  /// The writer in words for the log.
  [[nodiscard]] virtual const char* name() const = 0;

  /// True when a raster can arrive; otherwise the reason has been reported.
  [[nodiscard]] virtual bool started() const = 0;

  /// True once the writer is known to have ended; looks without waiting.
  [[nodiscard]] virtual bool ended() const = 0;

  /// Gives the writer a moment to end by itself after its raster has ended, then ends it; at once after SIGTERM.
  virtual void finish() = 0;

  /// Ends the writer at once.
  virtual void stop() = 0;

  /// How the writer failed, in words for the log ("ended with status 1"); empty when it succeeded, is still running, or
  /// was ended by this object.
  [[nodiscard]] virtual std::optional<std::string> failure() const = 0;

  /// Why the document itself cannot be opened, as an error number; 0 when it can.
  [[nodiscard]] virtual int openError() const = 0;
};

}  // namespace kesto
