// The entropy coder: what is written is read back, anything at all may be read, and code lists of any kind give either
// a status or codes that tell their symbols apart.
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
using fuzz::require;

/// The coder of all runs: its tables are made once.
WicketCoder* freshCoder() {
  static const auto coder = std::make_unique<WicketCoder>();
  setHuffman(coder.get());
  require(initialize(coder.get()) == CODEC_OK && coder->tablesReady == 2);
  setByteStuffing(coder.get());
  return coder.get();
}

enum Kind : std::uint8_t { DC, AC, EOB, ZRL, RESTART, QUANTIZER, PADDED_QUANTIZER, KINDS };

struct Symbol {
  Kind kind = DC;
  bool chroma = false;
  std::uint32_t run = 0;
  std::int32_t value = 0;
};

Symbol readSymbol(Input& in) {
  Symbol symbol;
  const std::uint8_t what = in.byte();
  symbol.kind = static_cast<Kind>((what & 7) % KINDS);
  symbol.chroma = (what & 8) != 0;
  symbol.run = what >> 4;
  if (symbol.kind > AC) return symbol;
  const auto value = static_cast<std::int16_t>(in.word16());
  symbol.value = value >> (what >> 4);  // small values are the usual ones
  return symbol;
}

std::int32_t write(const Symbol& symbol, WicketCoder* coder) {
  const auto select = static_cast<std::uint8_t>(symbol.run & 1);
  switch (symbol.kind) {
    case DC:
      return dcSymbol(symbol.value, symbol.chroma, coder);
    case AC:
      return acSymbol(symbol.run, symbol.value, symbol.chroma, coder);
    case EOB:
      return eobSymbol(symbol.chroma, coder);
    case ZRL:
      return zrlSymbol(symbol.chroma, coder);
    case RESTART:
      return restartMarker(coder);
    case QUANTIZER:
      return quantizationTableMarker(select, coder);
    default:
      return quantizationTableMarkerPad(select, coder);
  }
}

void requireSymbol(const Symbol& symbol, std::uint32_t& restarts, WicketCoder* coder) {
  if (symbol.kind >= RESTART) {
    const std::uint32_t marker = symbol.kind == RESTART  ? MARKER_RESTART + restarts++ % RESTART_NUMBERS
                                 : (symbol.run & 1) == 0 ? MARKER_TABLE_QUANTIZER
                                                         : MARKER_FLAT_QUANTIZER;
    return require(checkForFlush(coder) == marker);
  }
  std::int32_t value = -1;
  if (symbol.kind == DC) {
    return require(decodeDCSymbol(&value, symbol.chroma, coder) == CODEC_OK && value == symbol.value);
  }
  std::uint32_t run = 0;
  require(decodeACSymbol(&run, &value, symbol.chroma, coder) == CODEC_OK);
  const std::uint32_t written = symbol.kind == EOB ? 0 : symbol.kind == ZRL ? 15 : symbol.run;
  require(run == written && value == (symbol.kind == AC ? symbol.value : 0));
}

void writeAndRead(Input& in) {
  WicketCoder* coder = freshCoder();
  Bytes stream(in.word16() % 4096);
  coder->restartNumber = in.byte() % RESTART_NUMBERS;
  std::uint32_t restarts = static_cast<std::uint32_t>(coder->restartNumber);
  const auto capacity = static_cast<std::uint32_t>(stream.size());
  require(outputBuffer(stream.data(), capacity, coder) == (stream.data() == nullptr ? CODEC_NULL_POINTER : CODEC_OK));
  std::vector<Symbol> symbols;
  bool full = false;
  while (!in.empty()) {
    const Symbol symbol = readSymbol(in);
    const std::uint32_t before = coder->outCount * 8 + coder->bitCount;
    const std::int32_t status = write(symbol, coder);
    require(coder->outCount <= capacity);
    const bool refused = status == CODEC_MAGNITUDE || status == CODEC_INVALID_SYMBOL;
    require(refused ? coder->outCount * 8 + coder->bitCount == before
                    : status == CODEC_OK || status == CODEC_OUTPUT_FULL);
    full = full || status == CODEC_OUTPUT_FULL;
    require(!full || coder->outCount == capacity);
    if (status == CODEC_OK) symbols.push_back(symbol);
  }
  std::uint32_t length = 0;
  full = finishEncoding(&length, coder) != CODEC_OK || full;
  fuzz::note(std::span(stream).first(length));
  require(length <= capacity && (!full || length == capacity));
  if (full || stream.empty()) return;
  require(decodeData(stream.data(), length, coder) == CODEC_OK);
  for (const Symbol& symbol : symbols) requireSymbol(symbol, restarts, coder);
}

