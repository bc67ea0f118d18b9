#include "base/datagram.h"

#include <algorithm>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>

namespace kesto {
namespace {

constexpr std::size_t SMALLEST_RECEIVE_BUFFER = 540;

}  // namespace

int openDatagramSocket() {
  return socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
}

bool connectDatagramSocket(int descriptor, const char* address, std::uint16_t port, std::chrono::seconds timeout) {
  sockaddr_in printer = {};
  printer.sin_family = AF_INET;
  printer.sin_port = htons(port);
  printer.sin_addr.s_addr = inet_addr(address);
  if (printer.sin_addr.s_addr == INADDR_NONE) return false;
  const void* generic = &printer;
  if (connect(descriptor, static_cast<const sockaddr*>(generic), sizeof printer) != 0) return false;
  const timeval limit = {.tv_sec = timeout.count(), .tv_usec = 0};
  setsockopt(descriptor, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
  return true;
}

ssize_t sendDatagram(int descriptor, const std::uint8_t* bytes, std::size_t length) {
  if (bytes == nullptr || length == 0) return -1;
  return send(descriptor, bytes, length, MSG_NOSIGNAL);
}

ssize_t receiveDatagram(int descriptor, std::uint8_t* buffer, std::size_t length) {
  if (buffer == nullptr || length < SMALLEST_RECEIVE_BUFFER) return -1;
  std::fill_n(buffer, length, std::uint8_t{0});
  return recv(descriptor, buffer, length, 0);
}

}  // namespace kesto
