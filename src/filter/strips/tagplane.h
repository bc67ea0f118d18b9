// The tag plane of the strip being gathered.
//
// As long as all tags have the same value, as on most pages, only the value and the count are kept. The stream is the
// same: TBRLE codes a plane of one tag as one byte, whatever its length. Image thread only.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace kesto {

class TagPlane {
 public:
  /// Adds a band's tags, a multiple of 4 and at least 4 of them. Throws std::bad_alloc.
  void append(std::span<const std::uint8_t> tags);

  /// The plane's TBRLE stream, empty when a tag is not one. It stays until the next call. Throws std::bad_alloc.
  [[nodiscard]] std::span<const std::uint8_t> encode();

  /// How many tags the plane has.
  [[nodiscard]] std::uint32_t size() const { return size_; }

  /// Forgets the tags.
  void clear();

 private:
  std::uint32_t size_ = 0;
  std::uint8_t value_ = 0;            ///< of the first tag
  std::vector<std::uint8_t> tags_;    ///< all tags; empty while they are one value
  std::vector<std::uint8_t> stream_;  ///< work space
};

}  // namespace kesto
