#include "codec/huffmancodec.h"

#include <algorithm>
#include <numeric>
#include <span>

namespace kesto {
namespace {

using CodeCounts = std::span<const std::uint32_t, CODE_LENGTHS>;

/// Walks the codes of code lists in order and hands (symbol's position, code, length) to `define`, which ends
/// the walk by returning a status other than 0.
template <class Define>
constexpr std::int32_t forEachCode(CodeCounts counts, Define define) {
  std::uint32_t code = 0;
  std::uint32_t position = 0;
  for (std::uint32_t length = 1; length <= CODE_LENGTHS; ++length) {
    for (std::uint32_t i = 0; i < counts[length - 1]; ++i) {
      const std::int32_t status = define(position, code, length);
      if (status != CODEC_OK) return status;
      ++code;
      ++position;
    }
    code <<= 1;
  }
  return CODEC_OK;
}

constexpr void defineCode(HuffmanCode& entry, std::uint32_t code, std::uint32_t length) {
  entry.code = code;
  entry.length = length;
  ++entry.count;
}

constexpr bool definedTwice(std::span<const HuffmanCode> codes) {
  return std::any_of(codes.begin(), codes.end(), [](const HuffmanCode& entry) { return entry.count > 1; });
}

/// How many codes the lists have.
constexpr std::uint64_t totalOf(CodeCounts counts) {
  return std::accumulate(counts.begin(), counts.end(), std::uint64_t{0});
}

/// More codes than there are words of the longest length: no list of symbols belongs to such counts.
constexpr bool isAbsurd(CodeCounts counts) {
  return totalOf(counts) > std::uint64_t{1} << CODE_LENGTHS;
}

constexpr std::int32_t generateDCCodes(CodeCounts counts, const std::uint32_t* symbols, HuffmanCodes& table) {
  if (isAbsurd(counts)) return CODEC_INVALID_SYMBOL;
  table.dcCodes.fill(HuffmanCode{});
  const std::int32_t status =
      forEachCode(counts, [&](std::uint32_t position, std::uint32_t code, std::uint32_t length) -> std::int32_t {
        const std::uint32_t symbol = symbols[position];
        if (symbol >= DC_SYMBOL_COUNT) return CODEC_DC_SYMBOL_RANGE;
        defineCode(table.dcCodes[symbol], code, length);
        return CODEC_OK;
      });
  if (status != CODEC_OK) return status;
  return definedTwice(std::span(table.dcCodes).first<BASELINE_DC_CODES>()) ? CODEC_INVALID_SYMBOL : CODEC_OK;
}

constexpr std::int32_t generateACCodes(CodeCounts counts, const std::uint32_t* symbols, HuffmanCodes& table) {
  if (isAbsurd(counts)) return CODEC_TOO_MANY_AC_CODES;
  table.acCodes.fill(HuffmanCode{});
  const std::int32_t status =
      forEachCode(counts, [&](std::uint32_t position, std::uint32_t code, std::uint32_t length) -> std::int32_t {
        const std::int32_t index = codecCodeIndex(symbols[position]);
        if (index < 0) return CODEC_INVALID_SYMBOL;
        defineCode(table.acCodes[static_cast<std::size_t>(index)], code, length);
        return CODEC_OK;
      });
  if (status != CODEC_OK) return status;
  if (totalOf(counts) > AC_SYMBOL_COUNT) return CODEC_TOO_MANY_AC_CODES;
  return definedTwice(table.acCodes) ? CODEC_INVALID_SYMBOL : CODEC_OK;
}

constexpr void recordACLengths(CodeCounts counts, HuffmanCodes& table) {
  std::uint32_t code = 0;
  std::uint32_t position = 0;
  for (std::size_t i = 0; i < CODE_LENGTHS; ++i) {
    table.acLengths[i] = {code, code + counts[i] - 1, position};
    code = (code + counts[i]) << 1;
    position += counts[i];
  }
}

constexpr std::int32_t generate(CodeCounts dcCounts, const std::uint32_t* dcSymbols, CodeCounts acCounts,
                                const std::uint32_t* acSymbols, HuffmanCodes& codes) {
  std::int32_t status = generateDCCodes(dcCounts, dcSymbols, codes);
  if (status == CODEC_OK) status = generateACCodes(acCounts, acSymbols, codes);
  if (status == CODEC_OK) recordACLengths(acCounts, codes);
  return status;
}

/// Code lists and what is generated from them. Every band begins with the two standard ones, whose codes would
/// otherwise take a tenth of its time.
struct MadeCodes {
  HuffmanLists lists;
  HuffmanCodes codes;

  constexpr explicit MadeCodes(const HuffmanLists& from) : lists(from) {
    generate(lists.dcCounts, lists.dcSymbols.data(), lists.acCounts, lists.acSymbols.data(), codes);
  }

