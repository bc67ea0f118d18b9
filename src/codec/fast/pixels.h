// The colour conversion in vectors, with the equations that the plain way has.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

#include "codec/colorequations.h"
#include "codec/fast/lanes.h"

namespace kesto::fast {

/// Four pixels of each block: red and green in turn, and blue twice.
template <std::size_t BYTES>
struct Channels {
  Lanes<BYTES> redGreen, blueBlue;
};

/// Pixels from the first 12 of each block's 16 bytes.
template <std::size_t BYTES, std::size_t... I>
[[gnu::always_inline]] inline Channels<BYTES> loadChannels(const std::uint8_t* first, const std::uint8_t* second,
                                                           std::index_sequence<I...> /*bytes*/) {
  constexpr std::uint8_t PLACES[] = {0, 1, 3, 4, 6, 7, 9, 10, 2, 2, 5, 5, 8, 8, 11, 11};
  const auto pixels = as<Bytes<BYTES>>(loadWhole<BYTES>(first, second));
  const auto sorted = as<Lanes<BYTES>>(
      __builtin_shufflevector(pixels, pixels, (I / BLOCK_BYTES * BLOCK_BYTES + PLACES[I % BLOCK_BYTES])...));
  return {widenLow(sorted), widenHigh(sorted)};
}

/// One component of four times four pixels for each block.
template <Equation equation, std::size_t BYTES>
[[gnu::always_inline]] inline Bytes<BYTES> component(const Channels<BYTES>* channels) {
  Words<BYTES> words[4];
  for (int i = 0; i < 4; ++i) {
    const auto sum = multiplyPairs(channels[i].redGreen, factors<BYTES, equation.red, equation.green>()) +
                     multiplyPairs(channels[i].blueBlue, factors<BYTES, equation.blue, 0>());
    // What is added after the shift may as well be added before it, times 1024.
    words[i] = (sum + (128 + 1024 * equation.offset)) >> 10;
  }
  return narrow(narrow(words[0], words[1]), narrow(words[2], words[3]));
}

/// Converts pixels from the first on, as many at a time as a vector has bytes, and returns how many: what is loaded
/// goes beyond what is converted, but not beyond the last pixel. None where the processor may lack the instruction that
/// sorts the bytes, without which the plain loop is faster.
template <std::size_t BYTES>
std::size_t convertPixels(const std::uint8_t* rgb, std::size_t count, std::uint8_t* y, std::uint8_t* cb,
                          std::uint8_t* cr) {
#if defined(__x86_64__)
  if constexpr (BYTES == BLOCK_BYTES) return 0;
#endif
  constexpr std::size_t LOADED = BYTES + 2;
  std::size_t at = 0;
  for (; at + LOADED <= count; at += BYTES) {
    Channels<BYTES> channels[4];
    for (std::size_t i = 0; i < 4; ++i) {
      const std::uint8_t* const pixels = rgb + 3 * (at + 4 * i);
      channels[i] = loadChannels<BYTES>(pixels, pixels + 3 * BLOCK_BYTES, std::make_index_sequence<BYTES>());
    }
    const auto store = [at](std::uint8_t * plane, Bytes<BYTES> bytes) __attribute__((always_inline)) {
      __builtin_memcpy(plane + at, &bytes, BYTES);
    };
    store(y, component<LUMA>(channels));
    store(cb, component<BLUE_DIFFERENCE>(channels));
    store(cr, component<RED_DIFFERENCE>(channels));
  }
  return at;
}

}  // namespace kesto::fast
