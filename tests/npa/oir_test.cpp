#include <algorithm>
#include <array>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>

#include "kestoprinter/answers.h"
#include "npa/oir/NPAPrinterAlertHandler.h"
#include "npa/oir/NPATHeader.h"
#include "npa/oir/NPATransport9300.h"
#include "npa/oir/NPATransportUSB.h"
#include "npa/oir/OIRCommandRequest.h"
#include "npa/oir/oirthread.h"
#include "support/capturedlog.h"
#include "support/process.h"
#include "support/udpresponder.h"

namespace kesto {
namespace {

using test::Bytes;
using test::hex;
using test::UdpResponder;
using test::unhex;
using printer::operator+;

TEST(OirRequest, IsTheHeaderAndTheCommand) {
  Bytes bytes(14);
  NPATHeaderReq header;
  header.CopyNPATHdrBytes(bytes.data());
  EXPECT_EQ(hex(std::span(bytes).first(8)), "01 00 00 31 78 56 34 12");
  header.setPacketID(0x9911223344);
  header.CopyNPATHdrBytes(bytes.data());
  OIRCommandReq().CopyOIRReqBytes(bytes.data() + NPATHeaderReq::getHeaderLength());
  EXPECT_EQ(hex(bytes), "01 00 00 31 44 33 22 11 A5 00 03 50 04 06");
  EXPECT_EQ(OIRCommandReq::getOIRLength(), 6);
}

int openDescriptors() {
  int count = 0;
  for (int descriptor = 0; descriptor < 256; ++descriptor) count += fcntl(descriptor, F_GETFD) >= 0 ? 1 : 0;
  return count;
}

TEST(Transport, IsChosenByItsNumber) {
  EXPECT_NE(dynamic_cast<NPATransport9300*>(NPATransportFactory::CreateTransportObj(1).get()), nullptr);
  EXPECT_EQ(NPATransportFactory::CreateTransportObj(0), nullptr);
  EXPECT_EQ(NPATransportFactory::CreateTransportObj(3), nullptr);
  const auto usb = NPATransportFactory::CreateTransportObj(2);
  ASSERT_NE(dynamic_cast<NPATransportUSB*>(usb.get()), nullptr);
  Bytes bytes(540, 0xEE);
  EXPECT_EQ(usb->InitializeConnection(nullptr), 0);
  EXPECT_EQ(usb->SendNPACommand(bytes.data(), 14), 0);
  EXPECT_EQ(usb->ReadNPAResponse(bytes.data(), 540), 0);
  EXPECT_EQ(usb->ShutdownConnection(), 0);
}

TEST(Transport9300, RefusesWhatCannotWork) {
  NPATransport9300 transport;
  EXPECT_EQ(transport.port, 9300);
  EXPECT_EQ(transport.socketDescriptor, 0);
  const int before = openDescriptors();
  Bytes bytes(540, 0xEE);
  std::string shortAddress = "1.2.3.4";
  std::string noAddress = "127.0.0.256";
  EXPECT_EQ(transport.InitializeConnection(nullptr), -1);
  EXPECT_EQ(transport.InitializeConnection(shortAddress.data()), -1);
  EXPECT_EQ(transport.InitializeConnection(noAddress.data()), 0);
  EXPECT_EQ(transport.connected, 0);
  EXPECT_EQ(openDescriptors(), before);
  EXPECT_EQ(transport.SendNPACommand(bytes.data(), 14), -1);
  EXPECT_EQ(transport.ReadNPAResponse(bytes.data(), 540), -1);

  std::string loopback = "127.0.0.1";
  EXPECT_EQ(transport.InitializeConnection(loopback.data()), 0);
  EXPECT_EQ(transport.connected, 1);
  EXPECT_EQ(transport.InitializeConnection(loopback.data()), 0);
  EXPECT_EQ(openDescriptors(), before + 1) << "the socket before was closed";
  EXPECT_EQ(transport.SendNPACommand(nullptr, 14), -1);
  EXPECT_EQ(transport.SendNPACommand(bytes.data(), 0), -1);
  EXPECT_EQ(transport.ReadNPAResponse(nullptr, 540), -1);
  EXPECT_EQ(transport.ReadNPAResponse(bytes.data(), 539), -1);
  EXPECT_EQ(transport.ShutdownConnection(), 0);
  EXPECT_EQ(transport.ShutdownConnection(), 0) << "twice closes once";
  EXPECT_EQ(openDescriptors(), before);
}

/// A handler whose polls go to a responder.
class Handler : public testing::Test {
 protected:
  void connectTo(const UdpResponder& printer) {
    std::ranges::copy(printer.address(), param_.address.begin());
    dynamic_cast<NPATransport9300&>(*NPAPrinterAlertHandler::pNPATransport).port = printer.port();
  }
  /// The result of a poll, the number of entries and their texts.
  std::string poll() {
    std::string all = std::to_string(handler_.GetPrinterOIRStatus(&param_));
    all += ' ';
    all += std::to_string(handler_.entryCount());
    std::vector<char*> texts(static_cast<std::size_t>(handler_.entryCount()), nullptr);
    handler_.GetParsedString(texts.data());
    for (const char* text : texts) all += std::string("|") + text;
    return all;
  }

