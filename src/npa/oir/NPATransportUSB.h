// The transport of printers on USB. There is no road for requests outside the print data, so it accepts every call and
// brings nothing: a poll through it sends 0 bytes and ends there.
#pragma once

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
