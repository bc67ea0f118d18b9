// Answers as a printer gives them: alert trees, the NPA packets that carry them, OIR answers.
//
// Written from the formats, not from the filter's parser. Everything built here is valid; tests that want lies change
// the bytes or build single items with lengths of their own.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kesto::printer {

using Bytes = std::vector<std::uint8_t>;

struct AlertEntryText {
  std::uint64_t value;
  std::string text;
};

/// An alert to be built; numbers and texts that are left out become no items.
struct Alert {
  std::vector<AlertEntryText> entries;
  std::string text9;       ///< item 1.4.9
  std::string text10;      ///< item 1.4.10
  std::uint64_t code = 0;  ///< items 1.1, 1.2.1, 1.2.2, 1.3, 1.4.2, 1.4.3 and 4 are code + 1 to code + 7
};

constexpr std::uint8_t MASK_ERRORS = 0x01;
constexpr std::uint8_t MASK_WARNINGS = 0x02;

/// The header text of these widths: one byte for identifier, type and element count, two for lengths.
constexpr std::string_view ALERT_HEADER_TEXT = "P{ID:1 DT:1}C{NE:1 LD:2}V{LD:2}";

/// Items in these widths.
Bytes containerItem(std::uint8_t id, const std::vector<Bytes>& elements);
Bytes integerItem(std::uint8_t id, std::uint64_t value, std::size_t size = 4);
Bytes stringItem(std::uint8_t id, std::string_view text);

/// An alert data block: its length, the header text (filled up with NULs) and the root item.
Bytes alertBlock(const Bytes& root, std::string_view headerText = ALERT_HEADER_TEXT);

/// The block of alerts that are numbered 1, 2, 3, ...
Bytes alertBlock(const std::vector<Alert>& alerts);

/// The response up to its alert block: 25 bytes with the packet's length left at 0.
Bytes responseHead(std::uint8_t mask);

/// A response in one packet.
Bytes alertResponse(std::uint8_t mask, const Bytes& block);

/// The same in several packets of at most `packetSize` bytes, all but the last with the continuation bit.
std::vector<Bytes> alertPackets(std::uint8_t mask, const Bytes& block, std::size_t packetSize);

/// Packets in a datagram that echoes the packet ID 12345678.
Bytes answerDatagram(const std::vector<Bytes>& packets);

/// An OIR answer as a datagram; entries are given with all their bytes.
Bytes oirDatagram(const std::vector<Bytes>& entries);

/// One behind the other.
Bytes operator+(Bytes left, const Bytes& right);

}  // namespace kesto::printer
