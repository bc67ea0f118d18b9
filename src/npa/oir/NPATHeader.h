// The header before a request in the network: 01 00 00 31 and a packet ID, which the printer's answer echoes.
#pragma once

#include <array>
#include <cstdint>

namespace kesto {

class NPATHeaderReq {
 public:
  /// Sets the packet ID, of which four bytes travel.
  void setPacketID(unsigned long packetID) { packetID_ = packetID; }

  [[nodiscard]] static constexpr std::int32_t getHeaderLength() { return 8; }

  /// Writes getHeaderLength() bytes, the packet ID least significant byte first.
  void CopyNPATHdrBytes(unsigned char* bytes) const;

 private:
  std::array<std::uint8_t, 4> header_{0x01, 0x00, 0x00, 0x31};
  std::uint64_t packetID_{0x12345678};
};

}  // namespace kesto
