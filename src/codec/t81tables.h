// The tables of ITU-T T.81 that the codec codes with: quantisers, zigzag order and Huffman code lists.
//
// All entries are 32-bit, as the rest of the codec takes them. The checks at the end pin what a slip of a digit would
// break: the sums of the quantisers, the zigzag order being a permutation, every symbol listed exactly once, and
// codes that leave the all-ones word free. The tables are constants, so any thread may use them.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace kesto {

inline constexpr std::size_t BLOCK_SIZE = 64;         // coefficients in a block
inline constexpr std::size_t CODE_LENGTHS = 16;       // Huffman code lengths 1 to 16
inline constexpr std::size_t DC_SYMBOL_COUNT = 16;    // DC symbols 0 to 15, of which baseline coding uses 0 to 11
inline constexpr std::size_t BASELINE_DC_CODES = 12;  // DC codes of the standard tables
inline constexpr std::size_t AC_SYMBOL_COUNT = 162;   // EOB, ZRL, and runs 0 to 15 of sizes 1 to 10

/// Luminance quantisers in natural (row by row) order: T.81 Table K.1.
inline constexpr std::array<std::int32_t, BLOCK_SIZE> S_aiLumStdQuantTable = {16, 11, 10, 16, 24,  40,  51,  61,   //
                                                                              12, 12, 14, 19, 26,  58,  60,  55,   //
                                                                              14, 13, 16, 24, 40,  57,  69,  56,   //
                                                                              14, 17, 22, 29, 51,  87,  80,  62,   //
                                                                              18, 22, 37, 56, 68,  109, 103, 77,   //
                                                                              24, 35, 55, 64, 81,  104, 113, 92,   //
                                                                              49, 64, 78, 87, 103, 121, 120, 101,  //
                                                                              72, 92, 95, 98, 112, 100, 103, 99};

/// Chrominance quantisers in natural order: T.81 Table K.2.
inline constexpr std::array<std::int32_t, BLOCK_SIZE> S_aiChromStdQuantTable = {17, 18, 24, 47, 99, 99, 99, 99,  //
                                                                                18, 21, 26, 66, 99, 99, 99, 99,  //
                                                                                24, 26, 56, 99, 99, 99, 99, 99,  //
                                                                                47, 66, 99, 99, 99, 99, 99, 99,  //
                                                                                99, 99, 99, 99, 99, 99, 99, 99,  //
                                                                                99, 99, 99, 99, 99, 99, 99, 99,  //
                                                                                99, 99, 99, 99, 99, 99, 99, 99,  //
                                                                                99, 99, 99, 99, 99, 99, 99, 99};

/// The natural index (row x 8 + column) of the coefficient at each zigzag position: T.81 Figure 5.
inline constexpr std::array<std::int32_t, BLOCK_SIZE> s_aiZigZagSequence = {0,  1,  8,  16, 9,  2,  3,  10,  //
                                                                            17, 24, 32, 25, 18, 11, 4,  5,   //
                                                                            12, 19, 26, 33, 40, 48, 41, 34,  //
                                                                            27, 20, 13, 6,  7,  14, 21, 28,  //
                                                                            35, 42, 49, 56, 57, 50, 43, 36,  //
                                                                            29, 22, 15, 23, 30, 37, 44, 51,  //
                                                                            58, 59, 52, 45, 38, 31, 39, 46,  //
                                                                            53, 60, 61, 54, 47, 55, 62, 63};

/// Luminance DC codes per length and their symbols: T.81 Table K.3. Symbols 12 to 15 have no code.
inline constexpr std::array<std::uint32_t, CODE_LENGTHS> huffmanLuminanceDCCodes = {0, 1, 5, 1, 1, 1, 1, 1,
                                                                                    1, 0, 0, 0, 0, 0, 0, 0};
inline constexpr std::array<std::uint32_t, DC_SYMBOL_COUNT> huffmanLuminanceDCCategory = {0, 1, 2,  3,  4,  5,  6,  7,
                                                                                          8, 9, 10, 11, 12, 13, 14, 15};

/// Chrominance DC codes per length and their symbols: T.81 Table K.4. Symbols 12 to 15 have no code.
inline constexpr std::array<std::uint32_t, CODE_LENGTHS> huffmanChromDCCodes = {0, 3, 1, 1, 1, 1, 1, 1,
                                                                                1, 1, 1, 0, 0, 0, 0, 0};
