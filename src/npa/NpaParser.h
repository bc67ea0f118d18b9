// Extended alerts: from a reassembled response to alert records.
//
//   block  = length (2 bytes, what follows them), 2 bytes, header text (34 bytes), root item
//   header = P{ID:n DT:n}x{NE:n LD:n}x{LD:n}       the widths in bytes of the fields below
//   item   = id type (container | value)           type 0 container, 1 integer, 2 string, others have a value as well
//   container = element count, content length, that many bytes of items
//   value  = value length, that many bytes
//
// Numbers are big-endian. An item's path is its containers' ids and its own in decimal, joined by points; the root is
// "1". Alerts are the containers 1.2.1, 1.2.2, ..., the entries of alert n the containers 1.2.n.2.1, 1.2.n.2.2, ...
//
// All of it comes from a printer. A position is the rest of what may be read and ends with the block. A container's
// content length only says where the next item is: its elements are counted, not measured, so that they are found even
// where the length lies. A length that is too short has bytes parsed again, so that the items of a block are limited to
// the number of its bytes, which honest ones never reach.
//
// Stateless: any thread.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace kesto {

/// One entry of an alert, from the container 1.2.n.2.m.
struct AlertEntry {
  std::uint64_t value{0};        ///< item .1
  std::array<char, 256> text{};  ///< item .3, ends with a NUL
};

/// What an alert is about, by the response's alert mask.
enum AlertType : std::int32_t {
  ALERT_ERROR = 0,
  ALERT_WARNING = 1,
  ALERT_OTHER = 2,
};

/// One alert, from the container 1.2.n; a field is named after its item's path below that.
struct PSSDALERTINFO {
  std::uint64_t item_1_4_3{0};
  std::uint64_t item_1_4_2{0};
  std::uint64_t item_1_1{0};
  std::uint64_t item_1_2_1{0};
  std::uint64_t item_1_2_2{0};
  std::uint64_t item_1_3{0};
  std::uint64_t item_4{0};
  std::int64_t entryCount{0};
  AlertType alertType{ALERT_ERROR};
  AlertEntry* entries{nullptr};         ///< owned; releaseAlerts frees it
  std::array<char, 255> text_1_4_9{};   ///< ends with a NUL
  std::array<char, 255> text_1_4_10{};  ///< ends with a NUL
};

/// How many bytes each field of an item takes. Any number may stand here; fields that do not fit read as 0.
struct FieldWidths {
  std::uint64_t idWidth{0};
  std::uint64_t typeWidth{0};
  std::uint64_t countWidth{0};
  std::uint64_t lengthWidth{0};
  std::uint64_t valueLengthWidth{0};
};

/// Where parsing stands: the bytes from the current item to the end of what may be read.
using ItemPosition = std::span<const std::uint8_t>;

/// Where alerts are stored: all records (none while alerts are only counted) and the current alert's.
struct AlertRecords {
  std::span<PSSDALERTINFO> all;
  PSSDALERTINFO* current{nullptr};
  std::size_t* itemsLeft{nullptr};  ///< how many items may still be parsed; null: as many as the position has bytes
};

/// Parses the alerts of a response.
///
/// `response` holds VALID_BUFFER_SIZE bytes, or as many as its block length says if that is less; the length handed
/// over is not looked at. 0 with `records` and `count` (at least 1) set; the caller gives both to releaseAlerts. -1
/// with neither when the response is no NPA packet, its alert block is malformed or holds no alert, or memory is short.
[[nodiscard]] std::int32_t GetExtAlertInformation(const std::uint8_t* response, std::uint32_t responseLength,
                                                  PSSDALERTINFO*& records, std::int32_t& count);

/// Frees records and their entries; `records` and `count` are empty then. No records at all are fine.
void releaseAlerts(PSSDALERTINFO*& records, std::int32_t& count);

/// Parses an alert data block and adds the number of its alerts to `alertCount`. With `records` it also fills one
/// record for each alert, the first with the index `alertCount`. -1 for a block that is malformed.
[[nodiscard]] std::int32_t ParseRawDataForAlerts(std::span<const std::uint8_t> block, std::span<PSSDALERTINFO> records,
                                                 std::int32_t& alertCount);

/// Reads the field widths out of the header text; a key that is missing leaves its width as it is. -1 when a group
/// lacks its closing brace.
[[nodiscard]] std::int32_t ParseHeaderStringInfo(std::string_view headerText, FieldWidths& widths);

/// Parses the elements of the container at `position`, whose path is `parentPath`, and of the containers in it.
///
/// `alertNumber` and `entryNumber` say which alert and entry the container belongs to, 0 before the first. Always 0.
std::int32_t ParseExtAlert(std::string_view parentPath, ItemPosition position, std::int32_t alertNumber,
                           std::int32_t entryNumber, AlertRecords records, std::int32_t& alertCount,
                           const FieldWidths& widths);

/// Reads a container's element count and moves to its first element.
[[nodiscard]] std::uint64_t GetNoOfElement(ItemPosition& position, const FieldWidths& widths);

/// Reads the identifier and data type of the item at `position`, their low 8 bits. False when they are not all there.
[[nodiscard]] bool GetItemInfo(ItemPosition position, const FieldWidths& widths, std::int8_t& identifier,
                               std::uint8_t& dataType);

/// Steps over a container with all that is in it.
void ParseContainerInfo(ItemPosition& position, const FieldWidths& widths);

/// Reads an integer item, its low 64 bits, and steps over it. A value that is cut short is 0.
[[nodiscard]] std::uint64_t ParseIntegerInfo(ItemPosition& position, const FieldWidths& widths);

/// Reads a string item and steps over it.
///
/// The text ends at its first NUL, at the end of the value or of the block, or where `text` has room for a NUL only;
/// the rest of `text` is cleared. Returns the text's length.
std::size_t ParseStringInformation(ItemPosition& position, const FieldWidths& widths, std::span<char> text);

/// Steps over an item of any other type.
void ParseUnknownDataType(ItemPosition& position, const FieldWidths& widths);

/// The big-endian number of `width` bytes at `offset`, its low 64 bits; 0 when the width is 0 or the bytes do not all
/// exist.
[[nodiscard]] std::uint64_t HexStrToLong(std::span<const std::uint8_t> base, std::uint64_t offset, std::uint64_t width);

/// The value with its two bytes exchanged.
[[nodiscard]] constexpr std::uint16_t twoByteSwap(std::uint16_t value) {
  return static_cast<std::uint16_t>(value << 8 | value >> 8);
}

/// Copies a text unchanged, as much of it as `destination` holds with the NUL behind it. Returns the length copied.
std::size_t decodeString(const char* source, std::span<char> destination);

/// Writes the binary digits of `value`, least significant first, over the '0' characters of `digits`; leading zeros are
/// not written.
void convertDecimalToBinary(std::uint32_t value, std::span<char> digits);

/// The alert type by the mask of a response. Errors come before warnings.
[[nodiscard]] AlertType getAlertType(std::span<const std::uint8_t> response);

}  // namespace kesto
