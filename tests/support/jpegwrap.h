// An independent decoder for Wicket streams: libjpeg, given the headers that the streams leave out.
//
// A stream whose blocks all use the flat quantiser 8 is baseline JPEG data with quantisation tables of ones, because
// 8 is the gain of the transform. The tables in the headers are written out here a second time, as JPEG files have
// them, so that a slip in the coder's tables shows up as data that does not decode.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace kesto::test {

/// Pixels row by row, `components` bytes each: grey, or Y, Cb and Cr.
struct DecodedImage {
  int width = 0;
  int height = 0;
  int components = 0;
  long warnings = 0;  // complaints of the decoder about damaged data
  std::vector<std::uint8_t> pixels;
};

/// A JPEG file of a strip's Wicket data: 4:2:2 colour or grey, with `restartIntervalMcus` units between the restart
/// markers. Takes the quantiser markers and their fill bytes out, and the restart marker after the last unit.
[[nodiscard]] std::vector<std::uint8_t> wrapAsJpeg(std::span<const std::uint8_t> wicket, int width, int height,
                                                   bool color, int restartIntervalMcus);

/// Decodes a JPEG file without colour conversion; chroma samples are repeated, not interpolated. Throws
/// std::runtime_error when the file cannot be decoded at all.
[[nodiscard]] DecodedImage decodeJpeg(std::span<const std::uint8_t> jpeg);

/// The peak signal-to-noise ratio of two planes in dB; infinite when they are equal.
[[nodiscard]] double psnr(std::span<const std::uint8_t> a, std::span<const std::uint8_t> b);

/// One component of an image as a plane.
[[nodiscard]] std::vector<std::uint8_t> componentOf(const DecodedImage& image, int component);

}  // namespace kesto::test
