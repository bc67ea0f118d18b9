#include "hdc/oirthread.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include "kestoprinter/answers.h"
#include "npa/NPAPrinterAlertHandler.h"
#include "npa/NPATransport9300.h"
#include "support/udpresponder.h"

namespace kesto {
namespace {

using test::Bytes;
using test::UdpResponder;
using test::unhex;

/// Standard error as a pipe for as long as the object lives.
class CapturedReports {
 public:
  CapturedReports() : standardError_(dup(STDERR_FILENO)) {
    EXPECT_EQ(pipe2(ends_.data(), O_CLOEXEC), 0);
    dup2(ends_[1], STDERR_FILENO);
  }
  CapturedReports(const CapturedReports&) = delete;
  CapturedReports& operator=(const CapturedReports&) = delete;
  ~CapturedReports() {
    dup2(standardError_, STDERR_FILENO);
    for (const int descriptor : {standardError_, ends_[0], ends_[1]}) close(descriptor);
  }
  /// What has been reported when something has, or nothing after `timeoutMs`.
  [[nodiscard]] std::string next(int timeoutMs) const {
    pollfd waiting{.fd = ends_[0], .events = POLLIN, .revents = 0};
    std::array<char, 4096> text{};
    if (::poll(&waiting, 1, timeoutMs) <= 0) return {};
    return {text.data(), static_cast<std::size_t>(read(ends_[0], text.data(), text.size()))};
  }

 private:
  int standardError_;
  std::array<int, 2> ends_{};
};

TEST(OirThread, ReportsTheFirstEntryOfAnAnswer) {
  UdpResponder printer("127.0.0.1", 0,
                       {{printer::oirDatagram({unhex("08 00 04 04"), unhex("01 00 08 04")})},
                        {printer::oirDatagram({unhex("63 00 04 04"), unhex("01 00 08 04")})},
                        {printer::oirDatagram({})}});
  oirThreadParam param;
  std::ranges::copy(printer.address(), param.address.begin());
  NPAPrinterAlertHandler handler(NPA_TRANSPORT_9300);
  dynamic_cast<NPATransport9300&>(*NPAPrinterAlertHandler::pNPATransport).port = printer.port();
  const CapturedReports reports;
  EXPECT_TRUE(reportOirStatus(handler, &param));
  EXPECT_EQ(reports.next(0), "WARNING: SuppliesLow\n");
  EXPECT_FALSE(reportOirStatus(handler, &param));
  EXPECT_FALSE(reportOirStatus(handler, &param));
  EXPECT_EQ(reports.next(0), "");
}

TEST(OirThread, AsksUntilThePrinterSpeaksAndPausesThen) {
  // An address of this process's own: others may test at the same time, and the port is fixed.
  const std::string address =
      "127.93." + std::to_string(getpid() / 250 % 250) + "." + std::to_string(getpid() % 250 + 1);
  UdpResponder printer(address, 9300, {{printer::oirDatagram({})}, {printer::oirDatagram({unhex("0E 00 01 04")})}});
  static oirThreadParam param;  // the thread outlives the test
  std::ranges::copy(address, param.address.begin());
  const CapturedReports reports;
  ASSERT_EQ(startOirThread(&param), 0);
  EXPECT_EQ(param.running.load(), 1);
  EXPECT_EQ(reports.next(5000), "WARNING: Qbi FrameworkOpen\n");
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(reports.next(5000), "WARNING: Qbi FrameworkOpen\n");
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1900));
  EXPECT_GE(printer.stop().size(), 3U);
  EXPECT_NE(startOirThread(nullptr), 0);
}

}  // namespace
}  // namespace kesto
