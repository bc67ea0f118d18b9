#include "codec/tbrle.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <optional>
#include <random>
#include <span>
#include <string>

#include <gtest/gtest.h>
#include <unistd.h>

#include "support/hex.h"

namespace kesto {
namespace {

using test::Bytes;
using test::hex;
using test::unhex;

/// Tags written as digits.
Bytes tags(const std::string& digits) {
  Bytes bytes;
  for (const char digit : digits) bytes.push_back(static_cast<std::uint8_t>(digit - '0'));
  return bytes;
}
Bytes repeat(const std::string& digits, int times) {
  std::string all;
  for (int i = 0; i < times; ++i) all += digits;
  return tags(all);
}
Bytes operator+(Bytes left, const Bytes& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

/// The stream in `capacity` bytes; empty when the encoder refuses. A byte written behind it is a failure.
Bytes encode(const Bytes& plane, std::size_t capacity) {
  Bytes out(capacity + 8, 0xEE);
  const auto length = tbrle_encode(static_cast<std::uint32_t>(capacity), out.data(),
                                   static_cast<std::uint32_t>(plane.size()), plane.data());
  EXPECT_LE(length, capacity);
  for (std::size_t i = capacity; i < out.size(); ++i) EXPECT_EQ(out[i], 0xEE) << "written behind the capacity";
  out.resize(length);
  return out;
}
std::string encoded(const Bytes& plane) {
  return hex(encode(plane, 2 * plane.size()));
}

TEST(TbrleEncode, TurnsAPlaneOfOnePatternIntoItsFillByte) {
  EXPECT_EQ(encoded(repeat("3333", 5000)), "FF");
  EXPECT_EQ(encoded(repeat("1111", 2000)), "55");
  EXPECT_EQ(encoded(tags("4444")), "00");
  EXPECT_EQ(encoded(repeat("0000", 700)), "00") << "tag 0 only";
  EXPECT_EQ(encoded(repeat("0000", 3) + tags("0002")), "AA") << "tag 0 joins the only pattern there is";
}

TEST(TbrleEncode, PacksTheFirstTagLowestIntoLiterals) {
  EXPECT_EQ(encoded(tags("1234")), "00 39");
  EXPECT_EQ(encoded(tags("12342134")), "01 39 36");
  const auto many = encode(repeat("1234", 129), 600);
  ASSERT_EQ(many.size(), 131U);
  EXPECT_EQ(many[0], 0x7F);
  EXPECT_EQ(hex(std::span(many).last(3)), "39 00 39");
}

TEST(TbrleEncode, WritesRunsInFallingUnits) {
  EXPECT_EQ(encoded(tags("1234") + repeat("3333", 1000)), "00 39 F8 F6 EC");
  EXPECT_EQ(encoded(repeat("3333", 10) + tags("12342134")), "E8 E1 01 39 36");
  EXPECT_EQ(encoded(tags("1234") + repeat("1111", 512 * 17)), "00 39 B8 BF BF");
  EXPECT_EQ(encoded(repeat("1111", 3) + repeat("2222", 8) + repeat("4444", 64)), "A2 C8 90");
}

TEST(TbrleEncode, LetsTagZeroTakeTheCodeAroundIt) {
  EXPECT_EQ(encoded(tags("12340000213433333333")), "00 39 C0 00 36 E1") << "between literals it is a run of 0xAA";
  EXPECT_EQ(encoded(tags("333300003333")), "FF");
  EXPECT_EQ(encoded(tags("00001234")), "C0 00 39") << "no pattern before the first literal";
  EXPECT_EQ(encoded(tags("12040020")), "01 29 A0") << "inside a word it repeats the tag before";
  EXPECT_EQ(encoded(tags("333312340000")), "E0 00 39 80") << "at the end it takes the code mapped last";
  EXPECT_EQ(encoded(tags("1234000021340000")), "00 39 C0 00 36 80");
  EXPECT_EQ(encoded(tags("222201110111")), "C0 00 56 A0") << "the same word, first with the code before it";
}

TEST(TbrleEncode, RefusesWhatIsNoTagPlane) {
  Bytes out(64);
  const auto plane = repeat("1234", 4);
  EXPECT_EQ(tbrle_encode(64, nullptr, 16, plane.data()), 0U);
  EXPECT_EQ(tbrle_encode(64, out.data(), 16, nullptr), 0U);
  EXPECT_EQ(tbrle_encode(64, out.data(), 0, plane.data()), 0U);
  EXPECT_EQ(tbrle_encode(64, out.data(), 3, plane.data()), 0U);
  EXPECT_EQ(tbrle_encode(64, out.data(), 6, plane.data()), 0U);
  for (const auto* digits : {"5111", "0000111511111111", "3333333333333335", "00000009"}) {
    EXPECT_EQ(encoded(tags(digits)), "") << digits;
  }
}

TEST(TbrleEncode, NeedsAByteToSpareAfterALiteralButNotAfterARun) {
  EXPECT_EQ(encode(tags("3333"), 0), Bytes());
  EXPECT_EQ(hex(encode(tags("3333"), 1)), "FF");
  EXPECT_EQ(encode(tags("1234"), 2), Bytes());
  EXPECT_EQ(hex(encode(tags("1234"), 3)), "00 39");
  EXPECT_EQ(encode(repeat("3333", 10) + tags("1234"), 4), Bytes());
  EXPECT_EQ(hex(encode(repeat("3333", 10) + tags("1234"), 5)), "E8 E1 00 39");
  EXPECT_EQ(encode(tags("1234") + repeat("3333", 1000), 4), Bytes());
  EXPECT_EQ(hex(encode(tags("1234") + repeat("3333", 1000), 5)), "00 39 F8 F6 EC");
}

/// The coding rules one by one and word for word, without any of the encoder's short cuts.
class PlainEncoder {
 public:
  explicit PlainEncoder(std::size_t capacity) : capacity_(capacity) {}

  Bytes encode(const Bytes& plane) {
    const std::size_t words = plane.size() / 4;
    const auto isZero = [&plane](std::size_t word) {
      return plane[4 * word] + plane[4 * word + 1] + plane[4 * word + 2] + plane[4 * word + 3] == 0;
    };
    std::size_t at = 0;
    for (; at + 1 < words && isZero(at); ++at) ++run_;
    std::size_t first = 4 * at;
    while (first < plane.size() && plane[first] == 0) ++first;
    if (first == plane.size()) return {0x00};
    int code = plane[first] % 4;
    for (; at < words; ++at) {
      if (isZero(at) && at + 1 < words) {
        ++run_;
        continue;
      }
      int packed = 0;
      for (int i = 0; i < 4; ++i) {
        if (const int tag = plane[4 * at + i]; tag != 0) code = tag % 4;
        packed |= code << (2 * i);
      }
      const int pattern = packed % 0x55 == 0 ? packed / 0x55 : -1;
      pattern >= 0 ? addPattern(pattern) : addLiteral(packed);
    }
    if (out_.empty()) return {static_cast<std::uint8_t>(pattern_ * 0x55)};
    closeLiteral();
    writeRun();
    return full_ ? Bytes() : out_;
  }

 private:
  void addPattern(int pattern) {
    closeLiteral();
    if (pattern_ != -1 && pattern_ != pattern) writeRun();
    ++run_;
    pattern_ = pattern;
  }
  void addLiteral(int packed) {
    if (run_ > 0) {
      closeLiteral();
      writeRun();
    }
    if (header_ && out_.size() - *header_ == 129) closeLiteral();
    if (!header_) {
      header_ = out_.size();
      out_.push_back(0);
    }
    out_.push_back(static_cast<std::uint8_t>(packed));
    full_ = full_ || out_.size() >= capacity_;
  }
  void closeLiteral() {
    if (header_) out_[*header_] = static_cast<std::uint8_t>(out_.size() - *header_ - 2);
    header_.reset();
  }
  void writeRun() {
    const int top = 0x80 | (pattern_ == -1 ? 2 : pattern_) << 5;
    for (std::size_t unit = 512, scale = 3; unit > 0; unit /= 8, --scale) {
      for (std::size_t units = run_ / unit; units > 0;) {
        const std::size_t some = units % 8 != 0 ? units % 8 : 8;
        out_.push_back(static_cast<std::uint8_t>(top | scale << 3 | (some - 1)));
        units -= some;
      }
      run_ %= unit;
    }
    full_ = full_ || out_.size() > capacity_;
  }

  std::size_t capacity_;
  Bytes out_;
  std::optional<std::size_t> header_;
  std::size_t run_ = 0;
  int pattern_ = -1;
  bool full_ = false;
};

/// A plane of runs, zero words and mixed words in changing shares.
Bytes randomPlane(std::mt19937& random) {
  Bytes plane;
  const auto mixed = random() % 5;
  const std::size_t words = 1 + random() % 400;
  while (plane.size() < 4 * words) {
    const auto tag = static_cast<std::uint8_t>(random() % 5);
    if (random() % 5 < mixed) {
      for (int i = 0; i < 4; ++i) plane.push_back(static_cast<std::uint8_t>(random() % 3 == 0 ? random() % 5 : tag));
    } else {
      plane.insert(plane.end(), 4 * (1 + random() % (random() % 9 == 0 ? 700 : 12)), tag);
    }
  }
  return plane;
}

TEST(TbrleEncode, AgreesWithThePlainRulesOnRandomPlanesAndCapacities) {
  std::mt19937 random(20'240);
  for (int round = 0; round < 3000; ++round) {
    const auto plane = randomPlane(random);
    const auto expected = PlainEncoder(2 * plane.size()).encode(plane);
    ASSERT_EQ(hex(encode(plane, 2 * plane.size())), hex(expected)) << "round " << round;
    for (const std::size_t capacity : {expected.size() - 1, expected.size(), expected.size() + 1}) {
      if (capacity == 0) continue;
      ASSERT_EQ(hex(encode(plane, capacity)), hex(PlainEncoder(capacity).encode(plane))) << "round " << round;
    }
  }
}

/// Decodes into a buffer of 0xEE bytes and gives its first `length` bytes, or "refused".
std::string decoded(const std::string& stream, std::uint32_t outSize, std::uint32_t lineWidth, std::uint32_t stride) {
  Bytes out(outSize, 0xEE);
  const auto in = unhex(stream);
  const auto length =
      tbrle_decode(outSize, out.data(), static_cast<std::uint32_t>(in.size()), in.data(), lineWidth, stride);
  if (length == 0) return "refused";
  out.resize(length);
  return hex(out);
}

TEST(TbrleDecode, LaysPackedBytesOutInLines) {
  EXPECT_EQ(decoded("01 39 36 E1 00 1B", 8, 100, 100), "39 36 FF FF 1B");
  EXPECT_EQ(decoded("01 39 36 E1 00 1B", 8, 2, 3), "39 36 EE FF FF EE 1B");
  EXPECT_EQ(decoded("A2 00 39", 6, 2, 4), "55 55 EE EE 55 39") << "ends with a line";
  EXPECT_EQ(decoded("80 81 C0", 9, 4, 4), "00 00 00 AA") << "runs of one pattern add up";
  EXPECT_EQ(decoded("A7", 5, 2, 4), "A7 A7 A7 A7 A7") << "a single byte is no run";
}

TEST(TbrleDecode, RefusesWhatDoesNotFitOrEndsEarly) {
  EXPECT_EQ(decoded("E0 E7", 8, 8, 8), "refused");
  EXPECT_EQ(decoded("E0 E6", 8, 8, 8), "FF FF FF FF FF FF FF FF");
  EXPECT_EQ(decoded("E0 E6", 8, 4, 5), "refused");
  EXPECT_EQ(decoded("02 39 36 1B", 2, 8, 8), "refused");
  EXPECT_EQ(decoded("02 39 36", 8, 8, 8), "refused");
  EXPECT_EQ(decoded("E0 7F", 800, 8, 8), "refused");
  EXPECT_EQ(decoded("", 8, 8, 8), "refused");
  EXPECT_EQ(decoded("01 39 36", 8, 0, 8), "refused");
  EXPECT_EQ(decoded("01 39 36", 8, 4, 3), "refused");
  EXPECT_EQ(decoded("39", 0, 8, 8), "refused");
  std::uint8_t byte = 0x39;
  EXPECT_EQ(tbrle_decode(1, nullptr, 1, &byte, 1, 1), 0U);
  EXPECT_EQ(tbrle_decode(1, &byte, 1, nullptr, 1, 1), 0U);
}

TEST(TbrleDecode, GivesBackEveryPixelThatHadATag) {
  std::mt19937 random(7);
  for (int round = 0; round < 500; ++round) {
    const auto plane = randomPlane(random);
    const auto stream = encode(plane, 2 * plane.size());
    const auto words = static_cast<std::uint32_t>(plane.size() / 4);
    Bytes packed(words);
    ASSERT_EQ(
        tbrle_decode(words, packed.data(), static_cast<std::uint32_t>(stream.size()), stream.data(), words, words),
        words);
    for (std::size_t i = 0; i < plane.size(); ++i) {
      if (plane[i] == 0) continue;
      ASSERT_EQ(packed[i / 4] >> (2 * (i % 4)) & 3, plane[i] & 3) << "round " << round << ", pixel " << i;
    }
  }
}

TEST(TbrleDecode, StaysInsideItsBuffersForAnyStream) {
  std::mt19937 random(99);
  for (int round = 0; round < 5000; ++round) {
    Bytes stream(random() % 40);
    for (auto& byte : stream) byte = static_cast<std::uint8_t>(random());
    Bytes out(random() % 3000);
    const auto lineWidth = static_cast<std::uint32_t>(random() % 50);
    const auto stride = static_cast<std::uint32_t>(lineWidth + random() % 3);
    const auto length = tbrle_decode(static_cast<std::uint32_t>(out.size()), out.data(),
                                     static_cast<std::uint32_t>(stream.size()), stream.data(), lineWidth, stride);
    ASSERT_LE(length, out.size());
  }
}

TEST(EncodePattern, WritesAllItsBytesOrNone) {
  std::array<std::uint8_t, 4> out{};
  EXPECT_EQ(encode_pattern(out.data(), 4, 3, 1000), 3U);
  EXPECT_EQ(hex(out), "F8 F6 EC 00");
  EXPECT_EQ(encode_pattern(out.data(), 2, 1, 1000), 0U);
  EXPECT_EQ(encode_pattern(out.data(), 4, 4, 1), 0U);
  EXPECT_EQ(encode_pattern(out.data(), 4, 0, 0), 0U);
  EXPECT_EQ(hex(out), "F8 F6 EC 00");
  EXPECT_EQ(encode_pattern(out.data(), 4, 0, 585), 4U);
  EXPECT_EQ(hex(out), "98 90 88 80");
}

TEST(DumpData, WritesAFile) {
  const auto name = testing::TempDir() + "tbrle_dump_" + std::to_string(getpid());
  const Bytes bytes{0x00, 0x0A, 0xFF};
  EXPECT_TRUE(__dump_data(name.c_str(), bytes.data(), 3));
  std::ifstream file(name, std::ios::binary);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), std::string("\x00\x0A\xFF", 3));
  std::remove(name.c_str());
  EXPECT_FALSE(__dump_data("/nonexistent/dump", bytes.data(), 3));
}

}  // namespace
}  // namespace kesto
