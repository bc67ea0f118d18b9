#include "kestojob/reader/pjlheader.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <span>
#include <string_view>

#include "jobsettings/pjlnames.h"
#include "kestojob/reader/fault.h"
#include "kestojob/reader/pjlformat.h"
#include "kestojob/reader/text.h"

namespace kesto::job {
namespace {

using Values = std::span<const std::string_view>;

constexpr std::string_view DRIVERS[] = {"KESTO Contone Raster Driver"};
constexpr std::string_view ON_OFF[] = {"ON", "OFF"};
constexpr std::string_view COLOR_MODELS[] = {"CMYK", "BLACK"};
constexpr std::string_view IMPROVEMENTS[] = {"OFF", "PAPERCURL", "TONERFIX", "CREASE"};
constexpr std::string_view PREFERENCES[] = {"IMAGE", "OBJECT", "GRAPHIC"};
constexpr std::string_view INKS[] = {"COMPOSITEBLACK", "COMPOSITEONLY", "BLACKONLY", "AUTOMATIC"};
constexpr std::string_view BINDINGS[] = {"LONGEDGE", "SHORTEDGE"};
constexpr std::string_view PAGE_MODES[] = {"NORMAL", "EDGETOEDGE"};
constexpr std::string_view NOUGHT[] = {"0"};
constexpr Values ANY = {};

enum Presence : std::uint8_t { ALWAYS, SOMETIMES };
enum Meaning : std::uint8_t { NO_MATTER, COLOR_MODEL, QUALITY, DUPLEX, BINDING, RESOLUTION, PAGE_MODE, QUOTED };

struct Row {
  std::string_view format;
  Presence presence;
  Values values;
  Meaning meaning = NO_MATTER;
};

constexpr auto HEADER = std::to_array<Row>({
    {PJL_START_JOB, ALWAYS, ANY},
    {PJL_STRINGCODESET, ALWAYS, ANY},
    {PJL_FDATETIME, ALWAYS, ANY},
    {PJL_CMD_COMMENT_DRIVERNAME, ALWAYS, DRIVERS},
    {PJL_CMD_JOBNAME, ALWAYS, ANY, QUOTED},
    {PJL_CMD_HOSTID, ALWAYS, ANY, QUOTED},
    {PJL_CMD_SET_SHARPEN, SOMETIMES, ON_OFF},
    {PJL_CMD_SET_COLOR_MODEL, ALWAYS, COLOR_MODELS, COLOR_MODEL},
    {PJL_CMD_SET_TONER_SAVE, SOMETIMES, ON_OFF},
    {PJL_CMD_SET_IMPROVE_SETTINGS, SOMETIMES, IMPROVEMENTS},
    {PJL_CMD_SET_REDUCE_GHOSTING, SOMETIMES, ON_OFF},
    {PJL_CMD_SET_IMPROVE_DENSITY, SOMETIMES, ON_OFF},
    {PJL_CMD_SET_COLORTABLE_PREFERENCE, ALWAYS, PREFERENCES},
    {PJL_CMD_SET_INK_SET, SOMETIMES, INKS},
    {PJL_CMD_SET_BRIGHTNESS, ALWAYS, NOUGHT},
    {PJL_CMD_SET_PRINT_QUALITY, ALWAYS, ANY, QUALITY},
    {PJL_CMD_SET_DUPLEX, ALWAYS, ON_OFF, DUPLEX},
    {PJL_CMD_SET_BINDING, SOMETIMES, BINDINGS, BINDING},
    {PJL_CMD_SET_COLLATION, ALWAYS, ON_OFF},
    {PJL_CMD_SET_DUPLEXDRYTIME, SOMETIMES, ANY},
    {PJL_CMD_SET_RESOLUTION, ALWAYS, ANY, RESOLUTION},
    {PJL_CMD_SET_BORDERLESS, ALWAYS, PAGE_MODES, PAGE_MODE},
    {PJL_CMD_SET_CONTRAST, ALWAYS, NOUGHT},
    {PJL_MULTIPAGEPRINT, ALWAYS, ANY},
    {PJL_ENTER_XL, ALWAYS, ANY},
});

/// What a format says before its value, by which a line is recognised.
std::string nameOf(const Row& row) {
  const std::string_view name = row.format.substr(row.format.find('@'));
  const std::string_view known = name.substr(0, name.find_first_of("=\n%"));
  return std::string(known.substr(0, known.find_last_not_of(' ') + 1));
}

std::string inQuotes(std::string_view text) {
  constexpr std::size_t ENOUGH = 60;
  return '"' + printable(text.substr(0, ENOUGH)) + (text.size() > ENOUGH ? "..." : "") + '"';
}

bool hasControlCharacter(std::string_view text) {
  return std::ranges::any_of(text, [](char c) { return isControl(static_cast<std::uint8_t>(c)) && c != '\t'; });
}

void checkValue(const Row& row, std::string_view value, std::uint64_t offset) {
  if (hasControlCharacter(value)) throw Fault(offset, "A PJL line holds a control character.");
  if (row.values.empty() || std::ranges::find(row.values, value) != row.values.end()) return;
  throw Fault(offset, "The PJL line " + nameOf(row) + " has the unknown value " + inQuotes(value) + ".");
}

/// What is left of the end of job from one of its lines on.
std::string_view endFrom(std::size_t line) {
  std::string_view rest = PJL_END_JOB;
  for (; line > 0; --line) rest.remove_prefix(rest.find('\n') + 1);
  return rest;
}

}  // namespace

bool PjlHeaderRules::take(const PjlLine& line) {
  std::size_t row = row_;
  auto value = matchPjl(HEADER[row].format, line);
  while (!value && HEADER[row].presence == SOMETIMES) value = matchPjl(HEADER[++row].format, line);
  if (!value) {
    throw Fault(line.offset, "The PJL line " + inQuotes(line.text) + " is not the line " + nameOf(HEADER[row]) +
                                 " that belongs here.");
  }
  const std::uint64_t offset = line.offset + static_cast<std::uint64_t>(value->data() - line.text.data());
  checkValue(HEADER[row], *value, offset);
  note(row, std::string(*value), offset);
  row_ = row + 1;
  return row_ == HEADER.size();
}

void PjlHeaderRules::note(std::size_t row, const std::string& value, std::uint64_t offset) {
  switch (HEADER[row].meaning) {
    case COLOR_MODEL:
      facts_.color = value == "CMYK";
      return;
    case QUALITY:
      facts_.draft = value == "DRAFT";
      return;
    case DUPLEX:
      facts_.duplex = value == "ON";
      return;
    case BINDING:
      if (!facts_.duplex) throw Fault(offset, "A one-sided job has a BINDING.");
      return;
    case RESOLUTION: {
      std::int32_t resolution = 0;
      const auto parsed = std::from_chars(value.data(), value.data() + value.size(), resolution);
      if (parsed.ec != std::errc()) throw Fault(offset, "The RESOLUTION is beyond all numbers.");
      facts_.resolution = static_cast<std::uint16_t>(resolution);
      return;
    }
    case PAGE_MODE:
      facts_.edgeToEdge = value == "EDGETOEDGE";
      return;
    case QUOTED:
      if (const std::size_t mark = value.find('"'); mark != std::string::npos) {
        notes_.push_back({offset + mark, "The text of the PJL line " + nameOf(HEADER[row]) +
                                             " holds a quotation mark, which the printer may take for its end."});
      }
      return;
    case NO_MATTER:
      return;
  }
}

bool PjlEndRules::take(const PjlLine& line) {
  const std::string_view due = endFrom(line_);
  const bool last = due.find('\n') == std::string_view::npos;
  const bool matches = last ? !line.terminated && line.text == UNIVERSAL_EXIT : matchPjl(due, line).has_value();
  if (!matches) throw Fault(line.offset, "The line " + inQuotes(line.text) + " is not part of the end of job.");
  ++line_;
  return last;
}

}  // namespace kesto::job
