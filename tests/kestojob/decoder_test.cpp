// Bands decoded: the pixels that known streams stand for.
#include <algorithm>

#include <gtest/gtest.h>

#include "kestojob/reader/banddecoder.h"
#include "kestojob/reader/entropycheck.h"
#include "kestojob/reader/fault.h"
#include "kestojob/samplejob.h"

namespace kesto::job {
namespace {

using test::Bytes;
using test::hex;
using test::unhex;

Bytes decode(const Bytes& band, const BandShape& shape, PixelForm form = {}) {
  BandDecoder decoder(standardTables(), form);
  const auto pixels = decoder.decode(shape, band);
  return {pixels.begin(), pixels.end()};
}

/// A band's bits, padded and stuffed.
class Bits {
 public:
  Bits& add(std::string_view bits, int times = 1) {
    for (; times > 0; --times) text_ += bits;
    return *this;
  }
  [[nodiscard]] Bytes bytes() const {
    std::string padded = text_;
    padded.resize((padded.size() + 7) / 8 * 8, '1');
    Bytes result;
    for (std::size_t i = 0; i < padded.size(); i += 8) {
      result.push_back(static_cast<std::uint8_t>(std::stoul(padded.substr(i, 8), nullptr, 2)));
      if (result.back() == 0xFF) result.push_back(0x00);
    }
    return result;
  }

 private:
  std::string text_;
};

// Luma codes of T.81 Annex K.
constexpr char SAME[] = "00";   // a DC difference of 0
constexpr char END[] = "1010";  // end of block
constexpr char UP_1016[] = "111111101111111000";
constexpr char DOWN_1016[] = "111111100000000111";
constexpr char UP_100[] = "111101100100";

TEST(BandDecoder, GivesKnownBandsTheirPixels) {
  EXPECT_EQ(decode(unhex("FE FE 28 A0 0F"), {16, true}), Bytes(16 * 8 * 3, 255));
  EXPECT_EQ(decode(unhex(test::GREY_WHITE), {16, false}), Bytes(16 * 8, 255));
  EXPECT_EQ(decode(unhex(test::GREY_BLACK), {16, false}), Bytes(16 * 8, 0));
  EXPECT_EQ(decode(unhex("FE FE 28 A0 0F"), {16, true}, {.divisor = 8, .ycbcr = true}), unhex("FF 80 80 FF 80 80"));
}

TEST(BandDecoder, ReadsAStripWithEitherQuantiser) {
  const Bytes band = Bits().add(UP_100).add(END).add(SAME).add(END).bytes();
  const Bytes flat = decode(band, {16, false, false});
  const Bytes scaled = decode(band, {16, false, true});
  EXPECT_EQ(flat[0], 141) << "128 + 100 / 8";
  EXPECT_EQ(scaled[0], 203) << "128 + 100 x 6 / 8, as the first quantiser is 16 x 40 / 100";
}

TEST(BandDecoder, DecodesLinesWiderThanALibjpegImage) {
  for (const unsigned width : {65488U, 65504U, 65520U}) {
    const int blocks = static_cast<int>(width / 8);
    Bits bits;
    bits.add(SAME).add(END);                             // 128
    bits.add(UP_1016).add(END).add(DOWN_1016).add(END);  // a white block, and back
    bits.add(SAME).add(END);
    for (int block = 4; block < blocks - 2; ++block) bits.add(SAME).add(END);
    bits.add(UP_1016).add(END).add(SAME).add(END);  // the last two are white
    const Bytes band = bits.bytes();
    EntropyCheck(standardTables()).check(band, width / 8, false, 0);
    const Bytes pixels = decode(band, {width, false});
    ASSERT_EQ(pixels.size(), std::size_t{width} * 8);
    Bytes row(width, 128);
    std::fill_n(row.begin() + 8, 8, 255);
    std::fill_n(row.end() - 16, 16, 255);
    for (std::size_t line = 0; line < 8; ++line) {
      EXPECT_TRUE(std::equal(row.begin(), row.end(), pixels.begin() + static_cast<std::ptrdiff_t>(line * width)))
          << line;
    }
  }
}

TEST(BandDecoder, GoesOnAfterABandThatDoesNotDecode) {
  BandDecoder decoder(standardTables(), {});
  EXPECT_THROW(decoder.decode({16, true}, unhex("FE")), BandDecoder::Error);
  EXPECT_EQ(decoder.decode({16, true}, unhex("FE FE 28 A0 0F"))[0], 255);
}

TEST(EntropyCheck, RefusesWhatADecoderPassesOver) {
  const EntropyCheck check(standardTables());
  const auto fault = [&check](const Bits& bits, unsigned units = 1) -> std::string {
    try {
      check.check(bits.bytes(), units, false, 0);
    } catch (const Fault& found) {
      return found.what();
    }
    return "";
  };
  constexpr char SKIP_16[] = "11111111001";             // the AC code of sixteen zeros
  constexpr char ONE[] = "001";                         // the AC code of run 0, size 1, and the value 1
  constexpr char ONE_AFTER_14[] = "11111111111010111";  // of run 14, size 1, likewise: 15 coefficients
  EXPECT_EQ(fault(Bits().add(SAME).add(ONE, 63)), "") << "a block that is full has no end";
  EXPECT_EQ(fault(Bits().add(SAME).add(ONE, 62).add(END)), "");
  EXPECT_EQ(fault(Bits().add(SAME).add(SKIP_16, 3).add(ONE, 15)), "");
  EXPECT_EQ(fault(Bits().add(SAME).add(SKIP_16, 4)), "A run in the image data leaves its block.");
  EXPECT_EQ(fault(Bits().add(SAME).add(ONE_AFTER_14, 4).add(END)), "");
  EXPECT_EQ(fault(Bits().add(SAME).add(ONE_AFTER_14, 5)), "A run in the image data leaves its block.");
  EXPECT_EQ(fault(Bits().add(SAME).add("1111111111111111")), "The image data hold a code that there is not.");
  EXPECT_EQ(fault(Bits().add("111111111")), "The image data hold a code that there is not.") << "of the DC codes";
  EXPECT_EQ(fault(Bits().add(SAME).add(ONE, 64)), "The image data of a band go on behind its last unit.");
  EXPECT_EQ(fault(Bits().add(SAME).add(END), 2), "The image data of a band end before its last unit.");
  EXPECT_EQ(fault(Bits().add(SAME).add(END).add("10")), "The last byte of a band is not padded with ones.");
}

}  // namespace
}  // namespace kesto::job
