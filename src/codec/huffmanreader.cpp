#include "codec/huffmanreader.h"

namespace kesto {
namespace {

constexpr std::uint32_t RESERVOIR_BITS = 32;
constexpr std::uint32_t WORD_BITS = 16;
constexpr std::uint32_t MARKER_BYTES = 2;

void skipBytes(SymbolReaderState& reader, std::uint32_t count) {
  reader.position += count;
  reader.bytesLeft -= count;
}

void noteMarker(std::uint32_t marker, SymbolReaderState& reader) {
  reader.marker = marker;
  if (marker == MARKER_TABLE_QUANTIZER) reader.sawTableQuantizer = 1;
  if (marker == MARKER_FLAT_QUANTIZER) reader.sawFlatQuantizer = 1;
}

/// Reads ahead while whole bytes fit the reservoir and the data has some.
void fillReservoir(WicketCoder* coder) {
  SymbolReaderState& reader = coder->reader;
  std::uint8_t byte = 0;
  while (reader.reservoirBits + 8 <= RESERVOIR_BITS && nextByte(&byte, coder) == CODEC_OK) {
    reader.reservoir |= static_cast<std::uint32_t>(byte) << (RESERVOIR_BITS - 8 - reader.reservoirBits);
    reader.reservoirBits += 8;
  }
}

/// Takes up to 16 bits that are known to be in the reservoir.
std::uint32_t takeBits(std::uint32_t count, SymbolReaderState& reader) {
  if (count == 0) return 0;
  const std::uint32_t bits = reader.reservoir >> (RESERVOIR_BITS - count);
  reader.reservoir <<= count;
  reader.reservoirBits -= count;
  reader.bitsRead += count;
  return bits;
}

using DecodeSymbol = std::int32_t (*)(std::uint32_t, std::uint32_t*, std::uint32_t*, HuffmanCodeTable*);

/// Takes the code of one symbol, without magnitude bits.
std::int32_t takeSymbol(DecodeSymbol decode, bool isChroma, std::uint32_t* symbol, WicketCoder* coder) {
  std::uint32_t word = 0;
  std::int32_t status = getCode(&word, coder);
  if (status != CODEC_OK) return status;
  std::uint32_t length = 0;
  status = decode(word, symbol, &length, isChroma ? &coder->chromaCodes : &coder->lumaCodes);
  if (status != CODEC_OK) return status;
  // A code that needs the ones put behind the end is none.
  if (length > coder->reader.reservoirBits) return CODEC_INPUT_END;
  takeBits(length, coder->reader);
  return CODEC_OK;
}

bool beginsWith(std::uint32_t word, const HuffmanCode& code) {
  return code.count != 0 && word >> (WORD_BITS - code.length) == code.code;
}

}  // namespace

std::int32_t decodeData(const std::uint8_t* data, std::uint32_t count, WicketCoder* coder) {
  if (data == nullptr) return CODEC_NULL_POINTER;
  coder->reader = {};
  coder->reader.position = data;
  coder->reader.bytesLeft = count;
  return CODEC_OK;
}

std::int32_t nextByte(std::uint8_t* byte, WicketCoder* coder) {
  SymbolReaderState& reader = coder->reader;
  while (reader.marker == 0 && reader.bytesLeft > 0) {
    *byte = reader.position[0];
    if (*byte != 0xFF) {
      skipBytes(reader, 1);
      return CODEC_OK;
    }
    if (reader.bytesLeft < MARKER_BYTES) return CODEC_INPUT_END;  // half a marker
    const std::uint32_t next = reader.position[1];
    if (next == 0) {
      skipBytes(reader, 2);
      return CODEC_OK;
    }
    if (next == 0xFF) {
      skipBytes(reader, 1);
    } else {
      noteMarker(0xFF00 | next, reader);
    }
  }
  return CODEC_INPUT_END;
}

std::int32_t getCode(std::uint32_t* code, WicketCoder* coder) {
  fillReservoir(coder);
  const SymbolReaderState& reader = coder->reader;
  if (reader.reservoirBits == 0) return CODEC_INPUT_END;
  const std::uint32_t ones = reader.reservoirBits < RESERVOIR_BITS ? 0xFFFFFFFFU >> reader.reservoirBits : 0;
  *code = (reader.reservoir | ones) >> (RESERVOIR_BITS - WORD_BITS);
  return CODEC_OK;
}

std::int32_t decodeVLI(std::uint32_t size, std::int32_t* value, WicketCoder* coder) {
  if (size > WORD_BITS) return CODEC_BAD_SIZE;
  fillReservoir(coder);
  if (size > coder->reader.reservoirBits) return CODEC_INPUT_END;
  const auto bits = static_cast<std::int32_t>(takeBits(size, coder->reader));
  const bool negative = size > 0 && bits < 1 << (size - 1);
  *value = negative ? bits - (1 << size) + 1 : bits;
  return CODEC_OK;
}

std::int32_t decodeDCSymbol(std::int32_t* difference, bool isChroma, WicketCoder* coder) {
  std::uint32_t size = 0;
  const std::int32_t status = takeSymbol(codecDecodeDCSymbol, isChroma, &size, coder);
  return status != CODEC_OK ? status : decodeVLI(size, difference, coder);
}

std::int32_t decodeACSymbol(std::uint32_t* run, std::int32_t* value, bool isChroma, WicketCoder* coder) {
  std::uint32_t rs = 0;
  const std::int32_t status = takeSymbol(codecDecodeACSymbol, isChroma, &rs, coder);
  if (status != CODEC_OK) return status;
  *run = rs >> 4;
  return decodeVLI(rs & 15, value, coder);
}

std::uint32_t checkForFlush(WicketCoder* coder) {
  fillReservoir(coder);
  SymbolReaderState& reader = coder->reader;
  if (reader.marker == 0 || reader.reservoirBits >= 8) return 0;
  const std::uint32_t filling = ~(0xFFFFFFFFU >> reader.reservoirBits);
  if ((reader.reservoir & filling) != filling) return 0;
  const std::uint32_t marker = reader.marker;
  reader.reservoir = 0;
  reader.reservoirBits = 0;
  reader.marker = 0;
  skipBytes(reader, MARKER_BYTES);
  return marker;
}

std::int32_t codecDecodeDCSymbol(std::uint32_t word, std::uint32_t* symbol, std::uint32_t* length,
                                 HuffmanCodeTable* table) {
  codecBuildLookups(table);
  const std::uint32_t shortSymbol = table->dcLookup[word >> 8 & 0xFF];
  if (table->generated != 0 && shortSymbol < DC_SYMBOL_COUNT) {
    *symbol = shortSymbol;
    *length = table->dcCodes[shortSymbol].length;
    return CODEC_OK;
  }
  for (std::uint32_t candidate = 0; candidate < DC_SYMBOL_COUNT; ++candidate) {
    if (!beginsWith(word & 0xFFFF, table->dcCodes[candidate])) continue;
    *symbol = candidate;
    *length = table->dcCodes[candidate].length;
    return CODEC_OK;
  }
  return CODEC_NO_SUCH_CODE;
}

std::int32_t codecDecodeACSymbol(std::uint32_t word, std::uint32_t* symbol, std::uint32_t* length,
                                 HuffmanCodeTable* table) {
  codecBuildLookups(table);
  const HuffmanLookup& entry = table->acLookup[word & 0xFFFF];
  if (table->generated == 0 || entry.length == 0) return CODEC_NO_SUCH_CODE;
  *symbol = entry.symbol;
  *length = entry.length;
  return CODEC_OK;
}

void softReset(WicketCoder* coder) {
  SymbolReaderState& reader = coder->reader;
  if (reader.marker != 0) skipBytes(reader, MARKER_BYTES);
  reader.reservoir = 0;
  reader.reservoirBits = 0;
  reader.marker = 0;
  reader.sawTableQuantizer = 0;
  reader.sawFlatQuantizer = 0;
}

std::uint32_t decodeBitPosition(const WicketCoder* coder) {
  return coder->reader.bitsRead;
}

}  // namespace kesto
