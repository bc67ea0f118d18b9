// A small job written out byte by byte, with what each byte is for. Nothing of the filter is used to make it.
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "support/hex.h"

namespace kesto::test {

/// What a byte of the job may be changed to, and why that is no fault. Structure may be changed to nothing.
struct Freedom {
  const char* reason;
  bool (*accepts)(std::uint8_t value);
};

inline constexpr Freedom STRUCTURE = {"", [](std::uint8_t) { return false; }};
inline constexpr Freedom ENTROPY_CODED = {"what the picture looks like is nobody's fault", nullptr};
inline constexpr Freedom TEXT = {"the job's own texts may say anything but control characters",
                                 [](std::uint8_t v) { return (v >= 0x20 && v != 0x7F) || v == '\t'; }};
inline constexpr Freedom COMMENT = {"the stream header's comment may say anything printable",
                                    [](std::uint8_t v) { return v >= 0x20 && v <= 0x7E; }};
inline constexpr Freedom DIGIT = {"any time of day is a date", [](std::uint8_t v) { return v >= '0' && v <= '9'; }};
inline constexpr Freedom FIRST_DIGIT = {"so is any day, but a number begins with no 0",
                                        [](std::uint8_t v) { return (v >= '1' && v <= '9') || v == '-'; }};
inline constexpr Freedom QUANTIZER = {"the strip can be read with the other quantiser as well",
                                      [](std::uint8_t v) { return v == 0x2B || v == 0x2C; }};
inline constexpr Freedom ANY_VALUE = {"any tray, threshold and odd size will do", [](std::uint8_t) { return true; }};
inline constexpr Freedom PAPER = {"the number of another paper", [](std::uint8_t v) {
                                    return v <= 3 || (v >= 6 && v <= 9) || v == 11 || (v >= 13 && v <= 19) || v == 255;
                                  }};
inline constexpr Freedom PAPER_SIDE = {"a positive number of up to 1000 inches, as the other bytes are",
                                       [](std::uint8_t v) { return v <= 0x44; }};
inline constexpr Freedom PAPER_TYPE = {"another type of paper", [](std::uint8_t v) { return v >= 0x20 && v != 0x7F; }};
inline constexpr Freedom COLOR_SPACE = {"colours may be printed as grey",
                                        [](std::uint8_t v) { return v == 1 || v == 2; }};
inline constexpr Freedom TAG = {"a plane may have any tag",
                                [](std::uint8_t v) { return v == 0x00 || v == 0x55 || v == 0xAA || v == 0xFF; }};

/// What a sample job is to be like.
struct SampleChoices {
  bool color = true;
  bool usb = false;
  int pages = 2;
  bool custom = false;  ///< paper of 8.5 x 11 inches by its size instead of its name
  bool tall = true;     ///< pages of 264 lines, a strip of 256 and one of 8; otherwise only the latter
  std::string resolution = "600";
  std::string units = "58 02";          ///< the same, low byte first
  std::string band = "FE FE 28 A0 0F";  ///< 16 x 8 pixels; white in colour
  std::string title = "A title";
};

class SampleJob {
 public:
  explicit SampleJob(const SampleChoices& choices = {}) : choices_(choices) {
    if (choices_.usb) {
      add("A5 00 10 80 A4 5B A4 5B 10 EF A4 5B 11 EE 00 FF 13 EC 2E");
      add("A5 00 0F 50 E0 73 07 08 00 00 01 00 00 00 00 00 01 00");
      add("A5 00 10 80 A4 5B A4 5B 10 EF A4 5B 11 EE 00 FF 13 EC 2E");
      add("A5 00 0D 50 E0 73 03 08 00 00 01 00 00 00 00 00");
    }
    addHeader();
    for (int page = 0; page < choices_.pages; ++page) addPage();
    add("49 42");
    text("\x1B%-12345X@PJL EOJ\n@PJL LPORTROTATE\n\x1B%-12345X");
  }

  [[nodiscard]] const Bytes& bytes() const { return bytes_; }
  /// The freedom of each byte.
  [[nodiscard]] const std::vector<const Freedom*>& freedoms() const { return freedoms_; }

 private:
  void append(const Bytes& bytes, const Freedom& freedom) {
    bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
    freedoms_.insert(freedoms_.end(), bytes.size(), &freedom);
  }
  /// Adds bytes as hexadecimal or as plain text; those in braces have the freedom.
  template <class Read>
  void add(std::string_view written, const Freedom& inBraces, Read read) {
    for (bool inside = false;; inside = !inside) {
      const std::size_t end = written.find(inside ? '}' : '{');
      append(read(written.substr(0, end)), inside ? inBraces : STRUCTURE);
      if (end == std::string_view::npos) return;
      written.remove_prefix(end + 1);
    }
  }
  void add(std::string_view hexText, const Freedom& inBraces = STRUCTURE) { add(hexText, inBraces, unhex); }
  void text(std::string_view plain, const Freedom& inBraces = STRUCTURE) {
    add(plain, inBraces, [](std::string_view part) { return Bytes(part.begin(), part.end()); });
  }
  /// What all pages of a job have in common is free where there is only one.
  void addCommon(std::string_view hexText, const Freedom& inBraces) {
    add(hexText, choices_.pages == 1 ? inBraces : STRUCTURE);
  }

