#include "npa/alerttext.h"

#include <array>
#include <cstdint>

namespace kesto {

namespace {

/// The well-formed sequences that begin with a byte of one range.
struct SequenceKind {
  std::uint8_t firstLow, firstHigh;
  std::uint8_t secondLow, secondHigh;
  std::uint8_t length;
};
constexpr std::array<SequenceKind, 8> SEQUENCES = {{{0xC2, 0xDF, 0x80, 0xBF, 2},
                                                    {0xE0, 0xE0, 0xA0, 0xBF, 3},
                                                    {0xE1, 0xEC, 0x80, 0xBF, 3},
                                                    {0xED, 0xED, 0x80, 0x9F, 3},
                                                    {0xEE, 0xEF, 0x80, 0xBF, 3},
                                                    {0xF0, 0xF0, 0x90, 0xBF, 4},
                                                    {0xF1, 0xF3, 0x80, 0xBF, 4},
                                                    {0xF4, 0xF4, 0x80, 0x8F, 4}}};

std::uint8_t byteAt(std::string_view text, std::size_t index) {
  return static_cast<std::uint8_t>(text[index]);
}

/// The length of the well-formed sequence of several bytes that `text` begins with, 0 for none.
std::size_t sequenceLength(std::string_view text) {
  for (const auto& kind : SEQUENCES) {
    if (byteAt(text, 0) < kind.firstLow || byteAt(text, 0) > kind.firstHigh) continue;
    if (text.size() < kind.length) return 0;
    if (byteAt(text, 1) < kind.secondLow || byteAt(text, 1) > kind.secondHigh) return 0;
    for (std::size_t i = 2; i < kind.length; ++i) {
      if ((byteAt(text, i) & 0xC0) != 0x80) return 0;
    }
    return kind.length;
  }
  return 0;
}

}  // namespace

std::string printableText(std::string_view text) {
  std::string printable;
  while (!text.empty()) {
    const std::uint8_t first = byteAt(text, 0);
    std::size_t length = 1;
    if (first < 0x80) {
      printable += first < 0x20 || first == 0x7F ? ' ' : text[0];
    } else if (length = sequenceLength(text); length == 0) {
      printable += '?';
      length = 1;
    } else if (first == 0xC2 && byteAt(text, 1) < 0xA0) {
      printable += ' ';
    } else {
      printable += text.substr(0, length);
    }
    text.remove_prefix(length);
  }
  return printable;
}

std::string alertText(const PSSDALERTINFO& alert) {
  const char* entryText = alert.entryCount > 0 ? alert.entries[0].text.data() : "";
  for (const char* candidate : {entryText, alert.text_1_4_9.data(), alert.text_1_4_10.data()}) {
    auto text = printableText(candidate);
    if (text.find_first_not_of(' ') != std::string::npos) return text;
  }
  return "Printer reports an error";
}

}  // namespace kesto
