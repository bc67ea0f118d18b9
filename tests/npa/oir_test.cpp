// The second status path, which no job starts: its request, its transports and its thread, with the virtual printer.
// The parsing of answers is pinned by a replayed fuzz target.
#include <algorithm>
#include <string>

#include <gtest/gtest.h>

#include "npa/oir/NPAPrinterAlertHandler.h"
#include "npa/oir/NPATHeader.h"
#include "npa/oir/NPATransport9300.h"
#include "npa/oir/NPATransportUSB.h"
#include "npa/oir/OIRCommandRequest.h"
#include "npa/oir/oirthread.h"
#include "support/capturedlog.h"
#include "support/printerprocess.h"

namespace kesto {
namespace {

using test::Bytes;
using test::hex;

TEST(OirRequest, IsTheHeaderAndTheCommand) {
  Bytes bytes(14);
  NPATHeaderReq header;
  header.setPacketID(0x9911223344);
  header.CopyNPATHdrBytes(bytes.data());
  OIRCommandReq().CopyOIRReqBytes(bytes.data() + NPATHeaderReq::getHeaderLength());
  EXPECT_EQ(hex(bytes), "01 00 00 31 44 33 22 11 A5 00 03 50 04 06");
  EXPECT_EQ(OIRCommandReq::getOIRLength(), 6);
}

TEST(Transport, IsChosenByItsNumberAndRefusesWhatCannotWork) {
  EXPECT_EQ(NPATransportFactory::CreateTransportObj(0), nullptr);
  EXPECT_EQ(NPATransportFactory::CreateTransportObj(3), nullptr);
  const auto usb = NPATransportFactory::CreateTransportObj(2);
  ASSERT_NE(dynamic_cast<NPATransportUSB*>(usb.get()), nullptr);
  Bytes bytes(540, 0xEE);
  EXPECT_EQ(usb->InitializeConnection(nullptr) + usb->SendNPACommand(bytes.data(), 14), 0);
  EXPECT_EQ(usb->ReadNPAResponse(bytes.data(), 540) + usb->ShutdownConnection(), 0);

  const auto network = NPATransportFactory::CreateTransportObj(1);
  auto* transport = dynamic_cast<NPATransport9300*>(network.get());
  ASSERT_NE(transport, nullptr);
  std::string shortAddress = "1.2.3.4", noAddress = "127.0.0.256", loopback = "127.0.0.1";
  EXPECT_EQ(transport->InitializeConnection(nullptr), -1);
  EXPECT_EQ(transport->InitializeConnection(shortAddress.data()), -1);
  EXPECT_EQ(transport->InitializeConnection(noAddress.data()), 0);
  EXPECT_EQ(transport->connected, 0);
  EXPECT_EQ(transport->SendNPACommand(bytes.data(), 14), -1);
  EXPECT_EQ(transport->InitializeConnection(loopback.data()), 0);
  EXPECT_EQ(transport->SendNPACommand(nullptr, 14), -1);
  EXPECT_EQ(transport->ShutdownConnection() + transport->ShutdownConnection(), 0) << "twice closes once";
}

TEST(OirThread, ReportsWhatThePrinterShowsAndPausesThen) {
  test::PrinterProcess printer;
  static oirThreadParam param;  // the thread outlives the test
  std::ranges::copy(printer.address(), param.address.begin());
  NPAPrinterAlertHandler handler(NPA_TRANSPORT_9300);
  EXPECT_EQ(handler.GetPrinterOIRStatus(&param), 1);
  EXPECT_EQ(handler.entryCount(), 0);
  const test::CapturedLog reports;
  EXPECT_FALSE(reportOirStatus(handler, &param));
  ASSERT_EQ(startOirThread(&param), 0);
  EXPECT_EQ(param.running.load(), 1);
  EXPECT_EQ(reports.nextWrite(200), "");
  printer.tell("alert error \"Anything\"");
  EXPECT_EQ(reports.nextWrite(5000), "WARNING: DeviceMaintenance\n");
  EXPECT_EQ(reports.nextWrite(1000), "") << "a pause of two seconds";
  EXPECT_EQ(reports.nextWrite(5000), "WARNING: DeviceMaintenance\n");
  EXPECT_NE(startOirThread(nullptr), 0);
}

}  // namespace
}  // namespace kesto
