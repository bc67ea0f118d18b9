#include "support/jobparser.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <stdexcept>
#include <string_view>

#include "support/jpegwrap.h"

namespace kesto::test {
namespace {

constexpr std::string_view ENTER_XL = "@PJL ENTER LANGUAGE=PCLXL";
constexpr std::string_view END_OF_JOB = "\x1B%-12345X@PJL EOJ\n@PJL LPORTROTATE\n\x1B%-12345X";

/// A cursor over the job's bytes that refuses to pass their end.
class Reader {
 public:
  explicit Reader(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

  [[noreturn]] void fail(const std::string& what) const {
    throw std::runtime_error("offset " + std::to_string(position_) + ": " + what);
  }
  std::span<const std::uint8_t> take(std::size_t count) {
    if (count > bytes_.size() - position_) fail("the job ends early");
    const auto taken = bytes_.subspan(position_, count);
    position_ += count;
    return taken;
  }
  std::uint8_t byte() { return take(1)[0]; }
  std::uint32_t number(int count) {
    std::uint32_t value = 0;
    for (int i = 0; i < count; ++i) value |= std::uint32_t{byte()} << (8 * i);
    return value;
  }
  std::string line() {
    std::string text;
    for (std::uint8_t c = byte(); c != '\n'; c = byte()) text += static_cast<char>(c);
    return text;
  }
  [[nodiscard]] std::size_t position() const { return position_; }
  [[nodiscard]] bool atEnd() const { return position_ == bytes_.size(); }

 private:
  std::span<const std::uint8_t> bytes_;
  std::size_t position_ = 0;
};

std::size_t sizeOf(std::uint8_t tag) {
  switch (tag) {
    case 0xC0:
      return 1;
    case 0xC1:
      return 2;
    case 0xC2:
      return 4;
    case 0xC5:
      return 4;
    case 0xD1:
      return 4;
    case 0xD3:
      return 4;
    case 0xD5:
      return 8;
    default:
      return 0;
  }
}

Value readValue(Reader& reader, std::uint8_t tag) {
  Value value{tag, {}};
  std::size_t size = sizeOf(tag);
  if (tag == 0xC8) {
    const std::uint8_t countTag = reader.byte();
    if (countTag != 0xC0 && countTag != 0xC1) reader.fail("an array without a count");
    size = reader.number(countTag == 0xC0 ? 1 : 2);
  } else if (size == 0) {
    reader.fail("unknown data type " + std::to_string(tag));
  }
  const auto bytes = reader.take(size);
  value.bytes.assign(bytes.begin(), bytes.end());
  return value;
}

Element readElement(Reader& reader) {
  Element element;
  element.offset = reader.position();
  std::uint8_t tag = reader.byte();
  for (; tag >= 0xC0; tag = reader.byte()) {
    Value value = readValue(reader, tag);
    if (reader.byte() != 0xF8) reader.fail("a value without an attribute");
    const std::uint8_t id = reader.byte();
    element.order.push_back(id);
    element.attributes[id] = std::move(value);
  }
  element.code = tag;
  if (element.code == 0xB1) {
    if (reader.byte() != 0xFA) reader.fail("image data without a length");
    const auto data = reader.take(reader.number(4));
    element.data.assign(data.begin(), data.end());
  }
  return element;
}

/// Follows the elements of a session and fills in the pages.
class PageCollector {
 public:
  explicit PageCollector(Job& job) : job_(job) {}

  void take(const Element& element, const Reader& reader) {
    switch (element.code) {
      case 0x43:
        expect(!open_, reader, "a page within a page");
        open_ = true;
        job_.pages.emplace_back();
        addSetup(element);
        return;
      case 0x44:
        expect(open_ && !image_, reader, "EndPage outside a page");
        expect(element.attributes.at(0x31).number() == 1, reader, "PageCopies is not 1");
        open_ = false;
        return;
      case 0xB0:
        return beginImage(element, reader);
      case 0xB1:
        return addData(element, reader);
      case 0xB2:
        expect(image_ && dataBlocks_ == 2, reader, "an image without its two data blocks");
        image_ = false;
        return;
      case 0x6B:
        cursorLine_ = element.attributes.at(0x4C).y();
        expect(element.attributes.at(0x4C).x() == 0, reader, "a strip that does not begin at the left");
        return;
      default:
        if (open_) addSetup(element);
    }
  }
  [[nodiscard]] bool complete() const { return !open_; }

