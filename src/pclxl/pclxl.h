// Encoders of PCL XL elements (protocol class 2.1, low byte first).
//
// Each encoder hands one element to a byte sink: an operator, an attribute (type tag, value, 0xF8, id) or the length of
// an embedded data block. An element of fixed size goes in one call; arrays go as a header, one call for each element,
// and the attribute's id. Nothing is allocated. A null sink makes an encoder do nothing, and a sink's result is not
// looked at: the sink itself remembers that it failed.
//
// Stateless: the thread rule is the sink's.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace kesto {

/// A byte sink: takes bytes and their count, returns the count or -1.
using XLWriteFunction = std::int64_t (*)(const std::uint8_t*, std::uint32_t);

namespace detail {

/// The bytes of a text literal, without its NUL.
template <std::size_t N>
consteval std::array<std::uint8_t, N - 1> bytesOf(const char (&text)[N]) {
  std::array<std::uint8_t, N - 1> bytes{};
  std::ranges::transform(text, text + N - 1, bytes.begin(), [](char c) { return static_cast<std::uint8_t>(c); });
  return bytes;
}

}  // namespace detail

/// The stream header, ready for the sink: binding (")" for low byte first), stream type, class 2, revision 1, a comment
/// of 47 characters and a line feed.
inline constexpr std::array<std::uint8_t, 64> XL_STREAM_HEADER =
    detail::bytesOf(") HP-PCL XL;2;1;Comment made by pdftokesto for contone printers\n");

/// A whole Comment operator, ready for the sink: it announces the printer's own extensions.
inline constexpr std::array<std::uint8_t, 29> XL_COMMENT = detail::bytesOf(
    "\xC8\xC0\x17"
    "Corvane Enhanced XL=1.2"
    "\xF8\x81\x47");

/// Writes the operator `code`.
void outputOperator(XLWriteFunction write, std::uint8_t code);

/// Writes attribute `id` with a ubyte value.
void outputXLAttrByte(XLWriteFunction write, std::uint8_t id, std::uint8_t value);

/// Writes attribute `id` with a uint16 value.
void outputXLAttrUInt16(XLWriteFunction write, std::uint8_t id, std::uint16_t value);

/// Writes attribute `id` with a uint32 value.
void outputXLAttrUInt32(XLWriteFunction write, std::uint8_t id, std::uint32_t value);

/// Writes attribute `id` with a real32 value: the float's four bytes as they stand in memory, so that the caller
/// decides about their order.
void outputXLAttrReal32(XLWriteFunction write, std::uint8_t id, const float* value);

/// Writes attribute `id` with a pair of uint16, x first.
void outputXLAttrUInt16XY(XLWriteFunction write, std::uint8_t id, std::uint16_t x, std::uint16_t y);

/// Writes attribute `id` with a pair of sint16 in two's complement, x first.
void outputXLAttrSInt16XY(XLWriteFunction write, std::uint8_t id, std::int16_t x, std::int16_t y);

/// Writes attribute `id` with a pair of real32, x first, both as they stand in memory.
void outputXLAttrReal32XY(XLWriteFunction write, std::uint8_t id, const float* x, const float* y);

/// Writes attribute `id` with a ubyte_array.
void outputXLAttrByteArray(XLWriteFunction write, std::uint8_t id, const std::uint8_t* elements, std::uint16_t count);

/// Writes attribute `id` with a uint16_array.
void outputXLAttrUInt16Array(XLWriteFunction write, std::uint8_t id, const std::uint16_t* elements,
                             std::uint16_t count);

/// Writes attribute `id` with a sint16_array.
void outputXLAttrSInt16Array(XLWriteFunction write, std::uint8_t id, const std::int16_t* elements, std::uint16_t count);

/// Announces `length` bytes of embedded data, which the caller hands to the sink next.
void outputXLEmbedData(XLWriteFunction write, std::uint32_t length);

}  // namespace kesto
