// A TCP connection to a printer's port for plain data (usually 9100).
//
// Never waits longer than its caller wants.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>

#include <sys/types.h>

#include "base/descriptor.h"

namespace kesto::app {

class Connection {
 public:
  /// For "socket://HOST[:PORT]". Nothing is connected yet.
  explicit Connection(const std::string& uri);

  /// Connects, within 5 seconds for each of the host's addresses. False with errno set when that fails or `giveUp` ends
  /// the wait. A connection that is there is closed before.
  [[nodiscard]] bool open(const std::function<bool()>& giveUp);

  [[nodiscard]] int descriptor() const { return socket_.get(); }

  /// The bytes taken, 0 when none can be taken at the moment, -1 with errno set when the connection is lost.
  [[nodiscard]] ssize_t write(std::span<const std::uint8_t> bytes);

  /// Says that nothing follows, waits until the printer has acknowledged all bytes, and closes the connection. False
  /// with errno set when it was lost before, or when `giveUp` ended the wait.
  [[nodiscard]] bool finish(const std::function<bool()>& giveUp);

  void close() { socket_.close(); }

 private:
  std::string host_;
  std::string port_;
  Descriptor socket_;
};

}  // namespace kesto::app
