#include "npa/NPAValidator.h"

#include <algorithm>

namespace kesto {

constinit std::array<std::uint8_t, VALID_BUFFER_SIZE> validBuffer{};
constinit std::uint32_t receivedBufferSize = 0;
constinit std::uint8_t setContinueFlag = 0;
constinit std::uint8_t firstresponse = 1;
constinit std::int32_t validBufferCount = 0;
constinit std::int32_t firstResponseBufferCount = 0;

namespace {

constexpr std::uint8_t CONTINUATION_BIT = 0x20;
constexpr std::uint8_t STATUS_COMMAND = 0x73;
constexpr std::array<std::uint8_t, 4> PACKET_ID = {0x12, 0x34, 0x56, 0x78};

/// Start, length, flags and class: what a continuation packet carries before its share of the response.
constexpr std::size_t PART_OFFSET = 5;
/// All bytes up to the category.
constexpr std::size_t HEADER_SIZE = 7;

/// Whether a packet starts a response that the filter uses.
bool isWanted(std::span<const std::uint8_t> packet) {
  if (packet.size() < HEADER_SIZE) return false;
  if ((packet[4] & 0xEF) == 0xEF) return false;  // bit 4 of the class does not matter
  const auto category = requestCategoryofExtendedAlerts(packet);
  return packet[5] == STATUS_COMMAND && (category == 1 || category == 3);
}

/// Appends a packet's share to the response. False, with nothing changed, when it has none or there is no room for it.
bool append(std::span<const std::uint8_t> packet, std::span<std::uint8_t> response) {
  const bool first = firstresponse == 1;
  const std::size_t offset = first ? 0 : static_cast<std::size_t>(validBufferCount);
  const std::size_t skipped = first ? 0 : PART_OFFSET;
  if (packet.size() < skipped || packet.size() - skipped > response.size() - offset) return false;
  const auto part = packet.subspan(skipped);
  std::ranges::copy(part, response.subspan(offset).begin());
  validBufferCount = static_cast<std::int32_t>(offset + part.size());
  firstresponse = 0;
  return true;
}

void startAfresh() {
  firstresponse = 1;
  validBufferCount = 0;
  firstResponseBufferCount = 0;
}

}  // namespace

std::int32_t AssembleNPACommand(const std::uint8_t* command, std::uint8_t* output, std::int32_t commandLength) {
  if (output == nullptr || command == nullptr || commandLength < 0) return -1;
  constexpr std::array<std::uint8_t, 4> start = {0x01, 0x00, 0x00, 0x31};
  output = std::ranges::copy(start, output).out;
  output = std::ranges::copy(PACKET_ID, output).out;
  std::copy_n(command, commandLength, output);
  return commandLength + NETWORK_HEADER_SIZE;
}

std::uint32_t lengthofNPACommand(std::span<const std::uint8_t> packet) {
  if (packet.size() < LENGTH_END || packet[0] != PACKET_START) return 0;
  return (std::uint32_t{packet[1]} << 8 | packet[2]) + LENGTH_END;
}

std::uint8_t isContinueFlagset(std::span<const std::uint8_t> packet) {
  return packet.size() > 3 && packet[0] == PACKET_START && (packet[3] & CONTINUATION_BIT) != 0 ? 1 : 0;
}

std::int32_t requestCategoryofExtendedAlerts(std::span<const std::uint8_t> packet) {
  constexpr std::array<std::int32_t, 7> categories = {1, 8, 3, 8, 8, 8, 7};
  if (packet.size() < HEADER_SIZE || packet[6] < 1 || packet[6] > categories.size()) return 8;
  return categories[packet[6] - 1U];
}

bool isAckIDValid(std::span<const std::uint8_t> datagram) {
  return datagram.size() >= NETWORK_ANSWER_OFFSET && std::ranges::equal(datagram.subspan(8, 4), PACKET_ID);
}

bool ValidateReceivedResponse(const std::uint8_t* received, std::span<std::uint8_t, VALID_BUFFER_SIZE> response,
                              std::uint32_t receivedLength, std::int32_t& assembledLength, std::int32_t& done) {
  receivedBufferSize = receivedLength;
  const std::span block(received, receivedLength);
  // Signed, so that a block of five bytes or fewer is not scanned.
  const std::int64_t scanEnd = std::int64_t{static_cast<std::int32_t>(receivedLength)} - 5;
  std::int32_t complete = 0;  // length of the last one-packet response found in this call

  for (std::int64_t i = 0; i < scanEnd;) {
    const auto rest = block.subspan(static_cast<std::size_t>(i));
    const std::uint32_t length = lengthofNPACommand(rest);
    if (length == 0) {
      ++i;
      continue;
    }
    i += length;  // at least 3: the scan always moves on
    const auto packet = rest.first(std::min<std::size_t>(length, rest.size()));
    const bool first = firstresponse == 1;
    if (first && !isWanted(packet)) continue;
    if (packet.size() < length || !append(packet, response)) {
      // What had been complete is still in the buffer, unless a response was begun over it.
      if (!first) complete = 0;
      startAfresh();
      continue;
    }
    setContinueFlag = isContinueFlagset(packet);
    if (setContinueFlag == 1) continue;

    firstresponse = 1;
    done = -1;
    assembledLength = validBufferCount;
    if (!first) {
      validBufferCount = 0;
      return true;
    }
    if (firstResponseBufferCount >= scanEnd) {
      firstResponseBufferCount = 0;
      return true;
    }
    complete = assembledLength;
    firstResponseBufferCount += complete;  // at most the block's length and one response more
  }

  assembledLength = validBufferCount != 0 ? validBufferCount : complete;
  return complete != 0;
}

}  // namespace kesto
