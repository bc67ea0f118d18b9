#include "codec/tbrle.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <memory>
#include <span>

namespace kesto {

namespace {

constexpr std::size_t WORD = 4;  // tags in a packed byte
constexpr std::uint8_t HIGHEST_TAG = 4;
constexpr std::uint32_t LONGEST_LITERAL = 128;
constexpr std::uint32_t NO_PATTERN = 0;

/// The pattern number of a run that no tag has decided about: any code is right for its pixels, and 0xAA is taken.
constexpr std::uint32_t ANY_PATTERN = 3;

/// The fill byte of a pattern number; entry 0 is never used.
constexpr std::array<std::uint8_t, 5> byte_table{0x77, 0x00, 0x55, 0xAA, 0xFF};

/// The pattern number of a packed byte, 0 for one that belongs into a literal.
constexpr auto compressable = [] {
  std::array<std::uint8_t, 256> table{};
  for (std::size_t i = 1; i < byte_table.size(); ++i) table[byte_table[i]] = static_cast<std::uint8_t>(i);
  return table;
}();

/// The pattern number of a stream byte, 0 for a literal's header.
constexpr auto decompressable = [] {
  std::array<std::uint8_t, 256> table{};
  for (std::size_t byte = 0x80; byte < table.size(); ++byte) {
    table[byte] = static_cast<std::uint8_t>((byte >> 5 & 3) + 1);
  }
  return table;
}();

/// How many units a run byte stands for.
constexpr auto count_table = [] {
  std::array<std::uint8_t, 256> table{};
  for (std::size_t byte = 0; byte < table.size(); ++byte) table[byte] = static_cast<std::uint8_t>((byte & 7) + 1);
  return table;
}();

/// A unit's packed bytes, by the scale bits of a run byte.
constexpr std::array<std::uint16_t, 4> size_table{1, 8, 64, 512};

static_assert(compressable[0x00] == 1 && compressable[0x55] == 2 && compressable[0xAA] == 3 &&
              compressable[0xFF] == 4 && std::ranges::count(compressable, 0) == 252);
static_assert(decompressable[0x7F] == 0 && decompressable[0x80] == 1 && decompressable[0xBF] == 2 &&
              decompressable[0xC0] == 3 && decompressable[0xFF] == 4);

/// The 2-bit code of each tag. The entry of tag 0 is the code mapped last.
class TagCodes {
 public:
  /// Makes `tag`, 1 to 4, the one that a tag 0 repeats.
  void startWith(std::uint8_t tag) { codes_[0] = codes_[tag]; }

  /// Packs four tags into `packed`. Returns false when one of them is no tag.
  [[nodiscard]] bool pack(std::span<const std::uint8_t, WORD> tags, std::uint8_t& packed) {
    unsigned bits = 0;
    for (std::size_t i = 0; i < WORD; ++i) {
      if (tags[i] > HIGHEST_TAG) return false;
      codes_[0] = codes_[tags[i]];
      bits |= static_cast<unsigned>(codes_[0]) << (2 * i);
    }
    packed = static_cast<std::uint8_t>(bits);
    return true;
  }

 private:
  std::array<std::uint8_t, HIGHEST_TAG + 1> codes_{0xFF, 1, 2, 3, 0};
};

/// The growing stream: at most one open literal and one pending run, which is always the later of the two.
class StreamWriter {
 public:
  explicit StreamWriter(std::span<std::uint8_t> out) : out_(out) {}

  /// Adds words of tag 0 to the pending run, whatever its pattern is.
  void addUndecided(std::size_t words) { run_ += static_cast<std::uint32_t>(words); }

  /// Adds words of one pattern. Returns false when the stream is full.
  [[nodiscard]] bool addPattern(std::uint32_t pattern, std::size_t words) {
    closeLiteral();
    if (pattern_ != NO_PATTERN && pattern_ != pattern && !writeRun()) return false;
    pattern_ = pattern;
    run_ += static_cast<std::uint32_t>(words);
    return true;
  }

  /// Adds a packed byte that is no pattern. Returns false when the stream is full.
  [[nodiscard]] bool addLiteral(std::uint8_t packed) {
    if (run_ > 0) {
      closeLiteral();
      if (!writeRun()) return false;
    }
    if (literal_ == LONGEST_LITERAL) closeLiteral();
    const std::size_t header = literal_ == 0 ? 1 : 0;
    if (length_ + header + 1 >= out_.size()) return false;
    length_ += header;
    out_[length_++] = packed;
    ++literal_;
    return true;
  }

