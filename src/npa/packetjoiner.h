// Packets out of a stream that is cut anywhere.
//
// A back channel is a stream: the spooler's USB backend passes 512 bytes at a time on, whatever packets they hold. The
// reassembly wants whole packets, so the beginning of a packet waits here until the rest of it arrives.
//
// Lengths are not trusted: only a packet that fits the response buffer is waited for, and the owner drops it when the
// stream falls silent.
//
// decisions.md#joined-pieces has the reasons. Status thread only.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "npa/NPAValidator.h"

namespace kesto {

class PacketJoiner {
 public:
  static constexpr std::size_t LARGEST_PIECE = 8192;

  /// Where the next piece of the stream is to be written: LARGEST_PIECE bytes.
  [[nodiscard]] std::span<std::uint8_t, LARGEST_PIECE> next();

  /// Adds the `count` bytes that have been written to `next`, and returns what is whole: all bytes up to a packet
  /// whose end is missing. They stay until `next` is called.
  [[nodiscard]] std::span<const std::uint8_t> add(std::size_t count);

  /// Drops the beginning of a packet that waits for its end.
  void forget() { used_ = whole_ = 0; }

 private:
  std::array<std::uint8_t, VALID_BUFFER_SIZE + LARGEST_PIECE> bytes_ = {};
  std::size_t used_ = 0;   ///< bytes that are there
  std::size_t whole_ = 0;  ///< of them, those that the last `add` has returned
};

}  // namespace kesto
