// The pages of a file of jobs as pictures: a PNG file for each, a contact sheet of all, or both.
//
// It gets the pages while the jobs are checked and holds a few rows of one, never a page. Pages are counted through all
// jobs.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "kestojob/contactsheet.h"
#include "kestojob/outputfile.h"
#include "kestojob/pageselection.h"
#include "kestojob/pngwriter.h"
#include "kestojob/reader/jobcheck.h"
#include "kestojob/sheetpainter.h"

namespace kesto::job {

struct PictureChoices {
  std::string folder{};             ///< for the pages; empty: none wanted
  std::string sheet{};              ///< the contact sheet's file, "-": standard output; empty: none wanted
  PageSelection pages{};            ///< which ones are drawn
  std::optional<unsigned> scale{};  ///< pages are drawn at 1 / scale
  bool tags = false;                ///< the tag plane in colours instead of the image
};

class PagePictures : public PageSink {
 public:
  /// `step` is called now and then with the number of the page at work. Makes the folder if there is none.
  PagePictures(const PictureChoices& choices, std::function<void(std::uint64_t)> step);

  [[nodiscard]] PixelForm form() const override { return {.divisor = imageDivisor_}; }
  void beginPage(const PageLayout& layout) override;
  void beginStrip(const StripShape& strip) override;
  void rows(std::span<const std::uint8_t> pixels, std::size_t rowBytes) override;
  void tags(std::uint8_t packed, std::uint64_t count) override;
  /// Completes the page, also one at which its job has broken off.
  void endPage() override;

  /// Writes the contact sheet, at the end; there is none of no page when `allGood` is false. Throws FileError when
  /// pages were chosen that are not there.
  void finish(bool allGood);

 private:
  [[nodiscard]] SheetGeometry geometryOf(const PageLayout& layout) const;
  void paint(std::span<const std::uint8_t> row);

  PictureChoices choices_;
  std::function<void(std::uint64_t)> step_;
  unsigned imageDivisor_;  // by which the image comes reduced
  unsigned divisor_;       // the same for what is painted: 1 for tags
  std::uint64_t page_ = 0;
  bool drawn_ = false;  // at least one page
  std::unique_ptr<PngWriter> file_;
  std::unique_ptr<OutputFile> sheetFile_;  // there from the start, so that a long job need not end to find out
  std::optional<ContactSheet> sheet_;
  std::vector<SheetPainter> painters_;  // of the page at work
  bool painting_ = false;
  std::vector<std::uint8_t> tagRow_;
  std::size_t tagsInRow_ = 0;  // bytes of tagRow_ that are filled
};

}  // namespace kesto::job
