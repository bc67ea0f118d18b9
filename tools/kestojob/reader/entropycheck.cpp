#include "kestojob/reader/entropycheck.h"

#include "kestojob/reader/fault.h"

namespace kesto::job {
namespace {

constexpr unsigned BLOCK_SIZE = 64;
constexpr unsigned ZERO_RUN_16 = 0xF0;
constexpr unsigned LARGEST_DC_SIZE = 11;
constexpr unsigned LARGEST_AC_SIZE = 10;

unsigned blocksPerUnit(bool color) {
  return color ? 4 : 1;
}

}  // namespace

EntropyCheck::Table::Table(const HuffmanSpec& spec) : symbols_(spec.symbols) {
  std::int32_t code = 0;
  std::int32_t index = 0;
  for (unsigned length = 1; length <= 16; ++length) {
    firstCode_[length] = code;
    firstIndex_[length] = index;
    codes_[length] = spec.counts[length];
    for (std::int32_t i = 0; i < codes_[length] && length <= SHORT; ++i) {
      const std::int32_t place = index + i;
      const std::uint8_t symbol = symbols_[static_cast<std::size_t>(place)];
      const std::size_t first = (static_cast<std::size_t>(code) + static_cast<std::size_t>(i)) << (SHORT - length);
      const std::size_t count = std::size_t{1} << (SHORT - length);
      for (std::size_t j = first; j < first + count; ++j) short_[j] = {static_cast<std::uint8_t>(length), symbol};
    }
    index += codes_[length];
    code = (code + codes_[length]) << 1;
  }
}

EntropyCheck::Table::Code EntropyCheck::Table::find(unsigned bits) const {
  if (const Code code = short_[bits >> (16 - SHORT)]; code.length != 0) return code;
  for (unsigned length = SHORT + 1; length <= 16; ++length) {
    const std::int32_t offset = static_cast<std::int32_t>(bits >> (16 - length)) - firstCode_[length];
    if (offset >= 0 && offset < codes_[length]) {
      const std::int32_t place = firstIndex_[length] + offset;
      return {static_cast<std::uint8_t>(length), symbols_[static_cast<std::size_t>(place)]};
    }
  }
  return {};
}

/// The bits of a band, oldest first, the stuffed zeros left out. Behind the last come ones that count as missing.
class EntropyCheck::BitReader {
 public:
  BitReader(std::span<const std::uint8_t> data, std::uint64_t offset) : data_(data), offset_(offset) {}

  [[noreturn]] void fail(const char* sentence) const { throw Fault(offset_ + place(), sentence); }
  [[noreturn]] void failAtEnd() const { fail("The image data of a band end before its last unit."); }

  std::uint8_t symbol(const Table& table) {
    fill();
    const Table::Code code = table.find(static_cast<unsigned>(bits_ >> 48));
    if (code.length == 0) {
      if (count_ - missing_ < 16) failAtEnd();
      fail("The image data hold a code that there is not.");
    }
    take(code.length);
    return code.symbol;
  }
  void skip(unsigned count) {
    fill();
    take(count);
  }
  /// What is left after the last unit may only be a part of a byte, of ones.
  void finish() {
    fill();
    const unsigned left = count_ - missing_;
    if (position_ < data_.size() || left >= 8) {
      take(left % 8);
      fail("The image data of a band go on behind its last unit.");
    }
    if (left > 0 && (~bits_ >> (64 - left)) != 0) fail("The last byte of a band is not padded with ones.");
  }

 private:
  /// Where the byte is that the next bit is in, or nearly so: stuffed zeros among the bytes read ahead are not counted.
  [[nodiscard]] std::uint64_t place() const {
    const std::uint64_t ahead = count_ > missing_ ? (count_ - missing_ + 7) / 8 : 0;
    return position_ > ahead ? position_ - ahead : 0;
  }
  void fill() {
    while (count_ <= 56) {
      std::uint64_t byte = 0xFF;
      if (position_ < data_.size()) {
        byte = data_[position_++];
        if (byte == 0xFF) ++position_;
      } else {
        missing_ += 8;
      }
      bits_ |= byte << (56 - count_);
      count_ += 8;
    }
  }
  void take(unsigned count) {
    bits_ <<= count;
    count_ -= count;
    if (count_ < missing_) failAtEnd();
  }

  std::span<const std::uint8_t> data_;
  std::uint64_t offset_;
  std::size_t position_ = 0;
  std::uint64_t bits_ = 0;  // left-aligned
  unsigned count_ = 0;      // bits in bits_
  unsigned missing_ = 0;    // how many of them the data do not have
};

EntropyCheck::EntropyCheck(const WicketTables& tables)
    : dc_{Table(tables.dc[0]), Table(tables.dc[1])}, ac_{Table(tables.ac[0]), Table(tables.ac[1])} {}

void EntropyCheck::block(BitReader& bits, bool chroma) const {
  const std::size_t table = chroma ? 1 : 0;
  const unsigned dcSize = bits.symbol(dc_[table]);
  if (dcSize > LARGEST_DC_SIZE) bits.fail("A DC difference in the image data is too large.");
  bits.skip(dcSize);
  for (unsigned k = 1; k < BLOCK_SIZE; ++k) {
    const unsigned symbol = bits.symbol(ac_[table]);
    const unsigned size = symbol & 15;
    if (size == 0 && symbol != ZERO_RUN_16) return;  // end of block
    if (size > LARGEST_AC_SIZE) bits.fail("A coefficient in the image data is too large.");
    k += symbol >> 4;
    if (k >= BLOCK_SIZE) bits.fail("A run in the image data leaves its block.");
    bits.skip(size);
  }
}

void EntropyCheck::check(std::span<const std::uint8_t> data, unsigned units, bool color, std::uint64_t offset) const {
  BitReader bits(data, offset);
  for (unsigned unit = 0; unit < units; ++unit) {
    block(bits, false);
    if (!color) continue;
    block(bits, false);
    block(bits, true);
    block(bits, true);
  }
  bits.finish();
}

std::size_t EntropyCheck::longestBand(unsigned units, bool color) {
  constexpr std::size_t LONGEST_CODE = 16;
  constexpr std::size_t BLOCK_BITS =
      LONGEST_CODE + LARGEST_DC_SIZE + (BLOCK_SIZE - 1) * (LONGEST_CODE + LARGEST_AC_SIZE);
  // Every byte may need a stuffed zero behind it.
  return 2 * ((BLOCK_BITS * blocksPerUnit(color) * units + 7) / 8);
}

}  // namespace kesto::job
