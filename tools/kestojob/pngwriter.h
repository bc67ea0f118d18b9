// A PNG file, written row by row with libpng.
//
// One thread uses a writer. It holds a row, never the picture.
#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "kestojob/outputfile.h"

namespace kesto::job {

class PngWriter {
 public:
  /// Begins a picture of 8-bit grey (1 channel) or RGB (3). Throws FileError, as the others do, when the file cannot be
  /// written.
  PngWriter(std::unique_ptr<OutputFile> file, unsigned width, unsigned height, unsigned channels);
  PngWriter(const PngWriter&) = delete;
  PngWriter& operator=(const PngWriter&) = delete;
  ~PngWriter();

  /// Writes the next row: width times channels bytes.
  void row(std::span<const std::uint8_t> pixels);
  /// Completes the file, after as many rows as were announced.
  void finish();

 private:
  struct Png;
  std::unique_ptr<Png> png_;
};

}  // namespace kesto::job
