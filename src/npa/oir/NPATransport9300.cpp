#include "npa/oir/NPATransport9300.h"

#include <chrono>
#include <string_view>

#include <unistd.h>

#include "base/datagram.h"

namespace kesto {

namespace {

constexpr std::size_t MIN_ADDRESS_LENGTH = 8;
constexpr std::chrono::seconds RECEIVE_TIME{1};

}  // namespace

NPATransport9300::~NPATransport9300() {
  NPATransport9300::ShutdownConnection();
}

std::int64_t NPATransport9300::InitializeConnection(char* address) {
  ShutdownConnection();
  if (address == nullptr || std::string_view(address).size() < MIN_ADDRESS_LENGTH) return -1;
  const int descriptor = openDatagramSocket();
  if (descriptor < 0) return -1;
  if (!connectDatagramSocket(descriptor, address, port, RECEIVE_TIME)) {
    close(descriptor);
    return 0;
  }
  socketDescriptor = descriptor;
  connected = 1;
  return 0;
}

std::int64_t NPATransport9300::SendNPACommand(unsigned char* bytes, unsigned long length) {
  return connected == 0 ? -1 : sendDatagram(socketDescriptor, bytes, length);
}

std::int64_t NPATransport9300::ReadNPAResponse(unsigned char* buffer, unsigned long length) {
  return connected == 0 ? -1 : receiveDatagram(socketDescriptor, buffer, length);
}

std::int64_t NPATransport9300::ShutdownConnection() {
  if (connected != 0) close(socketDescriptor);
  connected = 0;
  socketDescriptor = 0;
  return 0;
}

}  // namespace kesto
