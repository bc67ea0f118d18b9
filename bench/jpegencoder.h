// libjpeg-turbo as the yardstick: the same work as the band encoder's, by the library's own compressor.
#pragma once

#include <cstddef>
#include <memory>

#include "pages.h"

namespace kesto::bench {

/// Baseline JPEG with the accurate integer DCT, quantisation tables of ones, the standard's Huffman tables, 4:2:2 for
/// colour, and a restart marker behind every 8 rows of pixels.
class JpegEncoder {
 public:
  JpegEncoder();
  JpegEncoder(const JpegEncoder&) = delete;
  JpegEncoder& operator=(const JpegEncoder&) = delete;
  ~JpegEncoder();

  /// Encodes rows of RGB (`channels` 3) or grey pixels (1) and returns the length of the stream, which is dropped.
  std::size_t encode(const Bytes& pixels, std::size_t width, int channels);

  /// The same with a quality of 1 to 100 in place of tables of ones, and the stream itself.
  [[nodiscard]] Bytes encodeFile(const Bytes& rgb, std::size_t width, int quality);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace kesto::bench
