// Huffman code tables: the codes that code lists (counts per length, symbols in order) stand for.
//
// A table has an encoding part, which is all that compression reads, and decoding lookups of half a megabyte that
// only a stream reader needs. The encoding part is made at once, the lookups when a reader first asks for a symbol,
// because a band that is only compressed would pay more for them than for its own coding.
// The functions keep no state of their own; a table belongs to one thread at a time.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "codec/codecstatus.h"
#include "codec/t81tables.h"

namespace kesto {

inline constexpr std::uint32_t RS_END_OF_BLOCK = 0x00;  // the run/size symbol EOB: only zeros follow
inline constexpr std::uint32_t RS_ZERO_RUN = 0xF0;      // the run/size symbol ZRL: sixteen zeros
inline constexpr std::int32_t EOB_CODE_INDEX = 160;
inline constexpr std::int32_t ZRL_CODE_INDEX = 161;
inline constexpr std::uint32_t MAX_AC_SIZE = 10;

/// What a Huffman table is made from: how many codes there are of each length 1 to 16, and their symbols in order.
struct HuffmanLists {
  std::array<std::uint32_t, CODE_LENGTHS> dcCounts{};
  std::array<std::uint32_t, DC_SYMBOL_COUNT> dcSymbols{};
  std::array<std::uint32_t, CODE_LENGTHS> acCounts{};
  std::array<std::uint32_t, AC_SYMBOL_COUNT> acSymbols{};
};

/// The standard code lists (T.81 Annex K).
inline constexpr HuffmanLists LUMA_SPECIFICATION = {huffmanLuminanceDCCodes, huffmanLuminanceDCCategory,
                                                    huffmanLuminanceACCodes, huffmanLuminanceRSValues};
inline constexpr HuffmanLists CHROMA_SPECIFICATION = {huffmanChromDCCodes, huffmanChromDCCategory, huffmanChromACCodes,
                                                      huffmanChromRSValues};

/// One code, in the low `length` bits of `code`. `count` is how often the code lists defined it: 0 means no code.
struct HuffmanCode {
  std::uint32_t code = 0;
  std::uint32_t length = 0;
  std::uint32_t count = 0;
};

/// The AC codes of one length. They are consecutive numbers; a length without codes has lastCode + 1 == firstCode.
struct HuffmanLengthRange {
  std::uint32_t firstCode = 0;
  std::uint32_t lastCode = 0;
  std::uint32_t firstSymbol = 0;  // position of the first code's symbol in its code list
};

/// What a 16-bit word begins with: an AC symbol and the length of its code; length 0 when it begins with no code.
struct HuffmanLookup {
  std::uint32_t symbol = 0;
  std::uint32_t length = 0;
};

inline constexpr std::uint8_t NO_SHORT_DC_CODE = 0xFF;

/// What is generated from code lists.
struct HuffmanCodes {
  std::array<HuffmanCode, DC_SYMBOL_COUNT> dcCodes{};        // by DC symbol
  std::array<HuffmanCode, AC_SYMBOL_COUNT> acCodes{};        // by code index
  std::array<HuffmanLengthRange, CODE_LENGTHS> acLengths{};  // by length - 1
};

struct HuffmanCodeTable : HuffmanCodes {
  std::array<std::uint8_t, std::size_t{1} << 8> dcLookup{};    // by 8 bits; NO_SHORT_DC_CODE: the code is longer
  std::array<HuffmanLookup, std::size_t{1} << 16> acLookup{};  // by 16 bits
  std::uint32_t generated = 0;                                 // 1: the codes stand
  std::uint32_t lookupsBuilt = 0;                              // 1: dcLookup and acLookup agree with the codes
};

/// The code index of an AC symbol: 160 for EOB, 161 for ZRL, (size - 1) x 16 + run for sizes 1 to 10 and runs 0 to
/// 15, and -1 for everything else.
[[nodiscard]] constexpr std::int32_t codecCodeIndex(std::uint32_t rs) {
  if (rs == RS_END_OF_BLOCK) return EOB_CODE_INDEX;
  if (rs == RS_ZERO_RUN) return ZRL_CODE_INDEX;
  const std::uint32_t run = rs >> 4;
  const std::uint32_t size = rs & 15;
  if (run > 15 || size < 1 || size > MAX_AC_SIZE) return -1;
  return static_cast<std::int32_t>((size - 1) * 16 + run);
}

/// The AC symbol of a code index, the inverse of codecCodeIndex; -1 for numbers that are no code index.
[[nodiscard]] constexpr std::int32_t codecRSSymbol(std::int32_t index) {
  if (index == EOB_CODE_INDEX) return RS_END_OF_BLOCK;
  if (index == ZRL_CODE_INDEX) return RS_ZERO_RUN;
  if (index < 0 || index > ZRL_CODE_INDEX) return -1;
  return (index & 15) * 16 + (index >> 4) + 1;
}

/// Generates the codes of the code lists into `table`: consecutive numbers within a length, doubled from one length
/// to the next (T.81 Annex C).
///
/// The counts have 16 entries; the symbol lists need as many as the counts add up to, at most 65,536: counts beyond
/// that are refused unread. Returns 0, or the first that applies of CODEC_NO_DC_COUNTS, CODEC_NO_AC_COUNTS,
/// CODEC_NO_AC_SYMBOLS and CODEC_NULL_POINTER (DC symbols, table) for what is missing; CODEC_DC_SYMBOL_RANGE;
/// CODEC_INVALID_SYMBOL for a DC size up to 11 that comes twice or an AC symbol that is none; CODEC_TOO_MANY_AC_CODES;
/// CODEC_INVALID_SYMBOL for an AC symbol that comes twice. The table is not usable then.
[[nodiscard]] std::int32_t codecGenerateCodes(const std::uint32_t* dcCounts, const std::uint32_t* dcSymbols,
                                              const std::uint32_t* acCounts, const std::uint32_t* acSymbols,
                                              HuffmanCodeTable* table);

/// Makes `table` ready for coding and decoding with code lists, whatever it held before; results as codecGenerateCodes.
/// The decoding lookups are built when they are first needed.
[[nodiscard]] std::int32_t codecInitialize(const std::uint32_t* dcCounts, const std::uint32_t* dcSymbols,
                                           const std::uint32_t* acCounts, const std::uint32_t* acSymbols,
                                           HuffmanCodeTable* table);

/// Builds the decoding lookups of a generated table, unless they stand already.
void codecBuildLookups(HuffmanCodeTable* table);

/// Stores code and length of the DC size 0 to 11. Returns 0, CODEC_DC_SIZE for a size above 11, CODEC_INVALID_SYMBOL
/// for a size that the code lists left without a code, or the status of a null out-parameter.
[[nodiscard]] std::int32_t codecDCCode(std::uint32_t size, std::uint32_t* code, std::uint32_t* length,
                                       const HuffmanCodeTable* table);

/// Stores code and length of the AC symbol `rs` (run x 16 + size). Returns 0, CODEC_INVALID_SYMBOL for a symbol
/// without a code, or the status of a null out-parameter.
[[nodiscard]] std::int32_t codecACCode(std::uint32_t rs, std::uint32_t* code, std::uint32_t* length,
                                       const HuffmanCodeTable* table);

}  // namespace kesto
