#include "npa/oir/OIRCommandRequest.h"

#include <algorithm>

namespace kesto {

void OIRCommandReq::CopyOIRReqBytes(unsigned char* bytes) const {
  const std::array<std::uint8_t, 6> request = {start_, length_[0], length_[1], flags_, class_, command_};
  std::ranges::copy(request, bytes);
}

}  // namespace kesto
