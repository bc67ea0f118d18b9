// A way to the printer for short requests and answers.
//
// One transport carries one conversation at a time: connect, send, read, shut down. An object belongs to one thread.
#pragma once

#include <cstdint>

namespace kesto {

class NPATransport {
 public:
  NPATransport() = default;
  NPATransport(const NPATransport&) = delete;
  NPATransport& operator=(const NPATransport&) = delete;
  virtual ~NPATransport() = default;

  /// Connects to the printer at `address`. 0 or -1, but only `connected` says whether commands can be sent.
  virtual std::int64_t InitializeConnection(char* address) = 0;
  /// Sends `length` bytes as one request. Returns how many were sent, -1 when none could be.
  virtual std::int64_t SendNPACommand(unsigned char* bytes, unsigned long length) = 0;
  /// Reads one answer into `buffer`, which is cleared before. Returns its length, -1 when none came.
  virtual std::int64_t ReadNPAResponse(unsigned char* buffer, unsigned long length) = 0;
  /// Ends the connection, if there is one.
  virtual std::int64_t ShutdownConnection() = 0;

  std::uint8_t connected{0};  ///< 1 while there is a connection; written by the transport
};

}  // namespace kesto