  void addHeader() {
    text("\x1B%-12345X@PJL JOB\n@PJL SET STRINGCODESET=UTF8\n@PJL SET FDATETIME={4}", FIRST_DIGIT);
    text("{6342}.{859375}\n@PJL COMMENT KESTO Contone Raster Driver\n", DIGIT);
    text("@PJL SET JOBNAME=\"{" + choices_.title + "}\"\n@PJL LJOBINFO HOSTID=\"{anna}\"\n", TEXT);
    text("@PJL SET LSHARPEN=ON\n@PJL SET LCOLORMODEL=" + std::string(choices_.color ? "CMYK" : "BLACK"));
    text("\n@PJL SET LCTPREFERENCE=IMAGE\n@PJL SET LIMAGEBRIGHTNESS=0\n@PJL SET PRINTQUALITY={NORMAL}\n", TEXT);
    text("@PJL SET DUPLEX=ON\n@PJL SET BINDING=LONGEDGE\n@PJL SET LCOLLATION=OFF\n@PJL SET RESOLUTION=");
    text(choices_.resolution + "\n@PJL SET LPAGEMODE=NORMAL\n@PJL SET LIMAGECONTRAST=0\n");
    text("@PJL SET LMULTIPAGEPRINT=OFF\n@PJL ENTER LANGUAGE=PCLXL\n");
    text(") HP-PCL XL;2;1;{A comment that is just forty-seven letters long}\n", COMMENT);
    add("D1" + choices_.units + choices_.units +
        "F8 89 C0 00 F8 86 C0 03 F8 8F 41 C0 00 F8 88 C0 01 F8 82 48 C8 C0 17");
    text("Corvane Enhanced XL=1.2");
    add("F8 81 47");
  }
  /// A page on letter paper: colours, or grey of which only black and white are printed.
  void addPage() {
    addCommon("C0 00 F8 28 C0 {04} F8 26", ANY_VALUE);
    if (choices_.custom) {
      addCommon("D5 {00 00 08}", ANY_VALUE);
      addCommon("{41}", PAPER_SIDE);
      addCommon("{00 00 30}", ANY_VALUE);
      addCommon("{41} F8 2F C0 00 F8 30", PAPER_SIDE);
    } else {
      addCommon("C0 {00} F8 25", PAPER);
    }
    add("C8 C0 05 {50 6C 61 69 6E} F8 27 C1 01 00 F8 EC C0 02 F8 ED 43", PAPER_TYPE);
    add("D3 64 00 64 00 F8 2A 75 D5 00 00 80 3F 00 00 80 3F F8 2B 77");
    if (choices_.color) {
      addCommon("C0 {02} F8 03 6A C0 50 F8 EF C0 01 F8 EE 40", COLOR_SPACE);
    } else {
      addCommon("C0 03 F8 03 C0 {80} F8 EB 6A C0 50 F8 EF C0 00 F8 EE 40", ANY_VALUE);
    }
    add("C0 CC F8 2C 7B");
    if (choices_.tall) addStrip(32, "00 00", "00 01");
    addStrip(1, choices_.tall ? "00 01" : "00 00", "08 00");
    add("C1 01 00 F8 31 44");
  }
  void addStrip(int bands, const std::string& firstLine, const std::string& height) {
    add("D3 00 00" + firstLine + "F8 4C 6B C0 00 F8 64 C0 02 F8 62 C1 10 00 F8 6C C1" + height + "F8 6B");
    add("D1 10 00" + height + "F8 67 C0 08 F8 FA C0 02 F8 F9 C1 00 00 F8 F8 C1" + choices_.units + "F8 F7");
    add("C1 06 00 F8 F6 B0 C1 00 00 F8 6D C1" + height + "F8 63 C0 F6 F8 65 B1 FA");
    const Bytes band = unhex(choices_.band);
    const std::size_t length = 2 + static_cast<std::size_t>(bands) * (band.size() + 2);
    append({static_cast<std::uint8_t>(length & 0xFF), static_cast<std::uint8_t>(length >> 8), 0, 0}, STRUCTURE);
    add("FF {2B}", QUANTIZER);
    for (int i = 0; i < bands; ++i) {
      append(band, ENTROPY_CODED);
      append({0xFF, static_cast<std::uint8_t>(0xD0 + i % 8)}, STRUCTURE);
    }
    add("C1 00 00 F8 6D C1" + height + "F8 63 C0 F7 F8 65 B1 FA 01 00 00 00 {FF} B2", TAG);
  }

  SampleChoices choices_;
  Bytes bytes_;
  std::vector<const Freedom*> freedoms_;
};

/// White in a grey job, and black.
inline constexpr char GREY_WHITE[] = "FE FE 28 AF";
inline constexpr char GREY_BLACK[] = "FF 00 3F FA 2B";

/// The offset of bytes in a job, from `start` on; the job's size when they are not in it.
inline std::size_t findBytes(const Bytes& job, std::string_view hexText, std::size_t start = 0) {
  const Bytes wanted = unhex(hexText);
  const auto found =
      std::search(job.begin() + static_cast<std::ptrdiff_t>(start), job.end(), wanted.begin(), wanted.end());
  return static_cast<std::size_t>(found - job.begin());
}

/// The job with the first occurrence of some bytes replaced by others.
inline Bytes replaced(const Bytes& job, const Bytes& from, const Bytes& to) {
  const auto found = std::search(job.begin(), job.end(), from.begin(), from.end());
  if (found == job.end()) return {};
  Bytes result(job.begin(), found);
  result.insert(result.end(), to.begin(), to.end());
  result.insert(result.end(), found + static_cast<std::ptrdiff_t>(from.size()), job.end());
  return result;
}
inline Bytes replacedHex(const Bytes& job, std::string_view from, std::string_view to) {
  return replaced(job, unhex(from), unhex(to));
}
inline Bytes replacedText(const Bytes& job, std::string_view from, std::string_view to) {
  return replaced(job, Bytes(from.begin(), from.end()), Bytes(to.begin(), to.end()));
}

}  // namespace kesto::test
