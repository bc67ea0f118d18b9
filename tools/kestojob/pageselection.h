// Which pages of a file are wanted: "1,3-5", "7-".
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace kesto::job {

class PageSelection {
 public:
  /// Reads a list of page numbers and ranges; nothing when it is none. Pages count from 1.
  [[nodiscard]] static std::optional<PageSelection> parse(std::string_view list);

  /// Without a list every page is wanted.
  [[nodiscard]] bool has(std::uint64_t page) const;
  [[nodiscard]] bool areAll() const { return ranges_.empty(); }

 private:
  struct Range {
    std::uint64_t first, last;
  };
  std::vector<Range> ranges_;
};

}  // namespace kesto::job
