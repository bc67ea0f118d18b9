#include "kestojob/reader/jobwords.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <ctime>

#include "jobsettings/pjlnames.h"
#include "kestojob/reader/media.h"
#include "kestojob/reader/pjlformat.h"
#include "kestojob/reader/text.h"
#include "pclxl/xlnames.h"

namespace kesto::job {
namespace {

using namespace xl;

constexpr std::string_view ANY = "*";

struct Row {
  std::string_view label;
  std::string_view format;
  std::string_view value;  ///< ANY: whatever it is
  std::string_view words;  ///< with '*' where the value belongs; empty: nothing is said
};

/// The first row that fits counts. A value that no row has is shown as it is.
constexpr auto WORDS = std::to_array<Row>({
    {label::TITLE, PJL_CMD_JOBNAME, ANY, "*"},
    {label::USER, PJL_CMD_HOSTID, ANY, "*"},
    {label::DATE, PJL_FDATETIME, ANY, "*"},
    {label::SIDES, PJL_CMD_SET_DUPLEX, "OFF", "one-sided"},
    {label::SIDES, PJL_CMD_SET_DUPLEX, "ON", "two-sided"},
    {label::SIDES, PJL_CMD_SET_BINDING, "LONGEDGE", "along the long edge"},
    {label::SIDES, PJL_CMD_SET_BINDING, "SHORTEDGE", "along the short edge"},
    {label::SIDES, PJL_CMD_SET_DUPLEXDRYTIME, "0", ""},
    {label::SIDES, PJL_CMD_SET_DUPLEXDRYTIME, ANY, "* seconds to dry between the sides"},
    {label::COLLATION, PJL_CMD_SET_COLLATION, "ON", "on"},
    {label::COLLATION, PJL_CMD_SET_COLLATION, "OFF", "off"},
    {label::COLOR, PJL_CMD_SET_COLOR_MODEL, "CMYK", "sent in colours"},
    {label::COLOR, PJL_CMD_SET_COLOR_MODEL, "BLACK", "sent in greys"},
    {label::COLOR, PJL_CMD_SET_COLORTABLE_PREFERENCE, "OBJECT", "automatic matching"},
    {label::COLOR, PJL_CMD_SET_COLORTABLE_PREFERENCE, "IMAGE", "natural matching"},
    {label::COLOR, PJL_CMD_SET_COLORTABLE_PREFERENCE, "GRAPHIC", "vivid matching"},
    {label::QUALITY, PJL_CMD_SET_PRINT_QUALITY, "DRAFT", "draft"},
    {label::QUALITY, PJL_CMD_SET_PRINT_QUALITY, "NORMAL", "normal"},
    {label::QUALITY, PJL_CMD_SET_PRINT_QUALITY, "BEST", "high"},
    {label::QUALITY, PJL_CMD_SET_RESOLUTION, ANY, "* dpi"},
    {label::IMPROVEMENT, PJL_CMD_SET_SHARPEN, "ON", "sharper edges"},
    {label::IMPROVEMENT, PJL_CMD_SET_SHARPEN, "OFF", ""},
    {label::TONER, PJL_CMD_SET_TONER_SAVE, "ON", "saving on"},
    {label::TONER, PJL_CMD_SET_TONER_SAVE, "OFF", "saving off"},
    {label::TONER, PJL_CMD_SET_INK_SET, "AUTOMATIC", ""},
    {label::TONER, PJL_CMD_SET_INK_SET, "COMPOSITEBLACK", "colours and black"},
    {label::TONER, PJL_CMD_SET_INK_SET, "COMPOSITEONLY", "colours only"},
    {label::TONER, PJL_CMD_SET_INK_SET, "BLACKONLY", "black only"},
    {label::TONER, PJL_CMD_SET_IMPROVE_DENSITY, "ON", "denser print"},
    {label::TONER, PJL_CMD_SET_IMPROVE_DENSITY, "OFF", ""},
    {label::IMPROVEMENT, PJL_CMD_SET_IMPROVE_SETTINGS, "PAPERCURL", "against curled paper"},
    {label::IMPROVEMENT, PJL_CMD_SET_IMPROVE_SETTINGS, "TONERFIX", "against toner that comes off"},
    {label::IMPROVEMENT, PJL_CMD_SET_IMPROVE_SETTINGS, "CREASE", "against creased envelopes"},
    {label::IMPROVEMENT, PJL_CMD_SET_IMPROVE_SETTINGS, "OFF", ""},
    {label::IMPROVEMENT, PJL_CMD_SET_REDUCE_GHOSTING, "ON", "against ghosts"},
    {label::IMPROVEMENT, PJL_CMD_SET_REDUCE_GHOSTING, "OFF", ""},
});

/// The number of the MediaSource attribute is the index.
constexpr std::string_view SOURCES[] = {"default", "automatic", "manual feed", "multipurpose tray", "tray 1", "tray 2"};

/// Days since 1899-12-30 as date and time. A sender's single precision leaves a few minutes open.
std::string dateText(std::string_view days) {
  constexpr double EPOCH = 25569;  // 1970-01-01
  constexpr double LATEST = 2958466, MINUTES = 24 * 60;
  double value = 0;
  const auto parsed = std::from_chars(days.data(), days.data() + days.size(), value);
  if (parsed.ec != std::errc() || value < 0 || value >= LATEST) return printable(days);
  const auto seconds = static_cast<std::time_t>(std::llround((value - EPOCH) * MINUTES) * 60);
  std::tm parts = {};
  std::array<char, 40> text{};
  if (gmtime_r(&seconds, &parts) == nullptr) return printable(days);
  std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M UTC", &parts);
  return text.data();
}

std::string sizeText(const SheetSize& size) {
  constexpr double MM_PER_INCH = 25.4;
  constexpr double LARGEST = 1e6;
  const auto mm = [](double inches) {
    return std::abs(inches) < LARGEST ? decimal(inches * MM_PER_INCH, 0) : std::string("?");
  };
  return mm(size.width) + " x " + mm(size.height) + " mm";
}

}  // namespace

std::optional<Wording> wordingOf(const PjlLine& line) {
  std::optional<Wording> wording;
  for (const Row& row : WORDS) {
    const auto value = matchPjl(row.format, line);
    if (!value) continue;
    if (row.label == label::DATE) return Wording{row.label, dateText(*value)};
    wording = {row.label, printable(*value)};
    if (row.value != ANY && row.value != *value) continue;
    std::string phrase(row.words);
    if (const std::size_t star = phrase.find(ANY); star != std::string::npos) phrase.replace(star, 1, wording->phrase);
    return Wording{row.label, phrase};
  }
  return wording;
}

std::string paperText(const Operator& beginPage) {
  const Attribute* const size = beginPage.find(attr::MediaSize);
  const Attribute* const custom = beginPage.find(attr::CustomMediaSize);
  std::string text;
  std::optional<SheetSize> sheet;
  if (size != nullptr && size->type->tag == tag::ubyte_array) {
    text = printable(size->text());
    sheet = findSheet(size->text());
  } else if (size != nullptr) {
    text = sheetName(size->number());
    sheet = findSheet(size->number());
    if (text.empty()) text = "paper " + std::to_string(size->number());
  } else if (custom != nullptr) {
    text = "custom";
    sheet = SheetSize{custom->real(0), custom->real(1)};
  }
  if (sheet) text += ", " + sizeText(*sheet);
  const Attribute* const border = beginPage.find(attr::BorderType);
  if (border != nullptr) text += border->number() == eNoBorder ? ", to its edges" : ", with margins";
  return text;
}

std::string sourceText(std::int64_t mediaSource) {
  const bool known = mediaSource >= 0 && mediaSource < std::ssize(SOURCES);
  return known ? std::string(SOURCES[static_cast<std::size_t>(mediaSource)]) : std::to_string(mediaSource);
}

}  // namespace kesto::job
