#include "kestoprinter/answers.h"

#include <algorithm>

namespace kesto::printer {

namespace {

constexpr std::size_t HEADER_TEXT_SIZE = 34;
constexpr std::size_t PACKET_HEADER_SIZE = 5;

std::uint8_t low(std::size_t number) {
  return static_cast<std::uint8_t>(number & 0xFF);
}
Bytes word(std::size_t number) {
  return {low(number >> 8), low(number)};
}
Bytes textBytes(std::string_view text) {
  return {text.begin(), text.end()};
}
Bytes joined(const std::vector<Bytes>& parts) {
  Bytes all;
  for (const auto& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

/// Sets a packet's length field from its size.
Bytes closed(Bytes packet) {
  packet[1] = low((packet.size() - 3) >> 8);
  packet[2] = low(packet.size() - 3);
  return packet;
}

Bytes alertItem(std::uint8_t number, const Alert& alert) {
  std::vector<Bytes> details = {integerItem(2, alert.code + 5), integerItem(3, alert.code + 6)};
  if (!alert.text9.empty()) details.push_back(stringItem(9, alert.text9));
  if (!alert.text10.empty()) details.push_back(stringItem(10, alert.text10));
  const Bytes description =
      containerItem(1, {integerItem(1, alert.code + 1),
                        containerItem(2, {integerItem(1, alert.code + 2), integerItem(2, alert.code + 3)}),
                        integerItem(3, alert.code + 4), containerItem(4, details)});
  std::vector<Bytes> entries;
  for (const auto& entry : alert.entries) {
    entries.push_back(containerItem(low(entries.size() + 1), {integerItem(1, entry.value), stringItem(3, entry.text)}));
  }
  return containerItem(number, {description, containerItem(2, entries), integerItem(4, alert.code + 7)});
}

}  // namespace

Bytes operator+(Bytes left, const Bytes& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

Bytes containerItem(std::uint8_t id, const std::vector<Bytes>& elements) {
  const Bytes content = joined(elements);
  return Bytes{id, 0, low(elements.size())} + word(content.size()) + content;
}

Bytes integerItem(std::uint8_t id, std::uint64_t value, std::size_t size) {
  Bytes item = Bytes{id, 1} + word(size);
  for (std::size_t i = size; i-- > 0;) item.push_back(low(value >> 8 * i));
  return item;
}

Bytes stringItem(std::uint8_t id, std::string_view text) {
  return Bytes{id, 2} + word(text.size()) + textBytes(text);
}

Bytes alertBlock(const Bytes& root, std::string_view headerText) {
  Bytes header = textBytes(headerText);
  header.resize(HEADER_TEXT_SIZE);
  const Bytes content = Bytes{0, 0} + header + root;
  return word(content.size()) + content;
}

Bytes alertBlock(const std::vector<Alert>& alerts) {
  std::vector<Bytes> items;
  items.reserve(alerts.size());
  for (const auto& alert : alerts) items.push_back(alertItem(low(items.size() + 1), alert));
  return alertBlock(containerItem(1, {integerItem(1, 7), containerItem(2, items)}));
}

Bytes responseHead(std::uint8_t mask) {
  Bytes head = {0xA5, 0, 0, 0x50, 0xE0, 0x73, 0x03, 0x08, 0, 0, mask};
  head.resize(25);
  return head;
}

Bytes alertResponse(std::uint8_t mask, const Bytes& block) {
  return closed(responseHead(mask) + block);
}

std::vector<Bytes> alertPackets(std::uint8_t mask, const Bytes& block, std::size_t packetSize) {
  const Bytes whole = responseHead(mask) + block;
  std::vector<Bytes> packets;
  for (std::size_t taken = 0; taken < whole.size();) {
    Bytes packet;
    if (taken > 0) packet.assign(whole.begin(), whole.begin() + PACKET_HEADER_SIZE);
    const std::size_t part = std::min(packetSize - packet.size(), whole.size() - taken);
    const auto first = whole.begin() + static_cast<std::ptrdiff_t>(taken);
    packet.insert(packet.end(), first, first + static_cast<std::ptrdiff_t>(part));
    taken += part;
    packet[3] = taken < whole.size() ? 0x70 : 0x50;
    packets.push_back(closed(packet));
  }
  return packets;
}

Bytes answerDatagram(const std::vector<Bytes>& packets) {
  return Bytes{0x01, 0, 0, 0x31, 0, 0, 0, 0, 0x12, 0x34, 0x56, 0x78} + joined(packets);
}

Bytes oirDatagram(const std::vector<Bytes>& entries) {
  const Bytes content = joined(entries);
  return Bytes{0x01, 0, 0, 0x31, 0, 0, 0, 0, 0x11, 0x11, 0, 0} + Bytes{0xA5} + word(content.size() + 4) +
         Bytes{0x50, 0x04, 0x06, low(entries.size())} + content;
}

}  // namespace kesto::printer
