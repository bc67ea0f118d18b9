#include "jobsettings/papersize.h"

#include <cmath>
#include <limits>

#include "jobsettings/joboptions.h"
#include "jobsettings/optionvalues.h"

namespace kesto {
namespace {

using test::toldPaper;

class PaperSize : public test::JobOptions {
 protected:
  void setCustomRaster(unsigned width, unsigned height, unsigned margin) {
    header.HWResolution[0] = header.HWResolution[1] = 600;
    header.cupsWidth = width;
    header.cupsHeight = height;
    header.Margins[0] = header.Margins[1] = margin;
  }
  std::string sizeOf(const char* ticket) {
    setPaperSize(&setting, &header, ticket);
    return toldPaper(setting);
  }
};

struct NameCase {
  const char* name;
  const char* inTicket;
  const char* inPpd;
};

// clang-format off
constexpr NameCase NAMES[] = {
    {"Letter", "0", "0"}, {"LetterSmall", "0", "0"}, {"letter", "0", "0"}, {"LegalFanfold", "1", "1"},
    {"Executive", "3", "3"}, {"Statement", "19", "19"}, {"StatementRotated", "0", "0"}, {"Folio", "17", "17"},
    {"Oficio", "OFICIO", "OFICIO"}, {"Card3x5", "INDEX CARD", "INDEX CARD"}, {"Custom.4x6in", "custom", "custom"},
    {"4x6", "4 x 6 in", "4 x 6 in"}, {"5x7", "5 x 7 in", "0"}, {"3x5", "3 x 5 in", "0"}, {"3.5x5", "3.5 x 5 in", "0"},
    {"10x15cm", "10 x 15 cm", "10 x 15 cm"}, {"4x8", "4 x 8 in", "4 x 8 in"}, {"10x20cm", "10 x 20 cm", "10 x 20 cm"},
    {"A4Small", "2", "2"}, {"A5", "16", "16"}, {"A6", "A6", "A6"}, {"PostcardHagaki", "14", "14"},
    {"DoublePostcardHagaki", "14", "14"}, {"Hagaki", "JPOST", "0"}, {"DoublePostcard", "JPOSTD", "15"},
    {"8x10in", "8 X 10 in", "0"}, {"2L-5x7in.Photo", "5 x 7 in", "2L"}, {"2L.Photo", "2L", "L"},
    {"L-312x5.Photo", "L", "L"}, {"L.Photo", "L", "L"}, {"312x5.Photo", "L", "L"},
    {"5x7.Photo", "5 x 7 in", "5 x 7 in"}, {"13x18cm", "13 x 18 cm", "13 x 18 cm"}, {"Envelope.279.540", "7", "7"},
    {"Env9", "255", "255"}, {"Env10", "6", "6"}, {"EnvC5", "8", "8"}, {"EnvDL", "9", "9"}, {"EnvDLRotated", "0", "0"},
    {"EnvISOB5", "B5 ENV", "B5 ENV"}, {"Envelope_jpn_C3", "CHOKEI 3", "0"}, {"Envelope_jpn_C4", "CHOKEI 4", "0"},
    {"Envelope_jpn_Y4", "YOUKEI 4", "0"}, {"B5ISO", "13", "13"}, {"B5ISO.Wide", "11", "13"}, {"JISB5", "11", "11"},
    {"EnvC6", "C6", "C6"}, {"Envelope.314.414", "A2 BARONIAL", "A2 BARONIAL"},
    {"Envelop.261.448", "PERSONAL", "PERSONAL"}, {"EnvChou3", "CHOKEI 3", "CHOKEI 3"},
    {"EnvChou4", "CHOKEI 4", "CHOKEI 4"}, {"Envelope.255.638", "CHOKEI 40", "CHOKEI 40"},
    {"EnvKaku3", "KAKU 3", "KAKU 3"}, {"Envelope.558.757", "KAKU 4", "KAKU 4"},
    {"Envelope.538.680", "KAKU 5", "KAKU 5"}, {"Envelope.459.649", "KAKU 6", "KAKU 6"},
    {"OthEnv", "OTHER ENVELOPE", "OTHER ENVELOPE"}, {"B6ISO", "B6", "B6"}, {"JISB6", "18", "18"},
};
// clang-format on

TEST_F(PaperSize, KnowsEveryNameInTheTicketsOrderAndInThePpds) {
  for (const NameCase& each : NAMES) {
    EXPECT_EQ(sizeOf((std::string("PageSize=") + each.name).c_str()), each.inTicket) << each.name;
    setting.mediaSizeType = 0;
    checkMediaSize(&setting, &header, each.name);
    EXPECT_EQ(toldPaper(setting), each.inPpd) << each.name;
  }
}

TEST_F(PaperSize, AsksTheTicketThenThePpdsDefaultThenTakesLetter) {
  EXPECT_EQ(sizeOf("PageSize=Unheard"), "0");
  usePpdDefault("PageSize", "DoublePostcard");
  EXPECT_EQ(sizeOf(""), "15");
  EXPECT_EQ(sizeOf("PageSize=Unheard"), "15");
  EXPECT_EQ(sizeOf("PageSize="), "15");
  EXPECT_EQ(sizeOf("PageSize=Letter"), "0");
  EXPECT_EQ(sizeOf("media=A4 PageSize=Legal"), "1");
  EXPECT_EQ(sizeOf("media=A4"), "2");
  const std::string absurd(10000, 'A');
  EXPECT_EQ(sizeOf(("PageSize=" + absurd).c_str()), "15");
  EXPECT_EQ(sizeOf(("PageSize=" + absurd + "A4").c_str()), "2");
  usePpdDefault("PageSize", "No_Such_Size_0123456789_0123456789_0123456789_0123456789");
  EXPECT_EQ(sizeOf(""), "0");
}

TEST_F(PaperSize, PrintsToTheEdgesWhenTheNameOrTheUnaskedRasterSaysSo) {
  const auto pageMode = [this](const char* ticket) {
    setPaperSize(&setting, &header, ticket);
    return setting.pageMode;
  };
  header.PageSize[0] = 595;
  header.PageSize[1] = 842;
  EXPECT_EQ(pageMode(""), NORMAL);
  EXPECT_EQ(pageMode("PageSize=A4.FullBleed"), EDGETOEDGE);
  EXPECT_EQ(toldPaper(setting), "2");
  EXPECT_EQ(pageMode("PageSize=Unheard.FullBleed"), EDGETOEDGE);

  header.ImagingBoundingBox[2] = 595;
  header.ImagingBoundingBox[3] = 842;
  EXPECT_EQ(pageMode(""), EDGETOEDGE);
  EXPECT_EQ(pageMode("PageSize=A4"), NORMAL) << "a size that was asked for goes by its name";

  header.ImagingBoundingBox[0] = 1;
  usePpdDefault("PageSize", "A5.FullBleed");
  EXPECT_EQ(pageMode(""), NORMAL) << "the name of an unasked default does not count";
  EXPECT_EQ(pageMode("PageSize=Unheard"), EDGETOEDGE);
  EXPECT_EQ(pageMode("PageSize=Unheard.FullBleed"), EDGETOEDGE);
  usePpdDefault("PageSize", "A5");
  EXPECT_EQ(pageMode("PageSize=Unheard.FullBleed"), NORMAL) << "the default replaced the name";
}

TEST_F(PaperSize, ComputesCustomSizesFromTheRaster) {
  struct Case {
    unsigned width, height, margin;
    float inchesWide, inchesHigh;
    int pixels;
  };
  for (const Case& each : {Case{4800, 6600, 12, 8.33F, 11.35F, 4800}, Case{5100, 6600, 0, 8.5F, 11.01F, 5104},
                           Case{3000, 4000, 18, 5.51F, 7.17F, 3008}}) {
    setCustomRaster(each.width, each.height, each.margin);
    EXPECT_EQ(sizeOf("PageSize=Custom.1x1"), "custom");
    EXPECT_EQ(setting.mediaSize.custom.customWidth, each.inchesWide);
    EXPECT_EQ(setting.mediaSize.custom.customHeight, each.inchesHigh);
    EXPECT_EQ(setting.customPixelWidth, each.pixels);
    EXPECT_EQ(setting.customMargin, static_cast<int>(each.margin));
  }
}

TEST_F(PaperSize, LimitsACustomSizeToThePpdsMaximaAndItsPixelsWithIt) {
  usePpd("*MaxMediaWidth: \"360\"\n*MaxMediaHeight: \"396\"\n");
  setCustomRaster(4800, 6600, 36);
  EXPECT_EQ(sizeOf("media=Custom.8x11in"), "custom");
  EXPECT_EQ(setting.mediaSize.custom.customWidth, 5.0F);
  EXPECT_EQ(setting.mediaSize.custom.customHeight, 5.5F);
  EXPECT_EQ(setting.customPixelWidth, 2400);  // 5 inches less 300 pixels on either side
}

TEST_F(PaperSize, ACustomDefaultTakes600DotsPerInchWhereTheHeaderHasNone) {
  usePpdDefault("PageSize", "Custom.200x300");
  setCustomRaster(3000, 4000, 18);
  header.HWResolution[0] = 0;
  EXPECT_EQ(sizeOf(""), "custom");
  EXPECT_EQ(header.HWResolution[0], 600U);
  EXPECT_EQ(setting.mediaSize.custom.customWidth, 5.51F);
  EXPECT_EQ(setting.customPixelWidth, 3008);
}

TEST_F(PaperSize, RoundsInchesByTheFloatsExactValue) {
  EXPECT_EQ(decideCustomPageWidth(16, 0, 7200, 128), 0.12F);  // 0.125 is a tie: to the even digit
  EXPECT_EQ(decideCustomPageWidth(48, 0, 7200, 128), 0.38F);  // 0.375
  EXPECT_EQ(decideCustomPageWidth(608, 0, 7200, 600), 1.01F);
  EXPECT_EQ(decideCustomPageWidth(1, 0, 7200, 16), 1.0F);  // one pixel counts as sixteen
}

TEST_F(PaperSize, HoldsOutAgainstAbsurdNumbers) {
  constexpr auto MOST = std::numeric_limits<std::uint32_t>::max();
  EXPECT_EQ(decideCustomPageWidth(MOST, 0, 612, 600), 8.5F) << "rounding up must not wrap to an empty raster";
  EXPECT_EQ(decideCustomPageWidth(MOST, MOST, 612, 1), 8.5F);
  EXPECT_EQ(decideCustomPageWidth(4800, 12, 612, 0), 8.5F);
  EXPECT_EQ(decideCustomPageWidth(0, 0, 612, MOST), 0.0F);
  EXPECT_EQ(decideCustomPageWidth(4800, 12, 0, 600), 0.0F);

  EXPECT_EQ(decideCustomPixelWidth(0, 600, NAN), 0U);
  EXPECT_EQ(decideCustomPixelWidth(0, 600, INFINITY), 2147483632U);
  EXPECT_EQ(decideCustomPixelWidth(MOST, MOST, 1.0F), 0x80000010U);
  EXPECT_EQ(decideCustomPixelWidth(0, 0, 8.5F), 0U);
  EXPECT_EQ(decideCustomPixelWidth(72, 600, 1.0F), static_cast<std::uint32_t>(-576)) << "rounding is toward zero";
}

TEST_F(PaperSize, TakesAbsurdMaximaFromThePpd) {
  struct Case {
    const char* maximum;
    float inchesWide;
    int pixels;
  };
  for (const Case& each :
       {Case{"0", 0.0F, -176}, Case{"wide", 0.0F, -176}, Case{"-1", 8.33F, 4800}, Case{"999999999", 8.33F, 4800}}) {
    usePpd(std::string("*MaxMediaWidth: \"") + each.maximum + "\"\n");
    setCustomRaster(4800, 6600, 12);
    EXPECT_EQ(sizeOf("PageSize=Custom"), "custom");
    EXPECT_EQ(setting.mediaSize.custom.customWidth, each.inchesWide) << each.maximum;
    EXPECT_EQ(setting.customPixelWidth, each.pixels) << each.maximum;
  }
}

}  // namespace
}  // namespace kesto
