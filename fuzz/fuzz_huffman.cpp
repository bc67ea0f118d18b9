// The entropy coder: what is written is read back, anything at all may be read, and code lists of any kind give either
// a status or a table.
#include <array>
#include <memory>

#include "codec/huffman.h"
#include "codec/huffmanreader.h"
#include "input.h"
#include "require.h"

namespace {

using namespace kesto;
using fuzz::Bytes;
using fuzz::Input;
using fuzz::note;
using fuzz::require;

/// The coder of all runs: its tables are made once.
WicketCoder* freshCoder() {
  static const auto coder = std::make_unique<WicketCoder>();
  setHuffman(coder.get());
  require(initialize(coder.get()) == CODEC_OK && coder->tablesReady == 2);
  setByteStuffing(coder.get());
  return coder.get();
}

/// Writes the symbol that `what` and `value` describe. `readBack` then reads and compares it.
struct Symbol {
  std::uint8_t what = 0;
  std::int32_t value = 0;

  [[nodiscard]] bool chroma() const { return (what & 8) != 0; }
  [[nodiscard]] std::uint32_t run() const { return what >> 4; }

  std::int32_t write(WicketCoder* coder) const {
    const auto select = static_cast<std::uint8_t>(run() & 1);
    switch (what & 7) {
      case 0:
      case 7:
        return dcSymbol(value, chroma(), coder);
      case 1:
        return acSymbol(run(), value, chroma(), coder);
      case 2:
        return eobSymbol(chroma(), coder);
      case 3:
        return zrlSymbol(chroma(), coder);
      case 4:
        return restartMarker(coder);
      case 5:
        return quantizationTableMarker(select, coder);
      default:
        return quantizationTableMarkerPad(select, coder);
    }
  }

