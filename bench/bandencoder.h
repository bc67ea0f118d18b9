// A page through colour conversion and compress_and_send, as the image thread takes it, 8 lines at a time: the whole
// way from pixel rows in memory to what the printer gets, tags and operators included.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>

#include "codec/wicket.h"
#include "filter/strips/colorplanes.h"
#include "jobsettings/jobsettings.h"
#include "pages.h"

namespace kesto::bench {

/// Owns the process-wide job setting and output channel, so that there is one at a time. What comes out of the channel
/// goes through a pipe to nobody.
class BandEncoder {
 public:
  /// For lines of `width` pixels, in RGB (`channels` 3) or grey (1).
  BandEncoder(std::size_t width, int channels);
  BandEncoder(const BandEncoder&) = delete;
  BandEncoder& operator=(const BandEncoder&) = delete;
  ~BandEncoder();

  /// Encodes a page. On return all of it has been handed to the output channel.
  void encode(const Bytes& pixels);

  /// Waits until everything has left the channel.
  void finish();

  /// The steps of a colour band by themselves: the band of these rows to planes, and planes to the output channel.
  void convert(const std::uint8_t* rows);
  void compress(const std::uint8_t* rows, std::size_t band, bool isLast);

  [[nodiscard]] std::size_t bandBytes() const { return bandPixels_ * channels_; }

 private:
  std::size_t width_;
  std::size_t channels_;
  std::size_t bandPixels_;
  JobSetting setting_;
  std::unique_ptr<WicketSettings> settings_;
  std::unique_ptr<WicketCoder> coder_;
  ColorPlanes planes_;
  Bytes tags_;
  std::FILE* sink_ = nullptr;
};

}  // namespace kesto::bench
