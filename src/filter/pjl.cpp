#include "filter/pjl.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

#include "hdc/hdc.h"
#include "jobsettings/optionvalues.h"

namespace kesto {
namespace {

constexpr char DRIVER_NAME[] = "KESTO Contone Raster Driver";

/// Formats lines into one buffer and sends each to the output channel.
class PjlLines {
 public:
  /// Writes one line, cut to the buffer less its NUL.
  [[gnu::format(printf, 2, 3)]] void write(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    const int formatted = std::vsnprintf(line_.data(), line_.size(), format, arguments);
    va_end(arguments);
    const auto length = static_cast<std::uint32_t>(std::clamp(formatted, 0, static_cast<int>(line_.size()) - 1));
    // The channel blocks until the bytes fit, and a line always fits eventually.
    static_cast<void>(hdcWrite(reinterpret_cast<const std::uint8_t*>(line_.data()), length));
  }

 private:
  std::array<char, 2048> line_{};
};

bool isSet(const char* value) {
  return std::strcmp(value, INVALIDOPTION) != 0;
}

/// The print quality with a terminator: in the raster header it may fill all 64 bytes.
std::string printQualityText(const JobSetting& setting) {
  constexpr std::size_t FIELD = sizeof(cups_page_header2_t::OutputType);
  return {setting.printQuality, strnlen(setting.printQuality, FIELD)};
}

}  // namespace

bool isJobSheet(const char* fileType) {
  return fileType != nullptr && std::strcmp(fileType, "job-sheet") == 0;
}

void writePJLHeader(const JobSetting& setting, const char* title, const char* user, const char* fileType) {
  PjlLines lines;
  lines.write(PJL_START_JOB);
  lines.write(PJL_STRINGCODESET);
  lines.write(PJL_FDATETIME, static_cast<double>(setting.fDateTime));
  lines.write(PJL_CMD_COMMENT_DRIVERNAME, DRIVER_NAME);
  lines.write(PJL_CMD_JOBNAME, title);
  lines.write(PJL_CMD_HOSTID, user);
  if (isSet(setting.sharpen)) lines.write(PJL_CMD_SET_SHARPEN, setting.sharpen);
  lines.write(PJL_CMD_SET_COLOR_MODEL, setting.colorModel);
  if (isSet(setting.tonersave)) lines.write(PJL_CMD_SET_TONER_SAVE, setting.tonersave);
  if (isSet(setting.improvementSettings)) lines.write(PJL_CMD_SET_IMPROVE_SETTINGS, setting.improvementSettings);
  if (isSet(setting.ghosting)) lines.write(PJL_CMD_SET_REDUCE_GHOSTING, setting.ghosting);
  if (isSet(setting.printDensity)) lines.write(PJL_CMD_SET_IMPROVE_DENSITY, setting.printDensity);
  lines.write(PJL_CMD_SET_COLORTABLE_PREFERENCE, setting.colorPreference);
  if (isSet(setting.inkToUse)) lines.write(PJL_CMD_SET_INK_SET, setting.inkToUse);
  lines.write(PJL_CMD_SET_BRIGHTNESS, 0);
  lines.write(PJL_CMD_SET_PRINT_QUALITY, printQualityText(setting).c_str());
  lines.write(PJL_CMD_SET_DUPLEX, setting.duplex);
  if (std::strcmp(setting.duplex, ON) == 0 && !isJobSheet(fileType)) lines.write(PJL_CMD_SET_BINDING, setting.binding);
  lines.write(PJL_CMD_SET_COLLATION, setting.collation);
  if (isSet(setting.duplexDryTime)) lines.write(PJL_CMD_SET_DUPLEXDRYTIME, setting.duplexDryTime);
  lines.write(PJL_CMD_SET_RESOLUTION, static_cast<int>(setting.resolution));
  lines.write(PJL_CMD_SET_BORDERLESS, setting.pageMode);
  lines.write(PJL_CMD_SET_CONTRAST, 0);
  lines.write(PJL_MULTIPAGEPRINT);
  lines.write(PJL_ENTER_XL);
}

void writePJLEndOfJob() {
  PjlLines{}.write(PJL_END_JOB);
}

}  // namespace kesto
