// The planes of a band on their way to coefficients, for the plane drivers.
//
// A Band is the shape that a caller claims, a Plane one component of it with its place in working storage. The maps
// are copies of the caller's block map, joined where luma blocks share a chroma block.
// No state of their own; a band's planes belong to the thread that compresses it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "codec/wicketsettings.h"

namespace kesto {

inline constexpr std::int32_t BLOCK_SIDE = 8;

/// The shape of a band in pixels and in luma blocks.
struct Band {
  std::int32_t width;
  std::int32_t pixels;
  std::int32_t blockCount;

  [[nodiscard]] std::int32_t lines() const { return pixels / width; }
  [[nodiscard]] std::int32_t blocksPerRow() const { return width / BLOCK_SIDE; }
  /// The rows of blocks that are coded; the map may cover fewer than the pixels have.
  [[nodiscard]] std::int32_t blockRows() const { return blockCount / blocksPerRow(); }
};

/// True when a band has at least one block, and its map no more bytes than it has blocks. This is what keeps the
/// drivers inside of the caller's buffers.
[[nodiscard]] bool isBand(const Band& band);

/// True when the width and the number of lines are whole multiples of the two arguments.
[[nodiscard]] bool isMultiple(const Band& band, std::int32_t widthMultiple, std::int32_t lineMultiple);

/// The luma and chroma maps of a band, one byte for each block of the plane; blocks beyond the caller's map are
/// skipped.
struct BlockMaps {
  std::unique_ptr<std::uint8_t[]> luma;
  std::unique_ptr<std::uint8_t[]> chroma;

  /// Returns false when there is no memory.
  [[nodiscard]] bool allocate(const Band& band);

  /// Fills both maps. The OR of the bytes of luma blocks that share a chroma block goes to that chroma block and back
  /// to each of them, so that all of them are transformed and quantised alike.
  void build(const Band& band, const std::uint8_t* map, const ChromaSampling& sampling);
};

/// Working storage for one plane, uninitialised; null when there is no memory.
[[nodiscard]] std::unique_ptr<std::int32_t[]> allocateSamples(const Band& band);

struct Plane {
  std::uint32_t index;             // 0 is Y, 1 is Cb, 2 is Cr
  const std::uint8_t* source;      // band.pixels bytes
  const std::uint8_t* map;         // one byte per block
  const ChromaSampling* sampling;  // 4:4:4 for Y
  std::int32_t width;              // after sampling
  std::int32_t height;
  std::int32_t* coefficients;  // room for band.pixels

  [[nodiscard]] bool isChroma() const { return index != 0; }
};

/// Describes a plane. `sampling` is that of the chroma planes; maps and coefficients have to outlive the result.
[[nodiscard]] Plane makePlane(std::uint32_t index, const std::uint8_t* source, const Band& band, const BlockMaps& maps,
                              const ChromaSampling& sampling, std::int32_t* coefficients);

/// Turns the bytes of a plane into quantised coefficients and makes its scan table stand. Returns 0 or the status of
/// the step that refused.
[[nodiscard]] std::int32_t transformPlane(const Plane& plane, const Band& band, WicketSettings* settings);

}  // namespace kesto
