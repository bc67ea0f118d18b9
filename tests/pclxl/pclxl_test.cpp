#include "pclxl/pclxl.h"

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "pclxl/xlnames.h"
#include "support/hex.h"

namespace kesto {
namespace {

using test::hex;

/// What the sink was given, one entry for each call.
std::vector<std::string> calls;

std::int64_t sink(const std::uint8_t* bytes, std::uint32_t count) {
  calls.push_back(hex({bytes, count}));
  return -1;  // encoders do not look at it
}

/// The calls since the last time, joined with " | ".
std::string written() {
  std::string text;
  for (const auto& call : calls) text += (text.empty() ? "" : " | ") + call;
  calls.clear();
  return text;
}

std::uint16_t word(int value) {
  return static_cast<std::uint16_t>(value);
}

TEST(Pclxl, WritesAnOperatorAndEachKindOfValueInOneCall) {
  outputOperator(sink, 0x41);
  EXPECT_EQ(written(), "41");
  outputXLAttrByte(sink, 0x86, 0x7F);
  EXPECT_EQ(written(), "C0 7F F8 86");
  outputXLAttrUInt16(sink, 0x6C, 0x1234);
  EXPECT_EQ(written(), "C1 34 12 F8 6C");
  outputXLAttrUInt32(sink, 0x11, 0x12345678);
  EXPECT_EQ(written(), "C2 78 56 34 12 F8 11");
  outputXLAttrUInt16XY(sink, 0x67, 0x1234, 0xFEDC);
  EXPECT_EQ(written(), "D1 34 12 DC FE F8 67");
  outputXLAttrSInt16XY(sink, 0x4C, -1, -32768);
  EXPECT_EQ(written(), "D3 FF FF 00 80 F8 4C");
  outputXLEmbedData(sink, 70'000);
  EXPECT_EQ(written(), "FA 70 11 01 00");
}

TEST(Pclxl, WritesRealsAsTheyStandInMemory) {
  const float one = 1.0F;
  const float width = 8.5F;
  outputXLAttrReal32(sink, 0x2F, &width);
  EXPECT_EQ(written(), "C5 00 00 08 41 F8 2F");
  outputXLAttrReal32XY(sink, 0x2B, &one, &width);
  EXPECT_EQ(written(), "D5 00 00 80 3F 00 00 08 41 F8 2B");
}

TEST(Pclxl, TakesTagBytesAsOrdinaryAttributeIds) {
  outputXLAttrUInt16(sink, 0xF8, 0);
  outputXLAttrByte(sink, 0xFA, 8);
  EXPECT_EQ(written(), "C1 00 00 F8 F8 | C0 08 F8 FA");
}

TEST(Pclxl, HandsArraysOverElementByElement) {
  const std::vector<std::uint8_t> bytes{0x4C, 0x54, 0x52};
  outputXLAttrByteArray(sink, 0x25, bytes.data(), 3);
  EXPECT_EQ(written(), "C8 C0 03 | 4C | 54 | 52 | F8 25");
  const std::vector<std::uint16_t> words{1, 0xFF00};
  outputXLAttrUInt16Array(sink, 0x40, words.data(), 2);
  EXPECT_EQ(written(), "C9 C0 02 | 01 00 | 00 FF | F8 40");
  const std::vector<std::int16_t> numbers{-2, 258};
  outputXLAttrSInt16Array(sink, 0x41, numbers.data(), 2);
  EXPECT_EQ(written(), "CB C0 02 | FE FF | 02 01 | F8 41");
  outputXLAttrByteArray(sink, 0x27, nullptr, 0);
  EXPECT_EQ(written(), "C8 C0 00 | F8 27");
}

TEST(Pclxl, WidensTheCountOfALongArray) {
  const std::vector<std::uint8_t> bytes(65'535);
  for (const auto& [count, header] : std::initializer_list<std::pair<int, std::string_view>>{
           {255, "C8 C0 FF"}, {256, "C8 C1 00 01"}, {65'535, "C8 C1 FF FF"}}) {
    outputXLAttrByteArray(sink, 0x27, bytes.data(), word(count));
    ASSERT_EQ(calls.size(), static_cast<std::size_t>(count) + 2);
    EXPECT_EQ(calls.front(), header);
    calls.clear();
  }
}

TEST(Pclxl, WritesNothingToANullSink) {
  const float one = 1.0F;
  const std::uint8_t byte = 1;
  outputOperator(nullptr, 1);
  outputXLAttrReal32XY(nullptr, 1, &one, &one);
  outputXLAttrByteArray(nullptr, 1, &byte, 1);
  outputXLEmbedData(nullptr, 1);
  EXPECT_EQ(written(), "");
}

TEST(Pclxl, OpensASessionAtTheResolutionAndClosesIt) {
  outputXLAttrUInt16XY(sink, xl::attr::UnitsPerMeasure, 600, 600);
  outputXLAttrByte(sink, xl::attr::Measure, xl::eInch);
  outputXLAttrByte(sink, xl::attr::ErrorReport, xl::eBackChAndErrPage);
  outputOperator(sink, xl::op::BeginSession);
  outputXLAttrByte(sink, xl::attr::SourceType, xl::eDefaultDataSource);
  outputXLAttrByte(sink, xl::attr::DataOrg, xl::eBinaryLowByteFirst);
  outputOperator(sink, xl::op::OpenDataSource);
  EXPECT_EQ(written(), "D1 58 02 58 02 F8 89 | C0 00 F8 86 | C0 03 F8 8F | 41 | C0 00 F8 88 | C0 01 F8 82 | 48");
  outputXLAttrUInt16(sink, xl::attr::PageCopies, 1);
  outputOperator(sink, xl::op::EndPage);
  outputOperator(sink, xl::op::CloseDataSource);
  outputOperator(sink, xl::op::EndSession);
  EXPECT_EQ(written(), "C1 01 00 F8 31 | 44 | 49 | 42");
}

TEST(Pclxl, FramesTheStreamHeaderAndTheComment) {
  EXPECT_EQ(std::string(XL_STREAM_HEADER.begin(), XL_STREAM_HEADER.begin() + 16), ") HP-PCL XL;2;1;");
  EXPECT_EQ(XL_STREAM_HEADER.back(), '\n');
  EXPECT_TRUE(std::all_of(XL_STREAM_HEADER.begin(), XL_STREAM_HEADER.end() - 1,
                          [](std::uint8_t byte) { return byte >= 0x20 && byte < 0x7F; }));
  EXPECT_EQ(hex(XL_COMMENT), "C8 C0 17 43 6F 72 76 61 6E 65 20 45 6E 68 61 6E 63 65 64 20 58 4C 3D 31 2E 32 F8 81 47");
}

TEST(XlNames, NamesJustWhatTheFilterWrites) {
  EXPECT_EQ(xl::operatorName(0xB1), "ReadImage");
  EXPECT_EQ(xl::operatorName(0x40), "operator0x40");
  EXPECT_EQ(xl::operatorName(0xFF), "");
  EXPECT_EQ(xl::operatorName(0x45), "");
  EXPECT_EQ(xl::attributeName(0x03), "ColorSpace");
  EXPECT_EQ(xl::attributeName(0xED), "BorderType");
  EXPECT_EQ(xl::attributeName(0xFA), "attribute0xFA");
  EXPECT_EQ(xl::attributeName(0x00), "");
  EXPECT_EQ(xl::valueName(0x65, 247), "eTbrleCompression");
  EXPECT_EQ(xl::valueName(0x65, 0), "");
}

}  // namespace
}  // namespace kesto
