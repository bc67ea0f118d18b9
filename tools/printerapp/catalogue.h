// What the printers can do: the driver's PPD in IPP's words.
//
// The PPD is made from ppd/kesto.drv, so that the application offers what a queue offers, and the filters read the
// same file. Only names are translated here. A catalogue does not change once it is read; any thread may look into it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kesto::app {

/// Sizes that differ by no more than this are of one paper: a millimetre.
inline constexpr int PAPER_TOLERANCE = 100;

/// A size of paper. Lengths in IPP are hundredths of a millimetre.
struct Paper {
  std::string keyword;      ///< the PPD's, "A4.FullBleed"
  std::string name;         ///< the standard one, "iso_a4_210x297mm"
  int width = 0;            ///< hundredths of a millimetre
  int length = 0;           ///< hundredths of a millimetre
  bool borderless = false;  ///< printed to its edges
};

struct Choice {
  std::string keyword;  ///< the PPD's, "StationeryHeavyweight"
  std::string name;     ///< IPP's, "stationery-heavyweight"
  std::string text;     ///< for a person, in English
};

struct Option {
  std::string keyword;  ///< the PPD's, "TonerSave"
  std::string name;     ///< IPP's, "toner-save"
  std::string text;     ///< for a person, in English
  std::vector<Choice> choices;
  std::string initial;  ///< the default choice's IPP name

  /// The PPD's keyword for a choice's IPP name; empty when there is no such choice.
  [[nodiscard]] std::string_view keywordOf(std::string_view choice) const;
};

/// The texts of options and choices in one language, as name and text: "toner-save.on" is a choice's name.
struct Texts {
  std::string language;
  std::vector<std::pair<std::string, std::string>> texts;
};

struct Catalogue {
  std::string ppd;  ///< the file
  std::string model;
  std::string deviceId;
  int pagesPerMinute = 0;
  std::vector<Paper> papers;  ///< the default one first
  Paper smallest, largest;    ///< the limits of custom sizes; without keywords
  Option sources, types;
  std::vector<Option> others;  ///< what IPP has no attribute of its own for
  std::vector<Texts> texts;

  /// The paper of these dimensions, printed to its edges if that is asked for and possible; nullptr when there is none
  /// within a millimetre.
  [[nodiscard]] const Paper* find(int width, int length, bool borderless) const;
};

/// The margin of a page with a border: 12 points, in hundredths of a millimetre.
inline constexpr int MARGIN = 423;

/// Reads a PPD of the driver. Throws std::runtime_error with the reason when it cannot be read.
[[nodiscard]] Catalogue readCatalogue(const std::string& ppd);

/// IPP's form of a PPD's keyword: "TonerSave" is "toner-save".
[[nodiscard]] std::string ippName(std::string_view keyword);

}  // namespace kesto::app
