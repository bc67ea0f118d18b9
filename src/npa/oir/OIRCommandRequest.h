// The OIR request: an NPA packet that asks for the printer's operator interventions.
#pragma once

#include <array>
#include <cstdint>

namespace kesto {

class OIRCommandReq {
 public:
  [[nodiscard]] static constexpr std::int32_t getOIRLength() { return 6; }

  /// Writes the getOIRLength() bytes of the request.
  void CopyOIRReqBytes(unsigned char* bytes) const;

 private:
  std::uint8_t start_{0xA5};
  std::array<std::uint8_t, 2> length_{0x00, 0x03};
  std::uint8_t flags_{0x50};
  std::uint8_t class_{0x04};
  std::uint8_t command_{0x06};
};

}  // namespace kesto
