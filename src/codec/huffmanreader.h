// The reader of entropy-coded streams: the counterpart of the symbol writer, over the same code tables.
//
// It takes stuffed zeros out, stops before every marker, and notes the two quantiser markers. A caller decodes the
// symbols of a block and then asks checkForFlush whether the stream has a marker there. The reader uses the coder's
// tables, so `initialize` comes first. There is no inverse transform here: this is for inspecting streams.
// A coder, and so its reader, belongs to one thread at a time.
#pragma once

#include <cstdint>

#include "codec/huffman.h"

namespace kesto {

/// Starts reading `count` bytes at `data`, which have to outlive the reading. Returns 0 or CODEC_NULL_POINTER.
[[nodiscard]] std::int32_t decodeData(const std::uint8_t* data, std::uint32_t count, WicketCoder* coder);

/// Stores the next byte of entropy-coded data, without stuffing. Returns 0, or CODEC_INPUT_END at the end of the
/// data and before a marker; fill bytes FF in front of a marker are passed over, the marker itself is not.
[[nodiscard]] std::int32_t nextByte(std::uint8_t* byte, WicketCoder* coder);

/// Stores the next 16 bits without taking them, with ones for bits that lie behind the end of the data or behind a
/// marker. Returns 0, or CODEC_INPUT_END when no bit is left.
[[nodiscard]] std::int32_t getCode(std::uint32_t* code, WicketCoder* coder);

/// Takes `size` magnitude bits, at most 16, and stores the value that they stand for (T.81 F.2.2.1, EXTEND).
/// Returns 0, CODEC_BAD_SIZE or CODEC_INPUT_END.
[[nodiscard]] std::int32_t decodeVLI(std::uint32_t size, std::int32_t* value, WicketCoder* coder);

/// Take one symbol. An AC symbol of value 0 is EOB (run 0) or ZRL (run 15). Return 0, CODEC_INPUT_END, or
/// CODEC_NO_SUCH_CODE when the bits begin no code.
[[nodiscard]] std::int32_t decodeDCSymbol(std::int32_t* difference, bool isChroma, WicketCoder* coder);
[[nodiscard]] std::int32_t decodeACSymbol(std::uint32_t* run, std::int32_t* value, bool isChroma, WicketCoder* coder);

/// When nothing but filling ones lies before the next marker, drops them, steps over the marker and returns it
/// (0xFFD0 to 0xFFD7, 0xFF2B, 0xFF2C or any other marker that the data has); otherwise returns 0 and takes nothing.
/// Ask between blocks only: there no symbol can be mistaken for filling, since no code consists of ones alone.
[[nodiscard]] std::uint32_t checkForFlush(WicketCoder* coder);

/// Store the symbol that a 16-bit word begins with and the length of its code, building the table's decoding lookups
/// if they do not stand yet. Return 0, or CODEC_NO_SUCH_CODE.
[[nodiscard]] std::int32_t codecDecodeDCSymbol(std::uint32_t word, std::uint32_t* symbol, std::uint32_t* length,
                                               HuffmanCodeTable* table);
[[nodiscard]] std::int32_t codecDecodeACSymbol(std::uint32_t word, std::uint32_t* symbol, std::uint32_t* length,
                                               HuffmanCodeTable* table);

/// Drops the bits that were read ahead, steps over the marker at which reading stopped, if it did, and forgets which
/// quantiser markers came by: reading goes on at the next byte, as after a damaged interval.
void softReset(WicketCoder* coder);

/// The number of entropy-coded bits that symbols have taken since decodeData; stuffing, filling and markers do not
/// count.
[[nodiscard]] std::uint32_t decodeBitPosition(const WicketCoder* coder);

}  // namespace kesto
