#include "jobsettings/papersize.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <string_view>

#include "jobsettings/medianames.h"
#include "jobsettings/mediatable.h"
#include "jobsettings/optionsource.h"
#include "jobsettings/optionvalues.h"

namespace kesto {
namespace {

constexpr char PAGE_SIZE[] = "PageSize";
constexpr double POINTS_PER_INCH = 72.0;
constexpr std::uint32_t LETTER_NUMBER = 0;

void storeNumber(JobSetting* setting, std::uint32_t number) {
  setting->mediaSizeType = MEDIA_SIZE_ENUMERATED;
  setting->mediaSize = MediaSize{.mediaSizeId = number};
}

void storeName(JobSetting* setting, std::string_view name) {
  MediaSize size{.mediaSizeName = {}};
  name.copy(size.mediaSizeName, sizeof(size.mediaSizeName) - 1);
  setting->mediaSizeType = MEDIA_SIZE_NAMED;
  setting->mediaSize = size;
}

void storeCustom(JobSetting* setting, cups_page_header2_t* header) {
  constexpr std::uint32_t USUAL_RESOLUTION = 600;
  for (auto& resolution : header->HWResolution) {
    if (resolution == 0) resolution = USUAL_RESOLUTION;
  }
  const auto maxWidth = static_cast<std::uint32_t>(getIntAttrFromPPD(jobPpd(), "MaxMediaWidth", 612));
  const auto maxHeight = static_cast<std::uint32_t>(getIntAttrFromPPD(jobPpd(), "MaxMediaHeight", 1008));
  const auto& margins = header->Margins;
  const auto& resolution = header->HWResolution;

  const float width = decideCustomPageWidth(header->cupsWidth, margins[0], maxWidth, resolution[0]);
  const float height = decideCustomPageWidth(header->cupsHeight, margins[1], maxHeight, resolution[1]);
  setting->mediaSizeType = MEDIA_SIZE_CUSTOM;
  setting->mediaSize = MediaSize{.custom = {.customWidth = width, .customHeight = height}};
  setting->customMargin = static_cast<std::int32_t>(margins[0]);
  setting->customPixelWidth = static_cast<std::int32_t>(decideCustomPixelWidth(margins[0], resolution[0], width));
}

void storeMedia(const Media& media, JobSetting* setting, cups_page_header2_t* header) {
  switch (media.type) {
    case MEDIA_SIZE_ENUMERATED:
      return storeNumber(setting, media.number);
    case MEDIA_SIZE_NAMED:
      return storeName(setting, media.name);
    case MEDIA_SIZE_CUSTOM:
      return storeCustom(setting, header);
  }
}

const char* ticketPageSize(const char* options) {
  const char* size = ticketValue(options, PAGE_SIZE);
  return size == nullptr ? ticketValueByPrefix(options, "media") : size;
}

bool imageableAreaIsWholePage(const cups_page_header2_t& header) {
  const std::array<std::uint32_t, 4> page = {0, 0, header.PageSize[0], header.PageSize[1]};
  return std::ranges::equal(header.ImagingBoundingBox, page);
}

/// Rounds as printing with "%.2f" and reading back does, by the float's exact decimal value.
float roundToHundredths(float value) {
  std::array<char, 64> text{};
  const auto written = std::to_chars(text.begin(), text.end(), value, std::chars_format::fixed, 2);
  float rounded = value;
  std::from_chars(text.begin(), written.ptr, rounded);
  return rounded;
}

double pointsToPixels(std::uint32_t points, std::uint32_t dpi) {
  return points / POINTS_PER_INCH * dpi;
}

}  // namespace

void setPaperSize(JobSetting* setting, cups_page_header2_t* header, const char* options) {
  storeNumber(setting, LETTER_NUMBER);
  setting->customPixelWidth = 0;
  setting->customMargin = 0;
  setting->pageMode = NORMAL;
  const char* ppdChoice = ppdDefaultChoice(PAGE_SIZE);
  const char* chosen = ticketPageSize(options);
  if (chosen == nullptr) {
    // Nothing was asked for, so the raster, not the default's name, decides whether the page reaches the edges.
    if (imageableAreaIsWholePage(*header)) setting->pageMode = EDGETOEDGE;
    if (ppdChoice != nullptr) checkMediaSize(setting, header, ppdChoice);
    return;
  }
  if (const Media* media = findMedia(MediaOrder::TICKET, chosen)) {
    storeMedia(*media, setting, header);
  } else if (ppdChoice != nullptr) {
    checkMediaSize(setting, header, ppdChoice);
    chosen = ppdChoice;
  }
  if (std::strstr(chosen, FULLBLEED) != nullptr) setting->pageMode = EDGETOEDGE;
}

void checkMediaSize(JobSetting* setting, cups_page_header2_t* header, const char* choice) {
  if (const Media* media = findMedia(MediaOrder::PPD, choice)) {
    storeMedia(*media, setting, header);
  } else {
    storeNumber(setting, LETTER_NUMBER);
  }
}

float decideCustomPageWidth(std::uint32_t pixels, std::uint32_t marginPoints, std::uint32_t maxPoints,
                            std::uint32_t dpi) {
  const auto limit = static_cast<float>(maxPoints / POINTS_PER_INCH);
  if (dpi == 0) return limit;
  const std::uint64_t rounded = (std::uint64_t{pixels} + 15) & ~std::uint64_t{15};
  const double total = static_cast<double>(static_cast<float>(rounded)) + 2 * pointsToPixels(marginPoints, dpi);
  const float inches = static_cast<float>(total) / static_cast<float>(dpi);
  return std::min(roundToHundredths(inches), limit);
}

std::uint32_t decideCustomPixelWidth(std::uint32_t marginPoints, std::uint32_t dpi, float widthInches) {
  // Multiples of 16, so that rounding up leaves them within 32 bits.
  constexpr double LEAST = -2147483648.0;
  constexpr double MOST = 2147483632.0;
  const float total = static_cast<float>(dpi) * widthInches;
  const double exact = static_cast<double>(total) - 2 * pointsToPixels(marginPoints, dpi);
  if (std::isnan(exact)) return 0;
  const auto pixels = static_cast<std::int64_t>(std::clamp(exact, LEAST, MOST));
  return static_cast<std::uint32_t>((pixels + 15) / 16 * 16);
}

}  // namespace kesto
