#include "npa/oir/NPATHeader.h"

#include <algorithm>

namespace kesto {

void NPATHeaderReq::CopyNPATHdrBytes(unsigned char* bytes) const {
  bytes = std::ranges::copy(header_, bytes).out;
  for (int shift = 0; shift < 32; shift += 8) *bytes++ = static_cast<std::uint8_t>(packetID_ >> shift);
}

}  // namespace kesto
