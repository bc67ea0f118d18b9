#include "npa/oir/oirthread.h"

#include <algorithm>
#include <chrono>
#include <string>

#include <gtest/gtest.h>

#include "kestoprinter/answers.h"
#include "npa/oir/NPAPrinterAlertHandler.h"
#include "npa/oir/NPATransport9300.h"
#include "support/capturedlog.h"
#include "support/udpresponder.h"

namespace kesto {
namespace {

using test::Bytes;
using test::UdpResponder;
using test::unhex;

TEST(OirThread, ReportsTheFirstEntryOfAnAnswer) {
  UdpResponder printer("127.0.0.1", 0,
                       {{printer::oirDatagram({unhex("08 00 04 04"), unhex("01 00 08 04")})},
                        {printer::oirDatagram({unhex("63 00 04 04"), unhex("01 00 08 04")})},
                        {printer::oirDatagram({})}});
  oirThreadParam param;
  std::ranges::copy(printer.address(), param.address.begin());
  NPAPrinterAlertHandler handler(NPA_TRANSPORT_9300);
  dynamic_cast<NPATransport9300&>(*NPAPrinterAlertHandler::pNPATransport).port = printer.port();
  const test::CapturedLog reports;
  EXPECT_TRUE(reportOirStatus(handler, &param));
  EXPECT_EQ(reports.nextWrite(0), "WARNING: SuppliesLow\n");
  EXPECT_FALSE(reportOirStatus(handler, &param));
  EXPECT_FALSE(reportOirStatus(handler, &param));
  EXPECT_EQ(reports.nextWrite(0), "");
}

TEST(OirThread, AsksUntilThePrinterSpeaksAndPausesThen) {
  // An address of this process's own: others may test at the same time, and the port is fixed.
  const std::string address =
      "127.93." + std::to_string(getpid() / 250 % 250) + "." + std::to_string(getpid() % 250 + 1);
  UdpResponder printer(address, 9300, {{printer::oirDatagram({})}, {printer::oirDatagram({unhex("0E 00 01 04")})}});
  static oirThreadParam param;  // the thread outlives the test
  std::ranges::copy(address, param.address.begin());
  const test::CapturedLog reports;
  ASSERT_EQ(startOirThread(&param), 0);
  EXPECT_EQ(param.running.load(), 1);
  EXPECT_EQ(reports.nextWrite(5000), "WARNING: Qbi FrameworkOpen\n");
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(reports.nextWrite(5000), "WARNING: Qbi FrameworkOpen\n");
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1900));
  EXPECT_GE(printer.stop().size(), 3U);
  EXPECT_NE(startOirThread(nullptr), 0);
}

}  // namespace
}  // namespace kesto
