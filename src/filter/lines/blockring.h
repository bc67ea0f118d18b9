// The job thread's side of imageLineBlockBuffer: line blocks are built where they will lie in the ring.
//
// One block in ten would cross the end of the ring's storage; it is built beside the ring and copied in. Job thread
// only.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "filter/lines/blocktaker.h"

namespace kesto {

class BlockRing : public BlockTaker {
 public:
  static constexpr std::uint32_t BLOCKS = 10;  ///< that the ring holds

  /// For blocks of `blockBytes` bytes. Ends the job when there is no memory.
  explicit BlockRing(std::uint32_t blockBytes);
  ~BlockRing() override;

  [[nodiscard]] bool hasRoom() const override;
  [[nodiscard]] std::span<std::uint8_t> place() override;

  /// Waits for room; ends the job when another thread fails.
  void send(std::span<const std::uint8_t> block) override;

 private:
  std::uint32_t blockBytes_;
  const std::uint8_t* reserved_ = nullptr;  ///< the last place, if it lies in the ring
  std::vector<std::uint8_t> beside_;
};

}  // namespace kesto
