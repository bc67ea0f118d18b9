#include "hdc/monitor/usbreader.h"

#include <cups/sidechannel.h>
#include <poll.h>

#include "base/descriptor.h"
#include "hdc/monitor/alertreport.h"
#include "npa/NPAValidator.h"
#include "npa/packetjoiner.h"

namespace kesto {
namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

constexpr milliseconds READ_TIME{1000};
constexpr milliseconds REPORT_PAUSE{2000};

/// The thread's side of the back channel, from its start to its end.
class BackChannelReader {
 public:
  void run() {
    while (!isOver()) {
      const ssize_t got = read();
      if (got > 0) {
        take(packets_.add(static_cast<std::size_t>(got)));
      } else {
        packets_.forget();
      }
    }
  }

 private:
  /// Most jobs send their requests with their last bytes, so that the first answer may come after the stop.
  bool isOver() { return closing_.isOver() || (hasReported_ && usbReadParams.stopped()); }

  /// Reads from the back channel within READ_TIME; 0 or less when nothing came or the thread is to end.
  ///
  /// The library's own time-out ends in a read that may block, and it never returns on a channel that is not there. So
  /// this polls for readiness itself, and a channel that is not ready counts as silent (decisions.md#back-channel).
  ssize_t read() {
    const auto start = Clock::now();
    short ready = 0;
    const bool arrived = pollUntil(
        [&] {
          pollfd input = {.fd = BACK_CHANNEL, .events = POLLIN, .revents = 0};
          ::poll(&input, 1, 0);
          ready = input.revents;
          return ready != 0 || isOver();
        },
        READ_TIME);
    if (!arrived || isOver()) return 0;
    ssize_t got = 0;
    if ((ready & POLLIN) != 0) {
      const auto piece = packets_.next();
      const double seconds = std::chrono::duration<double>(READ_TIME).count();
      got = cupsBackChannelRead(static_cast<char*>(static_cast<void*>(piece.data())), piece.size(), seconds);
    }
    // A channel that has ended answers at once: without a pause this would spin.
    if (got <= 0) std::ignore = pollUntil([this] { return isOver(); }, READ_TIME - since(start));
    return got;
  }

  static milliseconds since(Clock::time_point start) {
    return std::chrono::duration_cast<milliseconds>(Clock::now() - start);
  }

  void take(std::span<const std::uint8_t> block) {
    std::int32_t length = 0;
    std::int32_t done = 1;
    if (!ValidateReceivedResponse(block.data(), validBuffer, static_cast<std::uint32_t>(block.size()), length, done)) {
      return;
    }
    reportAlerts(static_cast<std::uint32_t>(length), USB_REPORT);
    hasReported_ = true;
    usbReadParams.pause(REPORT_PAUSE);
  }

  PacketJoiner packets_;
  ClosingTime closing_{usbReadParams, READ_TIME};
  bool hasReported_ = false;
};

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
  IsDeviceInError.store(0, std::memory_order_release);
  BackChannelReader().run();
  return nullptr;
}

}  // namespace kesto
