#include "jobsettings/jobsettings.h"

#include "jobsettings/optionsource.h"
#include "jobsettings/optionvalues.h"
#include "jobsettings/rasterword.h"

namespace kesto {

constinit JobSetting* jobsetting = nullptr;
constinit std::uint8_t collatedFlag_Prototype = 0;

void initializeJobSetting(JobSetting* setting, cups_page_header2_t* header, const char* options) {
  reopenPpd();
  setPrintQuality(setting, header);
  setResolution(setting, header);  // before setPaperSize, which may replace a zero resolution in the header
  setCollation(setting, header, options);
  setDuplex(setting, header);
  setPaperSize(setting, header, options);
  setOutputOrder(setting, options);
  setOrientation(setting, options);
  setMediaType(setting, header);
  setCopies(setting, header);
  setDuplexDryTime(setting, options);
  setMediaSource(setting, header);
  setColorModel(setting, header);
  setColorPreference(setting, options);  // after setColorModel, on whose isColor it depends
  setTonerSave(setting, options);
  setHalftone(setting, options);
  setThreshold(setting, options);
  setReduceGhosting(setting, options);
  setPrintDensity(setting, options);
  setImprovementSettings(setting, options);
  setInkToUse(setting, options);
  setMirror(setting, header, options);
  setSharpen(setting, options);
  setColorOutput(setting, options);
  setFDateTime(setting, options);
}

void setPrintQuality(JobSetting* setting, cups_page_header2_t* header) {
  setting->printQuality = header->OutputType;
}

void setResolution(JobSetting* setting, cups_page_header2_t* header) {
  setting->resolution = header->HWResolution[0];
}

void setDuplex(JobSetting* setting, cups_page_header2_t* header) {
  // Only 1 counts: any other number means one-sided, or a sheet that turns on its long edge.
  const bool twoSided = rasterWord(header->Duplex) == CUPS_TRUE;
  const bool tumbled = rasterWord(header->Tumble) == CUPS_TRUE;
  setting->duplex = twoSided ? ON : OFF;
  setting->binding = twoSided && tumbled ? SHORTEDGE : LONGEDGE;
}

void setMediaType(JobSetting* setting, cups_page_header2_t* header) {
  setting->mediaType = header->MediaType;
}

void setCopies(JobSetting* setting, cups_page_header2_t* /*header*/) {
  setting->copies = 1;
}

void setMediaSource(JobSetting* setting, cups_page_header2_t* header) {
  setting->mediaSource = header->MediaPosition;
}

void setColorModel(JobSetting* setting, cups_page_header2_t* header) {
  const bool color = rasterWord(header->cupsColorSpace) != CUPS_CSPACE_W;
  setting->colorModel = color ? CMYK : BLACK;
  setting->isColor = color ? 1 : 0;
}

}  // namespace kesto
