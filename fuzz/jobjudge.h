// A job in memory, and whether the job reader has to find it good.
#pragma once

#include <cstring>
#include <string_view>

#include "hdc/hdc.h"
#include "input.h"
#include "jobsettings/jobsettings.h"
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
  return std::ranges::any_of(text, [](char c) { return (c >= 0 && c < ' ') || c == '\x7F'; });
}

/// False for settings that cannot make a good job with pages, whatever the filter does: texts that the raster or the
/// ticket brings go out as they are, and a resolution of 0 is none.
inline bool canBeGood(const JobSetting& setting) {
  const bool texts = !hasControlCharacter(setting.duplexDryTime) && !hasControlCharacter(setting.mediaType) &&
                     !hasControlCharacter({setting.printQuality, strnlen(setting.printQuality, 64)});
  return texts && setting.resolution % 0x10000 != 0;
}

}  // namespace kesto::fuzz
