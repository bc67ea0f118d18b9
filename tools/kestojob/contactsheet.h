// One picture of all pages of a job, small and numbered.
//
// How the pages are arranged depends on their number, which is known at the end only. Until then they wait, compressed,
// in a temporary file that nobody else sees; one row of them is held at a time.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace kesto::job {

class ContactSheet {
 public:
  ContactSheet();

  /// Begins the next page's picture; all of a sheet have the same size.
  void beginPage(unsigned width, unsigned height, unsigned channels);
  void row(std::span<const std::uint8_t> pixels);
  void endPage();

  /// Writes the sheet. A job without pages gives a small empty one.
  void write(const std::string& path);

 private:
  struct CloseFile {
    void operator()(std::FILE* file) const { static_cast<void>(std::fclose(file)); }
  };

  [[nodiscard]] std::vector<std::uint8_t> load(std::size_t page);
  void drawTile(std::vector<std::uint8_t>& picture, std::size_t pictureWidth, std::size_t page, std::size_t column);

  std::unique_ptr<std::FILE, CloseFile> file_;
  std::vector<std::uint32_t> sizes_;  // of the pages in the file, compressed
  std::vector<std::uint64_t> offsets_;
  std::uint64_t end_ = 0;
  unsigned width_ = 0, height_ = 0, channels_ = 1;
  std::vector<std::uint8_t> page_;
};

}  // namespace kesto::job
