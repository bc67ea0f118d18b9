// Pictures of bands, decoded by libjpeg-turbo.
//
// A band is the entropy-coded data of a JPEG image of 8 lines that has lost its headers. The decoder puts the headers
// back, one image a band: with the standard's Huffman tables and quantisers of 1 (the coder's transform and its flat
// quantiser have the gain of JPEG's own), or with the scaled quantisers. Whatever libjpeg complains about, warnings
// included, is an error here.
//
// One thread uses a decoder; it is used for band after band.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <stdexcept>
#include <vector>

#include "kestojob/reader/wicketcode.h"

namespace kesto::job {

inline constexpr unsigned BAND_LINES = 8;

/// Which pixels are wanted: grey bands give one byte a pixel, colour bands three.
struct PixelForm {
  unsigned divisor = 1;  ///< 1, 2, 4 or 8: the size is divided by it
  bool ycbcr = false;    ///< colour as Y, Cb and Cr as they were sent; else as RGB
};

/// What the bands of a strip have in common.
struct BandShape {
  unsigned width = 0;  ///< pixels, a multiple of 16
  bool color = false;
  bool scaled = false;  ///< with the scaled quantisers

  bool operator==(const BandShape&) const = default;
};

class BandDecoder {
 public:
  /// libjpeg's complaint about a band.
  class Error : public std::runtime_error {
   public:
    using std::runtime_error::runtime_error;
  };

  BandDecoder(const WicketTables& tables, PixelForm form);
  ~BandDecoder();
  BandDecoder(const BandDecoder&) = delete;
  BandDecoder& operator=(const BandDecoder&) = delete;

  /// Decodes one band. `data` is what stands before its restart marker. The pixels, rows of width / divisor, stay valid
  /// until the next call; a pair of chroma samples is repeated, not interpolated. Throws Error.
  std::span<const std::uint8_t> decode(const BandShape& shape, std::span<const std::uint8_t> data);

  /// Bytes of a row that `decode` gives.
  [[nodiscard]] std::size_t rowBytes(const BandShape& shape) const;

 private:
  struct Jpeg;

  void writeHeaders(const BandShape& shape);

  PixelForm form_;
  std::unique_ptr<Jpeg> jpeg_;
  BandShape shape_;
  std::vector<std::uint8_t> file_;  // headers, data and end of the image
  std::size_t headerSize_ = 0;
  std::vector<std::uint8_t> pixels_;
};

}  // namespace kesto::job
