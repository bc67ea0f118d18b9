// Asks a network printer for its alerts, with the same datagrams as a job: register, ask, unregister.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kesto::tools {

/// The printer's UDP port for status requests.
inline constexpr std::uint16_t STATUS_PORT = 9300;

struct PrinterStatus {
  bool heard = false;     ///< anything has come back
  bool answered = false;  ///< it was an answer to us
  std::vector<std::string> alerts;
  bool errors = false;  ///< one of the alerts is an error
};

/// Asks the printer at a dotted address, and waits up to 3 seconds for the answer. For one thread of a program: packets
/// are put together in one place.
[[nodiscard]] PrinterStatus queryStatus(const std::string& address);

}  // namespace kesto::tools
