#include "support/raster.h"

#include <algorithm>
#include <cstring>
#include <sstream>

namespace kesto::test {
namespace {

/// A reproducible hash of a position, for noise.
std::uint8_t noise(unsigned seed, unsigned x, unsigned y) {
  std::uint32_t h = seed * 0x9E3779B1u + x * 0x85EBCA6Bu + y * 0xC2B2AE35u;
  h ^= h >> 15;
  h *= 0x2C1B3C6Du;
  h ^= h >> 12;
  return static_cast<std::uint8_t>(h >> 8);
}

/// Strokes of about the size of 10 point letters at 600 dpi, in lines of words.
bool isInk(unsigned x, unsigned y) {
  const unsigned row = y % 100, column = x % 48;
  const bool letter = row >= 30 && row < 84 && noise(7, x / 48, y / 100) > 40;
  const bool stem = column >= 6 && column < 14;
  const bool bar = (row >= 30 && row < 37) || (row >= 54 && row < 60);
  return letter && (stem || (bar && column < 36));
}

std::uint8_t sample(const std::string& pattern, unsigned seed, unsigned x, unsigned y, unsigned channel,
                    const cups_page_header2_t& header) {
  if (pattern == "noise") return noise(seed + channel, x, y);
  if (pattern == "text") return isInk(x + seed, y) ? 0 : 255;
  if (pattern == "gradient") {
    const unsigned span = channel == 1 ? header.cupsHeight : header.cupsWidth;
    return static_cast<std::uint8_t>((channel == 1 ? y : x) * 255u / (span > 1 ? span - 1 : 1));
  }
  if (pattern == "grey") return static_cast<std::uint8_t>(seed);
  return 255;
}

/// Fills a header's text field; a text of its full length or more has no terminator there.
template <std::size_t N>
void setText(char (&field)[N], const std::string& text) {
  std::memcpy(field, text.data(), std::min(N, text.size()));
}

}  // namespace

unsigned Step::number(const std::string& key, unsigned fallback) const {
  const auto found = settings.find(key);
  return found == settings.end() ? fallback : static_cast<unsigned>(std::stoul(found->second, nullptr, 0));
}

std::string Step::text(const std::string& key, const std::string& fallback) const {
  const auto found = settings.find(key);
  return found == settings.end() ? fallback : found->second;
}

std::vector<Step> parseRecipe(const std::string& recipe) {
  std::vector<Step> steps;
  std::istringstream lines(recipe);
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line);
    Step step;
    words >> step.verb;
    for (std::string word; words >> word;) {
      const std::size_t equals = word.find('=');
      step.settings[word.substr(0, equals)] = equals == std::string::npos ? "" : word.substr(equals + 1);
    }
    if (!step.verb.empty()) steps.push_back(std::move(step));
  }
  return steps;
}

cups_page_header2_t headerOf(const Step& page) {
  cups_page_header2_t header = {};
  header.cupsWidth = page.number("width", 64);
  header.cupsHeight = page.number("height", 16);
  header.cupsBitsPerPixel = page.number("bits", 24);
  header.cupsBitsPerColor = page.number("depth", 8);
  header.cupsColorSpace = static_cast<cups_cspace_t>(page.number("space", header.cupsBitsPerPixel == 8 ? 0 : 1));
  header.cupsBytesPerLine = page.number("bytesperline", header.cupsWidth * (header.cupsBitsPerPixel / 8));
  header.cupsColorOrder = static_cast<cups_order_t>(page.number("order", 0));
  header.cupsNumColors = header.cupsBitsPerPixel / 8;
  header.cupsRowStep = page.number("rowstep", 0);
  header.HWResolution[0] = page.number("resolution", 600);
  header.HWResolution[1] = page.number("resolutiony", header.HWResolution[0]);
  header.Margins[0] = page.number("margin", 12);
  header.Margins[1] = page.number("marginy", header.Margins[0]);
  header.PageSize[0] = page.number("pagewidth", 612);
  header.PageSize[1] = page.number("pageheight", 792);
  header.ImagingBoundingBox[2] = page.number("bleed", 0) != 0 ? header.PageSize[0] : 0;
  header.ImagingBoundingBox[3] = page.number("bleed", 0) != 0 ? header.PageSize[1] : 0;
  header.Duplex = static_cast<cups_bool_t>(page.number("duplex", 0));
  header.Tumble = static_cast<cups_bool_t>(page.number("tumble", 0));
  header.MirrorPrint = static_cast<cups_bool_t>(page.number("mirrorprint", 0));
  header.NumCopies = page.number("copies", 1);
  header.MediaPosition = page.number("position", 0);
  setText(header.MediaType, page.text("mediatype", "Plain"));
  setText(header.OutputType, page.text("outputtype", "NORMAL"));
  return header;
}

std::vector<std::uint8_t> lineOf(const Step& page, const cups_page_header2_t& header, unsigned line) {
  const std::string pattern = page.text("pattern", "white");
  const unsigned seed = page.number("seed", 1);
  const unsigned channels = header.cupsBitsPerPixel >= 24 ? 3 : 1;
  std::vector<std::uint8_t> bytes(header.cupsBytesPerLine);
  for (unsigned i = 0; i < bytes.size(); ++i) {
    bytes[i] = sample(pattern, seed, i / channels, line, i % channels, header);
  }
  return bytes;
}

std::vector<std::uint8_t> pixelsOf(const std::string& pageLine) {
  const Step page = parseRecipe(pageLine).at(0);
  const cups_page_header2_t header = headerOf(page);
  std::vector<std::uint8_t> pixels;
  for (unsigned line = 0; line < header.cupsHeight; ++line) {
    const auto bytes = lineOf(page, header, line);
    pixels.insert(pixels.end(), bytes.begin(), bytes.end());
  }
  return pixels;
}

}  // namespace kesto::test
