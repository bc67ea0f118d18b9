#include "codec/huffman.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <fstream>
#include <limits>
#include <memory>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "codec/codetabletext.h"
#include "support/hex.h"

namespace kesto {
namespace {

using test::Bytes;
using test::hex;

constexpr bool LUMA = false;
constexpr bool CHROMA = true;

/// A coder that writes into a buffer of a given size, with stuffing on.
struct Writer {
  explicit Writer(std::size_t capacity = 256) : buffer(capacity, 0xEE) {
    setHuffman(coder());
    ready = initialize(coder());
    attached = outputBuffer(buffer.data(), static_cast<std::uint32_t>(capacity), coder());
    setByteStuffing(coder());
  }

  [[nodiscard]] WicketCoder* coder() const { return storage.get(); }

  std::string finished() {
    std::uint32_t length = 0;
    finishEncoding(&length, coder());
    return hex(std::span(buffer).first(length));
  }

  std::unique_ptr<WicketCoder> storage = std::make_unique<WicketCoder>();
  Bytes buffer;
  std::int32_t ready = -1;
  std::int32_t attached = -1;
};

std::string tableText(const HuffmanCodeTable& table) {
  std::ostringstream text;
  codec_WriteTable(text, &table);
  return text.str();
}

TEST(Huffman, StartsEveryStreamAfresh) {
  Writer writer;
  EXPECT_EQ(writer.ready, 0);
  EXPECT_EQ(writer.attached, 0);
  EXPECT_EQ(writer.coder()->tablesReady, 2U);
  restartMarker(writer.coder());
  dcSymbol(1, LUMA, writer.coder());
  setHuffman(writer.coder());
  EXPECT_EQ(writer.coder()->tablesReady, 0U);
  EXPECT_EQ(writer.coder()->restartNumber, 0);
  EXPECT_EQ(writer.coder()->bitCount, 0U);
  EXPECT_EQ(queryByteStuffing(writer.coder()), 0);
  EXPECT_EQ(outputBuffer(nullptr, 10, writer.coder()), CODEC_NULL_POINTER);
}

TEST(Huffman, GeneratesTheStandardCodes) {
  const Writer writer;
  const std::string luma = tableText(writer.coder()->lumaCodes);
  const std::string chroma = tableText(writer.coder()->chromaCodes);
  for (const char* line : {"DC 0 2 00\n", "DC 1 3 010\n", "DC 11 9 111111110\n", "AC 0/0 4 1010\n", "AC 0/1 2 00\n",
                           "AC 2/2 8 11111001\n", "AC 15/0 11 11111111001\n", "AC 15/10 16 1111111111111110\n"}) {
    EXPECT_NE(luma.find(line), std::string::npos) << line;
  }
  for (const char* line : {"DC 0 2 00\n", "DC 11 11 11111111110\n", "AC 0/0 2 00\n", "AC 15/0 10 1111111010\n",
                           "AC 15/10 16 1111111111111110\n"}) {
    EXPECT_NE(chroma.find(line), std::string::npos) << line;
  }
  EXPECT_EQ(std::count(luma.begin(), luma.end(), '\n'), 12 + 162);
}

TEST(Huffman, WritesItsTablesToAFile) {
  const Writer writer;
  const std::string path = testing::TempDir() + "codetables.txt";
  ASSERT_TRUE(writeTables(path.c_str(), writer.coder()));
  std::ifstream file(path);
  std::ostringstream text;
  text << file.rdbuf();
  EXPECT_EQ(text.str(),
            "luma\n" + tableText(writer.coder()->lumaCodes) + "chroma\n" + tableText(writer.coder()->chromaCodes));
  EXPECT_FALSE(writeTables((testing::TempDir() + "no/such/folder").c_str(), writer.coder()));
}

TEST(Huffman, NumbersAcSymbolsByCodeIndex) {
  EXPECT_EQ(codecCodeIndex(0x00), 160);
  EXPECT_EQ(codecCodeIndex(0xF0), 161);
  EXPECT_EQ(codecCodeIndex(0x01), 0);
  EXPECT_EQ(codecCodeIndex(0x2A), 146);
  for (const std::uint32_t rs : {0x10U, 0x0BU, 0xFFU, 0x101U, 0xFFFFFFF1U}) EXPECT_EQ(codecCodeIndex(rs), -1) << rs;
  for (std::int32_t index = 0; index < 162; ++index) {
    EXPECT_EQ(codecCodeIndex(static_cast<std::uint32_t>(codecRSSymbol(index))), index);
  }
  EXPECT_EQ(codecRSSymbol(162), -1);
  EXPECT_EQ(codecRSSymbol(-1), -1);
}

TEST(Huffman, FillsTheLastByteWithOnes) {
  Writer writer;
  outputBits(0b101, 3, writer.coder());
  EXPECT_EQ(writer.finished(), "BF");
  EXPECT_EQ(writer.finished(), "BF");  // nothing is pending any more
}

TEST(Huffman, TakesOnlyTheLowBitsOfAValue) {
  Writer writer;
  outputBits(0xFFFFFFF1, 4, writer.coder());
  outputBits(0xABCDE, 0, writer.coder());
  outputBits(0xFFFF2345, 16, writer.coder());
  outputBits(0xF6, 4, writer.coder());
  EXPECT_EQ(writer.finished(), "12 34 56");
  EXPECT_EQ(outputBits(0, 26, writer.coder()), CODEC_BAD_SIZE);
}

TEST(Huffman, StuffsDataButNotMarkers) {
  Writer writer;
  outputBits(0xFF, 8, writer.coder());
  outputBits(0b111, 3, writer.coder());
  restartMarker(writer.coder());
  quantizationTableMarker(0, writer.coder());
  quantizationTableMarker(7, writer.coder());
  outputBits(0xFF, 8, writer.coder());
  EXPECT_EQ(writer.finished(), "FF 00 FF 00 FF D0 FF 2C FF 2B FF 00");
  EXPECT_EQ(clearByteStuffing(writer.coder()), 1);
  outputBits(0xFFFF, 16, writer.coder());
  restartMarker(writer.coder());
  EXPECT_EQ(setByteStuffing(writer.coder()), 0);
  EXPECT_EQ(writer.finished(), "FF 00 FF 00 FF D0 FF 2C FF 2B FF 00 FF FF FF D1");
}

TEST(Huffman, CountsRestartMarkersModuloEight) {
  Writer writer;
  for (int i = 0; i < 9; ++i) restartMarker(writer.coder());
  writer.coder()->restartNumber = 9;  // whatever number was set is written
  restartMarker(writer.coder());
  EXPECT_EQ(writer.coder()->restartNumber, 0);
  EXPECT_EQ(writer.finished(), "FF D0 FF D1 FF D2 FF D3 FF D4 FF D5 FF D6 FF D7 FF D0 FF D9");
}

TEST(Huffman, PadsAQuantiserMarkerWithTwentyBytes) {
  Writer writer;
  outputBits(0, 1, writer.coder());
  quantizationTableMarkerPad(1, writer.coder());
  EXPECT_EQ(writer.finished(), "7F FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF 2B");
}

TEST(Huffman, WritesDcDifferences) {
  Writer writer;
  // 00 | 010 0 | 010 1 | 11111110 1111111000 (1016), luma; 00 | 10 10 (2) | 11111111110 00000000000 (-2047), chroma
  for (const std::int32_t difference : {0, -1, 1, 1016}) dcSymbol(difference, LUMA, writer.coder());
  for (const std::int32_t difference : {0, 2, -2047}) dcSymbol(difference, CHROMA, writer.coder());
  // 00010001 01111111 10111111 10000010 10111111 11110000 00000000
  EXPECT_EQ(writer.finished(), "11 7F BF 82 BF F0 00");
}

TEST(Huffman, WritesAcSymbolsAndTheirPosition) {
  Writer writer;
  dcSymbol(0, LUMA, writer.coder());
  acSymbol(2, -3, LUMA, writer.coder());  // 11111001 00
  EXPECT_EQ(writer.coder()->coefficientIndex, 3U);
  zrlSymbol(LUMA, writer.coder());  // 11111111001
  EXPECT_EQ(writer.coder()->coefficientIndex, 19U);
  acSymbol(0, 1, CHROMA, writer.coder());  // 01 1
  EXPECT_EQ(writer.coder()->coefficientIndex, 20U);
  zrlSymbol(CHROMA, writer.coder());  // 1111111010
  eobSymbol(LUMA, writer.coder());    // 1010
  eobSymbol(CHROMA, writer.coder());  // 00
  // 00111110 01001111 11110010 11111111 10101010 00(111111)
  EXPECT_EQ(writer.finished(), "3E 4F F2 FF 00 AA 3F");
}

TEST(Huffman, RefusesWhatHasNoCodeAndWritesNothingForIt) {
  Writer writer;
  constexpr std::int32_t lowest = std::numeric_limits<std::int32_t>::min();
  for (const std::int32_t value : {2048, -2048, lowest}) {
    EXPECT_EQ(dcSymbol(value, LUMA, writer.coder()), CODEC_MAGNITUDE);
    EXPECT_EQ(acSymbol(0, value, LUMA, writer.coder()), CODEC_MAGNITUDE);
  }
  EXPECT_EQ(acSymbol(0, 1024, LUMA, writer.coder()), CODEC_INVALID_SYMBOL);  // size 11
  EXPECT_EQ(acSymbol(16, 1, LUMA, writer.coder()), CODEC_INVALID_SYMBOL);
  EXPECT_EQ(acSymbol(0x10000000, 1, LUMA, writer.coder()), CODEC_INVALID_SYMBOL);
  EXPECT_EQ(dcSymbol(2047, LUMA, writer.coder()), 0);
  EXPECT_EQ(writer.finished(), "FF 00 7F FF 00");  // 111111110 11111111111 and filling
}

TEST(Huffman, NeverWritesPastItsCapacity) {
  for (std::size_t capacity = 0; capacity < 24; ++capacity) {
    Writer writer(24);
    ASSERT_EQ(outputBuffer(writer.buffer.data(), static_cast<std::uint32_t>(capacity), writer.coder()), 0);
    std::int32_t status = 0;
    for (int i = 0; i < 40; ++i) {
      status = i % 5 == 4 ? restartMarker(writer.coder()) : dcSymbol(-1000 - i, i % 2 == 0, writer.coder());
      acSymbol(15, 1000, LUMA, writer.coder());
    }
    EXPECT_EQ(status, CODEC_OUTPUT_FULL);
    EXPECT_EQ(quantizationTableMarkerPad(0, writer.coder()), CODEC_OUTPUT_FULL);
    std::uint32_t length = 99;
    EXPECT_EQ(finishEncoding(&length, writer.coder()), CODEC_OUTPUT_FULL);
    EXPECT_EQ(length, capacity);
    for (std::size_t i = capacity; i < writer.buffer.size(); ++i) ASSERT_EQ(writer.buffer[i], 0xEE) << capacity;
  }
  Writer full(1);
  EXPECT_EQ(outputBits(0xFF, 8, full.coder()), CODEC_OUTPUT_FULL);  // the stuffed byte has no room
  EXPECT_EQ(finishEncoding(nullptr, full.coder()), CODEC_NULL_POINTER);
}

/// Code lists of few codes to spoil, and a table to generate it into.
struct Generation {
  std::array<std::uint32_t, 16> dcCounts = {1, 1};
  std::array<std::uint32_t, 2> dcSymbols = {3, 5};
  std::array<std::uint32_t, 16> acCounts = {0, 2};
  std::array<std::uint32_t, 2> acSymbols = {0x00, 0x21};
  std::unique_ptr<HuffmanCodeTable> table = std::make_unique<HuffmanCodeTable>();