  /// Whether these are the lists. Symbols are compared only where the counts are equal, so that they are there.
  [[nodiscard]] bool isMadeFrom(CodeCounts dcCounts, const std::uint32_t* dcSymbols, CodeCounts acCounts,
                                const std::uint32_t* acSymbols) const {
    return std::ranges::equal(dcCounts, lists.dcCounts) && std::ranges::equal(acCounts, lists.acCounts) &&
           std::equal(dcSymbols, dcSymbols + totalOf(dcCounts), lists.dcSymbols.begin()) &&
           std::equal(acSymbols, acSymbols + totalOf(acCounts), lists.acSymbols.begin());
  }
};
constexpr std::array STANDARD_CODES = {MadeCodes(LUMA_SPECIFICATION), MadeCodes(CHROMA_SPECIFICATION)};

std::int32_t checkLists(const std::uint32_t* dcCounts, const std::uint32_t* dcSymbols, const std::uint32_t* acCounts,
                        const std::uint32_t* acSymbols, const HuffmanCodeTable* table) {
  if (dcCounts == nullptr) return CODEC_NO_DC_COUNTS;
  if (acCounts == nullptr) return CODEC_NO_AC_COUNTS;
  if (acSymbols == nullptr) return CODEC_NO_AC_SYMBOLS;
  return dcSymbols == nullptr || table == nullptr ? CODEC_NULL_POINTER : CODEC_OK;
}

/// Fills the entries of a lookup that begin with `code`. Code lists with more codes than fit has codes beyond
/// the lookup's end: no word begins with those.
template <class Lookup, std::size_t Size>
void fillLookup(std::array<Lookup, Size>& lookup, std::uint32_t bits, const HuffmanCode& code, Lookup entry) {
  const std::size_t first = static_cast<std::size_t>(code.code) << (bits - code.length);
  const std::size_t end = first + (std::size_t{1} << (bits - code.length));
  if (end <= Size) std::fill(lookup.begin() + first, lookup.begin() + end, entry);
}

}  // namespace

std::int32_t codecGenerateCodes(const std::uint32_t* dcCounts, const std::uint32_t* dcSymbols,
                                const std::uint32_t* acCounts, const std::uint32_t* acSymbols,
                                HuffmanCodeTable* table) {
  const std::int32_t missing = checkLists(dcCounts, dcSymbols, acCounts, acSymbols, table);
  if (missing != CODEC_OK) return missing;
  table->generated = 0;
  table->lookupsBuilt = 0;
  const CodeCounts dc(dcCounts, CODE_LENGTHS);
  const CodeCounts ac(acCounts, CODE_LENGTHS);
  const std::int32_t status = generate(dc, dcSymbols, ac, acSymbols, *table);
  if (status != CODEC_OK) return status;
  table->generated = 1;
  return CODEC_OK;
}

std::int32_t codecInitialize(const std::uint32_t* dcCounts, const std::uint32_t* dcSymbols,
                             const std::uint32_t* acCounts, const std::uint32_t* acSymbols, HuffmanCodeTable* table) {
  const std::int32_t missing = checkLists(dcCounts, dcSymbols, acCounts, acSymbols, table);
  if (missing != CODEC_OK) return missing;
  for (const MadeCodes& made : STANDARD_CODES) {
    if (!made.isMadeFrom(CodeCounts(dcCounts, CODE_LENGTHS), dcSymbols, CodeCounts(acCounts, CODE_LENGTHS),
                         acSymbols)) {
      continue;
    }
    static_cast<HuffmanCodes&>(*table) = made.codes;
    table->generated = 1;
    table->lookupsBuilt = 0;
    return CODEC_OK;
  }
  return codecGenerateCodes(dcCounts, dcSymbols, acCounts, acSymbols, table);
}

void codecBuildLookups(HuffmanCodeTable* table) {
  if (table->generated == 0 || table->lookupsBuilt != 0) return;
  table->dcLookup.fill(NO_SHORT_DC_CODE);
  table->acLookup.fill(HuffmanLookup{});
  for (std::size_t symbol = 0; symbol < DC_SYMBOL_COUNT; ++symbol) {
    const HuffmanCode& code = table->dcCodes[symbol];
    if (code.count != 0 && code.length <= 8) {
      fillLookup(table->dcLookup, 8, code, static_cast<std::uint8_t>(symbol));
    }
  }
  for (std::size_t index = 0; index < AC_SYMBOL_COUNT; ++index) {
    const HuffmanCode& code = table->acCodes[index];
    const auto symbol = static_cast<std::uint32_t>(codecRSSymbol(static_cast<std::int32_t>(index)));
    if (code.count != 0) fillLookup(table->acLookup, 16, code, HuffmanLookup{symbol, code.length});
  }
  table->lookupsBuilt = 1;
}

std::int32_t codecDCCode(std::uint32_t size, std::uint32_t* code, std::uint32_t* length,
                         const HuffmanCodeTable* table) {
  if (code == nullptr) return CODEC_NO_CODE_POINTER;
  if (length == nullptr) return CODEC_NO_CODE_LENGTH_POINTER;
  if (size >= BASELINE_DC_CODES) return CODEC_DC_SIZE;
  const HuffmanCode& entry = table->dcCodes[size];
  if (entry.count == 0) return CODEC_INVALID_SYMBOL;
  *code = entry.code;
  *length = entry.length;
  return CODEC_OK;
}

std::int32_t codecACCode(std::uint32_t rs, std::uint32_t* code, std::uint32_t* length, const HuffmanCodeTable* table) {
  if (code == nullptr) return CODEC_NO_CODE_POINTER;
  if (length == nullptr) return CODEC_NO_CODE_LENGTH_POINTER;
  const std::int32_t index = codecCodeIndex(rs);
  if (index < 0) return CODEC_INVALID_SYMBOL;
  const HuffmanCode& entry = table->acCodes[static_cast<std::size_t>(index)];
  if (entry.count == 0) return CODEC_INVALID_SYMBOL;
  *code = entry.code;
  *length = entry.length;
  return CODEC_OK;
}

}  // namespace kesto
