// What the virtual printer answers to a status request: NPA and OIR, well or, on demand, badly; as datagrams for the
// network and as packets for USB.
#pragma once

#include <chrono>
#include <cstdint>
#include <span>
#include <vector>

#include "kestoprinter/alertpanel.h"
#include "kestoprinter/answers.h"

namespace kesto::printer {

/// What is wrong with the answers.
enum class Fault {
  NONE,
  SILENT,     ///< no answer at all
  GARBAGE,    ///< bytes of no format
  TRUNCATED,  ///< the second half of each answer is missing
  OVERSIZED,  ///< lengths that reach beyond the answer
  WRONG_ID,   ///< the packet ID of somebody else
};

struct StatusBehaviour {
  Fault fault = Fault::NONE;
  int packets = 1;                     ///< in how many packets, a datagram each, an alert response goes
  std::chrono::milliseconds delay{0};  ///< before each answer
};

/// Counts of the requests that have come, for the log and the tests.
struct StatusCounts {
  int registered = 0;
  int unregistered = 0;
  int polls = 0;
  int oirPolls = 0;
};

class StatusPort {
 public:
  explicit StatusPort(const StatusBehaviour& behaviour) : behaviour_(behaviour) {}

  /// The datagrams that answer a request as it comes over the network, in order; none for what is no request.
  [[nodiscard]] std::vector<Bytes> answer(std::span<const std::uint8_t> request, const AlertPanel& panel);

  /// The packets that answer a request packet by itself, as on USB.
  [[nodiscard]] std::vector<Bytes> answerPackets(std::span<const std::uint8_t> packet, const AlertPanel& panel);

  [[nodiscard]] const StatusCounts& counts() const { return counts_; }
  [[nodiscard]] std::chrono::milliseconds delay() const { return behaviour_.delay; }

 private:
  [[nodiscard]] std::vector<Bytes> rightPackets(std::span<const std::uint8_t> packet, const AlertPanel& panel);
  [[nodiscard]] std::vector<Bytes> alertAnswer(const AlertPanel& panel) const;
  void damage(std::vector<Bytes>& answers, std::size_t prefix) const;

  StatusBehaviour behaviour_;
  StatusCounts counts_;
};

}  // namespace kesto::printer
