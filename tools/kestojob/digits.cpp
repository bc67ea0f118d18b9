#include "kestojob/digits.h"

#include <array>
#include <string>

namespace kesto::job {
namespace {

constexpr unsigned DOT = 2;  // pixels
constexpr unsigned COLUMNS = 5;
constexpr unsigned ADVANCE = COLUMNS + 1;

/// Seven rows a digit, the leftmost dot in bit 4.
using Glyph = std::array<std::uint8_t, DIGIT_HEIGHT / DOT>;
constexpr std::array<Glyph, 10> GLYPHS = {{
    {0x0E, 0x11, 0x13, 0x15, 0x19, 0x11, 0x0E},
    {0x04, 0x0C, 0x04, 0x04, 0x04, 0x04, 0x0E},
    {0x0E, 0x11, 0x01, 0x02, 0x04, 0x08, 0x1F},
    {0x1F, 0x02, 0x04, 0x02, 0x01, 0x11, 0x0E},
    {0x02, 0x06, 0x0A, 0x12, 0x1F, 0x02, 0x02},
    {0x1F, 0x10, 0x1E, 0x01, 0x01, 0x11, 0x0E},
    {0x06, 0x08, 0x10, 0x1E, 0x11, 0x11, 0x0E},
    {0x1F, 0x01, 0x02, 0x04, 0x08, 0x08, 0x08},
    {0x0E, 0x11, 0x11, 0x0E, 0x11, 0x11, 0x0E},
    {0x0E, 0x11, 0x11, 0x0F, 0x01, 0x02, 0x0C},
}};

bool isDark(const Glyph& glyph, unsigned x, unsigned y) {
  return (glyph[y / DOT] >> (COLUMNS - 1 - x / DOT) & 1) != 0;
}

}  // namespace

unsigned numberWidth(std::uint64_t number) {
  return (static_cast<unsigned>(std::to_string(number).size()) * ADVANCE - 1) * DOT;
}

void drawNumber(std::uint64_t number, const std::function<void(unsigned x, unsigned y)>& dot) {
  unsigned left = 0;
  for (const char digit : std::to_string(number)) {
    const Glyph& glyph = GLYPHS[static_cast<std::size_t>(digit - '0')];
    for (unsigned y = 0; y < DIGIT_HEIGHT; ++y) {
      for (unsigned x = 0; x < COLUMNS * DOT; ++x) {
        if (isDark(glyph, x, y)) dot(left + x, y);
      }
    }
    left += ADVANCE * DOT;
  }
}

}  // namespace kesto::job
