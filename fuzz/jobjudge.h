// A job in memory, and whether the job reader has to find it good.
#pragma once

#include <cstring>
#include <string_view>

#include "hdc/hdc.h"
#include "input.h"
#include "jobsettings/jobsettings.h"
#include "kestojob/reader/text.h"
#include "require.h"

namespace kesto::fuzz {

/// The output channel without its print thread: the job stays in the ring. It must fit.
class JobInMemory {
 public:
  JobInMemory() { hdcInitialize(CAPACITY, CAPACITY); }
  JobInMemory(const JobInMemory&) = delete;
  JobInMemory& operator=(const JobInMemory&) = delete;
  ~JobInMemory() { hdcDestroy(); }

  [[nodiscard]] Bytes take() const {
    Bytes job(cbufferGetAvailableBytes(&hdcContext.buffer));
    require(cbufferReadBytes(&hdcContext.buffer, job.data(), static_cast<std::uint32_t>(job.size())));
    return job;
  }

 private:
  static constexpr std::uint32_t CAPACITY = 1U << 20;
};

inline bool hasControlCharacter(std::string_view text) {
  return std::ranges::any_of(text, job::isControl);
}

/// False for settings that cannot make a good job with pages, whatever the filter does: texts that the raster or the
/// ticket brings go out as they are, a resolution of 0 is none, and the job reader knows no sheet of 1000 inches.
inline bool canBeGood(const JobSetting& setting) {
  const bool texts = !hasControlCharacter(setting.duplexDryTime) && !hasControlCharacter(setting.mediaType) &&
                     !hasControlCharacter({setting.printQuality, strnlen(setting.printQuality, 64)});
  const CustomMediaSize& sheet = setting.mediaSize.custom;
  const bool huge =
      setting.mediaSizeType == MEDIA_SIZE_CUSTOM && (sheet.customWidth > 1000 || sheet.customHeight > 1000);
  return texts && !huge && setting.resolution % 0x10000 != 0;
}

/// True for a paper size with which the page loop begins no page. `rasterWidth` is in pixels.
inline bool isRefused(const JobSetting& setting, std::uint32_t rasterWidth) {
  const bool custom = setting.mediaSizeType == MEDIA_SIZE_CUSTOM;
  const auto width = custom ? static_cast<std::uint32_t>(setting.customPixelWidth) : rasterWidth;
  return width == 0 || width > 65520 || (custom && setting.mediaSize.custom.customHeight == 0);
}

}  // namespace kesto::fuzz
