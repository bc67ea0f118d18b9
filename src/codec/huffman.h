// The entropy coder: symbols, markers and the bit writer under them.
//
// A stream is what T.81 calls entropy-coded data, without any of its headers:
//
//   stream  := (marker | symbol)*
//   symbol  := Huffman code, then as many magnitude bits as its size says (T.81 F.1.2)
//   marker  := FF D0..FF D7   restart: DC prediction starts afresh
//            | FF 2C          the blocks that follow use the tables of the Q factors
//            | FF 2B          the blocks that follow use the flat quantiser
//
// Every FF of entropy-coded data is followed by a stuffed 00; before a marker the last byte is filled with ones.
// A coder holds the state of one stream and belongs to one thread at a time. It is over a megabyte: keep it on the
// heap and reuse it.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "codec/huffmancodec.h"

namespace kesto {

inline constexpr std::uint32_t MAX_MAGNITUDE = 2047;  // beyond it there is no size to code a value with
inline constexpr std::uint32_t MARKER_RESTART = 0xFFD0;
inline constexpr std::uint32_t MARKER_TABLE_QUANTIZER = 0xFF2C;
inline constexpr std::uint32_t MARKER_FLAT_QUANTIZER = 0xFF2B;
inline constexpr std::uint32_t RESTART_NUMBERS = 8;

/// The bit length of each magnitude.
inline constexpr std::array<std::uint8_t, MAX_MAGNITUDE + 1> MAGNITUDE_CATEGORIES = [] {
  std::array<std::uint8_t, MAX_MAGNITUDE + 1> categories{};
  for (std::uint32_t magnitude = 0; magnitude <= MAX_MAGNITUDE; ++magnitude) {
    categories[magnitude] = static_cast<std::uint8_t>(std::bit_width(magnitude));
  }
  return categories;
}();

/// The state of the stream reader (huffmanreader.h). Compression never looks at it.
struct SymbolReaderState {
  const std::uint8_t* position = nullptr;
  std::uint32_t bytesLeft = 0;
  std::uint32_t reservoir = 0;  // bits taken out of the stream but not out of the reader, the oldest at bit 31
  std::uint32_t reservoirBits = 0;
  std::uint32_t bitsRead = 0;
  std::uint32_t marker = 0;  // the marker before which reading stopped, 0 for none
  std::uint8_t sawTableQuantizer = 0;
  std::uint8_t sawFlatQuantizer = 0;
};

struct WicketCoder {
  std::array<std::uint8_t, MAX_MAGNITUDE + 1> category{};  // MAGNITUDE_CATEGORIES
  std::uint8_t* out = nullptr;                             // where the next byte goes
  std::uint32_t outCapacity = 0;
  std::uint32_t outCount = 0;
  std::uint8_t byteStuffing = 0;
  std::uint32_t bitBuffer = 0;         // pending bits, the oldest at bit 31
  std::uint32_t bitCount = 0;          // 0 to 7 between calls, unless the output buffer is full
  std::uint32_t tablesReady = 0;       // 2 when both code tables stand
  std::uint32_t coefficientIndex = 0;  // zigzag position that the current block has been coded up to
  std::int32_t restartNumber = 0;      // of the next restart marker
  HuffmanLists lumaLists{};
  HuffmanLists chromaLists{};
  HuffmanCodeTable lumaCodes{};
  HuffmanCodeTable chromaCodes{};
  SymbolReaderState reader{};
};

/// Prepares a coder for a stream of its own: standard code lists, no output buffer, no pending bits, byte
/// stuffing off, restart number 0. The code tables stay as they are until `initialize`.
void setHuffman(WicketCoder* coder);

/// Makes both code tables anew from the coder's code lists. Returns 0, with tablesReady 2, or the first status of
/// codecInitialize that is not 0.
[[nodiscard]] std::int32_t initialize(WicketCoder* coder);

/// Copies a whole code table into the coder, as its chroma table or its luma table. Returns 0, or
/// CODEC_NULL_POINTER.
std::int32_t setHuffmanCodec(const HuffmanCodeTable* table, bool isChroma, WicketCoder* coder);

/// Attaches an output buffer of `capacity` bytes; the bytes written count from 0 again. Pending bits stay pending.
/// Returns 0, or CODEC_NULL_POINTER with nothing changed.
[[nodiscard]] std::int32_t outputBuffer(std::uint8_t* buffer, std::uint32_t capacity, WicketCoder* coder);

/// Appends the low `count` bits of `value`, at most 25, and writes out the bytes that are complete.
///
/// Returns 0, CODEC_BAD_SIZE for more bits than fit, or CODEC_OUTPUT_FULL when a byte, a stuffed one included, found no
/// room. A full buffer stays full: later calls write no byte, and return the same when they complete one. The caller
/// has to remember the first failure.
std::int32_t outputBits(std::uint32_t value, std::uint32_t count, WicketCoder* coder);

/// Fills the pending byte, if there is one, with ones and writes it. Returns 0 or CODEC_OUTPUT_FULL.
std::int32_t flushOutput(WicketCoder* coder);

/// Switch the stuffing of 00 after FF on or off, and return what it was.
std::uint8_t setByteStuffing(WicketCoder* coder);
std::uint8_t clearByteStuffing(WicketCoder* coder);
[[nodiscard]] std::uint8_t queryByteStuffing(const WicketCoder* coder);

/// Flushes and writes the next restart marker; the number then counts up, modulo 8. Returns 0 or CODEC_OUTPUT_FULL.
std::int32_t restartMarker(WicketCoder* coder);

/// Flushes and writes the marker for the flat quantiser, or for the table quantisers when `select` is 0. Returns 0
/// or CODEC_OUTPUT_FULL. The Pad form writes twenty bytes FF first, which decoders skip as fill (T.81 B.1.1.2).
std::int32_t quantizationTableMarker(std::uint8_t select, WicketCoder* coder);
std::int32_t quantizationTableMarkerPad(std::uint8_t select, WicketCoder* coder);

/// Writes a DC difference. Returns 0, CODEC_OUTPUT_FULL, or CODEC_MAGNITUDE beyond 2047 with nothing written.
std::int32_t dcSymbol(std::int32_t difference, bool isChroma, WicketCoder* coder);

/// Writes an AC value after `run` zeros. Returns 0, CODEC_OUTPUT_FULL, or, with nothing written, CODEC_MAGNITUDE
/// beyond 2047 and CODEC_INVALID_SYMBOL where run and size have no code: size 11, runs above 15. The value 0 has the
/// codes of EOB (run 0) and ZRL (run 15) only.
std::int32_t acSymbol(std::uint32_t run, std::int32_t value, bool isChroma, WicketCoder* coder);

/// Write "only zeros follow" and "sixteen zeros". Return 0, CODEC_OUTPUT_FULL or CODEC_INVALID_SYMBOL.
std::int32_t eobSymbol(bool isChroma, WicketCoder* coder);
std::int32_t zrlSymbol(bool isChroma, WicketCoder* coder);

/// Flushes and stores the number of bytes written into `length`, also when the flush found no room. Returns 0,
/// CODEC_NULL_POINTER, or CODEC_OUTPUT_FULL.
std::int32_t finishEncoding(std::uint32_t* length, WicketCoder* coder);

}  // namespace kesto
