// Which addresses are asked for alerts, and packets in pieces.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "hdc/monitor/networkmonitor.h"
#include "hdc/monitor/usbreader.h"
#include "kestoprinter/answers.h"
#include "npa/NPAValidator.h"
#include "npa/packetjoiner.h"
#include "support/capturedlog.h"

namespace kesto {
namespace {

using Bytes = std::vector<std::uint8_t>;
using printer::operator+;

Bytes response(std::uint8_t mask, const std::vector<std::string>& texts) {
  std::vector<printer::Alert> alerts;
  alerts.reserve(texts.size());
  for (const std::string& text : texts) alerts.push_back({.entries = {{1, text}}, .text9 = {}, .text10 = {}});
  return printer::alertResponse(mask, printer::alertBlock(alerts));
}

TEST(NetworkMonitor, AsksNumericAddressesOnly) {
  const std::tuple<const char*, int, const char*> addresses[] = {
      {"192.0.2.7", 1, ""},
      {"1.2.3.4", 1, ""},
      {"192.0.2.7/", 1, ""},
      {"192.0.2", -1, "\nreturned with error|"},
      {"192.0.2.7.1", -1, "\nreturned with error|"},
      {"", -1, "\nreturned with error|"},
      {"[::1]", -1, "\nreturned with error|"},
      {"[fe80::1]", -1, ""},
      {"printer.local.example.org", -1, ""},
  };
  for (const auto& [address, result, trace] : addresses) {
    const test::CapturedLog log;
    EXPECT_EQ(ValidateChannel(address), result) << address;
    EXPECT_EQ(log.writes(), trace) << address;
  }
}

/// The stream `bytes`, joined from pieces of these sizes (the last one for all that follows).
Bytes joined(const Bytes& bytes, std::size_t pieceSize) {
  PacketJoiner joiner;
  Bytes out;
  for (std::size_t at = 0; at < bytes.size(); at += pieceSize) {
    const std::size_t count = std::min(pieceSize, bytes.size() - at);
    std::copy_n(&bytes[at], count, joiner.next().begin());
    const auto whole = joiner.add(count);
    // A block ends where a packet does, so that the next one cannot be taken for its rest.
    EXPECT_TRUE(whole.empty() || whole.front() == 0xA5 || whole.front() == 'x');
    out.insert(out.end(), whole.begin(), whole.end());
  }
  return out;
}

TEST(PacketJoiner, PassesPacketsOnWhole) {
  const Bytes large = response(1, {std::string(500, 'a'), std::string(200, 'b')});
  const Bytes stream = Bytes{'x', 'x'} + response(1, {"Jam"}) + large + Bytes{'x'} + response(2, {"Low"});
  for (const std::size_t piece : {1, 2, 3, 5, 64, 512, 933, 8000}) EXPECT_EQ(joined(stream, piece), stream) << piece;

  PacketJoiner joiner;
  std::ranges::copy(large, joiner.next().begin());
  EXPECT_EQ(joiner.add(512).size(), 0U);
  joiner.forget();
  std::ranges::copy(large, joiner.next().begin());
  EXPECT_EQ(joiner.add(large.size()).size(), large.size()) << "what waited is gone";
  const Bytes lie = {0xA5, 0xFF, 0xFF, 0x50, 0xE0, 0x73};
  std::ranges::copy(lie, joiner.next().begin());
  EXPECT_EQ(joiner.add(lie.size()).size(), lie.size()) << "no response is that long";
}

}  // namespace
}  // namespace kesto
