#include "hdc/monitor/networkmonitor.h"

#include <array>
#include <cctype>
#include <cstring>
#include <span>

#include <poll.h>
#include <unistd.h>

#include "base/datagram.h"
#include "base/report.h"
#include "hdc/monitor/alertreport.h"
#include "npa/NPAValidator.h"

namespace kesto {
namespace {

using std::chrono::milliseconds;

constexpr std::uint16_t NPA_PORT = 9300;
constexpr std::size_t SHORTEST_ADDRESS = 8;
constexpr std::chrono::seconds RECEIVE_TIME{2};
constexpr milliseconds RETRY_PAUSE{1000};
constexpr milliseconds POLL_PAUSE{2000};

/// A printer that never stops sending must not keep a cycle, or a stopped job, from ending.
constexpr int MAX_DATAGRAMS = 64;
constexpr milliseconds CLOSING_TIME = 2 * RECEIVE_TIME;

// The monitor's requests. Unregistering differs from registering in one byte.
constexpr std::array REGISTER = NPA_COMMAND_REGLANGID;
constexpr std::array UNREGISTER = [] {
  auto packet = NPA_COMMAND_REGLANGID;
  packet[10] = 0x00;
  return packet;
}();
constexpr std::array EXTENDED_ERRORS = NPA_DEVCOMMAND_EXT_ERRORS;

/// A request as it goes out.
class Datagram {
 public:
  explicit Datagram(std::span<const std::uint8_t> command)
      : length_(AssembleNPACommand(command.data(), bytes_.data(), static_cast<std::int32_t>(command.size()))) {}

  ssize_t send(int descriptor) const { return SendNpaNetworkCommand(descriptor, bytes_.data(), length()); }
  [[nodiscard]] std::uint32_t length() const { return static_cast<std::uint32_t>(length_); }

 private:
  std::array<std::uint8_t, 512> bytes_ = {};
  std::int32_t length_;
};

/// The monitor's side of one printer, from its first connection to its last.
class Monitor {
 public:
  explicit Monitor(const char* address) : address_(address) {}
  Monitor(const Monitor&) = delete;
  Monitor& operator=(const Monitor&) = delete;
  ~Monitor() { CloseNpaNetworkConnection(descriptor_); }

  void run() {
    while (!npaNetworkThreadParams.stopped()) {
      if (descriptor_ < 0 && !connect()) continue;
      extendedErrors_.send(descriptor_);
      // The first datagram after a request answers an earlier one or acknowledges this one.
      if (receive() > 0 && receiveResponse()) reportAlerts(responseLength_, NETWORK_REPORT);
      npaNetworkThreadParams.pause(POLL_PAUSE);
    }
    if (descriptor_ >= 0) {
      report("Sent unregister command with return status %zd", unregister_.send(descriptor_));
    }
  }

 private:
  bool connect() {
    if (InitializeNpaNetworkConnection(address_, descriptor_) != 0) {
      CloseNpaNetworkConnection(descriptor_);
      npaNetworkThreadParams.pause(RETRY_PAUSE);
      return false;
    }
    const ssize_t sent = register_.send(descriptor_);
    report("Sent register command with return status %zd", sent);
    if (sent >= static_cast<ssize_t>(register_.length())) {
      failedRegistrations_ = 0;
      return true;
    }
    CloseNpaNetworkConnection(descriptor_);
    // The next attempt follows at once; if the network refuses that one too, wait.
    if (++failedRegistrations_ > 1) npaNetworkThreadParams.pause(RETRY_PAUSE);
    return false;
  }

  /// Receives a datagram within RECEIVE_TIME; 0 or less when none came or the monitor is to end at once.
  ssize_t receive() {
    const bool arrived = pollUntil(
        [this] {
          pollfd input = {.fd = descriptor_, .events = POLLIN, .revents = 0};
          return closing_.isOver() || ::poll(&input, 1, 0) != 0;
        },
        RECEIVE_TIME);
    if (!arrived || closing_.isOver()) return -1;
    return ReadNpaNetworkResponse(descriptor_, buffer_.data(), static_cast<std::uint32_t>(buffer_.size()));
  }

  /// Reads datagrams until a response is complete. False when none came to its end.
  bool receiveResponse() {
    std::int32_t done = 1;
    bool complete = false;
    for (int i = 0; done == 1 && i < MAX_DATAGRAMS; ++i) {
      const ssize_t got = receive();
      if (got <= 0) return complete;
      const auto datagram = std::span(buffer_).first(static_cast<std::size_t>(got));
      if (!isAckIDValid(datagram)) continue;
      const auto packets = datagram.subspan(NETWORK_ANSWER_OFFSET);
      std::int32_t length = 0;
      complete = ValidateReceivedResponse(packets.data(), validBuffer, static_cast<std::uint32_t>(packets.size()),
                                          length, done);
      responseLength_ = static_cast<std::uint32_t>(length);
    }
    return complete;
  }

  const char* address_;
  int descriptor_ = -1;
  int failedRegistrations_ = 0;
  ClosingTime closing_{npaNetworkThreadParams, CLOSING_TIME};
  std::uint32_t responseLength_ = 0;
  std::array<std::uint8_t, 1024> buffer_ = {};
  Datagram register_{REGISTER};
  Datagram unregister_{UNREGISTER};
  Datagram extendedErrors_{EXTENDED_ERRORS};
};

}  // namespace

constinit StatusThread npaNetworkThreadParams;

std::int32_t ValidateChannel(const char* address) {
  int points = 0;
  for (const char* c = address; *c != '\0'; ++c) {
    if (std::isalpha(static_cast<unsigned char>(*c)) != 0) return -1;
    if (*c == '.') ++points;
  }
  if (points == 3) return 1;
  report("\nreturned with error");
  return -1;
}

void StartNpaNetworkThread(const char* address) {
  npaNetworkThreadParams.start(npa_network_thread, const_cast<char*>(address));
}

void StopNpaNetworkThread() {
  npaNetworkThreadParams.stop();
}

void* npa_network_thread(void* address) {
  const char* text = static_cast<const char*>(address);
  if (text != nullptr && std::strlen(text) >= SHORTEST_ADDRESS) Monitor(text).run();
  return nullptr;
}

std::int32_t InitializeNpaNetworkConnection(const char* address, int& descriptor) {
  descriptor = openDatagramSocket();
  if (descriptor < 0) return -1;
  return connectDatagramSocket(descriptor, address, NPA_PORT, RECEIVE_TIME) ? 0 : -1;
}

ssize_t SendNpaNetworkCommand(int descriptor, const std::uint8_t* bytes, std::uint32_t length) {
  return sendDatagram(descriptor, bytes, length);
}

ssize_t ReadNpaNetworkResponse(int descriptor, std::uint8_t* buffer, std::uint32_t length) {
  return receiveDatagram(descriptor, buffer, length);
}

void CloseNpaNetworkConnection(int& descriptor) {
  if (descriptor >= 0) close(descriptor);
  descriptor = -1;
}

}  // namespace kesto
