#include "npa/NpaParser.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <limits>
#include <new>
#include <optional>
#include <string>
#include <system_error>

#include "npa/NPAValidator.h"

namespace kesto {

namespace {

constexpr std::size_t BLOCK_OFFSET = 25;  // of the alert block in a response
constexpr std::size_t MASK_OFFSET = 10;   // of the alert mask in a response

constexpr std::size_t BLOCK_LENGTH_SIZE = 2;   // of the number that the block begins with
constexpr std::size_t HEADER_TEXT_OFFSET = 4;  // in the block
constexpr std::size_t ROOT_OFFSET = 38;        // in the block

/// The work buffers of paths and texts hold 255 characters.
constexpr std::size_t WORK_SIZE = 255;
/// Depth of containers, the root included. Alerts need five; a printer must not control how deep the recursion goes.
constexpr std::ptrdiff_t MAX_DEPTH = 32;
// A component is a point and an identifier from -128 to 127, so the depth bounds the path as well.
static_assert(MAX_DEPTH * 5 < WORK_SIZE);

enum ItemType : std::uint8_t {
  ITEM_CONTAINER = 0,
  ITEM_INTEGER = 1,
  ITEM_STRING = 2,
};

// What is stored, by the path below the alert or the entry.
struct IntegerItem {
  std::string_view path;
  std::uint64_t PSSDALERTINFO::*field;
};
constexpr std::array<IntegerItem, 7> ALERT_INTEGERS = {{{".1.1", &PSSDALERTINFO::item_1_1},
                                                        {".1.2.1", &PSSDALERTINFO::item_1_2_1},
                                                        {".1.2.2", &PSSDALERTINFO::item_1_2_2},
                                                        {".1.3", &PSSDALERTINFO::item_1_3},
                                                        {".1.4.2", &PSSDALERTINFO::item_1_4_2},
                                                        {".1.4.3", &PSSDALERTINFO::item_1_4_3},
                                                        {".4", &PSSDALERTINFO::item_4}}};
struct TextItem {
  std::string_view path;
  std::array<char, 255> PSSDALERTINFO::*field;
};
constexpr std::array<TextItem, 2> ALERT_TEXTS = {
    {{".1.4.9", &PSSDALERTINFO::text_1_4_9}, {".1.4.10", &PSSDALERTINFO::text_1_4_10}}};
constexpr std::string_view ENTRY_INTEGER = ".1";
constexpr std::string_view ENTRY_TEXT = ".3";

std::string alertPath(std::int32_t alert) {
  return "1.2." + std::to_string(alert);
}
std::string entryPath(std::int32_t alert, std::int32_t entry) {
  return alertPath(alert) + ".2." + std::to_string(entry);
}

/// The rest of `path` after `parent`; nothing when it does not begin with it.
std::string_view below(std::string_view path, std::string_view parent) {
  return path.starts_with(parent) ? path.substr(parent.size()) : std::string_view();
}

/// Moves forward by `count` bytes, or to the end.
void skip(ItemPosition& position, std::uint64_t count) {
  position = position.subspan(std::min<std::uint64_t>(count, position.size()));
}

std::uint64_t takeNumber(ItemPosition& position, std::uint64_t width) {
  const std::uint64_t number = HexStrToLong(position, 0, width);
  skip(position, width);
  return number;
}

void skipItemInfo(ItemPosition& position, const FieldWidths& widths) {
  skip(position, widths.idWidth);
  skip(position, widths.typeWidth);
}

/// The text of one group of the header, without its braces; nothing when it has no end. `rest` moves to the next group.
std::optional<std::string_view> takeGroup(std::string_view& rest) {
  constexpr std::size_t opening = 2;  // the group's tag and its brace
  const auto end = rest.find('}', std::min(opening, rest.size()));
  if (end == std::string_view::npos) return std::nullopt;
  const auto group = rest.substr(opening, end - opening);
  rest = rest.substr(end + 1);
  return group;
}

/// Reads the number behind a key of three characters, if the group has that key.
void readWidth(std::string_view group, std::string_view key, std::uint64_t& width) {
  const auto at = group.find(key);
  if (at == std::string_view::npos) return;
  auto digits = group.substr(at + key.size());
  digits.remove_prefix(std::min(digits.find_first_not_of(' '), digits.size()));
  width = 0;
  const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), width);
  if (result.ec == std::errc::result_out_of_range) width = std::numeric_limits<std::uint64_t>::max();
}

