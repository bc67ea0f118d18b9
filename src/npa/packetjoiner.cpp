#include "npa/packetjoiner.h"

#include <algorithm>

namespace kesto {
namespace {

/// True when `bytes` begin with a packet whose end is missing and worth waiting for.
bool isCutPacket(std::span<const std::uint8_t> bytes) {
  if (bytes[0] != PACKET_START) return false;
  if (bytes.size() < LENGTH_END) return true;
  const std::size_t length = lengthofNPACommand(bytes);
  return length > bytes.size() && length <= VALID_BUFFER_SIZE;
}

}  // namespace

std::span<std::uint8_t, PacketJoiner::LARGEST_PIECE> PacketJoiner::next() {
  std::copy(bytes_.begin() + whole_, bytes_.begin() + used_, bytes_.begin());
  used_ -= whole_;
  whole_ = 0;
  return std::span(bytes_).subspan(used_).first<LARGEST_PIECE>();
}

std::span<const std::uint8_t> PacketJoiner::add(std::size_t count) {
  used_ += count;
  const auto bytes = std::span(bytes_).first(used_);
  for (whole_ = 0; whole_ < used_ && !isCutPacket(bytes.subspan(whole_));) {
    whole_ = std::min<std::size_t>(whole_ + std::max(lengthofNPACommand(bytes.subspan(whole_)), 1U), used_);
  }
  return bytes.first(whole_);
}

}  // namespace kesto
