// The pages of a raster job, kept in a file until all of them are there: only then it is known that the job is whole,
// and a printer that goes away can be given it once more.
//
// The pages are what the spooler's renderer would have drawn: PAPPL and its clients draw whole sheets, whose margins
// are cut off here. Job thread only.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include <cups/raster.h>

#include "base/descriptor.h"
#include "printerapp/filterrun.h"

namespace kesto::app {

class RasterSpool {
 public:
  /// Makes the file in `folder`, where it has no name. Throws std::system_error when it cannot be made.
  explicit RasterSpool(const std::string& folder);
  RasterSpool(const RasterSpool&) = delete;
  RasterSpool& operator=(const RasterSpool&) = delete;
  ~RasterSpool();

  /// Begins a page: `page` is the header that is written, `margin` the pixels that are cut off on each side of a sheet
  /// of `sheetHeight` lines, with as many bytes each as `sheetLine` says.
  void beginPage(const cups_page_header2_t& page, unsigned margin, unsigned sheetHeight, std::size_t sheetLine);

  /// Line `y` of the sheet.
  void writeLine(unsigned y, const std::uint8_t* line);

  /// Ends a page. False when lines of the sheet are missing.
  [[nodiscard]] bool endPage();

  /// Adds a white page like the last one.
  void addBlankPage();

  [[nodiscard]] int pages() const { return pages_; }
  /// The error number of the first write that failed, 0 for none.
  [[nodiscard]] int error() const { return error_; }

  [[nodiscard]] int descriptor() const { return file_.get(); }
  /// The whole raster, its pages given so many times.
  [[nodiscard]] std::vector<Extent> extents(int times);

 private:
  void put();

  Descriptor file_;
  cups_raster_t* raster_ = nullptr;
  cups_page_header2_t page_ = {};
  std::vector<std::uint8_t> line_;
  std::size_t pixel_ = 0;   ///< bytes of a pixel
  std::size_t copied_ = 0;  ///< bytes of a line that the sheet has
  unsigned margin_ = 0;     ///< pixels
  unsigned sheetHeight_ = 0;
  unsigned linesSeen_ = 0, linesWritten_ = 0;
  int pages_ = 0;
  int error_ = 0;
};

}  // namespace kesto::app
