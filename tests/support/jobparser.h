// Takes a printer job apart, strictly: what does not belong to a job as the printer takes it throws std::runtime_error
// with the offset. Written from the format, not from the encoder.
#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <vector>

namespace kesto::test {

using Bytes = std::vector<std::uint8_t>;

/// An attribute's value as it stands in the stream, its type tag included.
struct Value {
  std::uint8_t tag = 0;
  Bytes bytes;

  [[nodiscard]] std::uint32_t number() const;  ///< ubyte, uint16
  [[nodiscard]] int x() const;                 ///< the pairs of 16-bit numbers
  [[nodiscard]] int y() const;
  [[nodiscard]] std::string text() const;     ///< ubyte_array
  [[nodiscard]] float real(int index) const;  ///< real32_xy
};

/// An operator with its attributes by id, and the data block that follows a ReadImage.
struct Element {
  std::size_t offset = 0;
  std::uint8_t code = 0;
  std::map<std::uint8_t, Value> attributes;
  std::vector<std::uint8_t> order;  ///< attribute ids as they came
  Bytes data;
};

struct Strip {
  unsigned firstLine = 0, width = 0, height = 0;
  Bytes wicket;
  Bytes tags;
};

struct Page {
  std::map<std::uint8_t, Value> setup;  ///< attributes of all operators from BeginPage to the first strip
  std::vector<Strip> strips;

  [[nodiscard]] unsigned height() const;
};

struct Job {
  std::vector<std::string> pjl;   ///< header lines, without line feeds
  std::string streamHeader;       ///< 64 bytes
  std::vector<Element> elements;  ///< every PCL XL operator
  std::vector<Page> pages;
};

/// Takes the job apart and checks its structure: header lines, stream header, session, pages whose strips tile them
/// from the first line on, session end, end of job, and not a byte more.
[[nodiscard]] Job parseJob(std::span<const std::uint8_t> bytes);

/// The page's luma rows (grey jobs: its grey rows) as an independent decoder sees them, `width` bytes a row.
[[nodiscard]] Bytes decodeLuma(const Page& page, bool color);

/// The page's rows as RGB.
[[nodiscard]] Bytes decodeRgb(const Page& page);

}  // namespace kesto::test
