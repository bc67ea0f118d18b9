// The printer's own output and quality options. Most of them map the choice that the ticket or the PPD makes to a
// value that the printer understands, by a table of choices; the few others follow.

#include <algorithm>
#include <array>
#include <cstring>
#include <span>
#include <string_view>

#include <strings.h>

#include "jobsettings/jobsettings.h"
#include "jobsettings/optionsource.h"
#include "jobsettings/optionvalues.h"
#include "jobsettings/rasterword.h"

namespace kesto {
namespace {

struct Choice {
  const char* keyword;
  const char* value;
};

/// Maps one option to one field of the record.
struct ChoiceTable {
  const char* option;
  const char* JobSetting::*field;
  const char* setNowhere;  // neither the ticket nor the PPD names the option
  const char* unmatched;   // the choice is none of the known ones
  std::span<const Choice> choices;
  int (*compare)(const char*, const char*) = std::strcmp;
};

constexpr std::array SHARPEN_CHOICES = {Choice{"ON", ON}, Choice{"OFF", OFF}};
constexpr std::array COLOR_PREFERENCE_CHOICES = {Choice{"Automatic", OBJECT}, Choice{"Natural", IMAGE},
                                                 Choice{"Vivid", GRAPHIC}};
constexpr std::array TONER_SAVE_CHOICES = {Choice{"On", ON}, Choice{"true", ON}, Choice{"Off", OFF},
                                           Choice{"false", OFF}};
constexpr std::array IMPROVEMENT_CHOICES = {Choice{"none", OFF}, Choice{"reduceCurl", PAPERCURL},
                                            Choice{"tonerFix", TONERFIX}, Choice{"wrinkleFix", CREASE}};
constexpr std::array SWITCH_CHOICES = {Choice{"On", ON}};
constexpr std::array HALFTONE_CHOICES = {Choice{"Dither", DITHER}};
constexpr std::array INK_CHOICES = {Choice{"ColorBlack", COMPOSITEBLACK}, Choice{"BlackColor", COMPOSITEBLACK},
                                    Choice{"ColorOnly", COMPOSITEONLY}, Choice{"BlackOnly", BLACKONLY}};
constexpr std::array COLOR_OUTPUT_CHOICES = {Choice{"Mono", COLOR_OUTPUT_MONO}, Choice{"Color", COLOR_OUTPUT_COLOR},
                                             Choice{"GrayScale", COLOR_OUTPUT_GRAYSCALE},
                                             Choice{"Black", COLOR_OUTPUT_BLACK}};

constexpr ChoiceTable SHARPEN = {"Sharpen",     &JobSetting::sharpen, INVALIDOPTION,
                                 INVALIDOPTION, SHARPEN_CHOICES,      strcasecmp};
constexpr ChoiceTable COLOR_PREFERENCE = {"ColorPreferences", &JobSetting::colorPreference, IMAGE, OBJECT,
                                          COLOR_PREFERENCE_CHOICES};
constexpr ChoiceTable TONER_SAVE = {"TonerSave", &JobSetting::tonersave, INVALIDOPTION, OFF, TONER_SAVE_CHOICES};
constexpr ChoiceTable IMPROVEMENT = {"improve", &JobSetting::improvementSettings, INVALIDOPTION, INVALIDOPTION,
                                     IMPROVEMENT_CHOICES};
constexpr ChoiceTable GHOSTING = {"reduceGhost", &JobSetting::ghosting, INVALIDOPTION, OFF, SWITCH_CHOICES};
constexpr ChoiceTable DENSITY = {"printDensity", &JobSetting::printDensity, INVALIDOPTION, OFF, SWITCH_CHOICES};
constexpr ChoiceTable HALFTONE = {"HalftoneLevel", &JobSetting::halftone, DITHER, ERRORDIFFUSION, HALFTONE_CHOICES};
constexpr ChoiceTable INK_TO_USE = {"InkToUse", &JobSetting::inkToUse, INVALIDOPTION, AUTOMATIC, INK_CHOICES};
// Null: the printer is sent no colour space for an unknown colour output.
constexpr ChoiceTable COLOR_OUTPUT = {"ColorOutput", &JobSetting::colorOutput, INVALIDOPTION, nullptr,
                                      COLOR_OUTPUT_CHOICES};

/// Resolves the table's option and stores the constant that stands for the choice found.
void applyChoices(const ChoiceTable& table, JobSetting* setting, const char* options) {
  const char* chosen = resolveOption(options, table.option);
  if (chosen == nullptr) {
    setting->*table.field = table.setNowhere;
    return;
  }
  const auto known = std::ranges::find_if(
      table.choices, [&](const Choice& choice) { return table.compare(chosen, choice.keyword) == 0; });
  setting->*table.field = known == table.choices.end() ? table.unmatched : known->value;
}

/// A ticket's answers to a yes-or-no option. Any other text counts as none.
enum class Switch { NOT_GIVEN, SWITCHED_ON, SWITCHED_OFF };

Switch readSwitch(const char* text) {
  constexpr std::array<std::string_view, 4> ON_TEXTS = {"true", "True", "on", "On"};
  constexpr std::array<std::string_view, 4> OFF_TEXTS = {"false", "False", "off", "Off"};
  if (text == nullptr) return Switch::NOT_GIVEN;
  if (std::ranges::find(ON_TEXTS, text) != ON_TEXTS.end()) return Switch::SWITCHED_ON;
  if (std::ranges::find(OFF_TEXTS, text) != OFF_TEXTS.end()) return Switch::SWITCHED_OFF;
  return Switch::NOT_GIVEN;
}

}  // namespace

void setSharpen(JobSetting* setting, const char* options) {
  applyChoices(SHARPEN, setting, options);
}

void setColorPreference(JobSetting* setting, const char* options) {
  if (setting->isColor == 1) {
    applyChoices(COLOR_PREFERENCE, setting, options);
  } else {
    setting->colorPreference = IMAGE;
  }
}

void setTonerSave(JobSetting* setting, const char* options) {
  applyChoices(TONER_SAVE, setting, options);
}

void setImprovementSettings(JobSetting* setting, const char* options) {
  applyChoices(IMPROVEMENT, setting, options);
}

void setReduceGhosting(JobSetting* setting, const char* options) {
  applyChoices(GHOSTING, setting, options);
}

void setPrintDensity(JobSetting* setting, const char* options) {
  applyChoices(DENSITY, setting, options);
}

void setHalftone(JobSetting* setting, const char* options) {
  applyChoices(HALFTONE, setting, options);
}

void setInkToUse(JobSetting* setting, const char* options) {
  applyChoices(INK_TO_USE, setting, options);
}

void setColorOutput(JobSetting* setting, const char* options) {
  applyChoices(COLOR_OUTPUT, setting, options);
}

void setThreshold(JobSetting* setting, const char* options) {
  constexpr std::int32_t MIDDLE_GREY = 128;
  const char* text = resolveOption(options, "threshold");
  setting->threshold = text == nullptr ? MIDDLE_GREY : decimalInteger(text);
}

void setDuplexDryTime(JobSetting* setting, const char* options) {
  const char* text = resolveOption(options, "DupDryTime");
  setting->duplexDryTime = text == nullptr ? INVALIDOPTION : text;
}

void setOutputOrder(JobSetting* setting, const char* options) {
  const char* order = ticketValue(options, "OutputOrder");
  if (order == nullptr) order = ppdAttribute(jobPpd(), "DefaultOutputOrder");
  setting->reverseOrder = order != nullptr && std::strcmp(order, "Reverse") == 0 ? 1 : 0;
}

void setCollation(JobSetting* setting, cups_page_header2_t* /*header*/, const char* options) {
  const char* collate = ticketValue(options, "Collate");
  const bool collated = collate != nullptr && std::strcmp(collate, "false") != 0;
  setting->collation = collated ? ON : OFF;
  if (collated) collatedFlag_Prototype = 1;
}

void setOrientation(JobSetting* setting, const char* options) {
  // The numbers of the IPP attribute; its 3 is portrait.
  constexpr std::int32_t FIRST = 4;
  constexpr std::array<Orientation, 3> ORIENTATIONS = {ORIENTATION_LANDSCAPE, ORIENTATION_REVERSE_LANDSCAPE,
                                                       ORIENTATION_REVERSE_PORTRAIT};
  const char* text = ticketValue(options, "orientation-requested");
  const std::int64_t index = (text == nullptr ? std::int64_t{0} : decimalInteger(text)) - FIRST;
  const bool known = index >= 0 && index < std::ssize(ORIENTATIONS);
  setting->orientation = known ? ORIENTATIONS[static_cast<std::size_t>(index)] : ORIENTATION_PORTRAIT;
}

void setMirror(JobSetting* setting, cups_page_header2_t* header, const char* options) {
  constexpr char OPTION[] = "CorvaneMirror";
  setting->mirror = static_cast<std::int32_t>(header->cupsRowStep);
  if (ppdDefaultChoice(OPTION) == nullptr) return;
  const Switch asked = readSwitch(ticketValue(options, OPTION));
  if (asked == Switch::NOT_GIVEN) return;
  // A raster that says MirrorPrint comes mirrored already.
  const bool byFilter = asked == Switch::SWITCHED_ON && rasterWord(header->MirrorPrint) == 0;
  setting->mirror = byFilter ? MIRROR_BY_FILTER : MIRROR_NOT_BY_FILTER;
}

}  // namespace kesto
