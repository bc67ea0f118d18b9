#include "jobsettings/jobdate.h"

#include <cstdint>

#include "jobsettings/jobsettings.h"

namespace kesto {
namespace {

/// The Julian day number of a Gregorian date, month 1 to 12 (Fliegel and Van Flandern, CACM 11, 1968). The formula
/// needs division that truncates toward zero. 64 bits hold every year that a broken-down time can.
std::int64_t julianDay(std::int64_t year, std::int64_t month, std::int64_t day) {
  const std::int64_t shift = (month - 14) / 12;  // -1 in January and February: years begin in March here
  return (1461 * (year + 4800 + shift)) / 4 + (367 * (month - 2 - 12 * shift)) / 12 -
         (3 * ((year + 4900 + shift) / 100)) / 4 + day - 32075;
}

}  // namespace

float daysSince1899(std::time_t time) {
  constexpr std::int64_t DAY_ZERO = 2415019;  // 1899-12-30
  constexpr std::int64_t LAST_BEFORE_LEAP_DAY = 59;
  std::tm utc{};
  if (gmtime_r(&time, &utc) == nullptr) return 0;
  std::int64_t days = julianDay(std::int64_t{utc.tm_year} + 1900, utc.tm_mon + 1, utc.tm_mday) - DAY_ZERO;
  if (days <= LAST_BEFORE_LEAP_DAY) --days;
  const int seconds = utc.tm_hour * 3600 + utc.tm_min * 60 + utc.tm_sec;
  return static_cast<float>(days) + static_cast<float>(seconds) / 86400.0F;
}

void setFDateTime(JobSetting* setting, const char* /*options*/) {
  setting->fDateTime = daysSince1899(std::time(nullptr));
}

}  // namespace kesto
