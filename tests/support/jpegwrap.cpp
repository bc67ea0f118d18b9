#include "support/jpegwrap.h"

#include <cmath>
#include <cstddef>
#include <cstdio>
#include <initializer_list>
#include <limits>
#include <stdexcept>
#include <string>
#include <string_view>

#include <jpeglib.h>

namespace kesto::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

// The DHT payloads of an ordinary baseline file: class and number, counts per length, symbols.
constexpr std::string_view HUFFMAN_TABLES[] = {
    "00 00010501010101010100000000000000 000102030405060708090a0b",
    "10 0002010303020403050504040000017d "
    "01020300041105122131410613516107227114328191a1082342b1c11552d1f02433627282090a161718191a25262728292a3435363738393a"
    "434445464748494a535455565758595a636465666768696a737475767778797a838485868788898a92939495969798999aa2a3a4a5a6a7a8a9"
    "aab2b3b4b5b6b7b8b9bac2c3c4c5c6c7c8c9cad2d3d4d5d6d7d8d9dae1e2e3e4e5e6e7e8e9eaf1f2f3f4f5f6f7f8f9fa",
    "01 00030101010101010101010000000000 000102030405060708090a0b",
    "11 00020102040403040705040400010277 "
    "0001020311040521310612415107617113223281081442 91a1b1c109233352f0156272d10a162434e125f11718191a262728292a35363738"
    "393a434445464748494a535455565758595a636465666768696a737475767778797a82838485868788898a92939495969798999aa2a3a4a5a6"
    "a7a8a9aab2b3b4b5b6b7b8b9bac2c3c4c5c6c7c8c9cad2d3d4d5d6d7d8d9dae2e3e4e5e6e7e8e9eaf2f3f4f5f6f7f8f9fa",
};

Bytes fromHex(std::string_view text) {
  std::string digits;
  for (const char c : text) {
    if (c != ' ') digits += c;
  }
  Bytes bytes;
  for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
    bytes.push_back(static_cast<std::uint8_t>(std::stoul(digits.substr(i, 2), nullptr, 16)));
  }
  return bytes;
}

void append(Bytes& file, std::span<const std::uint8_t> bytes) {
  file.insert(file.end(), bytes.begin(), bytes.end());
}

void appendWord(Bytes& file, int word) {
  file.push_back(static_cast<std::uint8_t>(word >> 8));
  file.push_back(static_cast<std::uint8_t>(word & 0xFF));
}

void appendSegment(Bytes& file, std::uint8_t marker, const Bytes& payload) {
  file.push_back(0xFF);
  file.push_back(marker);
  appendWord(file, static_cast<int>(payload.size()) + 2);
  append(file, payload);
}

Bytes frameHeader(int width, int height, bool color) {
  Bytes frame = {8};
  appendWord(frame, height);
  appendWord(frame, width);
  append(frame, fromHex(color ? "03 012100 021100 031100" : "01 011100"));
  return frame;
}

bool isRestart(std::uint8_t code) {
  return code >= 0xD0 && code <= 0xD7;
}

/// The entropy-coded data with restart markers between the units only.
Bytes scanData(std::span<const std::uint8_t> wicket) {
  Bytes scan;
  for (std::size_t i = 0; i < wicket.size(); ++i) {
    const std::uint8_t next = i + 1 < wicket.size() ? wicket[i + 1] : std::uint8_t{0};
    if (wicket[i] == 0xFF && next == 0xFF) continue;
    if (wicket[i] == 0xFF && (next == 0x2B || next == 0x2C)) {
      ++i;
      continue;
    }
    const bool lastMarker = wicket[i] == 0xFF && isRestart(next) && i + 2 == wicket.size();
    if (lastMarker) break;
    scan.push_back(wicket[i]);
  }
  return scan;
}

/// libjpeg's way out of an error. Its own one ends the process.
[[noreturn]] void throwError(j_common_ptr info) {
  char text[JMSG_LENGTH_MAX];
  info->err->format_message(info, text);
  throw std::runtime_error(text);
}

void keepQuiet(j_common_ptr /*info*/) {}

class Decoder {
 public:
  explicit Decoder(std::span<const std::uint8_t> jpeg) {
    info_.err = jpeg_std_error(&errors_);
    errors_.error_exit = throwError;
    errors_.output_message = keepQuiet;
    jpeg_create_decompress(&info_);
    jpeg_mem_src(&info_, jpeg.data(), jpeg.size());
  }
  ~Decoder() { jpeg_destroy_decompress(&info_); }
  Decoder(const Decoder&) = delete;
  Decoder& operator=(const Decoder&) = delete;

  DecodedImage decode() {
    jpeg_read_header(&info_, TRUE);
    info_.out_color_space = info_.num_components == 1 ? JCS_GRAYSCALE : JCS_YCbCr;
    info_.do_fancy_upsampling = FALSE;
    info_.dct_method = JDCT_ISLOW;
    jpeg_start_decompress(&info_);
    DecodedImage image;
    image.width = static_cast<int>(info_.output_width);
    image.height = static_cast<int>(info_.output_height);
    image.components = info_.output_components;
    const std::size_t rowBytes = static_cast<std::size_t>(image.width) * image.components;
    image.pixels.resize(rowBytes * image.height);
    while (info_.output_scanline < info_.output_height) {
      JSAMPROW row = image.pixels.data() + info_.output_scanline * rowBytes;
      jpeg_read_scanlines(&info_, &row, 1);
    }
    jpeg_finish_decompress(&info_);
    image.warnings = errors_.num_warnings;
    return image;
  }

 private:
  jpeg_error_mgr errors_{};
  jpeg_decompress_struct info_{};
};

}  // namespace

std::vector<std::uint8_t> wrapAsJpeg(std::span<const std::uint8_t> wicket, int width, int height, bool color,
                                     int restartIntervalMcus) {
  Bytes file = {0xFF, 0xD8};
  Bytes quantizers(65, 1);
  quantizers[0] = 0;
  appendSegment(file, 0xDB, quantizers);
  // Components called 1, 2 and 3 are Y, Cb and Cr even without a JFIF header.
  appendSegment(file, 0xC0, frameHeader(width, height, color));
  for (const std::string_view table : HUFFMAN_TABLES) appendSegment(file, 0xC4, fromHex(table));
  Bytes interval;
  appendWord(interval, restartIntervalMcus);
  appendSegment(file, 0xDD, interval);
  appendSegment(file, 0xDA, fromHex(color ? "03 0100 0211 0311 003f00" : "01 0100 003f00"));
  append(file, scanData(wicket));
  append(file, fromHex("ffd9"));
  return file;
}

DecodedImage decodeJpeg(std::span<const std::uint8_t> jpeg) {
  return Decoder(jpeg).decode();
}

double psnr(std::span<const std::uint8_t> a, std::span<const std::uint8_t> b) {
  if (a.size() != b.size() || a.empty()) throw std::runtime_error("planes of different sizes have no PSNR");
  double squares = 0;
  for (std::size_t i = 0; i < a.size(); ++i) {
    const double difference = static_cast<double>(a[i]) - b[i];
    squares += difference * difference;
  }
  if (squares == 0) return std::numeric_limits<double>::infinity();
  return 10 * std::log10(255.0 * 255.0 * static_cast<double>(a.size()) / squares);
}

std::vector<std::uint8_t> componentOf(const DecodedImage& image, int component) {
  Bytes plane;
  for (std::size_t i = component; i < image.pixels.size(); i += image.components) plane.push_back(image.pixels[i]);
  return plane;
}

}  // namespace kesto::test