  std::int32_t run() {
    return codecInitialize(dcCounts.data(), dcSymbols.data(), acCounts.data(), acSymbols.data(), table.get());
  }
};

TEST(HuffmanCodec, GeneratesOnlyTheCodesOfItsLists) {
  Generation small;
  EXPECT_EQ(small.run(), 0);
  EXPECT_EQ(tableText(*small.table), "DC 3 1 0\nDC 5 2 10\nAC 0/0 2 00\nAC 2/1 2 01\n");
  std::uint32_t code = 0;
  std::uint32_t length = 0;
  EXPECT_EQ(codecDCCode(4, &code, &length, small.table.get()), CODEC_INVALID_SYMBOL);
  EXPECT_EQ(codecDCCode(12, &code, &length, small.table.get()), CODEC_DC_SIZE);
  EXPECT_EQ(codecACCode(0x22, &code, &length, small.table.get()), CODEC_INVALID_SYMBOL);
  EXPECT_EQ(codecACCode(0x21, nullptr, &length, small.table.get()), CODEC_NO_CODE_POINTER);
  EXPECT_EQ(codecDCCode(3, &code, nullptr, small.table.get()), CODEC_NO_CODE_LENGTH_POINTER);

  small.table->dcCodes[3].code = 7;  // whatever has been spoilt is made anew
  small.acSymbols[1] = 0x31;
  EXPECT_EQ(small.run(), 0);
  EXPECT_EQ(tableText(*small.table), "DC 3 1 0\nDC 5 2 10\nAC 0/0 2 00\nAC 3/1 2 01\n");

  const Writer writer;
  EXPECT_EQ(setHuffmanCodec(small.table.get(), CHROMA, writer.coder()), 0);
  EXPECT_EQ(acSymbol(3, -1, CHROMA, writer.coder()), 0);
  EXPECT_EQ(acSymbol(2, -1, CHROMA, writer.coder()), CODEC_INVALID_SYMBOL);
}

TEST(HuffmanCodec, RefusesListsThatContradictThemselves) {
  const auto spoilt = [](auto spoil) {
    Generation generation;
    spoil(generation);
    return generation.run();
  };
  EXPECT_EQ(spoilt([](Generation& g) { g.dcSymbols[0] = 16; }), CODEC_DC_SYMBOL_RANGE);
  EXPECT_EQ(spoilt([](Generation& g) { g.dcSymbols[0] = 5; }), CODEC_INVALID_SYMBOL);
  EXPECT_EQ(spoilt([](Generation& g) { g.acSymbols[1] = 0x00; }), CODEC_INVALID_SYMBOL);
  EXPECT_EQ(spoilt([](Generation& g) { g.acSymbols[1] = 0x2B; }), CODEC_INVALID_SYMBOL);

  // The DC list is judged first, then each AC symbol, then how many they are, then whether one comes twice.
  EXPECT_EQ(spoilt([](Generation& g) {
              g.dcSymbols[0] = 5;
              g.acSymbols[1] = 0x2B;
            }),
            CODEC_INVALID_SYMBOL);
  std::vector<std::uint32_t> manySymbols(163, 0x11);
  Generation many;
  many.acCounts = {0, 0, 0, 0, 0, 0, 0, 163};
  const auto runMany = [&] {
    return codecInitialize(many.dcCounts.data(), many.dcSymbols.data(), many.acCounts.data(), manySymbols.data(),
                           many.table.get());
  };
  EXPECT_EQ(runMany(), CODEC_TOO_MANY_AC_CODES);
  manySymbols.back() = 0x0F;
  EXPECT_EQ(runMany(), CODEC_INVALID_SYMBOL);

  Generation endless;
  std::array<std::uint32_t, 162> everySymbol{};
  for (std::uint32_t i = 0; i < 162; ++i) {
    everySymbol[i] = static_cast<std::uint32_t>(codecRSSymbol(static_cast<std::int32_t>(i)));
  }
  endless.acCounts = {0, 0, 0, 0, 0, 0, 0, 0xFFFFFFFF};
  EXPECT_EQ(codecInitialize(endless.dcCounts.data(), endless.dcSymbols.data(), endless.acCounts.data(),
                            everySymbol.data(), endless.table.get()),
            CODEC_TOO_MANY_AC_CODES);

  const std::uint32_t* list = everySymbol.data();
  HuffmanCodeTable* table = endless.table.get();
  EXPECT_EQ(codecInitialize(nullptr, list, list, list, table), CODEC_NO_DC_COUNTS);
  EXPECT_EQ(codecInitialize(list, list, nullptr, list, table), CODEC_NO_AC_COUNTS);
  EXPECT_EQ(codecInitialize(list, list, list, nullptr, table), CODEC_NO_AC_SYMBOLS);
  EXPECT_EQ(codecInitialize(list, nullptr, list, list, table), CODEC_NULL_POINTER);
}

}  // namespace
}  // namespace kesto