  oirThreadParam param_;
  NPAPrinterAlertHandler handler_{NPA_TRANSPORT_9300};
};

TEST_F(Handler, AsksAndKeepsTheLastAnswer) {
  const auto answer = [](std::string_view entries) {
    return std::vector<Bytes>{unhex("01 00 00 31 00 00 00 00 11 11 00 00") + unhex(entries)};
  };
  UdpResponder printer("127.0.0.1", 0,
                       {{printer::oirDatagram({unhex("08 00 04 04"), unhex("0E 00 01 05 FF")})},
                        answer("A5 00 04 50 04 06 01"),
                        {printer::oirDatagram({unhex("08 00 04 05")})},
                        {printer::oirDatagram({unhex("01 00 08 04")})}});
  connectTo(printer);
  const int before = openDescriptors();
  EXPECT_EQ(poll(), "1 2|SuppliesLow|Qbi FrameworkOpen");
  EXPECT_EQ(poll(), "1 0") << "seven bytes behind the prefix";
  EXPECT_EQ(poll(), "1 0") << "an entry one byte longer than the datagram";
  EXPECT_EQ(poll(), "1 1|InputJam");
  EXPECT_EQ(openDescriptors(), before + 1);
  const auto requests = printer.stop();
  ASSERT_EQ(requests.size(), 4U);
  for (const auto& request : requests) EXPECT_EQ(hex(request), "01 00 00 31 11 11 00 00 A5 00 03 50 04 06");
}

TEST_F(Handler, ReportsThatNothingWasSent) {
  EXPECT_EQ(poll(), "-1 0") << "no address";
  NPAPrinterAlertHandler usb(NPA_TRANSPORT_USB);
  EXPECT_EQ(poll(), "0 0") << "the transport is shared";
  const NPAPrinterAlertHandler none(NPATransportTypes{7});
  EXPECT_EQ(poll(), "-1 0");
}

TEST(OirThread, AsksUntilThePrinterSpeaksAndPausesThen) {
  const std::string address = test::ownAddress(9);
  UdpResponder printer(address, 9300,
                       {{printer::oirDatagram({})},
                        {printer::oirDatagram({unhex("63 00 04 04"), unhex("01 00 08 04")})},
                        {printer::oirDatagram({unhex("0E 00 01 04")})}});
  static oirThreadParam param;  // the thread outlives the test
  std::ranges::copy(address, param.address.begin());
  const test::CapturedLog reports;
  ASSERT_EQ(startOirThread(&param), 0);
  EXPECT_EQ(param.running.load(), 1);
  EXPECT_EQ(reports.nextWrite(5000), "WARNING: Qbi FrameworkOpen\n");
  EXPECT_EQ(reports.nextWrite(1000), "") << "a pause of two seconds";
  EXPECT_EQ(reports.nextWrite(5000), "WARNING: Qbi FrameworkOpen\n");
  EXPECT_GE(printer.stop().size(), 3U);
  EXPECT_NE(startOirThread(nullptr), 0);
}

}  // namespace
}  // namespace kesto
