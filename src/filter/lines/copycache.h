// The copy cache: what uncollated copies are made from.
//
// Every line block of a page is kept while the page is printed. When a page, or in a duplex job a sheet, is complete,
// its blocks go through the line-block ring again for every further copy. The cache holds one sheet at a time.
// Job thread only.
#pragma once

#include <cstdint>
#include <span>

#include "filter/lines/lineblock.h"
#include "filter/lines/pagelist.h"

namespace kesto {

/// The item of a page list: a line block that belongs to the list.
struct [[gnu::packed]] PageListItem {
  std::uint32_t blockSize;
  std::uint8_t* block;
};
static_assert(sizeof(PageListItem) == 12, "items lie without a gap");

/// The receiver of replayed pages.
class PageWriter {
 public:
  PageWriter() = default;
  PageWriter(const PageWriter&) = delete;
  PageWriter& operator=(const PageWriter&) = delete;
  virtual ~PageWriter() = default;

  virtual void startPage() = 0;
  virtual void sendBlock(std::span<const std::uint8_t> block) = 0;
  virtual void endPage() = 0;

  /// Asked before each further copy.
  [[nodiscard]] virtual bool isCopyWanted() const = 0;
};

class CopyCache {
 public:
  using Block = std::span<const std::uint8_t>;

  /// `copies` is the number of each page wanted; 1 or less makes a cache that does nothing.
  CopyCache(std::int32_t copies, bool duplex, const PageGeometry& geometry, PageWriter& writer);
  CopyCache(const CopyCache&) = delete;
  CopyCache& operator=(const CopyCache&) = delete;
  ~CopyCache();

  /// Starts the list of the page that is about to be printed.
  void beginPage();

  /// Keeps a copy of a line block that has been sent. Throws std::bad_alloc.
  void keep(Block block);

  /// Makes the copies that are due after a page: of the page itself, in a duplex job of its sheet once that is
  /// complete. `more` says whether another page follows; a sheet that has only a front gets a blank back between its
  /// copies. With `cancelled`, a front page whose back has not been read is no sheet and gets no copies.
  void finishPage(bool more, bool cancelled);

 private:
  [[nodiscard]] bool caching() const { return copies_ > 1; }
  void replay(PageList* list);
  void sendWhiteBlocks();
  void replaySheets(int sides);
  void replayLoneFronts();
  void release(PageList*& list);

  std::int32_t copies_;
  bool duplex_;
  PageGeometry geometry_;
  PageWriter& writer_;
  int backPage_ = 0;           ///< 1 while the page being printed is the back of a sheet
  PageList* rasterLD[2] = {};  ///< the line blocks of the sheet's front, or of a simplex page, and of its back
};

}  // namespace kesto
