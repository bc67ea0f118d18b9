#include "codec/codetabletext.h"

#include <fstream>
#include <string>

namespace kesto {
namespace {

std::string bitsOf(const HuffmanCode& code) {
  std::string bits;
  for (std::uint32_t bit = code.length; bit-- > 0;) bits += (code.code >> bit & 1) != 0 ? '1' : '0';
  return bits;
}

void writeCode(std::ostream& out, const std::string& symbol, const HuffmanCode& code) {
  if (code.count != 0) out << symbol << ' ' << code.length << ' ' << bitsOf(code) << '\n';
}

}  // namespace

void codec_WriteTable(std::ostream& out, const HuffmanCodeTable* table) {
  for (std::size_t size = 0; size < DC_SYMBOL_COUNT; ++size) {
    writeCode(out, "DC " + std::to_string(size), table->dcCodes[size]);
  }
  for (std::uint32_t rs = 0; rs < 256; ++rs) {
    const std::int32_t index = codecCodeIndex(rs);
    if (index < 0) continue;
    const std::string symbol = "AC " + std::to_string(rs >> 4) + '/' + std::to_string(rs & 15);
    writeCode(out, symbol, table->acCodes[static_cast<std::size_t>(index)]);
  }
}

bool writeTables(const char* path, const WicketCoder* coder) {
  if (path == nullptr || coder == nullptr) return false;
  std::ofstream file(path, std::ios::trunc);
  file << "luma\n";
  codec_WriteTable(file, &coder->lumaCodes);
  file << "chroma\n";
  codec_WriteTable(file, &coder->chromaCodes);
  file.close();
  return !file.fail();
}

}  // namespace kesto