  /// Completes the stream and returns its length, 0 when it is full. A stream of a single run becomes its fill byte.
  std::uint32_t finish() {
    if (length_ == 0) return writeWhole(byte_table[pattern_]);
    closeLiteral();
    return writeRun() ? static_cast<std::uint32_t>(length_) : 0;
  }

  /// Makes `packed` the whole stream.
  std::uint32_t writeWhole(std::uint8_t packed) {
    if (out_.empty()) return 0;
    out_[0] = packed;
    return 1;
  }

 private:
  void closeLiteral() {
    if (literal_ == 0) return;
    out_[length_ - literal_ - 1] = static_cast<std::uint8_t>(literal_ - 1);
    literal_ = 0;
  }

  [[nodiscard]] bool writeRun() {
    if (run_ == 0) return true;
    const auto room = static_cast<std::uint32_t>(out_.size() - length_);
    const std::uint32_t pattern = pattern_ == NO_PATTERN ? ANY_PATTERN : pattern_;
    const std::uint32_t written = encode_pattern(out_.data() + length_, room, pattern - 1, run_);
    length_ += written;
    run_ = 0;
    return written > 0;
  }

  std::span<std::uint8_t> out_;
  std::size_t length_ = 0;
  std::uint32_t literal_ = 0;  // bytes in the open literal, which ends the stream; 0 when none is open
  std::uint32_t run_ = 0;
  std::uint32_t pattern_ = NO_PATTERN;
};

template <class Value>
Value load(const std::uint8_t* bytes) {
  Value value;
  std::memcpy(&value, bytes, sizeof value);
  return value;
}

/// How many words from the start of `tags` on are equal to `word`.
std::size_t countEqualWords(std::span<const std::uint8_t> tags, std::uint32_t word) {
  constexpr std::ptrdiff_t PIECE = 4096;
  const std::uint8_t* at = tags.data();
  const std::uint8_t* const end = at + tags.size();
  const auto isNext = [&] { return load<std::uint32_t>(at) == word; };
  // A piece that is the same one word later repeats its first word. No loop of ours beats the library's comparison.
  while (end - at >= PIECE + std::ptrdiff_t{WORD} && isNext() && std::memcmp(at, at + WORD, PIECE) == 0) at += PIECE;
  while (at < end && isNext()) at += WORD;
  return static_cast<std::size_t>(at - tags.data()) / WORD;
}

/// Encodes `tags` word by word. Returns false when a tag is not one or the stream is full.
[[nodiscard]] bool encodeWords(std::span<const std::uint8_t> tags, TagCodes& codes, StreamWriter& stream) {
  const std::size_t last = tags.size() - WORD;
  for (std::size_t at = 0; at < tags.size();) {
    // The last word is always mapped, so that a run of tag 0 at the end of a plane gets a pattern of its own.
    const auto beforeLast = tags.first(last).subspan(std::min(at, last));
    const auto word = load<std::uint32_t>(&tags[at]);
    std::size_t words = 1;
    if (word == 0 && at < last) {
      words = countEqualWords(beforeLast, word);
      stream.addUndecided(words);
    } else {
      std::uint8_t packed = 0;
      if (!codes.pack(tags.subspan(at).first<WORD>(), packed)) return false;
      const std::uint32_t pattern = compressable[packed];
      // Packed again, a word of a pattern gives the same pattern, even where it begins with tag 0: the code mapped last
      // is the pattern's. A word of several codes need not.
      if (pattern != NO_PATTERN) words = std::max<std::size_t>(countEqualWords(beforeLast, word), 1);
      if (!(pattern != NO_PATTERN ? stream.addPattern(pattern, words) : stream.addLiteral(packed))) return false;
    }
    at += words * WORD;
  }
  return true;
}

/// Packed bytes laid out in lines.
class LineWriter {
 public:
  LineWriter(std::span<std::uint8_t> out, std::size_t lineWidth, std::size_t stride)
      : out_(out), lineWidth_(lineWidth), stride_(stride) {}

  /// Takes the next `count` bytes line by line, handing each piece to `store`. Returns false when the buffer ends
  /// first.
  template <class Store>
  [[nodiscard]] bool advance(std::size_t count, Store store) {
    while (count > 0) {
      if (column_ == lineWidth_) {
        line_ += stride_;
        column_ = 0;
      }
      const std::size_t piece = std::min(count, lineWidth_ - column_);
      if (position() + piece > out_.size()) return false;
      store(out_.subspan(position(), piece));
      column_ += piece;
      count -= piece;
    }
    return true;
  }

  /// Where the last byte taken ends.
  [[nodiscard]] std::size_t position() const { return line_ + column_; }

