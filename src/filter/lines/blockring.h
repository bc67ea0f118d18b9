// The job thread's side of imageLineBlockBuffer: line blocks are built where they will lie in the ring.
//
// A place that would cross the end of the ring's storage is none; such a block, one in ten, is built beside the ring
// and copied into it. Job thread only.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace kesto {

class BlockRing {
 public:
  static constexpr std::uint32_t BLOCKS = 10;  ///< that the ring holds

  /// For blocks of `blockBytes` bytes. Ends the job when there is no memory.
  explicit BlockRing(std::uint32_t blockBytes);
  BlockRing(const BlockRing&) = delete;
  BlockRing& operator=(const BlockRing&) = delete;
  ~BlockRing();

  /// True when a block fits. It then does until one is sent.
  [[nodiscard]] bool hasRoom() const;

  /// Memory to build the next block in, if there is room for it; good until a block is sent.
  [[nodiscard]] std::span<std::uint8_t> place();

  /// Sends a block, be it built in `place` or anywhere else. Waits for room; ends the job when another thread fails.
  void send(std::span<const std::uint8_t> block);

 private:
  std::uint32_t blockBytes_;
  const std::uint8_t* reserved_ = nullptr;  ///< the last place, if it lies in the ring
  std::vector<std::uint8_t> beside_;
};

}  // namespace kesto
