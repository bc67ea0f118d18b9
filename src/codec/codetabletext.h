// Prints Huffman code tables as text, for people who compare streams by hand.
//
// One line per code: the symbol, its length in bits and its bits. Nothing in compression uses it, and it has no
// state, so any thread may call it.
#pragma once

#include <ostream>

#include "codec/huffman.h"

namespace kesto {

/// Prints the codes of one table: "DC <size> <length> <bits>", then "AC <run>/<size> <length> <bits>", by symbol.
/// Symbols without a code have no line.
void codec_WriteTable(std::ostream& out, const HuffmanCodeTable* table);

/// Writes both tables of the coder to the file `path`, each under a heading line. Returns false when the file could
/// not be written whole.
[[nodiscard]] bool writeTables(const char* path, const WicketCoder* coder);

}  // namespace kesto
