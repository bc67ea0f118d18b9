// The pages of a raster stream that can be printed.
#pragma once

#include <cstring>
#include <optional>
#include <vector>

#include <cups/raster.h>

#include "input.h"

namespace kesto::fuzz {

struct RasterPage {
  cups_page_header2_t header = {};
  std::vector<Bytes> rows;  ///< those that arrived

  [[nodiscard]] bool isComplete() const { return rows.size() == header.cupsHeight; }
};

/// True for a page that can be printed.
inline bool isPrintable(const cups_page_header2_t& header) {
  std::uint32_t space = 0;  // which may be no value of its enumeration
  std::uint32_t order = 0;
  std::memcpy(&space, &header.cupsColorSpace, sizeof space);
  std::memcpy(&order, &header.cupsColorOrder, sizeof order);
  const auto isOneOf = [space](std::initializer_list<cups_cspace_t> spaces) {
    return std::ranges::any_of(spaces, [space](cups_cspace_t s) { return static_cast<std::uint32_t>(s) == space; });
  };
  const bool grey =
      header.cupsBitsPerPixel == 8 && isOneOf({CUPS_CSPACE_W, CUPS_CSPACE_SW, CUPS_CSPACE_K, CUPS_CSPACE_RGB});
  const bool color = header.cupsBitsPerPixel == 24 &&
                     isOneOf({CUPS_CSPACE_W, CUPS_CSPACE_RGB, CUPS_CSPACE_SRGB, CUPS_CSPACE_ADOBERGB, CUPS_CSPACE_CMY});
  return (grey || color) && order == CUPS_ORDER_CHUNKED && header.cupsWidth >= 1 && header.cupsWidth <= 65520 &&
         header.cupsHeight >= 1 && header.cupsHeight <= 32768 &&
         header.cupsBytesPerLine == header.cupsWidth * (color ? 3 : 1);
}

/// The stream's pages up to the first that cannot be printed or is not complete. Nothing when there is a page of more
/// than `mostPixels`.
inline std::optional<std::vector<RasterPage>> readRaster(std::span<const std::uint8_t> stream, std::size_t mostPixels) {
  const auto take = [](void* rest, unsigned char* bytes, std::size_t count) -> ssize_t {
    auto& left = *static_cast<std::span<const std::uint8_t>*>(rest);
    const auto taken = left.first(std::min(count, left.size()));
    std::ranges::copy(taken, bytes);
    left = left.subspan(taken.size());
    return static_cast<ssize_t>(taken.size());
  };
  std::vector<RasterPage> pages;
  cups_raster_t* raster = cupsRasterOpenIO(take, &stream, CUPS_RASTER_READ);
  bool small = true;
  for (RasterPage page; small && (pages.empty() || pages.back().isComplete()) && raster != nullptr &&
                        cupsRasterReadHeader2(raster, &page.header) != 0 && isPrintable(page.header);
       page = {}) {
    small = std::size_t{page.header.cupsWidth} * page.header.cupsHeight <= mostPixels;
    Bytes row(page.header.cupsBytesPerLine);
    while (small && !page.isComplete() &&
           cupsRasterReadPixels(raster, row.data(), page.header.cupsBytesPerLine) == row.size()) {
      page.rows.push_back(row);
    }
    pages.push_back(page);
  }
  if (raster != nullptr) cupsRasterClose(raster);
  return small ? std::optional(pages) : std::nullopt;
}

}  // namespace kesto::fuzz
