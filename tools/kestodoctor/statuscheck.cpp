// Whether the printer answers status requests, which is how a queue comes by its messages, and what it has to say.
//
// The same datagrams as a job's: register, ask for the errors, unregister.
#include <array>
#include <chrono>
#include <cstdint>
#include <span>

#include <arpa/inet.h>
#include <cups/http.h>
#include <netinet/in.h>

#include "base/datagram.h"
#include "base/descriptor.h"
#include "kestodoctor/checks.h"
#include "npa/NPAValidator.h"
#include "npa/NpaParser.h"
#include "npa/alerttext.h"

namespace kesto::doctor {
namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

constexpr std::uint16_t STATUS_PORT = 9300;
constexpr std::chrono::seconds ANSWER_TIME{3};

constexpr auto UNREGISTER = [] {
  auto packet = NPA_COMMAND_REGLANGID;
  packet[10] = 0x00;
  return packet;
}();

/// What came back from the printer.
struct Answer {
  bool heard = false;     ///< a datagram of any kind
  bool ours = false;      ///< one that answers us, with a packet that is whole
  bool complete = false;  ///< a whole response is in validBuffer
};

void send(int descriptor, std::span<const std::uint8_t> command) {
  std::array<std::uint8_t, 64> bytes = {};
  const std::int32_t length =
      AssembleNPACommand(command.data(), bytes.data(), static_cast<std::int32_t>(command.size()));
  // One that is lost is not answered.
  static_cast<void>(sendDatagram(descriptor, bytes.data(), static_cast<std::size_t>(length)));
}

void take(std::span<const std::uint8_t> datagram, Answer& answer) {
  answer.heard = true;
  if (!isAckIDValid(datagram)) return;
  const auto packets = datagram.subspan(NETWORK_ANSWER_OFFSET);
  const std::uint32_t first = lengthofNPACommand(packets);
  if (first == 0 || first > packets.size()) return;
  answer.ours = true;
  std::int32_t length = 0, done = 1;
  answer.complete =
      ValidateReceivedResponse(packets.data(), validBuffer, static_cast<std::uint32_t>(packets.size()), length, done);
}

/// Reads until a response is complete or the time is over. A printer that refuses datagrams ends the wait at once.
Answer readAnswer(int descriptor) {
  Answer answer;
  std::array<std::uint8_t, 1024> buffer;
  const Clock::time_point end = Clock::now() + ANSWER_TIME;
  while (!answer.complete) {
    const auto left = std::chrono::duration_cast<milliseconds>(end - Clock::now());
    if (left <= milliseconds::zero() || waitForInput(descriptor, left) <= 0) break;
    const ssize_t got = receiveDatagram(descriptor, buffer.data(), buffer.size());
    if (got < 0) break;
    take(std::span(buffer).first(static_cast<std::size_t>(got)), answer);
  }
  return answer;
}

Answer askPrinter(const std::string& address) {
  const Descriptor socket(openDatagramSocket());
  if (socket.get() < 0 || !connectDatagramSocket(socket.get(), address.c_str(), STATUS_PORT, ANSWER_TIME)) return {};
  // A second response must not be joined to the pieces of another printer's.
  validBuffer.fill(0);
  firstresponse = 1;
  firstResponseBufferCount = 0;
  send(socket.get(), NPA_COMMAND_REGLANGID);
  send(socket.get(), NPA_DEVCOMMAND_EXT_ERRORS);
  const Answer answer = readAnswer(socket.get());
  send(socket.get(), UNREGISTER);
  return answer;
}

struct Alerts {
  std::vector<std::string> texts;
  bool errors = false;
};

Alerts readAlerts() {
  Alerts alerts;
  PSSDALERTINFO* records = nullptr;
  std::int32_t count = 0;
  if (GetExtAlertInformation(validBuffer.data(), VALID_BUFFER_SIZE, records, count) != 0) return alerts;
  for (const PSSDALERTINFO& alert : std::span(records, static_cast<std::size_t>(count))) {
    alerts.errors = alerts.errors || alert.alertType == ALERT_ERROR;
    alerts.texts.push_back(quoted(alertText(alert)));
  }
  releaseAlerts(records, count);
  return alerts;
}

/// The host's IPv4 address with its points; empty when it has none.
std::string addressOf(const std::string& host) {
  http_addrlist_t* const addresses = httpAddrGetList(host.c_str(), AF_INET, nullptr);
  std::array<char, INET_ADDRSTRLEN> text = {};
  if (addresses != nullptr) inet_ntop(AF_INET, &addresses->addr.ipv4.sin_addr, text.data(), text.size());
  httpAddrFreeList(addresses);
  return text.data();
}

Finding findingOf(const Answer& answer, const std::string& host) {
  if (!answer.ours) {
    return wrong(
        std::string("the printer ") + (answer.heard ? "answers nonsense to" : "does not answer") +
            " status requests on UDP port " + std::to_string(STATUS_PORT),
        "let that port through between here and " + plain(host) + "; jobs are printed all the same, without messages");
  }
  const Alerts alerts = answer.complete ? readAlerts() : Alerts{};
  if (alerts.errors) return wrong("the printer reports " + listed(alerts.texts), "see to it at the printer");
  if (!alerts.texts.empty())
    return good("the printer answers status requests, with a warning: " + listed(alerts.texts));
  return good("the printer answers status requests and reports no error");
}

}  // namespace

Finding checkStatus(Examination& examination) {
  const std::string& host = examination.device.host;
  if (host.empty()) return skipped("the printer's status: it is asked on the network only");
  const std::string address = addressOf(host);
  if (address.empty())
    return skipped("the printer's status: it is asked by IPv4, and " + plain(host) + " has no such address");
  Finding finding = findingOf(askPrinter(address), host);
  if (finding.state == State::GOOD && address != host) {
    finding.what += " (jobs do not ask it: the device URI gives no IPv4 address but a name)";
  }
  return finding;
}

}  // namespace kesto::doctor
