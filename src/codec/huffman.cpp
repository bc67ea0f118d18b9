#include "codec/huffman.h"

#include <numeric>
#include <span>

namespace kesto {
namespace {

constexpr std::uint32_t MAX_PENDING_BITS = 7;
constexpr std::uint32_t MAX_BITS_PER_CALL = 32 - MAX_PENDING_BITS;
constexpr std::uint32_t MARKER_BITS = 16;
constexpr int PAD_WORDS = 10;  // of 0xFFFF before a padded marker

/// True when the counts ask for no more symbols than there are.
bool isCovered(std::span<const std::uint32_t> counts, std::span<const std::uint32_t> symbols) {
  return std::accumulate(counts.begin(), counts.end(), std::uint64_t{0}) <= symbols.size();
}

std::int32_t initializeTable(const HuffmanLists& lists, HuffmanCodeTable& table) {
  if (!isCovered(lists.dcCounts, lists.dcSymbols)) return CODEC_INVALID_SYMBOL;
  if (!isCovered(lists.acCounts, lists.acSymbols)) return CODEC_TOO_MANY_AC_CODES;
  return codecInitialize(lists.dcCounts.data(), lists.dcSymbols.data(), lists.acCounts.data(), lists.acSymbols.data(),
                         &table);
}

const HuffmanCodeTable& codesFor(bool isChroma, const WicketCoder* coder) {
  return isChroma ? coder->chromaCodes : coder->lumaCodes;
}

void storeByte(std::uint8_t byte, WicketCoder* coder) {
  *coder->out++ = byte;
  ++coder->outCount;
}

/// Moves the oldest eight pending bits to the output, with the stuffed zero that an FF needs.
std::int32_t writeOldestByte(WicketCoder* coder) {
  if (coder->outCount == coder->outCapacity) return CODEC_OUTPUT_FULL;
  const auto byte = static_cast<std::uint8_t>(coder->bitBuffer >> 24);
  coder->bitBuffer <<= 8;
  coder->bitCount -= 8;
  storeByte(byte, coder);
  if (byte != 0xFF || coder->byteStuffing == 0) return CODEC_OK;
  if (coder->outCount == coder->outCapacity) return CODEC_OUTPUT_FULL;
  storeByte(0, coder);
  return CODEC_OK;
}

std::int32_t writeWholeBytes(WicketCoder* coder) {
  while (coder->bitCount >= 8) {
    const std::int32_t status = writeOldestByte(coder);
    if (status != CODEC_OK) return status;
  }
  return CODEC_OK;
}

/// Writes `padWords` words of ones and then the marker, on a byte boundary and without stuffing.
std::int32_t writeMarker(std::uint32_t marker, int padWords, WicketCoder* coder) {
  // A flush fails only when there is no room, and then the marker's own write fails as well.
  flushOutput(coder);
  const std::uint8_t stuffing = clearByteStuffing(coder);
  for (int i = 0; i < padWords; ++i) outputBits(0xFFFF, MARKER_BITS, coder);
  const std::int32_t status = outputBits(marker, MARKER_BITS, coder);
  coder->byteStuffing = stuffing;
  return status;
}

constexpr std::uint32_t quantizerMarker(std::uint8_t select) {
  return select == 0 ? MARKER_TABLE_QUANTIZER : MARKER_FLAT_QUANTIZER;
}

/// |value|, defined for the lowest value as well.
constexpr std::uint32_t magnitudeOf(std::int32_t value) {
  return value < 0 ? 0U - static_cast<std::uint32_t>(value) : static_cast<std::uint32_t>(value);
}

/// The word whose low bits stand for `value` in its size: the value, or for negative values the value less one
/// (T.81 F.1.2.1.1).
constexpr std::uint32_t magnitudeBits(std::int32_t value) {
  return static_cast<std::uint32_t>(value) - (value < 0 ? 1U : 0U);
}

/// Writes an AC code without magnitude bits.
std::int32_t writeACCode(std::uint32_t rs, bool isChroma, WicketCoder* coder) {
  std::uint32_t code = 0;
  std::uint32_t length = 0;
  const std::int32_t status = codecACCode(rs, &code, &length, &codesFor(isChroma, coder));
  return status != CODEC_OK ? status : outputBits(code, length, coder);
}

}  // namespace

void setHuffman(WicketCoder* coder) {
  coder->category = MAGNITUDE_CATEGORIES;
  coder->lumaLists = LUMA_SPECIFICATION;
  coder->chromaLists = CHROMA_SPECIFICATION;
  coder->out = nullptr;
  coder->outCapacity = 0;
  coder->outCount = 0;
  coder->byteStuffing = 0;
  coder->bitBuffer = 0;
  coder->bitCount = 0;
  coder->tablesReady = 0;
  coder->coefficientIndex = 0;
  coder->restartNumber = 0;
  coder->reader = {};
}

std::int32_t initialize(WicketCoder* coder) {
  std::int32_t status = initializeTable(coder->lumaLists, coder->lumaCodes);
  if (status == CODEC_OK) status = initializeTable(coder->chromaLists, coder->chromaCodes);
  if (status == CODEC_OK) coder->tablesReady = 2;
  return status;
}

std::int32_t setHuffmanCodec(const HuffmanCodeTable* table, bool isChroma, WicketCoder* coder) {
  if (table == nullptr || coder == nullptr) return CODEC_NULL_POINTER;
  (isChroma ? coder->chromaCodes : coder->lumaCodes) = *table;
  return CODEC_OK;
}

std::int32_t outputBuffer(std::uint8_t* buffer, std::uint32_t capacity, WicketCoder* coder) {
  if (buffer == nullptr) return CODEC_NULL_POINTER;
  coder->out = buffer;
  coder->outCapacity = capacity;
  coder->outCount = 0;
  coder->reader = {};
  return CODEC_OK;
}

std::int32_t outputBits(std::uint32_t value, std::uint32_t count, WicketCoder* coder) {
  if (count > MAX_BITS_PER_CALL) return CODEC_BAD_SIZE;
  // Whole bytes are left over only by a buffer that was full; without room for them there is none for more bits,
  // and bits piled onto them would run out of the 32-bit word.
  if (coder->bitCount > MAX_PENDING_BITS) {
    const std::int32_t status = writeWholeBytes(coder);
    if (status != CODEC_OK) return status;
  }
  if (count == 0) return CODEC_OK;  // with nothing pending the shift below would be by 32
  coder->bitCount += count;
  coder->bitBuffer |= (value & ((1U << count) - 1)) << (32 - coder->bitCount);
  return writeWholeBytes(coder);
}

std::int32_t flushOutput(WicketCoder* coder) {
  const std::int32_t status = writeWholeBytes(coder);
  if (status != CODEC_OK || coder->bitCount == 0) return status;
  if (coder->outCount == coder->outCapacity) return CODEC_OUTPUT_FULL;
  coder->bitBuffer |= (1U << (32 - coder->bitCount)) - 1;
  coder->bitCount = 8;
  const std::int32_t written = writeOldestByte(coder);
  coder->bitBuffer = 0;
  return written;
}

std::uint8_t setByteStuffing(WicketCoder* coder) {
  const std::uint8_t previous = coder->byteStuffing;
  coder->byteStuffing = 1;
  return previous;
}

std::uint8_t clearByteStuffing(WicketCoder* coder) {
  const std::uint8_t previous = coder->byteStuffing;
  coder->byteStuffing = 0;
  return previous;
}

std::uint8_t queryByteStuffing(const WicketCoder* coder) {
  return coder->byteStuffing;
}

std::int32_t restartMarker(WicketCoder* coder) {
  constexpr std::int32_t LAST = RESTART_NUMBERS - 1;
  const std::int32_t number = coder->restartNumber;
  coder->restartNumber = number < LAST ? number + 1 : 0;
  return writeMarker(MARKER_RESTART + static_cast<std::uint32_t>(number), 0, coder);
}

std::int32_t quantizationTableMarker(std::uint8_t select, WicketCoder* coder) {
  return writeMarker(quantizerMarker(select), 0, coder);
}

std::int32_t quantizationTableMarkerPad(std::uint8_t select, WicketCoder* coder) {
  return writeMarker(quantizerMarker(select), PAD_WORDS, coder);
}

std::int32_t dcSymbol(std::int32_t difference, bool isChroma, WicketCoder* coder) {
  const std::uint32_t magnitude = magnitudeOf(difference);
  if (magnitude > MAX_MAGNITUDE) return CODEC_MAGNITUDE;
  const std::uint32_t size = coder->category[magnitude];
  std::uint32_t code = 0;
  std::uint32_t length = 0;
  std::int32_t status = codecDCCode(size, &code, &length, &codesFor(isChroma, coder));
  if (status != CODEC_OK) return status;
  coder->coefficientIndex = 0;
  status = outputBits(code, length, coder);
  return size == 0 ? status : outputBits(magnitudeBits(difference), size, coder);
}

std::int32_t acSymbol(std::uint32_t run, std::int32_t value, bool isChroma, WicketCoder* coder) {
  coder->coefficientIndex += run + 1;
  const std::uint32_t magnitude = magnitudeOf(value);
  if (magnitude > MAX_MAGNITUDE) return CODEC_MAGNITUDE;
  const std::uint32_t size = coder->category[magnitude];
  if (run > 15) return CODEC_INVALID_SYMBOL;
  const std::int32_t status = writeACCode(run << 4 | size, isChroma, coder);
  if (status == CODEC_INVALID_SYMBOL) return status;
  return outputBits(magnitudeBits(value), size, coder);
}

std::int32_t eobSymbol(bool isChroma, WicketCoder* coder) {
  return writeACCode(RS_END_OF_BLOCK, isChroma, coder);
}

std::int32_t zrlSymbol(bool isChroma, WicketCoder* coder) {
  coder->coefficientIndex += 16;
  return writeACCode(RS_ZERO_RUN, isChroma, coder);
}

std::int32_t finishEncoding(std::uint32_t* length, WicketCoder* coder) {
  if (length == nullptr) return CODEC_NULL_POINTER;
  const std::int32_t status = flushOutput(coder);
  *length = coder->outCount;
  return status;
}

}  // namespace kesto
