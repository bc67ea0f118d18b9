// Documents as clients of an IPP printer send them.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <cups/raster.h>

namespace kesto::test {

/// A raster of whole sheets, one for each of `greys` and filled with it.
struct Sheets {
  cups_mode_t mode = CUPS_RASTER_WRITE_PWG;  ///< or CUPS_RASTER_WRITE_APPLE
  const char* media = "na_index-4x6_4x6in";
  const char* type = "sgray_8";
  int resolution = 300;
  std::vector<int> greys = {100};
  /// Changes the header of the page with this index.
  std::function<void(cups_page_header2_t&, std::size_t)> change = nullptr;
  /// Draws on a line of the sheet.
  std::function<void(std::vector<unsigned char>& line, unsigned y)> draw = nullptr;
};
[[nodiscard]] std::string rasterOf(const Sheets& sheets);

/// A JPEG filled with a grey; `density` in dots per inch, 0 for none.
[[nodiscard]] std::string jpegOf(unsigned width, unsigned height, int grey, unsigned density = 0);

[[nodiscard]] std::string pngOf(unsigned width, unsigned height, int grey);

}  // namespace kesto::test
