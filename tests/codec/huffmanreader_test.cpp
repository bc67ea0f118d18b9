#include "codec/huffmanreader.h"

#include <cstdint>
#include <memory>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "support/hex.h"

namespace kesto {
namespace {

using test::Bytes;

std::unique_ptr<WicketCoder> makeCoder(Bytes& output) {
  auto coder = std::make_unique<WicketCoder>();
  setHuffman(coder.get());
  EXPECT_EQ(initialize(coder.get()), 0);
  EXPECT_EQ(outputBuffer(output.data(), static_cast<std::uint32_t>(output.size()), coder.get()), 0);
  setByteStuffing(coder.get());
  return coder;
}

struct Symbol {
  bool isChroma;
  bool isDC;
  std::uint32_t run;
  std::int32_t value;
};

/// Symbols with every size, every run, both signs, EOB and ZRL, in both tables.
std::vector<Symbol> someSymbols() {
  std::mt19937 random(7);
  const auto below = [&random](unsigned long limit) { return static_cast<std::uint32_t>(random() % limit); };
  std::vector<Symbol> symbols;
  for (int i = 0; i < 40000; ++i) {
    const bool isChroma = below(2) == 0;
    const std::uint32_t size = below(12);
    const std::uint32_t lowest = size == 0 ? 0 : 1U << (size - 1);
    const auto magnitude = static_cast<std::int32_t>(size == 0 ? 0 : lowest + below(lowest));
    const bool isDC = size > 10 || below(3) == 0;
    const std::uint32_t run = size == 0 ? below(2) * 15 : below(16);
    symbols.push_back({isChroma, isDC, isDC ? 0 : run, below(2) == 0 ? magnitude : -magnitude});
  }
  return symbols;
}

TEST(HuffmanReader, ReadsBackEverySymbolThatIsWritten) {
  Bytes stream(400000);
  const auto coder = makeCoder(stream);
  const std::vector<Symbol> symbols = someSymbols();
  for (const Symbol& s : symbols) {
    if (s.isDC) {
      ASSERT_EQ(dcSymbol(s.value, s.isChroma, coder.get()), 0);
    } else if (s.value == 0) {
      ASSERT_EQ(s.run == 0 ? eobSymbol(s.isChroma, coder.get()) : zrlSymbol(s.isChroma, coder.get()), 0);
    } else {
      ASSERT_EQ(acSymbol(s.run, s.value, s.isChroma, coder.get()), 0);
    }
  }
  std::uint32_t length = 0;
  ASSERT_EQ(finishEncoding(&length, coder.get()), 0);

  ASSERT_EQ(decodeData(stream.data(), length, coder.get()), 0);
  for (const Symbol& s : symbols) {
    std::uint32_t run = 0;
    std::int32_t value = 0;
    ASSERT_EQ(s.isDC ? decodeDCSymbol(&value, s.isChroma, coder.get())
                     : decodeACSymbol(&run, &value, s.isChroma, coder.get()),
              0);
    ASSERT_EQ(value, s.value);
    ASSERT_EQ(run, s.run);
  }
  EXPECT_EQ(checkForFlush(coder.get()), 0U);
  EXPECT_LE(decodeBitPosition(coder.get()), length * 8);
  std::int32_t value = 0;
  EXPECT_NE(decodeDCSymbol(&value, false, coder.get()), 0);  // only filling is left
}

TEST(HuffmanReader, StopsBeforeMarkersAndNotesTheQuantisers) {
  // marker, symbols 00 and filling, padded marker, data FF, symbols, restart marker, half a marker
  const Bytes stream = {0xFF, 0x2B, 0x3F, 0xFF, 0xFF, 0xFF, 0x2C, 0xFF, 0x00, 0x12, 0xFF, 0xD7, 0x00, 0xFF};
  Bytes output(1);
  const auto coder = makeCoder(output);
  ASSERT_EQ(decodeData(stream.data(), static_cast<std::uint32_t>(stream.size()), coder.get()), 0);
  EXPECT_EQ(checkForFlush(coder.get()), 0xFF2BU);
  EXPECT_EQ(coder->reader.sawFlatQuantizer, 1);
  std::int32_t value = -1;
  EXPECT_EQ(decodeDCSymbol(&value, false, coder.get()), 0);
  EXPECT_EQ(value, 0);
  EXPECT_EQ(coder->reader.sawTableQuantizer, 1);
  EXPECT_EQ(decodeBitPosition(coder.get()), 2U);
  EXPECT_EQ(decodeDCSymbol(&value, false, coder.get()), CODEC_NO_SUCH_CODE);  // ones up to the marker
  EXPECT_EQ(checkForFlush(coder.get()), 0xFF2CU);
  EXPECT_EQ(checkForFlush(coder.get()), 0U);  // data comes next
  std::uint32_t word = 0;
  EXPECT_EQ(getCode(&word, coder.get()), 0);
  EXPECT_EQ(word, 0xFF12U);
  EXPECT_EQ(decodeVLI(16, &value, coder.get()), 0);
  EXPECT_EQ(value, 0xFF12);
  EXPECT_EQ(decodeVLI(1, &value, coder.get()), CODEC_INPUT_END);
  softReset(coder.get());  // over the restart marker
  EXPECT_EQ(coder->reader.sawFlatQuantizer, 0);
  std::uint8_t byte = 0xEE;
  EXPECT_EQ(nextByte(&byte, coder.get()), 0);
  EXPECT_EQ(byte, 0);
  EXPECT_EQ(nextByte(&byte, coder.get()), CODEC_INPUT_END);
  EXPECT_EQ(getCode(&word, coder.get()), CODEC_INPUT_END);
}

TEST(HuffmanReader, EndsOnAnyBytesWithoutReadingPastThem) {
  std::mt19937 random(3);
  Bytes output(1);
  const auto coder = makeCoder(output);
  for (int round = 0; round < 2000; ++round) {
    Bytes stream(random() % 40 + 1);
    for (std::uint8_t& byte : stream) byte = static_cast<std::uint8_t>(random() % 3 == 0 ? 0xFF : random());
    ASSERT_EQ(decodeData(stream.data(), static_cast<std::uint32_t>(stream.size()), coder.get()), 0);
    std::uint32_t run = 0;
    std::int32_t value = 0;
    int symbols = 0;
    while (decodeACSymbol(&run, &value, round % 2 == 0, coder.get()) == 0 || checkForFlush(coder.get()) != 0) ++symbols;
    ASSERT_LE(symbols, 40 * 8);
    ASSERT_LE(coder->reader.bytesLeft, stream.size());
  }
}

}  // namespace
}  // namespace kesto
