#include "npa/oir/NPATransport9300.h"

#include <algorithm>
#include <string_view>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

namespace kesto {

namespace {

constexpr std::size_t MIN_ADDRESS_LENGTH = 8;
constexpr unsigned long MIN_BUFFER_SIZE = 540;

bool connectTo(int descriptor, const char* address, std::uint16_t port) {
  sockaddr_in printer{};
  printer.sin_family = AF_INET;
  printer.sin_port = htons(port);
  if (inet_pton(AF_INET, address, &printer.sin_addr) != 1) return false;
  // The socket interface takes every kind of address through one pointer type.
  return connect(descriptor, reinterpret_cast<const sockaddr*>(&printer), sizeof printer) == 0;
}

}  // namespace

NPATransport9300::~NPATransport9300() {
  NPATransport9300::ShutdownConnection();
}

std::int64_t NPATransport9300::InitializeConnection(char* address) {
  ShutdownConnection();
  if (address == nullptr || std::string_view(address).size() < MIN_ADDRESS_LENGTH) return -1;
  const int descriptor = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (descriptor < 0) return -1;
  if (!connectTo(descriptor, address, port)) {
    close(descriptor);
    return 0;
  }
  socketDescriptor = descriptor;
  connected = 1;
  const timeval oneSecond{.tv_sec = 1, .tv_usec = 0};
  setsockopt(descriptor, SOL_SOCKET, SO_RCVTIMEO, &oneSecond, sizeof oneSecond);
  return 0;
}

std::int64_t NPATransport9300::SendNPACommand(unsigned char* bytes, unsigned long length) {
  if (connected == 0 || bytes == nullptr || length == 0) return -1;
  return send(socketDescriptor, bytes, length, MSG_NOSIGNAL);
}

std::int64_t NPATransport9300::ReadNPAResponse(unsigned char* buffer, unsigned long length) {
  if (connected == 0 || buffer == nullptr || length < MIN_BUFFER_SIZE) return -1;
  std::fill_n(buffer, length, std::uint8_t{0});
  return recv(socketDescriptor, buffer, length, 0);
}

std::int64_t NPATransport9300::ShutdownConnection() {
  if (connected != 0) close(socketDescriptor);
  connected = 0;
  socketDescriptor = 0;
  return 0;
}

}  // namespace kesto