 private:
  static void expect(bool condition, const Reader& reader, const char* what) {
    if (!condition) reader.fail(what);
  }
  void addSetup(const Element& element) {
    for (const auto& [id, value] : element.attributes) job_.pages.back().setup[id] = value;
  }
  void beginImage(const Element& element, const Reader& reader) {
    expect(open_ && !image_, reader, "an image outside a page");
    Page& page = job_.pages.back();
    expect(cursorLine_ == static_cast<int>(page.height()), reader, "a strip that does not follow the one before");
    Strip strip;
    strip.firstLine = page.height();
    strip.width = element.attributes.at(0x6C).number();
    strip.height = element.attributes.at(0x6B).number();
    expect(strip.height % 8 == 0 && strip.height > 0 && strip.height <= 256, reader, "a strip of a wrong height");
    page.strips.push_back(std::move(strip));
    image_ = true;
    dataBlocks_ = 0;
  }
  void addData(const Element& element, const Reader& reader) {
    expect(image_, reader, "image data outside an image");
    Strip& strip = job_.pages.back().strips.back();
    expect(element.attributes.at(0x63).number() == strip.height, reader, "BlockHeight is not the strip's height");
    expect(element.attributes.at(0x65).number() == (dataBlocks_ == 0 ? 246u : 247u), reader, "wrong CompressMode");
    (dataBlocks_ == 0 ? strip.wicket : strip.tags) = element.data;
    ++dataBlocks_;
  }

  Job& job_;
  bool open_ = false, image_ = false;
  int dataBlocks_ = 0, cursorLine_ = -1;
};

DecodedImage decodeStrip(const Strip& strip, bool color) {
  const int mcusPerBand = static_cast<int>(strip.width) / (color ? 16 : 8);
  return decodeJpeg(
      wrapAsJpeg(strip.wicket, static_cast<int>(strip.width), static_cast<int>(strip.height), color, mcusPerBand));
}

std::uint8_t clampToByte(double value) {
  return static_cast<std::uint8_t>(std::lround(std::fmin(255, std::fmax(0, value))));
}

}  // namespace

std::uint32_t Value::number() const {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i) value |= std::uint32_t{bytes[i]} << (8 * i);
  return value;
}

int Value::x() const {
  return static_cast<std::int16_t>(bytes.at(0) | bytes.at(1) << 8);
}
int Value::y() const {
  return static_cast<std::int16_t>(bytes.at(2) | bytes.at(3) << 8);
}
std::string Value::text() const {
  return {bytes.begin(), bytes.end()};
}

float Value::real(int index) const {
  std::uint32_t bits = 0;
  for (std::size_t i = 0; i < 4; ++i)
    bits |= std::uint32_t{bytes.at(static_cast<std::size_t>(index) * 4 + i)} << (8 * i);
  return std::bit_cast<float>(bits);
}

unsigned Page::height() const {
  unsigned lines = 0;
  for (const Strip& strip : strips) lines += strip.height;
  return lines;
}

Job parseJob(std::span<const std::uint8_t> bytes) {
  Reader reader(bytes);
  Job job;
  do {
    job.pjl.push_back(reader.line());
  } while (job.pjl.back() != ENTER_XL);
  const auto header = reader.take(64);
  job.streamHeader.assign(header.begin(), header.end());
  if (!job.streamHeader.starts_with(") HP-PCL XL;2;1;") || job.streamHeader.back() != '\n')
    reader.fail("stream header");

  PageCollector collector(job);
  do {
    job.elements.push_back(readElement(reader));
    collector.take(job.elements.back(), reader);
  } while (job.elements.back().code != 0x42);
  if (!collector.complete()) reader.fail("the session ends within a page");
  const auto end = reader.take(END_OF_JOB.size());
  if (!std::ranges::equal(end, END_OF_JOB) || !reader.atEnd()) reader.fail("end of job");
  return job;
}

Bytes decodeLuma(const Page& page, bool color) {
  Bytes rows;
  for (const Strip& strip : page.strips) {
    const DecodedImage image = decodeStrip(strip, color);
    const std::size_t step = color ? 3 : 1;
    for (std::size_t i = 0; i < image.pixels.size(); i += step) rows.push_back(image.pixels[i]);
  }
  return rows;
}

Bytes decodeRgb(const Page& page) {
  Bytes rows;
  for (const Strip& strip : page.strips) {
    const DecodedImage image = decodeStrip(strip, true);
    for (std::size_t i = 0; i + 2 < image.pixels.size(); i += 3) {
      const double y = image.pixels[i], cb = image.pixels[i + 1] - 128.0, cr = image.pixels[i + 2] - 128.0;
      for (double v : {y + 1.402 * cr, y - 0.344136 * cb - 0.714136 * cr, y + 1.772 * cb})
        rows.push_back(clampToByte(v));
    }
  }
  return rows;
}

}  // namespace kesto::test