void readAnything(Input& in) {
  WicketCoder* coder = freshCoder();
  const Bytes steps = in.bytes(in.byte());
  const Bytes data = in.rest();
  const auto size = static_cast<std::uint32_t>(data.size());
  if (decodeData(data.data(), size, coder) != CODEC_OK) return require(data.data() == nullptr);
  for (std::size_t i = 0; i < 2 * data.size() + steps.size(); ++i) {
    const std::uint8_t step = steps.empty() ? std::uint8_t{0} : steps[i % steps.size()];
    std::uint8_t byte = 0;
    std::uint32_t word = 0;
    std::int32_t value = 0;
    switch (step & 7) {
      case 0:
        if (decodeDCSymbol(&value, (step & 8) != 0, coder) == CODEC_OK) require(value >= -2047 && value <= 2047);
        break;
      case 1:
        if (decodeACSymbol(&word, &value, (step & 8) != 0, coder) == CODEC_OK)
          require(word <= 15 && value >= -1023 && value <= 1023);
        break;
      case 2:
        if (decodeVLI(step >> 3, &value, coder) == CODEC_OK) require(value > -65536 && value < 65536);
        break;
      case 3:
        if (getCode(&word, coder) == CODEC_OK) require(word <= 0xFFFF);
        break;
      case 4:
        require((checkForFlush(coder) & 0xFFFF00FF) != 0xFF);
        break;
      case 5:
        softReset(coder);
        break;
      case 6:
        static_cast<void>(nextByte(&byte, coder));
        break;
      default:
        require(decodeVLI(17, &value, coder) == CODEC_BAD_SIZE);
    }
    require(coder->reader.bytesLeft <= size && coder->reader.position + coder->reader.bytesLeft == data.data() + size);
    require(decodeBitPosition(coder) <= 8 * size);
    fuzz::note(decodeBitPosition(coder) + value + word + byte);
  }
}

using Counts = std::array<std::uint32_t, CODE_LENGTHS>;

Counts readCounts(Input& in) {
  Counts counts{};
  for (std::uint32_t& count : counts) count = in.byte() & 31;
  return counts;
}

void makeTables(Input& in) {
  // A well-made start, so that not everything fails at the first symbol.
  static const auto table = std::make_unique<HuffmanCodeTable>();
  static const auto coder = std::make_unique<WicketCoder>();
  setHuffman(coder.get());
  HuffmanLists lists = in.flag() ? coder->lumaLists : coder->chromaLists;
  const std::uint8_t changes = in.byte();
  if ((changes & 1) != 0) lists.dcCounts = readCounts(in);
  if ((changes & 2) != 0) lists.acCounts = readCounts(in);
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
  fuzz::note(status);
  if (status != CODEC_OK) return;
  require(codecInitialize(lists.dcCounts.data(), dcSymbols.data(), lists.acCounts.data(), acSymbols.data(),
                          table.get()) == CODEC_OK);
  require(setHuffmanCodec(table.get(), true, coder.get()) == CODEC_OK);
  for (std::uint32_t symbol = 0; symbol <= 0x100; ++symbol) {
    std::uint32_t code = 0, length = 0, found = 0, foundLength = 0;
    for (const bool dc : {true, false}) {
      const bool there = (dc ? codecDCCode : codecACCode)(symbol, &code, &length, table.get()) == CODEC_OK;
      fuzz::note(std::int64_t{there ? code : 0});
      if (!there || length == 0 || length > 16) continue;
      fuzz::note(
          (dc ? codecDecodeDCSymbol : codecDecodeACSymbol)(code << (16 - length), &found, &foundLength, table.get()));
      fuzz::note(std::int64_t{found});
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input in(data, size);
  switch (in.byte() % 3) {
    case 0:
      writeAndRead(in);
      break;
    case 1:
      readAnything(in);
      break;
    default:
      makeTables(in);
  }
  return 0;
}
