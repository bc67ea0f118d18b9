// Pages to encode: six kinds, from white to a photograph sharp to the last pixel.
//
// They are computed, from integer hashes on, so that everybody measures the same pixels. How much is on them was chosen
// by the speed at which libjpeg-turbo encodes them, which is the measure of how much work a page is.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace kesto::bench {

/// A Letter page at 600 dpi within the printer's margins, in whole blocks: 33.6 megapixels.
inline constexpr std::size_t PAGE_WIDTH = 5104;
inline constexpr std::size_t PAGE_HEIGHT = 6592;
inline constexpr std::size_t PAGE_PIXELS = PAGE_WIDTH * PAGE_HEIGHT;

using Bytes = std::vector<std::uint8_t>;

enum class PageKind : std::uint8_t { WHITE, TEXT, TEXT_AND_PICTURE, ENLARGED, GRAIN, NATIVE };

struct NamedPageKind {
  PageKind kind;
  const char* name;
};
inline constexpr std::array PAGE_KINDS{
    NamedPageKind{PageKind::WHITE, "white page"},
    NamedPageKind{PageKind::TEXT, "text"},
    NamedPageKind{PageKind::TEXT_AND_PICTURE, "text and picture"},
    NamedPageKind{PageKind::ENLARGED, "photograph, enlarged"},
    NamedPageKind{PageKind::GRAIN, "photograph with grain"},
    NamedPageKind{PageKind::NATIVE, "photograph, native detail"},
};

/// The page in RGB, row by row without gaps; the same bytes every time.
[[nodiscard]] Bytes makePage(PageKind kind);

/// A `width` x `height` photograph in RGB, of the kind that an enlarged one is made from.
[[nodiscard]] Bytes makePhotograph(std::size_t width, std::size_t height);

/// Grey for each RGB pixel, by the weights of ITU-R BT.601.
[[nodiscard]] Bytes toGrey(const Bytes& rgb);

}  // namespace kesto::bench
