#include "filter/lines/copycache.h"

#include <cstring>
#include <memory>
#include <utility>

#include "base/report.h"

namespace kesto {

CopyCache::CopyCache(std::int32_t copies, bool duplex, const PageGeometry& geometry, PageWriter writer)
    : copies_(copies), duplex_(duplex), geometry_(geometry), writer_(std::move(writer)) {}

CopyCache::~CopyCache() {
  release(rasterLD[0]);
  release(rasterLD[1]);
  release(rasterBlankLD);
}

void CopyCache::beginPage() {
  if (!caching()) return;
  release(rasterLD[backPage_]);
  rasterLD[backPage_] = new_list(sizeof(PageListItem));
}

void CopyCache::keep(Block block) {
  if (caching()) keepIn(rasterLD[backPage_], block);
}

void CopyCache::keepIn(PageList* list, Block block) {
  auto copy = std::make_unique_for_overwrite<std::uint8_t[]>(block.size());
  std::memcpy(copy.get(), block.data(), block.size());
  const PageListItem item = {static_cast<std::uint32_t>(block.size()), copy.get()};
  if (append(list, &item) == LIST_OK) {
    copy.release();
  } else {
    report("LIST  IS FAILING TO APPEND\n");
  }
}

void CopyCache::finishPage(bool more, bool cancelled) {
  if (!caching()) return;
  if (duplex_ && backPage_ == 0) {
    if (more) {
      backPage_ = 1;
      return;
    }
    if (!cancelled) replayLoneFronts();
  } else {
    replaySheets(backPage_ + 1);
  }
  release(rasterLD[0]);
  release(rasterLD[1]);
  backPage_ = 0;
}

void CopyCache::replaySheets(int sides) {
  for (std::int32_t copy = 1; copy < copies_ && writer_.wanted(); ++copy) {
    for (int side = 0; side < sides; ++side) replay(rasterLD[side]);
  }
}

void CopyCache::replayLoneFronts() {
  makeBlankBack();
  for (std::int32_t copy = 1; copy < copies_ && writer_.wanted(); ++copy) {
    replay(rasterBlankLD);
    replay(rasterLD[0]);
  }
  release(rasterBlankLD);
}

void CopyCache::makeBlankBack() {
  rasterBlankLD = new_list(sizeof(PageListItem));
  WhiteBlock blank(geometry_);
  PageListItem item = {};
  for (ListResult result = read_first(rasterLD[0], &item); result == LIST_OK; result = read_next(rasterLD[0], &item)) {
    LineBlockHeader header;
    std::memcpy(&header, item.block, LINE_BLOCK_HEADER_SIZE);
    keepIn(rasterBlankLD, blank.at(header.firstLine));
  }
}

void CopyCache::replay(PageList* list) {
  writer_.start();
  PageListItem item = {};
  ListResult result = read_first(list, &item);
  if (result != LIST_OK) {
    report("LIST  IS FAILING TO READ FIRST NODE\n");
    replayWhitePage();
  }
  for (; result == LIST_OK; result = read_next(list, &item)) writer_.send({item.block, item.blockSize});
  writer_.end();
}

void CopyCache::replayWhitePage() {
  WhiteBlock blank(geometry_);
  for (std::uint32_t line = 0; line < geometry_.pixelHeight; line += LINES_PER_BLOCK) {
    writer_.send(blank.at(line));
  }
}

void CopyCache::release(PageList*& list) {
  if (list == nullptr) return;
  PageListItem item = {};
  for (ListResult result = read_first(list, &item); result == LIST_OK; result = read_next(list, &item)) {
    delete[] item.block;
  }
  if (delete_list(list) != LIST_OK) report("LIST DELETE IS UNSUCCESSFUL\n");
  list = nullptr;
}

}  // namespace kesto
