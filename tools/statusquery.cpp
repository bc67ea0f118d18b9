#include "statusquery.h"

#include <array>
#include <chrono>
#include <span>

#include "base/datagram.h"
#include "base/descriptor.h"
#include "npa/NPAValidator.h"
#include "npa/NpaParser.h"
#include "npa/alerttext.h"

namespace kesto::tools {
namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

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

void readAlerts(PrinterStatus& status) {
  PSSDALERTINFO* records = nullptr;
  std::int32_t count = 0;
  if (GetExtAlertInformation(validBuffer.data(), VALID_BUFFER_SIZE, records, count) != 0) return;
  for (const PSSDALERTINFO& alert : std::span(records, static_cast<std::size_t>(count))) {
    status.errors = status.errors || alert.alertType == ALERT_ERROR;
    status.alerts.push_back(alertText(alert));
  }
  releaseAlerts(records, count);
}

}  // namespace

PrinterStatus queryStatus(const std::string& address) {
  const Answer answer = askPrinter(address);
  PrinterStatus status = {.heard = answer.heard, .answered = answer.ours, .alerts = {}};
  if (answer.complete) readAlerts(status);
  return status;
}

}  // namespace kesto::tools
