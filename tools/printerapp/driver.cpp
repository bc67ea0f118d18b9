#include "printerapp/driver.h"

#include <algorithm>
#include <cstdio>
#include <span>
#include <string>
#include <vector>

namespace kesto::app {
namespace {

template <std::size_t N>
void copyText(char (&target)[N], const std::string& text) {
  std::snprintf(target, N, "%s", text.c_str());
}

/// Fills an array of PAPPL's with names; what does not fit is left out. Returns how many there are.
template <std::size_t N>
int fill(const char* (&target)[N], const std::vector<const char*>& names) {
  const std::size_t count = std::min(names.size(), N);
  std::copy_n(names.begin(), count, target);
  return static_cast<int>(count);
}

std::vector<const char*> namesOf(const Option& option) {
  std::vector<const char*> names;
  for (const Choice& choice : option.choices) names.push_back(choice.name.c_str());
  return names;
}

/// A standard name of a size that anybody may choose, "custom_min_3x5in". Kept for as long as the program runs.
const char* rangeName(const char* which, const Paper& limit) {
  static std::vector<std::string> names;
  char text[64];
  std::snprintf(text, sizeof text, "custom_%s_%.4gx%.4gin", which, limit.width / 2540.0, limit.length / 2540.0);
  const auto found = std::ranges::find(names, text);
  if (found != names.end()) return found->c_str();
  names.reserve(2);  // so that the addresses stay
  return names.emplace_back(text).c_str();
}

void describeMedia(const Catalogue& catalogue, pappl_pr_driver_data_t& data) {
  std::vector<const char*> names;
  for (const Paper& paper : catalogue.papers) {
    const bool known = std::ranges::any_of(names, [&](const char* name) { return paper.name == name; });
    if (!known) names.push_back(paper.name.c_str());
  }
  names.push_back(rangeName("min", catalogue.smallest));
  names.push_back(rangeName("max", catalogue.largest));
  data.num_media = fill(data.media, names);
  data.num_source = fill(data.source, namesOf(catalogue.sources));
  data.num_type = fill(data.type, namesOf(catalogue.types));
  data.borderless = true;
  data.left_right = data.bottom_top = MARGIN;

  const Paper& first = catalogue.papers.front();
  pappl_media_col_t& media = data.media_default;
  copyText(media.size_name, first.name);
  media.size_width = first.width;
  media.size_length = first.length;
  media.left_margin = media.right_margin = media.top_margin = media.bottom_margin = MARGIN;
  copyText(media.type, catalogue.types.initial);
  copyText(media.source, catalogue.sources.initial);
  for (int i = 0; i < data.num_source; ++i) {
    data.media_ready[i] = media;
    copyText(data.media_ready[i].source, data.source[i]);
  }
}

void describePages(pappl_pr_driver_data_t& data) {
  data.color_supported = PAPPL_COLOR_MODE_AUTO | PAPPL_COLOR_MODE_COLOR | PAPPL_COLOR_MODE_MONOCHROME;
  // A driverless queue of the spooler takes "auto" for grey.
  data.color_default = PAPPL_COLOR_MODE_COLOR;
  data.raster_types = PAPPL_PWG_RASTER_TYPE_SRGB_8 | PAPPL_PWG_RASTER_TYPE_SGRAY_8;
  data.duplex = PAPPL_DUPLEX_NORMAL;
  data.sides_supported = PAPPL_SIDES_ONE_SIDED | PAPPL_SIDES_TWO_SIDED_LONG_EDGE | PAPPL_SIDES_TWO_SIDED_SHORT_EDGE;
  data.sides_default = PAPPL_SIDES_ONE_SIDED;
  data.quality_default = IPP_QUALITY_NORMAL;
  data.content_default = PAPPL_CONTENT_AUTO;
  data.scaling_default = PAPPL_SCALING_AUTO;
  data.orient_default = IPP_ORIENT_NONE;
  // PAPPL takes the first for draft quality, the middle one for normal and the last for high.
  constexpr int RESOLUTIONS[] = {300, 600};
  for (const int resolution : RESOLUTIONS) {
    data.x_resolution[data.num_resolution] = data.y_resolution[data.num_resolution] = resolution;
    ++data.num_resolution;
  }
  data.x_default = data.y_default = 600;
}

}  // namespace

void describePrinter(const Catalogue& catalogue, pappl_pr_driver_data_t& data) {
  copyText(data.make_and_model, catalogue.model);
  data.format = PRINTER_FORMAT;
  data.ppm = data.ppm_color = catalogue.pagesPerMinute;
  data.kind = PAPPL_KIND_DOCUMENT | PAPPL_KIND_ENVELOPE | PAPPL_KIND_PHOTO | PAPPL_KIND_POSTCARD;
  data.finishings = PAPPL_FINISHINGS_NONE;
  describeMedia(catalogue, data);
  describePages(data);
  std::vector<const char*> names;
  for (const Option& option : catalogue.others) names.push_back(option.name.c_str());
  data.num_vendor = fill(data.vendor, names);
}

ipp_t* vendorAttributes(const Catalogue& catalogue) {
  ipp_t* const attributes = ippNew();
  for (const Option& option : catalogue.others) {
    const std::vector<const char*> names = namesOf(option);
    ippAddStrings(attributes, IPP_TAG_PRINTER, IPP_TAG_KEYWORD, (option.name + "-supported").c_str(),
                  static_cast<int>(names.size()), nullptr, names.data());
    ippAddString(attributes, IPP_TAG_PRINTER, IPP_TAG_KEYWORD, (option.name + "-default").c_str(), nullptr,
                 option.initial.c_str());
  }
  return attributes;
}

void setAlertText(const Catalogue& catalogue, pappl_printer_t* printer, const std::string& text) {
  pappl_pr_driver_data_t data;
  papplPrinterGetDriverData(printer, &data);
  ipp_t* const before = papplPrinterGetDriverAttributes(printer);
  ipp_t* const attributes = vendorAttributes(catalogue);
  for (const Option& option : catalogue.others) {
    const std::string name = option.name + "-default";
    ipp_attribute_t* const chosen = ippFindAttribute(before, name.c_str(), IPP_TAG_ZERO);
    ipp_attribute_t* fresh = ippFindAttribute(attributes, name.c_str(), IPP_TAG_ZERO);
    if (chosen != nullptr) ippSetString(attributes, &fresh, 0, ippGetString(chosen, 0, nullptr));
  }
  if (!text.empty()) {
    ippAddString(attributes, IPP_TAG_PRINTER, IPP_TAG_TEXT, "printer-alert-description", nullptr, text.c_str());
  }
  papplPrinterSetDriverData(printer, &data, attributes);
  ippDelete(before);
  ippDelete(attributes);
}

}  // namespace kesto::app
