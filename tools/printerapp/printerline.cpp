#include "printerapp/printerline.h"

#include <cerrno>
#include <chrono>
#include <string_view>
#include <system_error>

#include "printerapp/connection.h"

// The library has these, its headers do not; without them there is no printer but on the network.
extern "C" {
[[gnu::weak]] void _papplDeviceAddFileScheme();      // NOLINT(bugprone-reserved-identifier)
[[gnu::weak]] void _papplDeviceAddNetworkSchemes();  // NOLINT(bugprone-reserved-identifier)
[[gnu::weak]] void _papplDeviceAddUSBScheme();       // NOLINT(bugprone-reserved-identifier)
}

namespace kesto::app {
namespace {

constexpr std::string_view SOCKET = "socket://";

/// A connection of its own for each job.
class SocketLine final : public PrinterLine {
 public:
  explicit SocketLine(const char* uri) : connection_(uri) {}

  [[nodiscard]] bool open(const GiveUp& giveUp) override { return note(connection_.open(giveUp)); }
  [[nodiscard]] int descriptor() const override { return connection_.descriptor(); }
  [[nodiscard]] ssize_t write(std::span<const std::uint8_t> bytes) override {
    const ssize_t taken = connection_.write(bytes);
    note(taken >= 0);
    return taken;
  }
  [[nodiscard]] bool finish(const GiveUp& giveUp) override { return note(connection_.finish(giveUp)); }
  void drop() override { connection_.close(); }
  [[nodiscard]] std::string reason() const override { return std::generic_category().message(error_); }

 private:
  bool note(bool good) {
    if (!good) error_ = errno;
    return good;
  }

  Connection connection_;
  int error_ = 0;
};

/// A device of PAPPL's: USB or a file. PAPPL has opened it for the job; once lost, it is opened anew.
class DeviceLine final : public PrinterLine {
 public:
  DeviceLine(pappl_job_t* job, pappl_device_t* device) : job_(job), device_(device), before_(bytesOf(device)) {}
  ~DeviceLine() override { drop(); }

  [[nodiscard]] bool open(const GiveUp&) override {
    if (device_ != nullptr) return true;
    const char* const uri = papplPrinterGetDeviceURI(papplJobGetPrinter(job_));
    errno = 0;
    own_ = device_ = papplDeviceOpen(uri, papplJobGetName(job_), nullptr, nullptr);
    if (device_ == nullptr) error_ = errno;
    before_ = sent_ = 0;
    return device_ != nullptr;
  }
  [[nodiscard]] int descriptor() const override { return -1; }
  [[nodiscard]] ssize_t write(std::span<const std::uint8_t> bytes) override {
    errno = 0;
    const ssize_t taken = papplDeviceWrite(device_, bytes.data(), bytes.size());
    if (taken < 0) error_ = errno;
    if (taken > 0) sent_ += static_cast<std::size_t>(taken);
    return taken;
  }
  /// PAPPL keeps back a few bytes, and does not tell whether it could write them in the end. Its count does.
  [[nodiscard]] bool finish(const GiveUp&) override {
    errno = 0;
    papplDeviceFlush(device_);
    error_ = errno;
    return bytesOf(device_) - before_ == sent_;
  }
  void drop() override {
    papplDeviceClose(own_);
    own_ = device_ = nullptr;
  }
  [[nodiscard]] std::string reason() const override {
    return error_ != 0 ? std::generic_category().message(error_) : "it is not there";
  }

 private:
  static std::size_t bytesOf(pappl_device_t* device) {
    pappl_devmetrics_t metrics = {};
    papplDeviceGetMetrics(device, &metrics);
    return metrics.write_bytes;
  }

  pappl_job_t* job_;
  pappl_device_t* device_;
  std::size_t before_ = 0;  ///< bytes that the device had written before this job
  std::size_t sent_ = 0;
  pappl_device_t* own_ = nullptr;
  int error_ = 0;
};

/// PAPPL opens a device with its printer locked, so that nobody can ask for the printer meanwhile: a job connects only
/// later, in its own thread.
bool openSocket(pappl_device_t*, const char*, const char*) {
  return true;
}

void closeSocket(pappl_device_t*) {}

/// PAPPL itself writes nothing to a printer: every job goes through a line.
ssize_t writeSocket(pappl_device_t*, const void*, size_t) {
  errno = ENOTCONN;
  return -1;
}

ssize_t readSocket(pappl_device_t*, void*, size_t) {
  return 0;
}

}  // namespace

std::unique_ptr<PrinterLine> makeLine(pappl_job_t* job, pappl_device_t* device) {
  const char* const uri = papplPrinterGetDeviceURI(papplJobGetPrinter(job));
  if (std::string_view(uri).starts_with(SOCKET)) return std::make_unique<SocketLine>(uri);
  return std::make_unique<DeviceLine>(job, device);
}

void addSocketScheme() {
  papplDeviceAddScheme("socket", PAPPL_DEVTYPE_CUSTOM_NETWORK, nullptr, openSocket, closeSocket, readSocket,
                       writeSocket, nullptr, nullptr);
  // PAPPL adds its own schemes only if there is none before them. Of two with one name it keeps the first.
  for (void (*const add)() : {_papplDeviceAddFileScheme, _papplDeviceAddNetworkSchemes, _papplDeviceAddUSBScheme}) {
    if (add != nullptr) add();
  }
}

}  // namespace kesto::app
