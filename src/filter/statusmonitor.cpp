#include "filter/statusmonitor.h"

#include <cstring>
#include <span>

#include "hdc/hdc.h"
#include "hdc/monitor/networkmonitor.h"
#include "hdc/monitor/usbreader.h"
#include "npa/NPAValidator.h"

namespace kesto {
namespace {

bool isUsb(const Device& device) {
  return std::strstr(device.connectivity, USB) != nullptr;
}

}  // namespace

constinit std::uint8_t implementShowErrorinPrinterProxy = 1;

StatusMonitor::StatusMonitor(const Device& device) {
  if (implementShowErrorinPrinterProxy == 0) return;
  usb_ = isUsb(device);
  network_ = !usb_ && device.address && !device.address->empty() && ValidateChannel(device.address->c_str()) > 0;
  if (usb_) StartUsbReadThread();
  if (network_) StartNpaNetworkThread(device.address->c_str());
}

void StatusMonitor::stop() {
  if (usb_) StopUsbReadThread();
  if (network_) StopNpaNetworkThread();
  usb_ = network_ = false;
}

void writeStatusRequests(const Device& device) {
  if (implementShowErrorinPrinterProxy == 0 || !isUsb(device)) return;
  const std::span<const std::uint8_t> requests[] = {USB_SNIFF_COMMAND, NPA_COMMAND_REGLANGID, USB_SNIFF_COMMAND,
                                                    NPA_DEVCOMMAND_EXT_ERRORS};
  for (const auto request : requests) hdcWrite(request.data(), static_cast<std::uint32_t>(request.size()));
}

}  // namespace kesto
