// A strict reading of a band's entropy-coded data (ITU-T T.81, F.2.2), symbol by symbol, without a picture.
//
// A picture decoder makes the best of damaged data: it supplies bits that are missing, passes over bytes that are too
// many and lets a run leave its block. Here the data have to be exactly the announced blocks and the padding of their
// last byte.
//
// It complements the picture decoder (decisions.md#read-twice). Constant after construction; any thread may use it.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "kestojob/reader/wicketcode.h"

namespace kesto::job {

class EntropyCheck {
 public:
  explicit EntropyCheck(const WicketTables& tables);

  /// Reads `units` units: of Y Y Cb Cr when `color` is set, of one Y otherwise. `data` holds no marker, and a 00 after
  /// each FF. Throws a Fault at the first thing wrong; `offset` is where in the job the data begin.
  void check(std::span<const std::uint8_t> data, unsigned units, bool color, std::uint64_t offset) const;

  /// No band of so many units has more bytes.
  [[nodiscard]] static std::size_t longestBand(unsigned units, bool color);

 private:
  /// Canonical codes (T.81 Annex C), short ones by their first bits, long ones by the last code of their length.
  class Table {
   public:
    explicit Table(const HuffmanSpec& spec);

    struct Code {
      std::uint8_t length = 0;  ///< 0: the bits begin no code
      std::uint8_t symbol = 0;
    };
    /// The code that the 16 bits begin with.
    [[nodiscard]] Code find(unsigned bits) const;

   private:
    static constexpr unsigned SHORT = 9;
    std::array<Code, 1U << SHORT> short_{};
    std::array<std::int32_t, 17> firstCode_{};   // of a length
    std::array<std::int32_t, 17> firstIndex_{};  // its symbol's place
    std::array<std::int32_t, 17> codes_{};       // how many
    std::array<std::uint8_t, 256> symbols_{};
  };
  class BitReader;

  void block(BitReader& bits, bool chroma) const;

  std::array<Table, 2> dc_;
  std::array<Table, 2> ac_;
};

}  // namespace kesto::job
