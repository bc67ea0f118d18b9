// The transport of printers in the network: IPv4 datagrams to port 9300.
#pragma once

#include <cstdint>

#include "npa/oir/NPATransport.h"

namespace kesto {

class NPATransport9300 : public NPATransport {
 public:
  ~NPATransport9300() override;

  /// Connects a new socket to the dotted address at `port`; answers are waited for at most one second.
  ///
  /// A socket that is still open from before is closed first. -1 when the address is missing or shorter than eight
  /// characters, or there is no socket; 0 otherwise, with `connected` still 0 when the address is none or is refused.
  std::int64_t InitializeConnection(char* address) override;

  /// The result of send(2); -1 when not connected, or without bytes.
  std::int64_t SendNPACommand(unsigned char* bytes, unsigned long length) override;

  /// The result of recv(2); -1 when not connected, or when the buffer is missing or shorter than 540 bytes.
  std::int64_t ReadNPAResponse(unsigned char* buffer, unsigned long length) override;

  /// Closes the socket. Always 0.
  std::int64_t ShutdownConnection() override;

  std::int32_t socketDescriptor{0};  ///< 0 when there is none
  std::uint16_t port{9300};          ///< used by the next connection
};

}  // namespace kesto
