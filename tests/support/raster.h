// Rasters for the tests: pixel patterns that a test can make again, and the recipe that the stand-in renderer follows.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include <cups/raster.h>

namespace kesto::test {

/// A recipe line: a word and its "key=value" settings.
struct Step {
  std::string verb;
  std::map<std::string, std::string> settings;

  [[nodiscard]] unsigned number(const std::string& key, unsigned fallback) const;
  [[nodiscard]] std::string text(const std::string& key, const std::string& fallback) const;
};

/// Splits a recipe into its steps, one a line.
[[nodiscard]] std::vector<Step> parseRecipe(const std::string& recipe);

/// The page header that a "page" step describes.
[[nodiscard]] cups_page_header2_t headerOf(const Step& page);

/// Line `line` of the page that a "page" step describes: cupsBytesPerLine bytes of its pattern ("white", "noise",
/// "text", "gradient", or "grey" of a value).
[[nodiscard]] std::vector<std::uint8_t> lineOf(const Step& page, const cups_page_header2_t& header, unsigned line);

/// All lines of the page, joined.
[[nodiscard]] std::vector<std::uint8_t> pixelsOf(const std::string& pageLine);

}  // namespace kesto::test
