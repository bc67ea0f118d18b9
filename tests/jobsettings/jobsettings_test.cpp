#include "jobsettings/jobsettings.h"

#include <cstring>

#include "jobsettings/joboptions.h"
#include "jobsettings/optionvalues.h"

namespace kesto {
namespace {

using JobSettings = test::JobOptions;

TEST_F(JobSettings, AnEmptyTicketWithoutPpdGivesTheFallBacks) {
  header.cupsRowStep = 5;
  std::memset(&setting, 0xA5, sizeof setting);
  initializeJobSetting(&setting, &header, "");

  for (const char* unset :
       {setting.tonersave, setting.sharpen, setting.ghosting, setting.printDensity, setting.improvementSettings,
        setting.inkToUse, setting.duplexDryTime, setting.colorOutput}) {
    EXPECT_EQ(unset, INVALIDOPTION);
  }
  EXPECT_EQ(setting.halftone, DITHER);
  EXPECT_EQ(setting.colorPreference, IMAGE);
  EXPECT_EQ(setting.collation, OFF);
  EXPECT_EQ(setting.copies, 1);
  EXPECT_EQ(setting.threshold, 128);
  EXPECT_EQ(setting.reverseOrder, 0);
  EXPECT_EQ(setting.orientation, 0);
  EXPECT_EQ(setting.mediaSizeType, 1);
  EXPECT_EQ(setting.mediaSize.mediaSizeId, 0U);
  EXPECT_EQ(setting.mirror, 5);
  EXPECT_EQ(collatedFlag_Prototype, 0);
  EXPECT_GT(setting.fDateTime, 46000.0F);
}

TEST_F(JobSettings, CopiesWhatTheRasterHeaderTells) {
  std::strcpy(header.OutputType, "DRAFT");
  std::strcpy(header.MediaType, "Plain");
  header.HWResolution[0] = 1200;
  header.HWResolution[1] = 300;
  header.MediaPosition = 3;
  initializeJobSetting(&setting, &header, "");
  EXPECT_EQ(setting.printQuality, header.OutputType) << "a later page's header shows through";
  EXPECT_EQ(setting.mediaType, header.MediaType);
  EXPECT_EQ(setting.resolution, 1200U);
  EXPECT_EQ(setting.mediaSource, 3U);
}

TEST_F(JobSettings, OnlyAnExactOneIsTwoSidedOrTumbled) {
  struct Case {
    unsigned duplex;
    unsigned tumble;
    const char* expectedDuplex;
    const char* expectedBinding;
  };
  for (const Case& each : {Case{1, 1, ON, SHORTEDGE}, Case{1, 0, ON, LONGEDGE}, Case{1, 2, ON, LONGEDGE},
                           Case{0, 1, OFF, LONGEDGE}, Case{2, 1, OFF, LONGEDGE}, Case{~0U, 1, OFF, LONGEDGE}}) {
    // A raster stream may hold any number here.
    std::memcpy(&header.Duplex, &each.duplex, sizeof header.Duplex);
    std::memcpy(&header.Tumble, &each.tumble, sizeof header.Tumble);
    setDuplex(&setting, &header);
    EXPECT_EQ(setting.duplex, each.expectedDuplex) << each.duplex << " " << each.tumble;
    EXPECT_EQ(setting.binding, each.expectedBinding) << each.duplex << " " << each.tumble;
  }
}

TEST_F(JobSettings, TheColourModelIsKnownBeforeTheColourPreference) {
  setting.isColor = 1;
  header.cupsColorSpace = CUPS_CSPACE_W;
  initializeJobSetting(&setting, &header, "ColorPreferences=Vivid");
  EXPECT_EQ(setting.colorModel, BLACK);
  EXPECT_EQ(setting.isColor, 0);
  EXPECT_EQ(setting.colorPreference, IMAGE);

  const unsigned unheard = 4000000000U;
  std::memcpy(&header.cupsColorSpace, &unheard, sizeof header.cupsColorSpace);
  initializeJobSetting(&setting, &header, "ColorPreferences=Vivid");
  EXPECT_EQ(setting.colorModel, CMYK);
  EXPECT_EQ(setting.isColor, 1);
  EXPECT_EQ(setting.colorPreference, GRAPHIC);
}

TEST_F(JobSettings, TheRecordKeepsAZeroResolutionThatACustomSizeReplacesInTheHeader) {
  header.cupsWidth = 4800;
  header.cupsHeight = 6600;
  initializeJobSetting(&setting, &header, "media=Custom.200x300mm");
  EXPECT_EQ(header.HWResolution[0], 600U);
  EXPECT_EQ(header.HWResolution[1], 600U);
  EXPECT_EQ(setting.resolution, 0U);
}

}  // namespace
}  // namespace kesto
