#include "npa/NPAValidator.h"

#include <algorithm>
#include <string>

#include <gtest/gtest.h>

#include "kestoprinter/answers.h"
#include "support/hex.h"

namespace kesto {
namespace {

using test::Bytes;
using test::hex;
using test::unhex;
using printer::operator+;

/// What one call gave.
struct Scan {
  bool complete;
  std::int32_t done;
  std::int32_t length;
};

/// As at the start of the process.
void resetReassembly() {
  validBuffer = {};
  receivedBufferSize = 0;
  setContinueFlag = 0;
  firstresponse = 1;
  validBufferCount = 0;
  firstResponseBufferCount = 0;
}

/// Hands a block over, in storage of exactly its size.
Scan scan(const Bytes& block) {
  Scan result{.complete = false, .done = 1, .length = -7};
  const Bytes received(block.begin(), block.end());
  result.complete = ValidateReceivedResponse(received.data(), validBuffer, static_cast<std::uint32_t>(received.size()),
                                             result.length, result.done);
  return result;
}

TEST(NpaCommand, TravelsBehindTheNetworkHeader) {
  Bytes datagram(26, 0xEE);
  EXPECT_EQ(AssembleNPACommand(NPA_DEVCOMMAND_EXT_ERRORS.data(), datagram.data(), 16), 24);
  EXPECT_EQ(hex(datagram), "01 00 00 31 12 34 56 78 A5 00 0D 50 E0 73 03 08 00 00 01 00 00 00 00 00 EE EE");
  EXPECT_EQ(AssembleNPACommand(NPA_COMMAND_REGLANGID.data(), nullptr, 18), -1);
}

TEST(NpaPacket, TellsItsLengthItsContinuationAndItsCategory) {
  EXPECT_EQ(lengthofNPACommand(USB_SNIFF_COMMAND), 19U);
  EXPECT_EQ(lengthofNPACommand(unhex("A5 FF FF")), 65538U);
  EXPECT_EQ(lengthofNPACommand(unhex("A4 00 10")), 0U);
  EXPECT_EQ(lengthofNPACommand(unhex("A5 00")), 0U);
  EXPECT_EQ(isContinueFlagset(unhex("A5 00 02 20 E0")), 1);
  EXPECT_EQ(isContinueFlagset(unhex("A5 00 02 DF E0")), 0);
  EXPECT_EQ(isContinueFlagset(unhex("00 00 02 20 E0")), 0);

  std::string categories;
  for (int category = 0; category < 256; ++category) {
    const Bytes packet = {0xA5, 0, 4, 0x50, 0xE0, 0x73, static_cast<std::uint8_t>(category)};
    const auto mapped = requestCategoryofExtendedAlerts(packet);
    if (category <= 8) categories += std::to_string(mapped);
    EXPECT_TRUE(category <= 8 || mapped == 8) << category;
  }
  EXPECT_EQ(categories, "818388878");
  EXPECT_EQ(requestCategoryofExtendedAlerts(unhex("A5 00 03 50 E0 73")), 8) << "no category byte";
}

TEST(NpaDatagram, IsAnAnswerWhenItEchoesThePacketId) {
  EXPECT_TRUE(isAckIDValid(unhex("00 00 00 00 00 00 00 00 12 34 56 78")));
  EXPECT_FALSE(isAckIDValid(unhex("00 00 00 00 00 00 00 00 12 34 56 79 A5")));
  EXPECT_FALSE(isAckIDValid(unhex("12 34 56 78 00 00 00 00 12 34 56")));
}

class Reassembly : public testing::Test {
 protected:
  void SetUp() override { resetReassembly(); }
  void TearDown() override { resetReassembly(); }

