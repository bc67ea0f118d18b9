// Which addresses are asked for alerts.
#include <gtest/gtest.h>

#include "hdc/monitor/networkmonitor.h"
#include "support/capturedlog.h"

namespace kesto {
namespace {

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

}  // namespace
}  // namespace kesto
