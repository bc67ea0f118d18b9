#include "hdc/usbreader.h"

#include <array>

#include <cups/sidechannel.h>
#include <poll.h>

#include "hdc/alertreport.h"
#include "npa/NPAValidator.h"

namespace kesto {
namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

constexpr int BACK_CHANNEL = 3;
constexpr std::size_t RECEIVE_SIZE = 8192;
constexpr milliseconds READ_TIME{1000};
constexpr milliseconds REPORT_PAUSE{2000};

/// Reads from the back channel within READ_TIME; 0 or less when nothing came or the thread is to end.
///
/// The library's own time-out ends in a read that blocks where the channel does, so that readiness is looked at here. A
/// channel that is closed or not there answers at once, and would be asked without end if the time did not pass here.
ssize_t readBackChannel(std::array<std::uint8_t, RECEIVE_SIZE>& buffer) {
  const auto start = Clock::now();
  const bool ready = pollUntil(
      [] {
        pollfd input = {.fd = BACK_CHANNEL, .events = POLLIN, .revents = 0};
        return usbReadParams.stopped() || ::poll(&input, 1, 0) != 0;
      },
      READ_TIME);
  if (!ready || usbReadParams.stopped()) return 0;
  const double seconds = std::chrono::duration<double>(READ_TIME).count();
  const ssize_t got =
      cupsBackChannelRead(static_cast<char*>(static_cast<void*>(buffer.data())), buffer.size(), seconds);
  if (got <= 0) {
    usbReadParams.pause(READ_TIME - std::chrono::duration_cast<milliseconds>(Clock::now() - start));
  }
  return got;
}

}  // namespace

constinit StatusThread usbReadParams;

void StartUsbReadThread() {
  if (!usbReadParams.stopped()) return;
  validBuffer.fill(0);
  usbReadParams.start(usb_read_thread, nullptr);
}

void StopUsbReadThread() {
  usbReadParams.stop();
}

void* usb_read_thread(void* /*argument*/) {
  std::array<std::uint8_t, RECEIVE_SIZE> buffer = {};
  IsDeviceInError.store(0, std::memory_order_release);
  while (!usbReadParams.stopped()) {
    const ssize_t got = readBackChannel(buffer);
    if (got <= 0) continue;
    std::int32_t length = 0;
    std::int32_t done = 1;
    if (!ValidateReceivedResponse(buffer.data(), validBuffer, static_cast<std::uint32_t>(got), length, done)) continue;
    reportAlerts(static_cast<std::uint32_t>(length), USB_REPORT);
    usbReadParams.pause(REPORT_PAUSE);
  }
  return nullptr;
}

}  // namespace kesto
