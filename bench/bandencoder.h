// A page through the band encoders, as the image thread takes it: 8 lines at a time, from pixel rows to band streams.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "codec/wicket.h"
#include "pages.h"

namespace kesto::bench {

class BandEncoder {
 public:
  explicit BandEncoder(std::size_t width);

  /// Encodes rows of RGB (`channels` 3) or grey pixels (1) and returns the length of all band streams.
  std::size_t encode(const Bytes& pixels, int channels);

  /// The two steps of a colour band by themselves: band `index` to planes, and planes to a stream of the returned
  /// length.
  void convert(const Bytes& rgb, std::size_t index);
  std::size_t compressColor(std::size_t index);

 private:
  std::size_t compressGrey(const std::uint8_t* rows, std::size_t index);
  void prepare(std::size_t index);

  std::size_t width_;
  std::size_t bandPixels_;
  std::unique_ptr<WicketSettings> settings_;
  std::unique_ptr<WicketCoder> coder_;
  Bytes y_, cb_, cr_, map_, stream_;
};

}  // namespace kesto::bench
