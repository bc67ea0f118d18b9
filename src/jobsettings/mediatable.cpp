#include "jobsettings/mediatable.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <numeric>
#include <span>
#include <string_view>

#include "jobsettings/medianames.h"

namespace kesto {
namespace {

enum Comparison : std::uint8_t { CONTAINS, EQUALS };

struct MediaTest {
  Comparison comparison;
  Media media;
};

struct MediaRow {
  const char* text;
  int ppdPlace;  // place in the PPD's order, from 1; the ticket's order is the table's
  MediaTest ticket;
  MediaTest ppd;
};

constexpr int NOT_IN_PPD = 0;

constexpr Media number(std::uint32_t value) {
  return {MEDIA_SIZE_ENUMERATED, value, ""};
}
constexpr Media named(const char* name) {
  return {MEDIA_SIZE_NAMED, 0, name};
}
constexpr Media custom() {
  return {MEDIA_SIZE_CUSTOM, 0, ""};
}

constexpr MediaRow row(const char* text, int ppdPlace, MediaTest ticket, MediaTest ppd) {
  return {text, ppdPlace, ticket, ppd};
}
constexpr MediaRow row(const char* text, int ppdPlace, Comparison comparison, Media media) {
  return {text, ppdPlace, {comparison, media}, {comparison, media}};
}

// clang-format off
constexpr std::array MEDIA = {
    row(LETTER, 1, CONTAINS, number(0)),
    row(LEGAL, 2, CONTAINS, number(1)),
    row(STATEMENT, 3, EQUALS, number(19)),
    row(EXECUTIVE, 4, EQUALS, number(3)),
    row(FOLIO, 5, EQUALS, number(17)),
    row(OFICIO, 6, EQUALS, named("OFICIO")),
    row(CARD3X5, 7, CONTAINS, named("INDEX CARD")),
    row(CUSTOM, 8, CONTAINS, custom()),
    row(P4X6, 9, CONTAINS, named("4 x 6 in")),
    row(P5X7, NOT_IN_PPD, CONTAINS, named("5 x 7 in")),
    row(P3X5, NOT_IN_PPD, CONTAINS, named("3 x 5 in")),
    row(P3p5X5, NOT_IN_PPD, CONTAINS, named("3.5 x 5 in")),
    row(P10x15CM, 10, CONTAINS, named("10 x 15 cm")),
    row(P4X8, 11, CONTAINS, named("4 x 8 in")),
    row(P10X20CM, 12, CONTAINS, named("10 x 20 cm")),
    row(A4, 13, CONTAINS, number(2)),
    row(A5, 14, CONTAINS, number(16)),
    row(A6, 15, CONTAINS, named("A6")),
    row(POSTCARDHAGAKI, 16, CONTAINS, number(14)),
    row(HAGAKI, NOT_IN_PPD, CONTAINS, named("JPOST")),
    row(DOUBLEPOSTCARD, 17, {CONTAINS, named("JPOSTD")}, {CONTAINS, number(15)}),
    row(P8X10CM, NOT_IN_PPD, CONTAINS, named("8 X 10 in")),
    row(P2L5X7INPHOTO, 21, CONTAINS, named("2L")),
    row(P2LPHOTO, 22, CONTAINS, named("2L")),
    row(L312X5PHOTO, 18, CONTAINS, named("L")),
    row(LPHOTO, 19, CONTAINS, named("L")),
    row(P312X5PHOTO, 20, CONTAINS, named("L")),
    row(P5X7PHOTO, 23, CONTAINS, named("5 x 7 in")),
    row(P13X18CM, 24, CONTAINS, named("13 x 18 cm")),
    row(ENV734, 25, EQUALS, number(7)),
    row(ENV9, 26, EQUALS, number(255)),
    row(ENV10, 27, EQUALS, number(6)),
    row(ENVC5, 28, EQUALS, number(8)),
    row(ENVDL, 29, EQUALS, number(9)),
    row(ENVISOB5, 30, EQUALS, named("B5 ENV")),
    row(ENVN3, NOT_IN_PPD, EQUALS, named("CHOKEI 3")),
    row(ENVN4, NOT_IN_PPD, EQUALS, named("CHOKEI 4")),
    row(ENVY4, NOT_IN_PPD, EQUALS, named("YOUKEI 4")),
    row(B5ISO, 31, {EQUALS, number(13)}, {CONTAINS, number(13)}),
    row(B5, 32, CONTAINS, number(11)),
    row(ENVC6, 35, EQUALS, named("C6")),
    row(ENVBARON, 36, EQUALS, named("A2 BARONIAL")),
    row(ENVPERSONAL, 37, EQUALS, named("PERSONAL")),
    row(ENVCHOU3, 38, EQUALS, named("CHOKEI 3")),
    row(ENVCHOU4, 39, EQUALS, named("CHOKEI 4")),
    row(ENVCHOU40, 40, EQUALS, named("CHOKEI 40")),
    row(ENVKAKU3, 41, EQUALS, named("KAKU 3")),
    row(ENVKAKU4, 42, EQUALS, named("KAKU 4")),
    row(ENVKAKU5, 43, EQUALS, named("KAKU 5")),
    row(ENVKAKU6, 44, EQUALS, named("KAKU 6")),
    row(OTHENV, 45, EQUALS, named("OTHER ENVELOPE")),
    row(B6ISO, 33, CONTAINS, named("B6")),
    row(B6, 34, CONTAINS, number(18)),
};
// clang-format on

using RowOrder = std::array<std::uint8_t, MEDIA.size()>;

constexpr RowOrder TICKET_ORDER = [] {
  RowOrder order{};
  std::iota(order.begin(), order.end(), std::uint8_t{0});
  return order;
}();

/// All rows in the PPD's order; rows not tested there come first.
constexpr RowOrder ALL_BY_PPD_PLACE = [] {
  RowOrder order = TICKET_ORDER;
  std::ranges::sort(order, {}, [](std::uint8_t index) { return MEDIA[index].ppdPlace; });
  return order;
}();

constexpr auto IN_PPD = static_cast<std::size_t>(
    std::ranges::count_if(MEDIA, [](const MediaRow& entry) { return entry.ppdPlace != NOT_IN_PPD; }));

constexpr std::span<const std::uint8_t> PPD_ORDER = std::span(ALL_BY_PPD_PLACE).last(IN_PPD);

static_assert(MEDIA.size() == 53 && IN_PPD == 45);
static_assert(
    [] {
      int place = 0;
      return std::ranges::all_of(PPD_ORDER, [&](std::uint8_t index) { return MEDIA[index].ppdPlace == ++place; });
    }(),
    "the places in the PPD's order run from 1 without a gap");

bool matches(const MediaTest& test, std::string_view text, std::string_view name) {
  return test.comparison == EQUALS ? name == text : name.find(text) != std::string_view::npos;
}

}  // namespace

const Media* findMedia(MediaOrder order, const char* name) {
  const bool byTicket = order == MediaOrder::TICKET;
  for (const std::uint8_t index : byTicket ? std::span<const std::uint8_t>(TICKET_ORDER) : PPD_ORDER) {
    const MediaRow& entry = MEDIA[index];
    const MediaTest& test = byTicket ? entry.ticket : entry.ppd;
    if (matches(test, entry.text, name)) return &test.media;
  }
  return nullptr;
}

}  // namespace kesto