  static std::string response(std::int32_t length) { return hex(std::span(validBuffer).first(length)); }
};

TEST_F(Reassembly, StepsOverWhatIsNotAsked) {
  const Bytes wanted = unhex("A5 00 06 50 F0 73 01 AA BB");
  const std::string stepped[] = {
      "01 02 A4 FF",                                      // noise
      "A5 00 0D 50 EF 73 03 A5 00 04 50 E0 73 03 11 22",  // a class to be stepped over, with a packet in it
      "A5 00 05 50 FF 73 03 11",                          // the same class with bit 4
      "A5 00 05 50 E0 72 03 11",                          // another command
      "A5 00 05 50 E0 73 07 11",                          // the answer to a registration
      "A5 00 00 A5 00 01 50",                             // too short for a category
  };
  for (const auto& other : stepped) {
    resetReassembly();
    EXPECT_FALSE(scan(unhex(other) + unhex("00 00 00 00 00 00")).complete) << other;
    const auto result = scan(unhex(other) + wanted);
    EXPECT_TRUE(result.complete) << other;
    EXPECT_EQ(result.done, -1);
    EXPECT_EQ(response(result.length), hex(wanted)) << other;
  }
}

TEST_F(Reassembly, DoesNotScanFiveBytesOrFewer) {
  validBufferCount = 77;
  const auto result = scan(unhex("A5 00 04 50 E0"));
  EXPECT_FALSE(result.complete);
  EXPECT_EQ(result.done, 1);
  EXPECT_EQ(result.length, 77);
  EXPECT_FALSE(scan({}).complete);
}

TEST_F(Reassembly, TakesOfEachFurtherPacketWhatFollowsFiveBytes) {
  const Bytes first = unhex("A5 00 06 70 E0 73 03 01 02");
  const Bytes second = unhex("A5 00 04 20 EF 03 04");  // whatever its class and command
  const Bytes last = unhex("A5 00 05 50 E0 05 06 07");
  const std::string whole = "A5 00 06 70 E0 73 03 01 02 03 04 05 06 07";

  auto result = scan(first + unhex("00 00") + second + last);
  EXPECT_TRUE(result.complete);
  EXPECT_EQ(response(result.length), whole);
  EXPECT_EQ(firstresponse, 1);
  EXPECT_EQ(validBufferCount, 0);

  validBuffer = {};
  result = scan(first + second);
  EXPECT_FALSE(result.complete);
  EXPECT_EQ(result.done, 1);
  EXPECT_EQ(result.length, 11);
  EXPECT_EQ(firstresponse, 0);
  EXPECT_EQ(setContinueFlag, 1);
  result = scan(unhex("00") + last);
  EXPECT_TRUE(result.complete);
  EXPECT_EQ(result.done, -1);
  EXPECT_EQ(response(result.length), whole);
}

TEST_F(Reassembly, KeepsTheLastOfSeveralResponsesInABlock) {
  const Bytes one = unhex("A5 00 05 50 E0 73 03 01");
  const Bytes two = unhex("A5 00 06 50 E0 73 03 02 02");
  auto result = scan(one + two);  // 17 bytes, of which 12 are scanned
  EXPECT_TRUE(result.complete);
  EXPECT_EQ(response(result.length), hex(two));
  EXPECT_EQ(firstResponseBufferCount, 17);

  result = scan(one + two + Bytes(5));  // as many bytes as are scanned have been counted
  EXPECT_TRUE(result.complete);
  EXPECT_EQ(response(result.length), hex(one));
  EXPECT_EQ(firstResponseBufferCount, 0);
}

TEST_F(Reassembly, DropsAPacketThatReachesBeyondTheBlockAndStartsAfresh) {
  const Bytes complete = unhex("A5 00 05 50 E0 73 03 AB");
  auto result = scan(unhex("A5 FF FF 50 E0 73 03 01 02 03"));
  EXPECT_FALSE(result.complete);
  EXPECT_EQ(result.length, 0);

  // The response that had begun is lost with its part; the next one is not.
  EXPECT_FALSE(scan(unhex("A5 00 05 70 E0 73 03 01")).complete);
  result = scan(unhex("A5 00 07 50 E0 02 03 04 05"));
  EXPECT_FALSE(result.complete);
  EXPECT_EQ(firstresponse, 1);
  EXPECT_EQ(result.length, 0);
  result = scan(complete);
  EXPECT_TRUE(result.complete);
  EXPECT_EQ(response(result.length), hex(complete));

  // What was complete before the lie stays so.
  resetReassembly();
  result = scan(complete + unhex("A5 00 0A 50 E0 73 03 01 02"));
  EXPECT_TRUE(result.complete);
  EXPECT_EQ(response(result.length), hex(complete));

  EXPECT_FALSE(scan(complete + unhex("A5 00 05 70 E0 73 03 02  A5 00 06 50 E0 03")).complete) << "overwritten since";

  // A part must at least have the five bytes that are left out of it.
  for (const auto* part : {"A5 00 00 00 00 00", "A5 00 01 50 00 00"}) {
    resetReassembly();
    scan(unhex("A5 00 05 70 E0 73 03 01") + unhex(part));
    EXPECT_EQ(firstresponse, 1) << part;
    EXPECT_EQ(validBufferCount, 0) << part;
  }
}

TEST_F(Reassembly, HoldsAResponseOf1024BytesAndNoneThatIsLonger) {
  const Bytes tree(1024 - 25, 0x5A);
  for (const std::size_t packetSize : {1024UL, 1019UL, 300UL, 30UL}) {
    resetReassembly();
    Bytes block;
    for (const auto& packet : printer::alertPackets(1, tree, packetSize)) block = block + packet;
    auto result = scan(block);
    EXPECT_TRUE(result.complete) << packetSize;
    EXPECT_EQ(result.length, 1024) << packetSize;
    EXPECT_EQ(validBuffer.back(), 0x5A);

    resetReassembly();
    block.clear();
    for (const auto& packet : printer::alertPackets(1, tree + Bytes{0x5B}, std::max<std::size_t>(packetSize, 30))) {
      block = block + packet;
    }
    result = scan(block);
    EXPECT_FALSE(result.complete) << packetSize;
    EXPECT_EQ(firstresponse, 1) << packetSize;
  }
}

}  // namespace
}  // namespace kesto
