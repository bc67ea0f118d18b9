#include "filter/strips/tagplane.h"

#include <array>
#include <cstddef>

#include "base/uniform.h"
#include "codec/tbrle.h"

namespace kesto {

void TagPlane::append(std::span<const std::uint8_t> tags) {
  if (size_ == 0) value_ = tags.front();
  if (!tags_.empty() || !isUniform(tags, value_)) {
    if (tags_.empty()) tags_.assign(size_, value_);
    tags_.insert(tags_.end(), tags.begin(), tags.end());
  }
  size_ += static_cast<std::uint32_t>(tags.size());
}

std::span<const std::uint8_t> TagPlane::encode() {
  std::array<std::uint8_t, 4> sample;
  sample.fill(value_);
  const std::span<const std::uint8_t> plane = tags_.empty() ? std::span<const std::uint8_t>(sample) : tags_;
  stream_.resize(2 * plane.size());
  const std::uint32_t length = tbrle_encode(static_cast<std::uint32_t>(stream_.size()), stream_.data(),
                                            static_cast<std::uint32_t>(plane.size()), plane.data());
  return std::span(stream_).first(length);
}

void TagPlane::clear() {
  size_ = 0;
  tags_.clear();
}

}  // namespace kesto
