#include "filter/jobframe.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include "filter/util.h"
#include "hdc/hdc.h"
#include "jobsettings/jobsettings.h"
#include "jobsettings/optionvalues.h"
#include "pclxl/pclxl.h"
#include "pclxl/xlnames.h"

namespace kesto {
namespace {

using namespace xl;

constexpr std::uint8_t PAGE_ATTRIBUTE_0xEF = 80;

/// The distance of a bordered page's origin from the sheet's corner, in units of the session.
constexpr std::int16_t DRAFT_ORIGIN = 50;
constexpr std::int16_t BORDERED_ORIGIN = 100;

void writeText(std::uint8_t attribute, std::string_view text) {
  std::array<std::uint8_t, 64> bytes = {};  // the longest text of a page start fills 63 of them
  const std::size_t length = std::min(text.size(), bytes.size());
  std::memcpy(bytes.data(), text.data(), length);
  outputXLAttrByteArray(hdcWrite, attribute, bytes.data(), static_cast<std::uint16_t>(length));
}

void writeReals(std::uint8_t attribute, float x, float y) {
  const float encodedX = swapFloat(x);
  const float encodedY = swapFloat(y);
  outputXLAttrReal32XY(hdcWrite, attribute, &encodedX, &encodedY);
}

void writeMediaSize(const JobSetting& setting) {
  const MediaSize& size = setting.mediaSize;
  switch (setting.mediaSizeType) {
    case MEDIA_SIZE_ENUMERATED:
      outputXLAttrByte(hdcWrite, attr::MediaSize, static_cast<std::uint8_t>(size.mediaSizeId));
      break;
    case MEDIA_SIZE_NAMED:
      writeText(attr::MediaSize, size.mediaSizeName);
      break;
    default:
      writeReals(attr::CustomMediaSize, size.custom.customWidth, size.custom.customHeight);
      outputXLAttrByte(hdcWrite, attr::CustomMediaSizeUnits, eInch);
  }
}

void writeMedia(const JobSetting& setting) {
  outputXLAttrByte(hdcWrite, attr::Orientation, ePortraitOrientation);
  outputXLAttrByte(hdcWrite, attr::MediaSource, static_cast<std::uint8_t>(setting.mediaSource));
  writeMediaSize(setting);
  const std::string_view mediaType = setting.mediaType;
  if (mediaType != "Automatic") writeText(attr::MediaType, mediaType);
  outputXLAttrUInt16(hdcWrite, attr::attribute0xEC, static_cast<std::uint16_t>(setting.copies));
}

/// Begins the page, and sets its origin to where the raster's first pixel belongs.
void writeBorderAndOrigin(const JobSetting& setting) {
  const bool normal = std::string_view(setting.pageMode).find(NORMAL) != std::string_view::npos;
  const bool customWithoutMargin = setting.mediaSizeType == MEDIA_SIZE_CUSTOM && setting.customMargin == 0;
  const bool bordered = normal && !customWithoutMargin;
  std::int16_t origin = 0;
  if (bordered) origin = std::string_view(setting.printQuality) == "DRAFT" ? DRAFT_ORIGIN : BORDERED_ORIGIN;

  outputXLAttrByte(hdcWrite, attr::BorderType, bordered ? eWithBorder : eNoBorder);
  outputOperator(hdcWrite, op::BeginPage);
  outputXLAttrSInt16XY(hdcWrite, attr::PageOrigin, origin, origin);
  outputOperator(hdcWrite, op::SetPageOrigin);
}

void writeColorSpace(const JobSetting& setting) {
  const char* output = setting.colorOutput;
  if (output == COLOR_OUTPUT_COLOR) {
    outputXLAttrByte(hdcWrite, attr::ColorSpace, eRGB);
  } else if (output == COLOR_OUTPUT_MONO) {
    outputXLAttrByte(hdcWrite, attr::ColorSpace, eGray);
  } else if (output == COLOR_OUTPUT_BLACK) {
    outputXLAttrByte(hdcWrite, attr::ColorSpace, eBlackAndWhite);
    outputXLAttrByte(hdcWrite, attr::attribute0xEB, static_cast<std::uint8_t>(setting.threshold));
  } else if (output == COLOR_OUTPUT_GRAYSCALE) {
    outputXLAttrByte(hdcWrite, attr::ColorSpace, eGray);
    outputXLAttrByte(hdcWrite, attr::attribute0xEA, 0);
  }
  outputOperator(hdcWrite, op::SetColorSpace);
}

}  // namespace

void startSession(std::uint32_t resolution) {
  hdcWrite(XL_STREAM_HEADER.data(), XL_STREAM_HEADER.size());
  const auto units = static_cast<std::uint16_t>(resolution);
  outputXLAttrUInt16XY(hdcWrite, attr::UnitsPerMeasure, units, units);
  outputXLAttrByte(hdcWrite, attr::Measure, eInch);
  outputXLAttrByte(hdcWrite, attr::ErrorReport, eBackChAndErrPage);
  outputOperator(hdcWrite, op::BeginSession);
  outputXLAttrByte(hdcWrite, attr::SourceType, eDefaultDataSource);
  outputXLAttrByte(hdcWrite, attr::DataOrg, eBinaryLowByteFirst);
  outputOperator(hdcWrite, op::OpenDataSource);
  hdcWrite(XL_COMMENT.data(), XL_COMMENT.size());
}

void endSession() {
  outputOperator(hdcWrite, op::CloseDataSource);
  outputOperator(hdcWrite, op::EndSession);
}

void start_page() {
  const JobSetting& setting = *jobsetting;
  writeMedia(setting);
  writeBorderAndOrigin(setting);
  writeReals(attr::PageScale, 1.0f, 1.0f);
  outputOperator(hdcWrite, op::SetPageScale);
  writeColorSpace(setting);
  outputXLAttrByte(hdcWrite, attr::attribute0xEF, PAGE_ATTRIBUTE_0xEF);
  outputXLAttrByte(hdcWrite, attr::attribute0xEE, setting.isColor != 0 ? 1 : 0);
  outputOperator(hdcWrite, op::operator0x40);
  outputXLAttrByte(hdcWrite, attr::ROP3, eSourceCopy);
  outputOperator(hdcWrite, op::SetROP);
}

void end_page() {
  outputXLAttrUInt16(hdcWrite, attr::PageCopies, 1);
  outputOperator(hdcWrite, op::EndPage);
}

}  // namespace kesto
