// The raster stream: the pages as they arrive on standard input, checked and brought into the job's form.
//
// The header record belongs to the stream and keeps its address: the job setting record points at texts in it, which
// change with every page. Nothing in a header is trusted: a header whose numbers do not fit together, or that describes
// a page which the print data cannot express, ends the stream before a pixel of its page is read
// (decisions.md#absurd-headers). Job thread only.
#pragma once

#include <chrono>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include <cups/raster.h>

#include "filter/document/pagesource.h"
#include "filter/document/pixelformat.h"

namespace kesto {

class RasterStream {
 public:
  /// Opens the raster stream on standard input. `source` knows whether more can come.
  explicit RasterStream(const PageSource& source);
  RasterStream(const RasterStream&) = delete;
  RasterStream& operator=(const RasterStream&) = delete;
  ~RasterStream() { close(); }

  /// Reads the next page header. False when no further page comes or the header is refused (see `fault`); the header
  /// record then still describes the page before.
  [[nodiscard]] bool readHeader();

  /// Reads the page's next line as pixels of `format` into `line`: cut to its length, or filled up with white. A line
  /// beyond the page's last, or one that did not arrive, is white.
  void readLine(PixelFormat format, std::span<std::uint8_t> line);

  /// True when the next line has begun to arrive or none is due, so that `readLine` hardly has to wait for the
  /// renderer.
  [[nodiscard]] bool inputWaits();

  /// Sleeps until something arrives, or for `time`.
  static void sleepUntilInput(std::chrono::milliseconds time);

  /// Reads and drops the lines of the page that have not been read, so that the next header is found.
  void dropRestOfPage();

  /// Closes the stream and standard input, which ends a renderer that is still writing.
  void close();

  [[nodiscard]] cups_page_header2_t* header() { return &header_; }

  /// True when a page ended before its last line, or within its header.
  [[nodiscard]] bool endedEarly() const { return endedEarly_; }

  /// Why reading failed, as an error number; 0 when it has not. A raster that ends, wherever it does, is no failure.
  [[nodiscard]] int error() const { return error_; }

  /// What is wrong with the header that was refused last, or empty.
  [[nodiscard]] const std::string& fault() const { return fault_; }

 private:
  static ssize_t readInput(void* self, unsigned char* bytes, std::size_t count);
  [[nodiscard]] ssize_t fillInput();
  void noteInput(ssize_t got);
  [[nodiscard]] bool nothingMoreComes(std::chrono::milliseconds silence);
  [[nodiscard]] bool readRasterLine(std::uint8_t* line);
  void noteShortage();

  const PageSource& source_;
  cups_raster_t* raster_ = nullptr;
  cups_page_header2_t header_ = {};
  std::vector<std::uint8_t> input_;       ///< where reads of standard input go
  std::span<const std::uint8_t> unread_;  ///< bytes of `input_` that the library has not taken yet
  std::vector<std::uint8_t> rasterLine_;  ///< one line as the raster delivers it
  const RasterFormat* format_ = nullptr;  ///< how the current page's pixels are stored
  std::uint32_t linesLeft_ = 0;
  std::size_t headerBytes_ = 0;  ///< bytes read since the last header was asked for
  bool first_ = true;
  bool ended_ = false;  ///< no byte can be read any more
  bool endedEarly_ = false;
  int error_ = 0;
  std::string fault_;
};

}  // namespace kesto
