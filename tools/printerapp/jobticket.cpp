#include "printerapp/jobticket.h"

#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string_view>

#include <cups/cups.h>
#include <cups/ppd.h>

// CUPS marks its PPD interface as deprecated for clients; an application that runs filters has no other one.
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

namespace kesto::app {
namespace {

constexpr int DRAFT_RESOLUTION = 300;

void add(std::string& options, std::string_view name, std::string_view value) {
  if (value.empty()) return;
  if (!options.empty()) options += ' ';
  options.append(name).append("=").append(value);
}

std::string pageSize(const Catalogue& catalogue, const PageForm& form) {
  if (const Paper* const paper = catalogue.find(form.width, form.length, form.borderless)) return paper->keyword;
  char text[64];
  std::snprintf(text, sizeof text, "Custom.%.2fx%.2fmm", form.width / 100.0, form.length / 100.0);
  return text;
}

const char* duplex(pappl_sides_t sides) {
  if (sides == PAPPL_SIDES_TWO_SIDED_LONG_EDGE) return "DuplexNoTumble";
  return sides == PAPPL_SIDES_TWO_SIDED_SHORT_EDGE ? "DuplexTumble" : "None";
}

const char* quality(const PageForm& form, ipp_quality_t asked) {
  if (form.draft) return "Draft";
  return asked == IPP_QUALITY_HIGH ? "High" : "Normal";
}

const char* scaling(pappl_scaling_t scaling) {
  switch (scaling) {
    case PAPPL_SCALING_AUTO_FIT:
      return "auto-fit";
    case PAPPL_SCALING_FILL:
      return "fill";
    case PAPPL_SCALING_FIT:
      return "fit";
    case PAPPL_SCALING_NONE:
      return "none";
    default:
      return "auto";
  }
}

}  // namespace

PageForm formOf(const pappl_pr_options_t& options) {
  const pappl_media_col_t& media = options.media;
  return {.width = media.size_width,
          .length = media.size_length,
          .borderless = (media.left_margin | media.right_margin | media.top_margin | media.bottom_margin) == 0,
          .colour = options.print_color_mode != PAPPL_COLOR_MODE_MONOCHROME,
          .draft = options.print_quality == IPP_QUALITY_DRAFT || options.printer_resolution[0] == DRAFT_RESOLUTION};
}

bool isCollated(pappl_job_t* job) {
  ipp_attribute_t* const handling = papplJobGetAttribute(job, "multiple-document-handling");
  const char* const value = handling != nullptr ? ippGetString(handling, 0, nullptr) : nullptr;
  return value == nullptr || std::string_view(value) != "separate-documents-uncollated-copies";
}

std::string driverOptions(const Catalogue& catalogue, pappl_printer_t* printer, const pappl_pr_options_t& options,
                          const PageForm& form) {
  std::string text;
  add(text, "PageSize", pageSize(catalogue, form));
  add(text, "InputSlot", catalogue.sources.keywordOf(options.media.source));
  add(text, "MediaType", catalogue.types.keywordOf(options.media.type));
  add(text, "Duplex", duplex(options.sides));
  add(text, "ColorModel", form.colour ? "RGB" : "Gray");
  add(text, "cupsPrintQuality", quality(form, options.print_quality));
  add(text, "Resolution", form.draft ? "300dpi" : "600dpi");
  ipp_t* const defaults = papplPrinterGetDriverAttributes(printer);
  for (const Option& option : catalogue.others) {
    const char* value = cupsGetOption(option.name.c_str(), options.num_vendor, options.vendor);
    // PAPPL 1.3 looks for these defaults among the job's attributes only.
    const std::string name = option.name + "-default";
    if (value == nullptr) value = ippGetString(ippFindAttribute(defaults, name.c_str(), IPP_TAG_ZERO), 0, nullptr);
    if (value != nullptr) add(text, option.keyword, option.keywordOf(value));
  }
  ippDelete(defaults);
  return text;
}

std::string documentOptions(pappl_job_t* job, const pappl_pr_options_t& options) {
  std::string text;
  if (papplJobGetAttribute(job, "page-ranges") != nullptr) {
    add(text, "page-ranges", std::to_string(options.first_page) + "-" + std::to_string(options.last_page));
  }
  add(text, "print-scaling", scaling(options.print_scaling));
  if (options.orientation_requested >= IPP_ORIENT_PORTRAIT && options.orientation_requested < IPP_ORIENT_NONE) {
    add(text, "orientation-requested", std::to_string(options.orientation_requested));
  }
  if (options.copies > 1 && isCollated(job)) add(text, "collate", "true");
  return text;
}

cups_page_header2_t pageHeader(const Catalogue& catalogue, const std::string& options) {
  const std::unique_ptr<ppd_file_t, decltype(&ppdClose)> ppd(ppdOpenFile(catalogue.ppd.c_str()), ppdClose);
  if (!ppd) throw std::runtime_error(catalogue.ppd + " cannot be read");
  ppdMarkDefaults(ppd.get());
  cups_option_t* parsed = nullptr;
  const int count = cupsParseOptions(options.c_str(), 0, &parsed);
  cupsMarkOptions(ppd.get(), count, parsed);
  cups_page_header2_t header = {};
  const int failed = cupsRasterInterpretPPD(&header, ppd.get(), count, parsed, nullptr);
  cupsFreeOptions(count, parsed);
  if (failed != 0) throw std::runtime_error(std::string("the paper cannot be printed: ") + cupsRasterErrorString());
  return header;
}

}  // namespace kesto::app