/// Makes room for one entry more, zeroed. Capacities are powers of two, so that many entries do not cost their square.
void openEntry(PSSDALERTINFO& record, std::int32_t entries) {
  if (entries > record.entryCount) return;  // an earlier one found no memory
  if (entries == 0 || std::has_single_bit(static_cast<std::uint32_t>(entries))) {
    auto* grown = new (std::nothrow) AlertEntry[std::max<std::size_t>(2 * static_cast<std::size_t>(entries), 1)]();
    if (grown == nullptr) return;
    std::copy_n(record.entries, entries, grown);
    delete[] record.entries;
    record.entries = grown;
  }
  record.entryCount = entries + 1;
}

/// What an item belongs to: the numbers of the alert and of the entry, 0 for none, and the alert's record, if any.
struct Place {
  std::int32_t alert;
  std::int32_t entry;
  PSSDALERTINFO* record;

  [[nodiscard]] AlertEntry* entryRecord() const {
    return entry >= 1 && entry <= record->entryCount ? &record->entries[entry - 1] : nullptr;
  }
};

void storeInteger(std::string_view path, const Place& place, std::uint64_t value) {
  if (place.record == nullptr) return;
  if (auto* entry = place.entryRecord(); entry && below(path, entryPath(place.alert, place.entry)) == ENTRY_INTEGER) {
    entry->value = value;
  }
  const auto item = below(path, alertPath(place.alert));
  for (const auto& known : ALERT_INTEGERS) {
    if (item == known.path) place.record->*known.field = value;
  }
}

void storeText(std::string_view path, const Place& place, const char* text) {
  if (place.record == nullptr) return;
  if (auto* entry = place.entryRecord(); entry && below(path, entryPath(place.alert, place.entry)) == ENTRY_TEXT) {
    entry->text = {};
    decodeString(text, entry->text);
  }
  const auto item = below(path, alertPath(place.alert));
  for (const auto& known : ALERT_TEXTS) {
    if (item != known.path) continue;
    auto& field = place.record->*known.field;
    field = {};
    decodeString(text, field);
  }
}

/// The size of an alert block, by the length at its start.
std::size_t blockSize(std::span<const std::uint8_t> block) {
  return BLOCK_LENGTH_SIZE + static_cast<std::size_t>(HexStrToLong(block, 0, BLOCK_LENGTH_SIZE));
}

/// Makes a record for each alert of the response, `made` of them, and fills in `count`. False, with what was made left
/// to the caller, when there is no alert. Throws std::bad_alloc.
bool makeRecords(std::span<const std::uint8_t> response, PSSDALERTINFO*& records, std::int32_t& made,
                 std::int32_t& count) {
  const auto block = response.subspan(BLOCK_OFFSET);
  std::int32_t alerts = 0;
  if (ParseRawDataForAlerts(block, {}, alerts) != 0 || alerts == 0) return false;
  records = new PSSDALERTINFO[static_cast<std::size_t>(alerts)]();
  made = alerts;
  const std::span all(records, static_cast<std::size_t>(alerts));
  if (ParseRawDataForAlerts(block, all, count) != 0) return false;
  for (auto& record : all) record.alertType = getAlertType(response);
  return true;
}

}  // namespace

