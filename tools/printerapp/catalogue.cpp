#include "printerapp/catalogue.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <map>
#include <memory>
#include <span>
#include <stdexcept>

#include <cups/cups.h>
#include <cups/ppd.h>
#include <cups/pwg.h>

// CUPS marks its PPD interface as deprecated for clients; an application that runs filters has no other one.
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

namespace kesto::app {
namespace {

using PpdFile = std::unique_ptr<ppd_file_t, decltype(&ppdClose)>;

/// Standard names (PWG 5101.1, RFC 8011) that do not follow from the keyword.
struct StandardName {
  std::string_view option, choice, name;
};
constexpr StandardName STANDARD_NAMES[] = {{"InputSlot", "Multipurpose", "by-pass-tray"},
                                           {"MediaType", "Automatic", "auto"},
                                           {"MediaType", "Plain", "stationery"},
                                           {"MediaType", "Glossy", "photographic-glossy"}};

/// What IPP has attributes of its own for: media, sides, print-color-mode, print-quality, printer-resolution.
constexpr std::string_view COVERED[] = {"PageSize", "PageRegion", "InputSlot",        "MediaType",
                                        "Duplex",   "ColorModel", "cupsPrintQuality", "Resolution"};

constexpr double POINTS_PER_INCH = 72, HUNDREDTHS_PER_INCH = 2540;

int hundredths(double points) {
  return static_cast<int>(std::lround(points * HUNDREDTHS_PER_INCH / POINTS_PER_INCH));
}

std::string choiceName(std::string_view option, std::string_view choice) {
  const auto* const found = std::ranges::find_if(
      STANDARD_NAMES, [&](const StandardName& entry) { return entry.option == option && entry.choice == choice; });
  return found != std::end(STANDARD_NAMES) ? std::string(found->name) : ippName(choice);
}

Option makeOption(const ppd_option_t& option) {
  Option made = {.keyword = option.keyword,
                 .name = ippName(option.keyword),
                 .text = option.text,
                 .choices = {},
                 .initial = choiceName(option.keyword, option.defchoice)};
  for (const ppd_choice_t& choice : std::span(option.choices, static_cast<std::size_t>(option.num_choices))) {
    made.choices.push_back({choice.choice, choiceName(option.keyword, choice.choice), choice.text});
  }
  return made;
}

Paper makePaper(const ppd_size_t& size) {
  const int width = hundredths(size.width), length = hundredths(size.length);
  // The library's table knows the exact dimensions of what the PPD gives in whole points.
  const pwg_media_t* const media = pwgMediaForSize(width, length);
  const bool borderless = size.left <= 0 && size.right >= size.width;
  return {.keyword = size.name,
          .name = media->pwg,
          .width = media->width,
          .length = media->length,
          .borderless = borderless};
}

void readPapers(ppd_file_t* ppd, Catalogue& catalogue) {
  const ppd_option_t* const option = ppdFindOption(ppd, "PageSize");
  for (const ppd_size_t& size : std::span(ppd->sizes, static_cast<std::size_t>(ppd->num_sizes))) {
    if (std::string_view(size.name) == "Custom") continue;
    catalogue.papers.push_back(makePaper(size));
  }
  const auto first = std::ranges::find_if(
      catalogue.papers, [&](const Paper& paper) { return option != nullptr && paper.keyword == option->defchoice; });
  if (first == catalogue.papers.end()) throw std::runtime_error("it names no default paper");
  std::rotate(catalogue.papers.begin(), first, first + 1);
  const float *const minimum = ppd->custom_min, *const maximum = ppd->custom_max;
  catalogue.smallest = {.keyword = "", .name = "", .width = hundredths(minimum[0]), .length = hundredths(minimum[1])};
  catalogue.largest = {.keyword = "", .name = "", .width = hundredths(maximum[0]), .length = hundredths(maximum[1])};
}

void readOptions(ppd_file_t* ppd, Catalogue& catalogue) {
  for (const ppd_group_t& group : std::span(ppd->groups, static_cast<std::size_t>(ppd->num_groups))) {
    for (const ppd_option_t& option : std::span(group.options, static_cast<std::size_t>(group.num_options))) {
      if (std::ranges::find(COVERED, option.keyword) == std::end(COVERED))
        catalogue.others.push_back(makeOption(option));
    }
  }
  const ppd_option_t *const sources = ppdFindOption(ppd, "InputSlot"), *const types = ppdFindOption(ppd, "MediaType");
  if (sources == nullptr || types == nullptr) throw std::runtime_error("it names no paper sources or types");
  catalogue.sources = makeOption(*sources);
  catalogue.types = makeOption(*types);
}

using Translations = std::map<std::string, std::string, std::less<>>;

/// The texts of all languages: "de.Translation TonerSave" and "de.TonerSave On" lead to theirs. The library keeps those
/// of its own language only.
Translations readTranslations(const std::string& ppd) {
  Translations translations;
  std::ifstream file(ppd);
  for (std::string line; std::getline(file, line);) {  // *de.TonerSave On/Ein: ""
    const std::size_t slash = line.find('/'), end = line.rfind(": ");
    if (!line.starts_with('*') || line.find('.') != 3 || slash == std::string::npos || end == std::string::npos)
      continue;
    if (slash < end) translations[line.substr(1, slash - 1)] = line.substr(slash + 1, end - slash - 1);
  }
  return translations;
}

void readTexts(const Translations& translations, const std::string& language, Catalogue& catalogue) {
  Texts& texts = catalogue.texts.emplace_back(Texts{.language = language, .texts = {}});
  const auto add = [&](const std::string& name, const std::string& keywords, const std::string& english) {
    const auto found = translations.find(language + "." + keywords);
    texts.texts.emplace_back(name, found != translations.end() ? found->second : english);
  };
  for (const Option& option : catalogue.others) {
    add(option.name, "Translation " + option.keyword, option.text);
    for (const Choice& choice : option.choices) {
      add(option.name + "." + choice.name, option.keyword + " " + choice.keyword, choice.text);
    }
  }
}

std::string attributeOf(ppd_file_t* ppd, const char* name) {
  const ppd_attr_t* const found = ppdFindAttr(ppd, name, nullptr);
  return found != nullptr && found->value != nullptr ? found->value : "";
}

}  // namespace

std::string_view Option::keywordOf(std::string_view choice) const {
  const auto found = std::ranges::find(choices, choice, &Choice::name);
  return found != choices.end() ? std::string_view(found->keyword) : std::string_view();
}

const Paper* Catalogue::find(int width, int length, bool borderless) const {
  const Paper* found = nullptr;
  int distance = 0;
  for (const Paper& paper : papers) {
    const int across = std::abs(paper.width - width), along = std::abs(paper.length - length);
    if (across > PAPER_TOLERANCE || along > PAPER_TOLERANCE) continue;
    // A paper that cannot be printed to its edges is better than another paper.
    const int difference = 2 * (across + along) + (paper.borderless != borderless ? 1 : 0);
    if (found != nullptr && difference >= distance) continue;
    found = &paper;
    distance = difference;
  }
  return found;
}

Catalogue readCatalogue(const std::string& ppd) {
  const PpdFile file(ppdOpenFile(ppd.c_str()), ppdClose);
  if (!file) {
    int line = 0;
    const char* const reason = ppdErrorString(ppdLastError(&line));
    throw std::runtime_error(ppd + ": " + reason);
  }
  ppdMarkDefaults(file.get());
  Catalogue catalogue;
  catalogue.ppd = ppd;
  catalogue.model = file->modelname != nullptr ? file->modelname : "";
  catalogue.deviceId = attributeOf(file.get(), "1284DeviceID");
  catalogue.pagesPerMinute = file->throughput;
  readPapers(file.get(), catalogue);
  readOptions(file.get(), catalogue);
  const Translations translations = readTranslations(ppd);
  for (const char* language : {"en", "de", "es", "fr", "ja"}) readTexts(translations, language, catalogue);
  return catalogue;
}

std::string ippName(std::string_view keyword) {
  std::string name;
  char before = '\0';
  for (const char c : keyword) {
    const bool wordBegins =
        (std::isupper(static_cast<unsigned char>(c)) != 0 && std::islower(static_cast<unsigned char>(before)) != 0) ||
        (std::isdigit(static_cast<unsigned char>(c)) != 0 && std::isalpha(static_cast<unsigned char>(before)) != 0);
    if (wordBegins) name += '-';
    name += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    before = c;
  }
  return name;
}

}  // namespace kesto::app
