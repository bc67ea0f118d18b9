// The job setting record against a table, and what its sources do with what no table holds.
#include <algorithm>
#include <array>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <map>
#include <sstream>

#include <gtest/gtest.h>

#include "jobsettings/jobdate.h"
#include "jobsettings/jobsettings.h"
#include "jobsettings/optionsource.h"
#include "jobsettings/optionvalues.h"
#include "support/process.h"
#include "support/raster.h"

namespace kesto {
namespace {

using Field = std::pair<std::string, std::string>;
using Fields = std::vector<Field>;

/// A text of the record: a constant by itself, because readers compare addresses, any other in quotes.
std::string show(const char* text) {
  if (text == nullptr) return "null";
  // clang-format off
  static const char* const CONSTANTS[] = {
      ON, OFF, INVALIDOPTION, LONGEDGE, SHORTEDGE, CMYK, BLACK, NORMAL, EDGETOEDGE, IMAGE, OBJECT, GRAPHIC, PAPERCURL,
      TONERFIX, CREASE, DITHER, ERRORDIFFUSION, COMPOSITEBLACK, COMPOSITEONLY, BLACKONLY, AUTOMATIC, COLOR_OUTPUT_MONO,
      COLOR_OUTPUT_COLOR, COLOR_OUTPUT_GRAYSCALE, COLOR_OUTPUT_BLACK};
  // clang-format on
  for (const char* constant : CONSTANTS) {
    if (text == constant) return text;
  }
  return '"' + std::string(text) + '"';
}

std::string showPaper(const JobSetting& setting) {
  const MediaSize& size = setting.mediaSize;
  std::ostringstream text;
  if (setting.mediaSizeType == MEDIA_SIZE_ENUMERATED) text << size.mediaSizeId;
  if (setting.mediaSizeType == MEDIA_SIZE_NAMED) text << '"' << size.mediaSizeName << '"';
  if (setting.mediaSizeType == MEDIA_SIZE_CUSTOM) {
    text << size.custom.customWidth << " x " << size.custom.customHeight << ", " << setting.customPixelWidth
         << " pixels, margin " << setting.customMargin;
  }
  return text.str();
}

Fields fieldsOf(const JobSetting& s) {
  const auto number = [](auto value) { return std::to_string(value); };
  // clang-format off
  return {{"paper", showPaper(s)}, {"pageMode", show(s.pageMode)}, {"duplex", show(s.duplex)},
          {"binding", show(s.binding)}, {"printQuality", show(s.printQuality)}, {"mediaType", show(s.mediaType)},
          {"mediaSource", number(s.mediaSource)}, {"resolution", number(s.resolution)},
          {"colorModel", show(s.colorModel)}, {"isColor", number(s.isColor)}, {"collation", show(s.collation)},
          {"copies", number(s.copies)}, {"dryTime", show(s.duplexDryTime)}, {"tonersave", show(s.tonersave)},
          {"halftone", show(s.halftone)}, {"sharpen", show(s.sharpen)}, {"colorPreference", show(s.colorPreference)},
          {"inkToUse", show(s.inkToUse)}, {"colorOutput", show(s.colorOutput)},
          {"improvement", show(s.improvementSettings)}, {"ghosting", show(s.ghosting)},
          {"printDensity", show(s.printDensity)}, {"mirror", number(s.mirror)}, {"threshold", number(s.threshold)},
          {"reverseOrder", number(s.reverseOrder)}, {"orientation", number(s.orientation)}};
  // clang-format on
}

/// "Option=Choice; *Keyword: value" as a PPD, each option with that one choice as its default.
std::string ppdOf(const std::string& description) {
  std::string text = "*PPD-Adobe: \"4.3\"\n";
  std::istringstream entries(description);
  for (std::string entry; std::getline(entries >> std::ws, entry, ';');) {
    const std::string option = entry.substr(0, entry.find('='));
    const std::string choice = entry.substr(entry.find('=') + 1);
    if (entry.starts_with('*')) {
      text.append(entry).append("\n");
    } else {
      text.append("*OpenUI *").append(option).append(": PickOne\n*Default").append(option).append(": ").append(choice);
      text.append("\n*")
          .append(option)
          .append(" ")
          .append(choice)
          .append(": \"\"\n*CloseUI: *")
          .append(option)
          .append("\n");
    }
  }
  return text;
}

class Settings : public testing::Test {
 public:
  ~Settings() override {
    releaseOptionSource();
    unsetenv("PPD");  // NOLINT(concurrency-mt-unsafe): one thread
  }

 protected:
  /// Makes a file of this text the job's PPD; an empty one for none.
  void usePpd(const std::string& text) {
    // NOLINTBEGIN(concurrency-mt-unsafe): one thread
    if (text.empty()) {
      unsetenv("PPD");
    } else {
      setenv("PPD", folder_.write("the.ppd", text).c_str(), 1);
    }
    // NOLINTEND(concurrency-mt-unsafe)
  }

