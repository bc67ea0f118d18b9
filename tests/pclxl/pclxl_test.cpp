// The encoders that no job calls; the others are seen in every job.
#include "pclxl/pclxl.h"

#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "filter/util.h"
#include "support/hex.h"

namespace kesto {
namespace {

/// What the sink was given, " | " between calls.
std::string written;

std::int64_t sink(const std::uint8_t* bytes, std::uint32_t count) {
  written += (written.empty() ? "" : " | ") + test::hex({bytes, count});
  return -1;  // encoders do not look at it
}

TEST(Pclxl, WritesTheElementsThatNoJobHas) {
  const float real = swapFloat(8.5F);  // as callers do
  const std::uint8_t bytes[] = {1, 2};
  const std::uint16_t words[] = {0x1234, 0xFEDC};
  const std::int16_t integers[] = {-1, -32768};
  const std::pair<std::function<void(XLWriteFunction)>, const char*> cases[] = {
      {[](XLWriteFunction to) { outputXLAttrUInt32(to, 0x11, 0x12345678); }, "C2 78 56 34 12 F8 11"},
      {[&](XLWriteFunction to) { outputXLAttrReal32(to, 0x2B, &real); }, "C5 00 00 08 41 F8 2B"},
      {[&](XLWriteFunction to) { outputXLAttrReal32XY(to, 0x2B, &real, &real); }, "D5 00 00 08 41 00 00 08 41 F8 2B"},
      {[&](XLWriteFunction to) { outputXLAttrByteArray(to, 0x27, bytes, 2); }, "C8 C0 02 | 01 | 02 | F8 27"},
      {[&](XLWriteFunction to) { outputXLAttrByteArray(to, 0x27, bytes, 0); }, "C8 C0 00 | F8 27"},
      {[&](XLWriteFunction to) { outputXLAttrUInt16Array(to, 0x27, words, 2); }, "C9 C0 02 | 34 12 | DC FE | F8 27"},
      {[&](XLWriteFunction to) { outputXLAttrSInt16Array(to, 0x27, integers, 2); }, "CB C0 02 | FF FF | 00 80 | F8 27"},
  };
  for (const auto& [write, expected] : cases) {
    written.clear();
    write(nullptr);
    EXPECT_EQ(written, "");
    write(sink);
    EXPECT_EQ(written, expected);
  }
  const std::vector<std::uint8_t> longest(65'535, 7);
  for (const auto& [count, header] : {std::pair(255, "C8 C0 FF | 07"), {256, "C8 C1 00 01 | 07"}}) {
    written.clear();
    outputXLAttrByteArray(sink, 0x27, longest.data(), static_cast<std::uint16_t>(count));
    EXPECT_TRUE(written.starts_with(header)) << written.substr(0, 20);
  }
}

}  // namespace
}  // namespace kesto
