// The receiver of line blocks from the page reader and the copy cache.
#pragma once

#include <cstdint>
#include <span>

namespace kesto {

class BlockTaker {
 public:
  BlockTaker() = default;
  BlockTaker(const BlockTaker&) = delete;
  BlockTaker& operator=(const BlockTaker&) = delete;
  virtual ~BlockTaker() = default;

  /// True when a block fits. It stays true until one is sent.
  [[nodiscard]] virtual bool hasRoom() const = 0;

  /// Memory in which to build the next block, when there is room for it; valid until a block is sent.
  [[nodiscard]] virtual std::span<std::uint8_t> place() = 0;

  /// Takes a block, built in `place` or elsewhere. May wait for room.
  virtual void send(std::span<const std::uint8_t> block) = 0;
};

}  // namespace kesto
