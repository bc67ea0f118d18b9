// A raster as the job's document: CUPS, PWG or Apple raster that somebody else has made.
#pragma once

#include <optional>
#include <string>

#include "filter/document/pagesource.h"

namespace kesto {

class RasterDocument : public PageSource {
 public:
  /// Standard input as it is, or the file `name` in its place. Ends the job when the file cannot be opened.
  explicit RasterDocument(const char* name);

  [[nodiscard]] const char* name() const override { return "the raster"; }
  [[nodiscard]] bool started() const override { return true; }
  /// Nobody here knows the writer. Its raster is over when it closes the stream.
  [[nodiscard]] bool ended() const override { return false; }
  void finish() override {}
  void stop() override {}
  [[nodiscard]] std::optional<std::string> failure() const override { return std::nullopt; }
  [[nodiscard]] int openError() const override { return 0; }
};

}  // namespace kesto
