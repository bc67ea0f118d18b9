// The answer to an OIR request.
//
//   answer = A5 length (2 bytes) flags class command count, entries
//   entry  = component, one byte that is not examined, condition, entry length (these four bytes included), more
//
// An entry that is shorter than its four bytes or runs past what was received ends the list; the entries before it
// count. The object belongs to one thread and owns the texts that it hands out.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace kesto {

/// One entry: its first four bytes, and the whole entry, which starts with them again.
struct OIREntry {
  std::array<std::uint8_t, 4> header{};
  std::array<std::uint8_t, 255> bytes{};
};
static_assert(sizeof(OIREntry) == 259, "an entry's length is one byte, so every entry fits");

class OIRCommandResp {
 public:
  /// Takes an answer of `length` bytes in and forgets the one before.
  ///
  /// 1 with the number of entries in `count`; -1 with 0 when the answer is seven bytes or fewer or does not start with
  /// A5.
  [[nodiscard]] std::int32_t ParseOIRResponse(unsigned char* data, unsigned short length, int& count);

  /// Writes the component's and the condition's name, one behind the other, for each entry whose codes are known; the
  /// pointers of other entries stay as they are.
  ///
  /// `texts` has room for one pointer an entry; the number of entries is returned. The texts live until the next answer
  /// is parsed or the object ends.
  std::int32_t mappedString(char** texts);

  [[nodiscard]] const std::vector<OIREntry>& entries() const { return entries_; }

 private:
  std::uint8_t start_{0};
  std::array<std::uint8_t, 2> length_{};
  std::uint8_t flags_{0};
  std::uint8_t class_{0};
  std::uint8_t command_{0};
  std::uint8_t count_{0};  ///< as the printer says
  std::vector<OIREntry> entries_;
  std::vector<std::array<char, 50>> texts_;  ///< one an entry
};

}  // namespace kesto