inline constexpr std::array<std::uint32_t, DC_SYMBOL_COUNT> huffmanChromDCCategory = {0, 1, 2,  3,  4,  5,  6,  7,
                                                                                      8, 9, 10, 11, 12, 13, 14, 15};

/// Luminance AC codes per length and their run/size symbols: T.81 Table K.5.
inline constexpr std::array<std::uint32_t, CODE_LENGTHS> huffmanLuminanceACCodes = {0, 2, 1, 3, 3, 2, 4, 3,
                                                                                    5, 5, 4, 4, 0, 0, 1, 125};
inline constexpr std::array<std::uint32_t, AC_SYMBOL_COUNT> huffmanLuminanceRSValues = {
    0x01, 0x02, 0x03, 0x00, 0x04, 0x11, 0x05, 0x12, 0x21, 0x31, 0x41, 0x06, 0x13, 0x51, 0x61, 0x07, 0x22, 0x71,
    0x14, 0x32, 0x81, 0x91, 0xA1, 0x08, 0x23, 0x42, 0xB1, 0xC1, 0x15, 0x52, 0xD1, 0xF0, 0x24, 0x33, 0x62, 0x72,
    0x82, 0x09, 0x0A, 0x16, 0x17, 0x18, 0x19, 0x1A, 0x25, 0x26, 0x27, 0x28, 0x29, 0x2A, 0x34, 0x35, 0x36, 0x37,
    0x38, 0x39, 0x3A, 0x43, 0x44, 0x45, 0x46, 0x47, 0x48, 0x49, 0x4A, 0x53, 0x54, 0x55, 0x56, 0x57, 0x58, 0x59,
    0x5A, 0x63, 0x64, 0x65, 0x66, 0x67, 0x68, 0x69, 0x6A, 0x73, 0x74, 0x75, 0x76, 0x77, 0x78, 0x79, 0x7A, 0x83,
    0x84, 0x85, 0x86, 0x87, 0x88, 0x89, 0x8A, 0x92, 0x93, 0x94, 0x95, 0x96, 0x97, 0x98, 0x99, 0x9A, 0xA2, 0xA3,
    0xA4, 0xA5, 0xA6, 0xA7, 0xA8, 0xA9, 0xAA, 0xB2, 0xB3, 0xB4, 0xB5, 0xB6, 0xB7, 0xB8, 0xB9, 0xBA, 0xC2, 0xC3,
    0xC4, 0xC5, 0xC6, 0xC7, 0xC8, 0xC9, 0xCA, 0xD2, 0xD3, 0xD4, 0xD5, 0xD6, 0xD7, 0xD8, 0xD9, 0xDA, 0xE1, 0xE2,
    0xE3, 0xE4, 0xE5, 0xE6, 0xE7, 0xE8, 0xE9, 0xEA, 0xF1, 0xF2, 0xF3, 0xF4, 0xF5, 0xF6, 0xF7, 0xF8, 0xF9, 0xFA};

/// Chrominance AC codes per length and their run/size symbols: T.81 Table K.6.
inline constexpr std::array<std::uint32_t, CODE_LENGTHS> huffmanChromACCodes = {0, 2, 1, 2, 4, 4, 3, 4,
                                                                                7, 5, 4, 4, 0, 1, 2, 119};