  void readBack(WicketCoder* coder) const {
    std::int32_t got = -1;
    std::uint32_t gotRun = 0;
    switch (what & 7) {
      case 0:
      case 7:
        return require(decodeDCSymbol(&got, chroma(), coder) == CODEC_OK && got == value);
      case 1:
      case 2:
      case 3: {
        const std::uint32_t due = (what & 7) == 1 ? run() : (what & 7) == 2 ? 0 : 15;
        require(decodeACSymbol(&gotRun, &got, chroma(), coder) == CODEC_OK);
        return require(gotRun == due && got == ((what & 7) == 1 ? value : 0));
      }
      default:
        return note(checkForFlush(coder));
    }
  }
};

void writeAndRead(Input& in) {
  WicketCoder* coder = freshCoder();
  Bytes stream(in.word16() % 4096);
  coder->restartNumber = in.byte() % RESTART_NUMBERS;
  const auto capacity = static_cast<std::uint32_t>(stream.size());
  require(outputBuffer(stream.data(), capacity, coder) == (stream.data() == nullptr ? CODEC_NULL_POINTER : CODEC_OK));
  std::vector<Symbol> symbols;
  bool full = false;
  while (!in.empty()) {
    Symbol symbol{.what = in.byte()};
    symbol.value = static_cast<std::int16_t>((symbol.what & 7) < 2 ? in.word16() : 0) >> symbol.run();
    const std::int32_t status = symbol.write(coder);
    note(status);
    full = full || status == CODEC_OUTPUT_FULL;
    require(coder->outCount <= capacity && (!full || coder->outCount == capacity));
    if (status == CODEC_OK) symbols.push_back(symbol);
  }
  std::uint32_t length = 0;
  full = finishEncoding(&length, coder) != CODEC_OK || full;
  note(std::span(stream).first(length));
  if (full || stream.empty()) return;
  require(decodeData(stream.data(), length, coder) == CODEC_OK);
  for (const Symbol& symbol : symbols) symbol.readBack(coder);
}

void readAnything(Input& in) {
  WicketCoder* coder = freshCoder();
  const Bytes steps = in.bytes(in.byte());
  const Bytes data = in.rest();
  const auto size = static_cast<std::uint32_t>(data.size());
  if (decodeData(data.data(), size, coder) != CODEC_OK) return require(data.data() == nullptr);
  for (std::size_t i = 0; i < 2 * data.size() + steps.size(); ++i) {
    const std::uint8_t step = steps.empty() ? std::uint8_t{0} : steps[i % steps.size()];
    const bool chroma = (step & 8) != 0;
    std::uint8_t byte = 0;
    std::uint32_t word = 0;
    std::int32_t value = 0;
    if ((step & 7) == 0) note(decodeDCSymbol(&value, chroma, coder));
    if ((step & 7) == 1) note(decodeACSymbol(&word, &value, chroma, coder));
    if ((step & 7) == 2) note(decodeVLI(step >> 3, &value, coder));
    if ((step & 7) == 3) note(getCode(&word, coder));
    if ((step & 7) == 4) note(checkForFlush(coder));
    if ((step & 7) == 5) softReset(coder);
    if ((step & 7) == 6) note(nextByte(&byte, coder));
    if ((step & 7) == 7) note(decodeVLI(17, &value, coder));
    require(coder->reader.bytesLeft <= size && coder->reader.position + coder->reader.bytesLeft == data.data() + size);
    note(decodeBitPosition(coder) + value + word + byte);
  }
}

void makeTables(Input& in) {
  // A well-made start, so that not everything fails at the first symbol.
  static const auto table = std::make_unique<HuffmanCodeTable>();
  static const auto coder = std::make_unique<WicketCoder>();
  setHuffman(coder.get());
  HuffmanLists lists = in.flag() ? coder->lumaLists : coder->chromaLists;
  const std::uint8_t changes = in.byte();
  if ((changes & 1) != 0) std::ranges::generate(lists.dcCounts, [&] { return in.byte() & 31U; });
  if ((changes & 2) != 0) std::ranges::generate(lists.acCounts, [&] { return in.byte() & 31U; });
  std::vector<std::uint32_t> dcSymbols(lists.dcSymbols.begin(), lists.dcSymbols.end());
  std::vector<std::uint32_t> acSymbols(lists.acSymbols.begin(), lists.acSymbols.end());
  dcSymbols.resize(32 * CODE_LENGTHS);  // as many as the counts can add up to
  acSymbols.resize(32 * CODE_LENGTHS);
  while (!in.empty()) {
    const std::uint8_t at = in.byte();
    ((at & 1) != 0 ? dcSymbols : acSymbols)[at >> 1] = in.byte();
  }
  const auto pointer = [changes](unsigned bit, std::uint32_t* list) {
    return (changes >> bit & 3) == 3 ? nullptr : list;
  };
  const std::int32_t status =
      codecInitialize(pointer(2, lists.dcCounts.data()), dcSymbols.data(), pointer(4, lists.acCounts.data()),
                      pointer(6, acSymbols.data()), table.get());
  note(status);
  if (status != CODEC_OK) return;
  for (const auto& [first, last, position] : table->acLengths) note(std::int64_t{first} << 32 ^ last ^ position << 16);
  for (std::uint32_t symbol = 0; symbol <= 0x100; ++symbol) {
    std::uint32_t code = 0, length = 0, found = 0, foundLength = 0;
    for (const bool dc : {true, false}) {
      const bool there = (dc ? codecDCCode : codecACCode)(symbol, &code, &length, table.get()) == CODEC_OK;
      note(std::int64_t{there ? code : 0});
      if (!there || length == 0 || length > 16) continue;
      note((dc ? codecDecodeDCSymbol : codecDecodeACSymbol)(code << (16 - length), &found, &foundLength, table.get()));
      note(std::int64_t{found});
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input in(data, size);
  const std::uint8_t what = in.byte() % 3;
  if (what == 0) writeAndRead(in);
  if (what == 1) readAnything(in);
  if (what == 2) makeTables(in);
  return 0;
}
