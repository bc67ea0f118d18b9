// A strip's tag plane (TBRLE), decoded.
//
// A tag says what kind of object a pixel belongs to. A plane is packed four pixels to a byte, 2 bits each, the first
// pixel in the lowest bits, and then run-length coded:
//
//   00..7F   literals: this many plus 1 packed bytes follow as they are
//   80..FF   a run: bits 6-5 choose the byte 00, 55, AA or FF, bits 4-3 the unit 1, 8, 64 or 512, bits 2-0 the count
//            of units less 1
//   a block of one byte is no header: the whole plane is that byte, one of the four
//
// Stateless; nothing is held of the plane.
#pragma once

#include <array>
#include <cstdint>
#include <functional>

#include "kestojob/reader/bytesource.h"

namespace kesto::job {

/// Pixels by their 2-bit code: tag 4 at 0, tags 1 to 3 at their own number.
using TagCounts = std::array<std::uint64_t, 4>;

/// The tag that a 2-bit code stands for.
[[nodiscard]] constexpr unsigned tagOfCode(std::size_t code) {
  return code == 0 ? 4 : static_cast<unsigned>(code);
}

/// Takes `count` packed bytes of one value.
using TagRun = std::function<void(std::uint8_t packed, std::uint64_t count)>;

/// Decodes the block, which has to expand to exactly `packedBytes`; otherwise it is a Fault. Gives every run to `run`,
/// when there is one, and returns how many pixels have which tag.
TagCounts readTags(BlockReader& block, std::uint64_t packedBytes, const TagRun& run = {});

}  // namespace kesto::job
