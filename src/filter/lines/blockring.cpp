#include "filter/lines/blockring.h"

#include <cerrno>

#include "filter/joberror.h"
#include "filter/jobstate.h"

namespace kesto {

BlockRing::BlockRing(std::uint32_t blockBytes) : blockBytes_(blockBytes), beside_(blockBytes) {
  if (!cbufferCreate(&imageLineBlockBuffer, BLOCKS * blockBytes)) failJobWithText({}, ENOMEM);
}

BlockRing::~BlockRing() {
  cbufferFree(&imageLineBlockBuffer);
}

bool BlockRing::hasRoom() const {
  return static_cast<std::uint32_t>(cbufferGetAvailableSpace(&imageLineBlockBuffer)) >= blockBytes_;
}

std::span<std::uint8_t> BlockRing::place() {
  std::uint8_t* const inRing = cbufferReserveBytes(&imageLineBlockBuffer, blockBytes_);
  reserved_ = inRing;
  return {inRing != nullptr ? inRing : beside_.data(), blockBytes_};
}

void BlockRing::send(std::span<const std::uint8_t> block) {
  const bool isInRing = block.data() == reserved_;
  reserved_ = nullptr;
  // The job thread is the ring's only writer, so room does not shrink while it waits.
  waitInJob([&] {
    return isInRing ? cbufferCommitBytes(&imageLineBlockBuffer, blockBytes_)
                    : cbufferWriteBytes(&imageLineBlockBuffer, block.data(), blockBytes_);
  });
}

}  // namespace kesto
