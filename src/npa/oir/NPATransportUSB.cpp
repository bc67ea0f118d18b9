#include "npa/oir/NPATransportUSB.h"

namespace kesto {

std::int64_t NPATransportUSB::InitializeConnection(char* /*address*/) {
  return 0;
}

std::int64_t NPATransportUSB::SendNPACommand(unsigned char* /*bytes*/, unsigned long /*length*/) {
  return 0;
}

std::int64_t NPATransportUSB::ReadNPAResponse(unsigned char* /*buffer*/, unsigned long /*length*/) {
  return 0;
}

std::int64_t NPATransportUSB::ShutdownConnection() {
  return 0;
}

}  // namespace kesto