inline constexpr std::array<std::uint32_t, AC_SYMBOL_COUNT> huffmanChromRSValues = {
    0x00, 0x01, 0x02, 0x03, 0x11, 0x04, 0x05, 0x21, 0x31, 0x06, 0x12, 0x41, 0x51, 0x07, 0x61, 0x71, 0x13, 0x22,
    0x32, 0x81, 0x08, 0x14, 0x42, 0x91, 0xA1, 0xB1, 0xC1, 0x09, 0x23, 0x33, 0x52, 0xF0, 0x15, 0x62, 0x72, 0xD1,
    0x0A, 0x16, 0x24, 0x34, 0xE1, 0x25, 0xF1, 0x17, 0x18, 0x19, 0x1A, 0x26, 0x27, 0x28, 0x29, 0x2A, 0x35, 0x36,
    0x37, 0x38, 0x39, 0x3A, 0x43, 0x44, 0x45, 0x46, 0x47, 0x48, 0x49, 0x4A, 0x53, 0x54, 0x55, 0x56, 0x57, 0x58,
    0x59, 0x5A, 0x63, 0x64, 0x65, 0x66, 0x67, 0x68, 0x69, 0x6A, 0x73, 0x74, 0x75, 0x76, 0x77, 0x78, 0x79, 0x7A,
    0x82, 0x83, 0x84, 0x85, 0x86, 0x87, 0x88, 0x89, 0x8A, 0x92, 0x93, 0x94, 0x95, 0x96, 0x97, 0x98, 0x99, 0x9A,
    0xA2, 0xA3, 0xA4, 0xA5, 0xA6, 0xA7, 0xA8, 0xA9, 0xAA, 0xB2, 0xB3, 0xB4, 0xB5, 0xB6, 0xB7, 0xB8, 0xB9, 0xBA,
    0xC2, 0xC3, 0xC4, 0xC5, 0xC6, 0xC7, 0xC8, 0xC9, 0xCA, 0xD2, 0xD3, 0xD4, 0xD5, 0xD6, 0xD7, 0xD8, 0xD9, 0xDA,
    0xE2, 0xE3, 0xE4, 0xE5, 0xE6, 0xE7, 0xE8, 0xE9, 0xEA, 0xF2, 0xF3, 0xF4, 0xF5, 0xF6, 0xF7, 0xF8, 0xF9, 0xFA};

namespace t81check {

template <class Table>
constexpr std::int64_t sum(const Table& table) {
  std::int64_t total = 0;
  for (const auto entry : table) total += entry;
  return total;
}

/// True when all entries differ and lie in 0 to 255.
template <class Table>
constexpr bool allDifferent(const Table& table) {
  std::array<bool, 256> seen{};
  for (const auto entry : table) {
    const auto index = static_cast<std::size_t>(entry);
    if (index >= seen.size() || seen[index]) return false;
    seen[index] = true;
  }
  return true;
}

/// The part of the code space of 16-bit words that the codes take up. T.81 leaves the word of ones alone free, so
/// that padding with ones never reads as a code.
constexpr std::uint32_t takenWords(const std::array<std::uint32_t, CODE_LENGTHS>& counts) {
  std::uint32_t taken = 0;
  for (std::size_t length = 1; length <= CODE_LENGTHS; ++length) {
    taken += counts[length - 1] << (CODE_LENGTHS - length);
  }
  return taken;
}

/// True when every step along the scan goes to a neighbour, as a zigzag does.
constexpr bool stepsToNeighbours(const std::array<std::int32_t, BLOCK_SIZE>& scan) {
  for (std::size_t k = 1; k < scan.size(); ++k) {
    const std::int32_t rows = scan[k] / 8 - scan[k - 1] / 8;
    const std::int32_t columns = scan[k] % 8 - scan[k - 1] % 8;
    if (rows < -1 || rows > 1 || columns < -1 || columns > 1) return false;
  }
  return true;
}

static_assert(sum(S_aiLumStdQuantTable) == 3688 && sum(S_aiChromStdQuantTable) == 5505);
static_assert(allDifferent(s_aiZigZagSequence) && stepsToNeighbours(s_aiZigZagSequence));
static_assert(s_aiZigZagSequence[2] == 8 && s_aiZigZagSequence[62] == 62 && s_aiZigZagSequence[63] == 63);
static_assert(allDifferent(huffmanLuminanceRSValues) && allDifferent(huffmanChromRSValues));
static_assert(sum(huffmanLuminanceRSValues) == sum(huffmanChromRSValues));
static_assert(sum(huffmanLuminanceACCodes) == AC_SYMBOL_COUNT && sum(huffmanChromACCodes) == AC_SYMBOL_COUNT);
static_assert(sum(huffmanLuminanceDCCodes) == BASELINE_DC_CODES && sum(huffmanChromDCCodes) == BASELINE_DC_CODES);
static_assert(takenWords(huffmanLuminanceACCodes) == 65535 && takenWords(huffmanChromACCodes) == 65535);
static_assert(takenWords(huffmanLuminanceDCCodes) == 65408 && takenWords(huffmanChromDCCodes) == 65504);

}  // namespace t81check

}  // namespace kesto