std::int32_t GetExtAlertInformation(const std::uint8_t* response, std::uint32_t /*responseLength*/,
                                    PSSDALERTINFO*& records, std::int32_t& count) {
  records = nullptr;
  count = 0;
  std::int32_t made = 0;
  if (response[0] != PACKET_START) return -1;
  const std::uint64_t size = BLOCK_OFFSET + blockSize({response + BLOCK_OFFSET, BLOCK_LENGTH_SIZE});
  try {
    if (makeRecords({response, std::min<std::size_t>(size, VALID_BUFFER_SIZE)}, records, made, count)) return 0;
  } catch (const std::bad_alloc&) {
    // An alert is dropped when there is no memory for it; the job matters more.
  }
  releaseAlerts(records, made);
  count = 0;
  return -1;
}

void releaseAlerts(PSSDALERTINFO*& records, std::int32_t& count) {
  if (records != nullptr) {
    for (const auto& record : std::span(records, static_cast<std::size_t>(count))) delete[] record.entries;
  }
  delete[] records;
  records = nullptr;
  count = 0;
}

std::int32_t ParseRawDataForAlerts(std::span<const std::uint8_t> block, std::span<PSSDALERTINFO> records,
                                   std::int32_t& alertCount) {
  if (block.size() < ROOT_OFFSET || block[4] != 'P' || block[5] != '{') return -1;
  block = block.first(std::min<std::size_t>(blockSize(block), block.size()));
  if (block.size() < ROOT_OFFSET) return -1;

  std::string headerText;
  for (const std::uint8_t byte : block.subspan(HEADER_TEXT_OFFSET, ROOT_OFFSET - HEADER_TEXT_OFFSET)) {
    if (byte == 0) break;
    headerText += static_cast<char>(byte);
  }
  FieldWidths widths;
  if (ParseHeaderStringInfo(headerText, widths) != 0) return -1;
  return ParseExtAlert("1", block.subspan(ROOT_OFFSET), 0, 0, {.all = records}, alertCount, widths);
}

std::int32_t ParseHeaderStringInfo(std::string_view headerText, FieldWidths& widths) {
  const auto identity = takeGroup(headerText);
  if (!identity) return -1;
  readWidth(*identity, "ID:", widths.idWidth);
  readWidth(*identity, "DT:", widths.typeWidth);
  const auto container = takeGroup(headerText);
  if (!container) return -1;
  readWidth(*container, "NE:", widths.countWidth);
  readWidth(*container, "LD:", widths.lengthWidth);
  const auto leaf = takeGroup(headerText);
  if (!leaf) return -1;
  readWidth(*leaf, "LD:", widths.valueLengthWidth);
  return 0;
}

std::int32_t ParseExtAlert(std::string_view parentPath, ItemPosition position, std::int32_t alertNumber,
                           std::int32_t entryNumber, AlertRecords records, std::int32_t& alertCount,
                           const FieldWidths& widths) {
  if (std::ranges::count(parentPath, '.') >= MAX_DEPTH) return 0;
  std::size_t ownItems = position.size();
  if (records.itemsLeft == nullptr) records.itemsLeft = &ownItems;
  const std::uint64_t elements = GetNoOfElement(position, widths);
  std::array<char, WORK_SIZE> text{};
  for (std::uint64_t element = 0; element < elements && !position.empty() && *records.itemsLeft > 0; ++element) {
    --*records.itemsLeft;
    std::int8_t identifier = 0;
    std::uint8_t dataType = 0;
    if (!GetItemInfo(position, widths, identifier, dataType)) break;
    const std::string path = std::string(parentPath) + '.' + std::to_string(identifier);
    switch (dataType) {
      case ITEM_CONTAINER:
        if (path == alertPath(alertNumber + 1)) {
          const auto index = static_cast<std::size_t>(alertCount);
          records.current = index < records.all.size() ? &records.all[index] : nullptr;
          ++alertCount;
          ++alertNumber;
        }
        if (path == entryPath(alertNumber, entryNumber + 1)) {
          if (records.current != nullptr) openEntry(*records.current, entryNumber);
          ++entryNumber;
        }
        if (path.find("1.2") != std::string::npos) {
          ParseExtAlert(path, position, alertNumber, entryNumber, records, alertCount, widths);
        }
        ParseContainerInfo(position, widths);
        break;
      case ITEM_STRING:
        ParseStringInformation(position, widths, text);
        storeText(path, {alertNumber, entryNumber, records.current}, text.data());
        break;
      case ITEM_INTEGER:
        storeInteger(path, {alertNumber, entryNumber, records.current}, ParseIntegerInfo(position, widths));
        break;
      default:
        ParseUnknownDataType(position, widths);
    }
  }
  return 0;
}