 private:
  std::span<std::uint8_t> out_;
  std::size_t lineWidth_;
  std::size_t stride_;
  std::size_t line_ = 0;
  std::size_t column_ = 0;
};

/// Takes the run bytes of one pattern off the start of `stream` and returns the packed bytes that they stand for.
std::size_t takeRun(std::span<const std::uint8_t>& stream) {
  const std::uint8_t pattern = decompressable[stream.front()];
  std::size_t count = 0;
  while (!stream.empty() && decompressable[stream.front()] == pattern) {
    const std::uint8_t byte = stream.front();
    count += std::size_t{count_table[byte]} * size_table[byte >> 3 & 3];
    stream = stream.subspan(1);
  }
  return count;
}

}  // namespace

std::uint32_t tbrle_encode(std::uint32_t capacity, std::uint8_t* out, std::uint32_t length, const std::uint8_t* in) {
  if (out == nullptr || in == nullptr || length == 0 || length % WORD != 0) return 0;
  const std::span tags(in, length);
  StreamWriter stream({out, capacity});

  const std::size_t leading = countEqualWords(tags.first(length - WORD), 0);
  const auto rest = tags.subspan(leading * WORD);
  const auto decided = std::ranges::find_if(rest, [](std::uint8_t tag) { return tag != 0; });
  if (decided == rest.end()) return stream.writeWhole(0x00);
  if (*decided > HIGHEST_TAG) return 0;

  TagCodes codes;
  codes.startWith(*decided);
  stream.addUndecided(leading);
  return encodeWords(rest, codes, stream) ? stream.finish() : 0;
}

std::uint32_t tbrle_decode(std::uint32_t outSize, std::uint8_t* out, std::uint32_t inLength, const std::uint8_t* in,
                           std::uint32_t lineWidth, std::uint32_t stride) {
  if (out == nullptr || in == nullptr || inLength == 0 || lineWidth == 0 || stride < lineWidth) return 0;
  const std::span target(out, outSize);
  std::span stream(in, inLength);
  if (stream.size() == 1) {
    std::ranges::fill(target, stream.front());
    return outSize;
  }
  LineWriter lines(target, lineWidth, stride);
  while (!stream.empty()) {
    const std::uint32_t pattern = decompressable[stream.front()];
    if (pattern != NO_PATTERN) {
      const auto fill = [pattern](auto piece) { std::ranges::fill(piece, byte_table[pattern]); };
      if (!lines.advance(takeRun(stream), fill)) return 0;
    } else {
      const std::size_t count = std::size_t{stream.front()} + 1;
      stream = stream.subspan(1);
      if (stream.size() < count) return 0;
      const auto copy = [&stream](auto piece) {
        std::ranges::copy(stream.first(piece.size()), piece.begin());
        stream = stream.subspan(piece.size());
      };
      if (!lines.advance(count, copy)) return 0;
    }
  }
  return static_cast<std::uint32_t>(lines.position());
}

std::uint32_t encode_pattern(std::uint8_t* outPointer, std::uint32_t room, std::uint32_t patternIndex,
                             std::uint32_t count) {
  if (patternIndex > 3) return 0;
  // Seven units at most of each size but the largest, so one byte each; the largest goes in bytes of up to eight.
  std::uint32_t largest = count / 512;
  const std::uint32_t needed = (largest + 7) / 8 + (count / 64 % 8 > 0) + (count / 8 % 8 > 0) + (count % 8 > 0);
  if (needed > room) return 0;

  std::span out(outPointer, needed);
  std::size_t at = 0;
  const auto write = [&](std::uint32_t scale, std::uint32_t units) {
    out[at++] = static_cast<std::uint8_t>(0x80 | patternIndex << 5 | scale << 3 | (units - 1));
  };
  while (largest > 0) {
    const std::uint32_t units = ((largest - 1) & 7) + 1;  // the first byte takes what is no multiple of eight
    write(3, units);
    largest -= units;
  }
  for (std::uint32_t scale = 3; scale-- > 0;) {
    const std::uint32_t units = count / size_table[scale] % 8;
    if (units > 0) write(scale, units);
  }
  return needed;
}

// NOLINTNEXTLINE(bugprone-reserved-identifier)
bool __dump_data(const char* fileName, const std::uint8_t* data, std::uint32_t length) {
  const auto close = [](std::FILE* file) { std::fclose(file); };
  const std::unique_ptr<std::FILE, decltype(close)> file(std::fopen(fileName, "wb"), close);
  return file && std::fwrite(data, 1, length, file.get()) == length && std::fflush(file.get()) == 0;
}

}  // namespace kesto
