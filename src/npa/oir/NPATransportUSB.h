// The transport of printers on USB. Requests can travel only in the print data, so it accepts every call and does
// nothing: a poll through it sends 0 bytes and ends there.
#pragma once

#include <cstdint>

#include "npa/oir/NPATransport.h"

namespace kesto {

class NPATransportUSB : public NPATransport {
 public:
  std::int64_t InitializeConnection(char* address) override;
  std::int64_t SendNPACommand(unsigned char* bytes, unsigned long length) override;
  std::int64_t ReadNPAResponse(unsigned char* buffer, unsigned long length) override;
  std::int64_t ShutdownConnection() override;
};

}  // namespace kesto
