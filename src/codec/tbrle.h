// TBRLE: run-length coding of a page's tag plane.
//
// A tag plane holds one tag per pixel, 0 to 4. Tags 1 to 4 have 2-bit codes; tag 0 means that any code will do and
// takes that of the tag before it. Four codes are packed into a byte, the first tag lowest, and the packed bytes are
// written as
//   stream  = byte                  every packed byte of the plane is this byte
//           | { literal | run }
//   literal = 0x00..0x7F bytes      the next value + 1 bytes are packed bytes
//   run     = 1 pp ss kkk           (k + 1) times 1, 8, 64 or 512 (s) copies of 0x00, 0x55, 0xAA or 0xFF (p)
// Runs are formed of those four packed bytes only, in which all four codes agree. Neighbouring run bytes of one
// pattern add up.
//
// Nothing is allocated and nothing is kept between calls, so any thread may call.
#pragma once

#include <cstdint>

namespace kesto {

/// Encodes the `length` tags at `in` into at most `capacity` bytes at `out`, and returns the bytes written.
///
/// Returns 0, with `out` undefined, when the stream does not fit, a pointer is null, a tag is above 4, or `length` is 0
/// or not a multiple of 4. A capacity of twice the length always suffices. A plane of a single pattern gives one byte.
std::uint32_t tbrle_encode(std::uint32_t capacity, std::uint8_t* out, std::uint32_t length, const std::uint8_t* in);

/// Expands the stream of `inLength` bytes at `in` into packed bytes (four tags each) in lines of `lineWidth` bytes,
/// which start `stride` bytes apart; bytes between the lines are left alone. A stream of one byte fills all `outSize`
/// bytes of `out` with it.
///
/// Returns the distance from `out` to the end of what was written. Returns 0, with `out` undefined, when a run or a
/// literal leads past `outSize`, the stream is empty or ends inside a literal, a pointer is null, `lineWidth` is 0 or
/// `stride` is less than `lineWidth`. The stream may be anything: nothing is read or written outside the buffers.
std::uint32_t tbrle_decode(std::uint32_t outSize, std::uint8_t* out, std::uint32_t inLength, const std::uint8_t* in,
                           std::uint32_t lineWidth, std::uint32_t stride);

/// Writes the run bytes for `count` packed bytes of the pattern `patternIndex` (0 to 3 for 0x00, 0x55, 0xAA, 0xFF) to
/// `outPointer`, largest unit first, and returns how many they are.
///
/// Returns 0, with nothing written, when they do not fit `room` bytes, `count` is 0 or the index is above 3.
std::uint32_t encode_pattern(std::uint8_t* outPointer, std::uint32_t room, std::uint32_t patternIndex,
                             std::uint32_t count);

/// Writes `length` bytes to a new or emptied file, to be looked at with other tools. Returns whether all went well.
// The underscores mark an aid for debugging, which no job calls.
// NOLINTNEXTLINE(bugprone-reserved-identifier)
bool __dump_data(const char* fileName, const std::uint8_t* data, std::uint32_t length);

}  // namespace kesto
