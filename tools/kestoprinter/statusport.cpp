#include "kestoprinter/statusport.h"

#include <algorithm>

namespace kesto::printer {
namespace {

// Where a request's packet stands behind the network header, and where the packet's fields are.
constexpr std::size_t NETWORK_HEADER_SIZE = 8;
constexpr std::size_t ANSWER_HEADER_SIZE = 12;  ///< in a datagram that answers
constexpr std::size_t CLASS = 4, COMMAND = 5, CATEGORY = 6, MASK = 10;
constexpr std::uint8_t ALERTS = 3, REGISTRATION = 7;
constexpr std::uint8_t OIR_CLASS = 0x04, OIR_COMMAND = 0x06;

/// The conditions in an OIR answer, for alerts of any text: "Device", "Maintenance".
constexpr std::uint8_t OIR_COMPONENT = 7, OIR_CONDITION = 21;

/// The printer's acknowledgement of a request, which the asking side skips.
Bytes acknowledgement() {
  return {0xA5, 0x00, 0x04, 0x50, 0xEF, 0x73, 0x00};
}

Bytes registrationAnswer() {
  return {0xA5, 0x00, 0x05, 0x50, 0xE0, 0x73, REGISTRATION, 0x00};
}

Bytes oirAnswer(const AlertPanel& panel) {
  std::vector<Bytes> entries;
  for (std::size_t i = 0; i < panel.alerts().size(); ++i) entries.push_back({OIR_COMPONENT, 0, OIR_CONDITION, 4});
  return oirDatagram(entries);
}

}  // namespace

std::vector<Bytes> StatusPort::answer(std::span<const std::uint8_t> request, const AlertPanel& panel) {
  if (request.size() < NETWORK_HEADER_SIZE + CATEGORY) return {};
  const auto packet = request.subspan(NETWORK_HEADER_SIZE);
  if (packet[0] != 0xA5) return {};
  std::vector<Bytes> datagrams;
  if (packet[CLASS] == OIR_CLASS && packet[COMMAND] == OIR_COMMAND) {
    ++counts_.oirPolls;
    datagrams.push_back(oirAnswer(panel));
  } else {
    for (const Bytes& answer : rightPackets(packet, panel)) datagrams.push_back(answerDatagram({answer}));
  }
  damage(datagrams, ANSWER_HEADER_SIZE);
  return datagrams;
}

std::vector<Bytes> StatusPort::answerPackets(std::span<const std::uint8_t> packet, const AlertPanel& panel) {
  std::vector<Bytes> answers = rightPackets(packet, panel);
  damage(answers, 0);
  return answers;
}

std::vector<Bytes> StatusPort::rightPackets(std::span<const std::uint8_t> packet, const AlertPanel& panel) {
  if (packet.size() <= MASK) return {};
  if (packet[CATEGORY] == REGISTRATION) {
    ++(packet[MASK] != 0 ? counts_.registered : counts_.unregistered);
    return {registrationAnswer()};
  }
  if (packet[CATEGORY] != ALERTS) return {};
  ++counts_.polls;
  return alertAnswer(panel);
}

std::vector<Bytes> StatusPort::alertAnswer(const AlertPanel& panel) const {
  std::vector<Alert> alerts;
  for (const PanelAlert& alert : panel.alerts()) {
    Alert built;
    built.entries.push_back({1, alert.text});
    alerts.push_back(std::move(built));
  }
  const Bytes block = alertBlock(alerts);
  std::vector<Bytes> packets = {acknowledgement()};
  if (behaviour_.packets <= 1) {
    packets.push_back(alertResponse(panel.mask(), block));
    return packets;
  }
  // The first packet's head and the rest of the block share the packets evenly.
  const std::size_t size = (block.size() + 30) / static_cast<std::size_t>(behaviour_.packets) + 6;
  for (Bytes& packet : alertPackets(panel.mask(), block, size)) packets.push_back(std::move(packet));
  return packets;
}

/// Corrupts answers after their prefix of so many bytes.
void StatusPort::damage(std::vector<Bytes>& answers, std::size_t prefix) const {
  constexpr std::size_t PACKET_ID = 8;
  for (Bytes& answer : answers) {
    switch (behaviour_.fault) {
      case Fault::NONE:
      case Fault::SILENT:
        break;
      case Fault::GARBAGE:
        for (std::size_t i = prefix; i < answer.size(); ++i) answer[i] = static_cast<std::uint8_t>(i * 73 + 0xA5);
        break;
      case Fault::TRUNCATED:
        answer.resize(prefix + (answer.size() - prefix) / 2);
        break;
      case Fault::OVERSIZED:
        answer[prefix + 1] = 0xFF;
        break;
      case Fault::WRONG_ID:
        if (prefix > PACKET_ID) answer[PACKET_ID] ^= 0xFF;
        break;
    }
  }
  if (behaviour_.fault == Fault::SILENT) answers.clear();
}

}  // namespace kesto::printer
