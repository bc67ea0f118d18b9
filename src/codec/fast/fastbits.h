// The bit writer of the fast band path: whole bytes go into a small chunk first, and from there, stuffed, to the
// output.
//
// A put has no branch: it stores eight bytes whatever is pending and moves on by as many as are complete. A branch that
// is taken once in eight bytes or so cannot be predicted and would cost more than all the rest of a put.
// A writer belongs to one thread; keep it in a local variable, so that its fields stay in registers.
#pragma once

#if defined(__x86_64__)

#include <cstddef>
#include <cstdint>

namespace kesto::fast {

inline constexpr std::uint32_t MAX_PUT = 56;  // bits

/// Bits to be put: the low `length` ones of `value`.
struct BitString {
  std::uint64_t value;
  std::uint32_t length;

  [[gnu::always_inline]] BitString operator+(const BitString& next) const {
    return {value << next.length | next.value, length + next.length};
  }
};

struct ChunkWriter {
  std::uint8_t* at;         // where the next byte goes; eight bytes from here on are overwritten at will
  std::uint64_t bits = 0;   // pending bits, the oldest at bit 63
  std::uint32_t count = 0;  // how many, 0 to 7 between puts

  /// Appends 1 to 56 bits.
  [[gnu::always_inline]] void put(const BitString& string) {
    count += string.length;                       // 1 to 63
    bits |= string.value << ((0U - count) & 63);  // by 64 - count
    const std::uint64_t oldestFirst = __builtin_bswap64(bits);
    __builtin_memcpy(at, &oldestFirst, sizeof oldestFirst);
    at += count / 8;
    bits <<= count & 56;
    count &= 7;
  }
};

}  // namespace kesto::fast

#endif
