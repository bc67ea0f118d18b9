// One picture of many pages, small and numbered.
//
// How the pages are arranged depends on their number and sizes, which are known at the end only. Until then they wait,
// compressed, in a temporary file that nobody else sees; one row of them is held at a time.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "kestojob/outputfile.h"

namespace kesto::job {

class ContactSheet {
 public:
  ContactSheet();

  /// Begins the picture of the page with this number.
  void beginPage(std::uint64_t number, unsigned width, unsigned height, unsigned channels);
  void row(std::span<const std::uint8_t> pixels);
  void endPage();

  /// Writes the sheet to the file that messages call `name`. Without pages it is a small empty one.
  void write(std::unique_ptr<OutputFile> file, const std::string& name);

 private:
  struct CloseFile {
    void operator()(std::FILE* file) const { static_cast<void>(std::fclose(file)); }
  };

  /// A page's picture, and where it lies in the temporary file.
  struct Tile {
    std::uint64_t number = 0;
    unsigned width = 0, height = 0, channels = 1;
    std::uint64_t offset = 0;
    std::uint32_t size = 0;  // compressed
  };
  struct Canvas;

  [[nodiscard]] std::vector<std::uint8_t> load(const Tile& tile);
  void drawTile(Canvas& canvas, const Tile& tile, std::size_t left);

  std::unique_ptr<std::FILE, CloseFile> file_;
  std::vector<Tile> tiles_;
  std::uint64_t end_ = 0;           // of the temporary file
  Tile tile_;                       // the page at work
  std::vector<std::uint8_t> page_;  // its pixels
};

}  // namespace kesto::job
