// A printer's side of a datagram conversation, on loopback.
#pragma once

#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "support/hex.h"

namespace kesto::test {

/// Answers each datagram with the next of the given lists of datagrams, the last list again and again.
class UdpResponder {
 public:
  /// Listens at `address`; port 0 stands for a free one.
  UdpResponder(std::string address, std::uint16_t port, std::vector<std::vector<Bytes>> answers);
  UdpResponder(const UdpResponder&) = delete;
  UdpResponder& operator=(const UdpResponder&) = delete;
  ~UdpResponder();

  [[nodiscard]] std::uint16_t port() const { return port_; }
  [[nodiscard]] const std::string& address() const { return address_; }

  /// Ends the listening; returns what was received.
  std::vector<Bytes> stop();

 private:
  void serve(const std::stop_token& stop);

  std::string address_;
  std::uint16_t port_ = 0;
  std::vector<std::vector<Bytes>> answers_;
  int socket_ = -1;
  std::vector<Bytes> requests_;
  std::jthread thread_;
};

}  // namespace kesto::test
