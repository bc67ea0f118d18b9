#include <cstring>
#include <vector>

#include "jobsettings/joboptions.h"
#include "jobsettings/optionvalues.h"

namespace kesto {
namespace {

using QualityOptions = test::JobOptions;

// Every expectation on a constant compares addresses: readers of the record rely on that, and this file sees the
// constants from another translation unit than the setters.
struct Case {
  const char* choice;
  const char* expected;
};

struct Family {
  const char* option;
  void (*set)(JobSetting*, const char*);
  const char* JobSetting::*field;
  const char* nowhere;
  std::vector<Case> cases;  // the last is a choice that nobody knows
};

// clang-format off
const Family FAMILIES[] = {
    {"Sharpen", setSharpen, &JobSetting::sharpen, INVALIDOPTION,
     {{"on", ON}, {"ON", ON}, {"oFF", OFF}, {"true", INVALIDOPTION}}},
    {"ColorPreferences", setColorPreference, &JobSetting::colorPreference, IMAGE,
     {{"Automatic", OBJECT}, {"Natural", IMAGE}, {"Vivid", GRAPHIC}, {"natural", OBJECT}}},
    {"TonerSave", setTonerSave, &JobSetting::tonersave, INVALIDOPTION,
     {{"On", ON}, {"true", ON}, {"Off", OFF}, {"false", OFF}, {"ON", OFF}}},
    {"improve", setImprovementSettings, &JobSetting::improvementSettings, INVALIDOPTION,
     {{"none", OFF}, {"reduceCurl", PAPERCURL}, {"tonerFix", TONERFIX}, {"wrinkleFix", CREASE},
      {"None", INVALIDOPTION}}},
    {"reduceGhost", setReduceGhosting, &JobSetting::ghosting, INVALIDOPTION,
     {{"On", ON}, {"Off", OFF}, {"false", OFF}, {"true", OFF}}},
    {"printDensity", setPrintDensity, &JobSetting::printDensity, INVALIDOPTION, {{"On", ON}, {"on", OFF}}},
    {"HalftoneLevel", setHalftone, &JobSetting::halftone, DITHER,
     {{"Dither", DITHER}, {"ErrorDiffusion", ERRORDIFFUSION}, {"dither", ERRORDIFFUSION}}},
    {"InkToUse", setInkToUse, &JobSetting::inkToUse, INVALIDOPTION,
     {{"ColorBlack", COMPOSITEBLACK}, {"BlackColor", COMPOSITEBLACK}, {"ColorOnly", COMPOSITEONLY},
      {"BlackOnly", BLACKONLY}, {"Automatic", AUTOMATIC}, {"blackonly", AUTOMATIC}}},
    {"ColorOutput", setColorOutput, &JobSetting::colorOutput, INVALIDOPTION,
     {{"Mono", COLOR_OUTPUT_MONO}, {"Color", COLOR_OUTPUT_COLOR}, {"GrayScale", COLOR_OUTPUT_GRAYSCALE},
      {"Black", COLOR_OUTPUT_BLACK}, {"Grayscale", nullptr}}},
};
// clang-format on

TEST_F(QualityOptions, TakesTheTicketsChoiceThenThePpdsThenTheFallBack) {
  setting.isColor = 1;
  for (const auto& [option, set, field, nowhere, cases] : FAMILIES) {
    set(&setting, "Unrelated=On");
    EXPECT_EQ(setting.*field, nowhere) << option;
    for (const auto& [choice, expected] : cases) {
      set(&setting, (std::string("a=1 ") + option + "=" + choice).c_str());
      EXPECT_EQ(setting.*field, expected) << option << "=" << choice;
    }
    usePpdDefault(option, cases.front().choice);
    set(&setting, "Unrelated=On");
    EXPECT_EQ(setting.*field, cases.front().expected) << option;
    set(&setting, (std::string(option) + "=" + cases.back().choice).c_str());
    EXPECT_EQ(setting.*field, cases.back().expected) << "the PPD does not stand in for an unknown choice: " << option;
    setPpdPath(nullptr);
  }
}

TEST_F(QualityOptions, ABlackJobAlwaysPrefersImages) {
  setting.isColor = 0;
  usePpdDefault("ColorPreferences", "Vivid");
  for (const char* ticket : {"", "ColorPreferences=Vivid", "ColorPreferences=Automatic", "ColorPreferences=x"}) {
    setColorPreference(&setting, ticket);
    EXPECT_EQ(setting.colorPreference, IMAGE) << ticket;
  }
}

TEST_F(QualityOptions, ReadsThresholdAsAnIntegerAndFallsBackToTheMiddle) {
  setThreshold(&setting, "");
  EXPECT_EQ(setting.threshold, 128);
  usePpdDefault("threshold", "77");
  setThreshold(&setting, "");
  EXPECT_EQ(setting.threshold, 77);
  setThreshold(&setting, "threshold=-3x");
  EXPECT_EQ(setting.threshold, -3);
  setThreshold(&setting, "threshold=dark");
  EXPECT_EQ(setting.threshold, 0);
  setThreshold(&setting, "threshold=99999999999999999999");  // whatever it gives, it is no undefined behaviour
}

TEST_F(QualityOptions, KeepsTheDryTimesOwnText) {
  setDuplexDryTime(&setting, "");
  EXPECT_EQ(setting.duplexDryTime, INVALIDOPTION);
  usePpdDefault("DupDryTime", "Long");
  setDuplexDryTime(&setting, "");
  EXPECT_STREQ(setting.duplexDryTime, "Long");
  setDuplexDryTime(&setting, "DupDryTime=12");
  EXPECT_STREQ(setting.duplexDryTime, "12");
}

TEST_F(QualityOptions, OutputOrderIsReversedByExactlyReverse) {
  const auto reversed = [this](const char* ticket) {
    setOutputOrder(&setting, ticket);
    return static_cast<int>(setting.reverseOrder);
  };
  EXPECT_EQ(reversed(""), 0);
  EXPECT_EQ(reversed("OutputOrder=Reverse"), 1);
  EXPECT_EQ(reversed("OutputOrder=reverse"), 0);
  usePpd("*DefaultOutputOrder: Reverse\n");
  EXPECT_EQ(reversed(""), 1);
  EXPECT_EQ(reversed("OutputOrder=Normal"), 0);
}

TEST_F(QualityOptions, CollatesForAnyTicketTextButFalse) {
  usePpdDefault("Collate", "True");
  for (const char* ticket : {"", "Collate=false", "noCollate"}) {
    setCollation(&setting, &header, ticket);
    EXPECT_EQ(setting.collation, OFF) << ticket;
    EXPECT_EQ(collatedFlag_Prototype, 0) << ticket;
  }
  for (const char* ticket : {"Collate=true", "collate", "Collate=False", "Collate=no", "Collate="}) {
    collatedFlag_Prototype = 0;
    setCollation(&setting, &header, ticket);
    EXPECT_EQ(setting.collation, ON) << ticket;
    EXPECT_EQ(collatedFlag_Prototype, 1) << ticket;
  }
  setCollation(&setting, &header, "");
  EXPECT_EQ(collatedFlag_Prototype, 1) << "nothing clears the flag";
}

TEST_F(QualityOptions, TranslatesTheRequestedOrientation) {
  const std::pair<const char*, int> cases[] = {{"", 0},
                                               {"orientation-requested=3", 0},
                                               {"orientation-requested=4", 1},
                                               {"orientation-requested=5", 3},
                                               {"orientation-requested=6", 2},
                                               {"orientation-requested=7", 0},
                                               {"orientation-requested=-2147483648", 0},
                                               {"orientation-requested=landscape", 0}};
  for (const auto& [ticket, expected] : cases) {
    setOrientation(&setting, ticket);
    EXPECT_EQ(setting.orientation, expected) << ticket;
  }
}

TEST_F(QualityOptions, MirrorsOnlyWithAPpdThatKnowsTheOption) {
  header.cupsRowStep = 9;
  const auto mirror = [this](const char* ticket, unsigned mirroredAlready) {
    std::memcpy(&header.MirrorPrint, &mirroredAlready, sizeof header.MirrorPrint);
    setMirror(&setting, &header, ticket);
    return setting.mirror;
  };
  EXPECT_EQ(mirror("CorvaneMirror=true", 0), 9);
  usePpdDefault("CorvaneMirror", "True");
  EXPECT_EQ(mirror("", 0), 9) << "the PPD's default choice does not count";
  EXPECT_EQ(mirror("CorvaneMirror=yes", 0), 9);
  for (const char* ticket : {"CorvaneMirror=true", "CorvaneMirror=True", "CorvaneMirror=on", "CorvaneMirror=On"}) {
    EXPECT_EQ(mirror(ticket, 0), 2) << ticket;
    EXPECT_EQ(mirror(ticket, 1), 1) << ticket;
    EXPECT_EQ(mirror(ticket, 7), 1) << ticket;
  }
  for (const char* ticket : {"CorvaneMirror=false", "CorvaneMirror=False", "CorvaneMirror=off", "CorvaneMirror=Off"}) {
    EXPECT_EQ(mirror(ticket, 0), 1) << ticket;
  }
}

}  // namespace
}  // namespace kesto
