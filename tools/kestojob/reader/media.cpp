#include "kestojob/reader/media.h"

#include <algorithm>
#include <array>

namespace kesto::job {
namespace {

constexpr SheetSize inches(double width, double height) {
  return {width, height};
}
constexpr SheetSize mm(double width, double height) {
  return {width / 25.4, height / 25.4};
}
constexpr SheetSize points(double width, double height) {
  return {width / 72, height / 72};
}

struct NumberedSheet {
  std::int64_t number;
  std::string_view name;
  SheetSize size;
};

struct NamedSheet {
  std::string_view name;
  SheetSize size;
};

constexpr auto NUMBERED = std::to_array<NumberedSheet>({
    {0, "Letter", inches(8.5, 11)},
    {1, "Legal", inches(8.5, 14)},
    {2, "A4", mm(210, 297)},
    {3, "Executive", inches(7.25, 10.5)},
    {6, "Envelope 10", inches(4.125, 9.5)},
    {7, "Envelope 7 3/4", points(279, 540)},
    {8, "Envelope C5", mm(162, 229)},
    {9, "Envelope DL", mm(110, 220)},
    {11, "B5 (JIS)", mm(182, 257)},
    {13, "B5 (ISO)", mm(176, 250)},
    {14, "Postcard", mm(100, 148)},
    {15, "Double postcard", mm(148, 200)},
    {16, "A5", mm(148, 210)},
    {17, "Folio", mm(210, 330)},
    {18, "B6 (JIS)", mm(128, 182)},
    {19, "Statement", inches(5.5, 8.5)},
    {255, "Envelope 9", inches(3.875, 8.875)},
});

constexpr auto NAMED = std::to_array<NamedSheet>({
    {"OFICIO", points(612, 965)},
    {"INDEX CARD", inches(3, 5)},
    {"3 x 5 in", inches(3, 5)},
    {"3.5 x 5 in", inches(3.5, 5)},
    {"4 x 6 in", inches(4, 6)},
    {"4 x 8 in", inches(4, 8)},
    {"5 x 7 in", inches(5, 7)},
    {"8 X 10 in", inches(8, 10)},
    {"10 x 15 cm", mm(100, 150)},
    {"10 x 20 cm", mm(100, 200)},
    {"13 x 18 cm", mm(130, 180)},
    {"L", mm(89, 127)},
    {"2L", mm(127, 178)},
    {"A6", mm(105, 148)},
    {"B6", mm(125, 176)},
    {"JPOST", mm(100, 148)},
    {"JPOSTD", mm(148, 200)},
    {"B5 ENV", mm(176, 250)},
    {"C6", mm(114, 162)},
    {"A2 BARONIAL", points(314, 414)},
    {"PERSONAL", points(261, 448)},
    {"CHOKEI 3", mm(120, 235)},
    {"CHOKEI 4", mm(90, 205)},
    {"CHOKEI 40", points(255, 638)},
    {"YOUKEI 4", mm(105, 235)},
    {"KAKU 3", mm(216, 277)},
    {"KAKU 4", points(558, 757)},
    {"KAKU 5", points(538, 680)},
    {"KAKU 6", points(459, 649)},
    {"OTHER ENVELOPE", inches(8.5, 14)},  // any size; this is the largest that goes through
});

template <class Table, class Key, class Field>
std::optional<SheetSize> lookUp(const Table& table, Key key, Field field) {
  const auto found = std::ranges::find(table, key, field);
  return found == table.end() ? std::nullopt : std::optional(found->size);
}

}  // namespace

std::optional<SheetSize> findSheet(std::int64_t number) {
  return lookUp(NUMBERED, number, &NumberedSheet::number);
}

std::string_view sheetName(std::int64_t number) {
  const auto found = std::ranges::find(NUMBERED, number, &NumberedSheet::number);
  return found == NUMBERED.end() ? std::string_view() : found->name;
}

std::optional<SheetSize> findSheet(std::string_view name) {
  return lookUp(NAMED, name, &NamedSheet::name);
}

}  // namespace kesto::job
