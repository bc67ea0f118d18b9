#include "filter/pjl.h"

#include <algorithm>
#include <cstring>

#include "hdc/hdc.h"
#include "jobsettings/joboptions.h"
#include "jobsettings/optionvalues.h"

namespace kesto {
namespace {

/// A job whose bytes stay in the output channel, where the test reads them.
class Pjl : public test::JobOptions {
 public:
  Pjl() { hdcInitialize(1U << 20U, 1U << 19U); }
  ~Pjl() override { hdcDestroy(); }

 protected:
  static std::string written() {
    std::string bytes(cbufferGetAvailableBytes(&hdcContext.buffer), '\0');
    EXPECT_TRUE(cbufferReadBytes(&hdcContext.buffer, reinterpret_cast<std::uint8_t*>(bytes.data()),
                                 static_cast<std::uint32_t>(bytes.size())));
    return bytes;
  }

  /// The header of a job with this ticket, printed on 2026-11-16 at 20:38.
  std::string headerOf(const std::string& ticket, const char* fileType = "document", const char* title = "A title") {
    initializeJobSetting(&setting, &header, ticket.c_str());
    setting.fDateTime = 46342.859375F;
    writePJLHeader(setting, title, "user", fileType);
    return written();
  }

  void makeColourDuplex() {
    header.cupsColorSpace = CUPS_CSPACE_RGB;
    header.HWResolution[0] = header.HWResolution[1] = 600;
    header.Duplex = CUPS_TRUE;
    header.PageSize[0] = 612;
    std::strcpy(header.OutputType, "NORMAL");
  }
};

bool contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

TEST_F(Pjl, AColourDuplexJobWithOneOptionWritesTheseLines) {
  makeColourDuplex();
  EXPECT_EQ(headerOf("Sharpen=On", "document", "Quarterly \"report\" 100%d"),
            "\x1B%-12345X@PJL JOB\n"
            "@PJL SET STRINGCODESET=UTF8\n"
            "@PJL SET FDATETIME=46342.859375\n"
            "@PJL COMMENT KESTO Contone Raster Driver\n"
            "@PJL SET JOBNAME=\"Quarterly \"report\" 100%d\"\n"
            "@PJL LJOBINFO HOSTID=\"user\"\n"
            "@PJL SET LSHARPEN=ON\n"
            "@PJL SET LCOLORMODEL=CMYK\n"
            "@PJL SET LCTPREFERENCE=IMAGE\n"
            "@PJL SET LIMAGEBRIGHTNESS=0\n"
            "@PJL SET PRINTQUALITY=NORMAL\n"
            "@PJL SET DUPLEX=ON\n"
            "@PJL SET BINDING=LONGEDGE\n"
            "@PJL SET LCOLLATION=OFF\n"
            "@PJL SET RESOLUTION=600\n"
            "@PJL SET LPAGEMODE=NORMAL\n"
            "@PJL SET LIMAGECONTRAST=0\n"
            "@PJL SET LMULTIPAGEPRINT=OFF\n"
            "@PJL ENTER LANGUAGE=PCLXL\n");
}

TEST_F(Pjl, AJobWithoutOptionsWritesSeventeenLines) {
  const std::string text = headerOf("");
  EXPECT_EQ(std::ranges::count(text, '\n'), 17);
  EXPECT_TRUE(contains(text,
                       "@PJL LJOBINFO HOSTID=\"user\"\n"
                       "@PJL SET LCOLORMODEL=BLACK\n"
                       "@PJL SET LCTPREFERENCE=IMAGE\n"
                       "@PJL SET LIMAGEBRIGHTNESS=0\n"
                       "@PJL SET PRINTQUALITY=\n"
                       "@PJL SET DUPLEX=OFF\n"
                       "@PJL SET LCOLLATION=OFF\n"
                       "@PJL SET RESOLUTION=0\n"
                       "@PJL SET LPAGEMODE=EDGETOEDGE\n"))
      << text;
}

TEST_F(Pjl, LeavesOutADryTimeWhoseTextSaysInvalidOption) {
  EXPECT_FALSE(contains(headerOf("DupDryTime=INVALIDOPTION"), "LDRYTIMEDELAY"));
}

TEST_F(Pjl, OnlyAJobSheetGoesWithoutItsBinding) {
  makeColourDuplex();
  EXPECT_FALSE(contains(headerOf("", "job-sheet"), "BINDING"));
  EXPECT_TRUE(contains(headerOf("", "document"), "BINDING=LONGEDGE\n"));
  EXPECT_TRUE(contains(headerOf("", nullptr), "BINDING=LONGEDGE\n"));
  header.Tumble = CUPS_TRUE;
  EXPECT_TRUE(contains(headerOf("", ""), "BINDING=SHORTEDGE\n"));
}

TEST_F(Pjl, CutsALineTo2047Bytes) {
  const std::string longText(10000, 'x');
  const std::string text = headerOf("DupDryTime=" + longText, "document", longText.c_str());
  EXPECT_TRUE(contains(text, "\n@PJL SET JOBNAME=\"" + longText.substr(0, 2029) + "@PJL LJOBINFO HOSTID=\"user\"\n"));
  EXPECT_TRUE(contains(text, "\n@PJL SET LDRYTIMEDELAY=" + longText.substr(0, 2024) + "@PJL SET RESOLUTION=0\n"));

  const std::string justFits(2028, 'y');
  EXPECT_TRUE(contains(headerOf("", "document", justFits.c_str()), justFits + "\"@PJL LJOBINFO"));
}

TEST_F(Pjl, StopsAtTheEndOfAPrintQualityWithoutTerminator) {
  std::memset(header.OutputType, 'Q', sizeof header.OutputType);
  EXPECT_TRUE(contains(headerOf(""), "@PJL SET PRINTQUALITY=" + std::string(64, 'Q') + "\n@PJL SET DUPLEX=OFF\n"));
}

TEST_F(Pjl, EndsTheJobWithExactlyTheseBytes) {
  writePJLEndOfJob();
  const std::string bytes = written();
  EXPECT_EQ(bytes, "\x1B%-12345X@PJL EOJ\n@PJL LPORTROTATE\n\x1B%-12345X");
  EXPECT_EQ(bytes.size(), 44U);
}

}  // namespace
}  // namespace kesto