  Fields resolve(const std::string& ticket, const std::string& ppd, const std::string& page) {
    usePpd(ppd.empty() ? "" : ppdOf(ppd));
    reopenPpd();
    cups_page_header2_t header = test::headerOf(test::parseRecipe("page " + page).at(0));
    JobSetting setting = {};
    collatedFlag_Prototype = 0;
    initializeJobSetting(&setting, &header, ticket.c_str());
    EXPECT_EQ(setting.collation, collatedFlag_Prototype != 0 ? ON : OFF);
    EXPECT_GT(setting.fDateTime, 46000.0F);
    EXPECT_TRUE(setting.mediaSizeType != MEDIA_SIZE_CUSTOM || header.HWResolution[1] != 0);
    return fieldsOf(setting);
  }

  /// The fields that differ from the usual ones, for "ticket | PPD | raster header"; at first all of them.
  std::string resolve(const std::string& choices) {
    std::array<std::string, 3> parts;
    std::istringstream stream(choices);
    for (std::string& part : parts) {
      std::getline(stream >> std::ws, part, '|');
      while (part.ends_with(' ')) part.pop_back();
    }
    const Fields fields = resolve(parts[0], parts[1], parts[2]);
    std::string shown;
    for (std::size_t i = 0; i < fields.size(); ++i) {
      if (usual_.empty() || fields[i] != usual_[i]) shown += ' ' + fields[i].first + '=' + fields[i].second;
    }
    if (usual_.empty()) usual_ = fields;
    return shown;
  }

  /// For "OPTION FIELD: CHOICE..." the field that each choice makes, in a ticket and as the PPD's default.
  std::string resolveEach(const std::string& line) {
    std::istringstream words(line);
    std::string option, field, shown;
    words >> option >> field;
    field.pop_back();
    const auto find = [&](const Fields& fields) { return std::ranges::find(fields, field, &Field::first)->second; };
    for (std::string choice; words >> choice;) {
      std::string setting = option;
      setting.append("=").append(choice);
      shown.append(" ").append(find(resolve(setting, "", ""))).append("/").append(find(resolve("", setting, "")));
    }
    return shown;
  }

 private:
  test::TemporaryFolder folder_;
  Fields usual_;
};

TEST_F(Settings, AreThoseOfTheTable) {
  constexpr std::string_view EACH = "each ";
  std::ifstream table(KESTO_SETTINGS_TABLE);
  int rows = 0;
  for (std::string line; std::getline(table, line);) {
    if (line.empty() || line.starts_with('#')) continue;
    ++rows;
    const std::string choices = line.substr(0, line.find(" =>"));
    const bool each = choices.starts_with(EACH);
    EXPECT_EQ(choices + " =>" + (each ? resolveEach(choices.substr(EACH.size())) : resolve(choices)), line);
  }
  EXPECT_GT(rows, 80);
}

TEST_F(Settings, KeepWhatWasGivenOutWhenOtherTicketsAndPpdsFollow) {
  usePpd(ppdOf("DupDryTime=5"));
  const char* fromPpd = resolveOption("", "DupDryTime");
  const char* fromTicket = ticketValue("DupDryTime=7", "DupDryTime");
  usePpd(ppdOf("DupDryTime=6"));
  reopenPpd();
  EXPECT_STREQ(resolveOption("a=b", "DupDryTime"), "6");
  EXPECT_STREQ(fromPpd, "5");
  EXPECT_STREQ(fromTicket, "7");
  EXPECT_EQ(ticketValue("DupDryTime=7", "DupDryTime"), fromTicket) << "the same ticket is parsed once";
  EXPECT_STREQ(ticketValueByPrefix("MEDIA=A5 mediasize=A6", "media"), "A6");
  releaseOptionSource();
  usePpd("");
  EXPECT_EQ(resolveOption("", "DupDryTime"), nullptr);
}

TEST(JobDate, CountsDaysAndFractionsInThirtyTwoBits) {
  const std::pair<std::time_t, float> dates[] = {
      {1794861480, 46342.859375F},                       // 2026-11-16 20:38:00
      {951782400, 36585.0F},                             // 2000-02-29
      {1709251199, 45352.0F},                            // 2024-02-29 23:59:59 rounds to the next day
      {4107542400, 73110.0F},                            // 2100-03-01, after a February of 28 days
      {-2203977600, 60.0F},                              // 1900-02-28
      {-2204064000, 58.0F},                              // 1900-02-27, ahead of the leap day that never was
      {std::numeric_limits<std::time_t>::max(), 0.0F}};  // no date
  for (const auto& [time, days] : dates) EXPECT_EQ(daysSince1899(time), days) << time;
}

}  // namespace
}  // namespace kesto
