#include "support/udpresponder.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace kesto::test {

UdpResponder::UdpResponder(std::string address, std::uint16_t port, std::vector<std::vector<Bytes>> answers)
    : address_(std::move(address)), answers_(std::move(answers)) {
  socket_ = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  sockaddr_in local{};
  local.sin_family = AF_INET;
  local.sin_port = htons(port);
  inet_pton(AF_INET, address_.c_str(), &local.sin_addr);
  socklen_t size = sizeof local;
  if (bind(socket_, reinterpret_cast<sockaddr*>(&local), size) != 0 ||
      getsockname(socket_, reinterpret_cast<sockaddr*>(&local), &size) != 0) {
    close(socket_);
    throw std::runtime_error("cannot listen at " + address_);
  }
  port_ = ntohs(local.sin_port);
  thread_ = std::jthread([this](const std::stop_token& stop) { serve(stop); });
}

UdpResponder::~UdpResponder() {
  stop();
  close(socket_);
}

std::vector<Bytes> UdpResponder::stop() {
  thread_.request_stop();
  if (thread_.joinable()) thread_.join();
  return requests_;
}

void UdpResponder::serve(const std::stop_token& stop) {
  while (!stop.stop_requested()) {
    pollfd waiting{.fd = socket_, .events = POLLIN, .revents = 0};
    if (poll(&waiting, 1, 10) <= 0) continue;
    Bytes request(2048);
    sockaddr_in sender{};
    socklen_t size = sizeof sender;
    const auto count =
        recvfrom(socket_, request.data(), request.size(), 0, reinterpret_cast<sockaddr*>(&sender), &size);
    if (count < 0) continue;
    request.resize(static_cast<std::size_t>(count));
    requests_.push_back(request);
    if (answers_.empty()) continue;
    for (const auto& answer : answers_[std::min(requests_.size(), answers_.size()) - 1]) {
      sendto(socket_, answer.data(), answer.size(), 0, reinterpret_cast<sockaddr*>(&sender), size);
    }
  }
}

}  // namespace kesto::test