std::uint64_t GetNoOfElement(ItemPosition& position, const FieldWidths& widths) {
  skipItemInfo(position, widths);
  const std::uint64_t elements = takeNumber(position, widths.countWidth);
  skip(position, widths.lengthWidth);
  return elements;
}

bool GetItemInfo(ItemPosition position, const FieldWidths& widths, std::int8_t& identifier, std::uint8_t& dataType) {
  if (widths.idWidth > position.size() || widths.typeWidth > position.size() - widths.idWidth) return false;
  identifier = static_cast<std::int8_t>(HexStrToLong(position, 0, widths.idWidth));
  dataType = static_cast<std::uint8_t>(HexStrToLong(position, widths.idWidth, widths.typeWidth));
  return true;
}

void ParseContainerInfo(ItemPosition& position, const FieldWidths& widths) {
  skipItemInfo(position, widths);
  skip(position, widths.countWidth);
  skip(position, takeNumber(position, widths.lengthWidth));
}

std::uint64_t ParseIntegerInfo(ItemPosition& position, const FieldWidths& widths) {
  skipItemInfo(position, widths);
  const std::uint64_t length = takeNumber(position, widths.valueLengthWidth);
  return takeNumber(position, length);
}

std::size_t ParseStringInformation(ItemPosition& position, const FieldWidths& widths, std::span<char> text) {
  skipItemInfo(position, widths);
  const std::uint64_t declared = takeNumber(position, widths.valueLengthWidth);
  const auto value = position.first(std::min<std::uint64_t>(declared, position.size()));
  skip(position, declared);
  std::ranges::fill(text, '\0');
  std::size_t length = 0;
  for (; length < value.size() && length + 1 < text.size() && value[length] != 0; ++length) {
    text[length] = static_cast<char>(value[length]);
  }
  return length;
}

void ParseUnknownDataType(ItemPosition& position, const FieldWidths& widths) {
  skipItemInfo(position, widths);
  skip(position, takeNumber(position, widths.valueLengthWidth));
}

std::uint64_t HexStrToLong(std::span<const std::uint8_t> base, std::uint64_t offset, std::uint64_t width) {
  if (offset > base.size() || width > base.size() - offset) return 0;
  std::uint64_t number = 0;
  for (const std::uint8_t byte : base.subspan(offset, width)) number = number << 8 | byte;
  return number;
}

std::size_t decodeString(const char* source, std::span<char> destination) {
  if (destination.empty()) return 0;
  const auto text = std::string_view(source).substr(0, destination.size() - 1);
  std::ranges::copy(text, destination.begin());
  destination[text.size()] = '\0';
  return text.size();
}

void convertDecimalToBinary(std::uint32_t value, std::span<char> digits) {
  for (char& digit : digits) {
    if (value == 0) return;
    digit = (value & 1) != 0 ? '1' : '0';
    value >>= 1;
  }
}

AlertType getAlertType(std::span<const std::uint8_t> response) {
  std::array<char, 9> digits{};
  digits.fill('0');
  if (response.size() > MASK_OFFSET) convertDecimalToBinary(response[MASK_OFFSET], digits);
  if (digits[0] == '1') return ALERT_ERROR;
  return digits[1] == '1' ? ALERT_WARNING : ALERT_OTHER;
}

}  // namespace kesto
