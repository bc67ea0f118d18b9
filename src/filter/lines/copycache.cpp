#include "filter/lines/copycache.h"

#include <cstring>
#include <memory>

#include "base/report.h"

namespace kesto {

CopyCache::CopyCache(std::int32_t copies, bool duplex, const PageGeometry& geometry, PageWriter& writer)
    : copies_(copies), duplex_(duplex), geometry_(geometry), writer_(writer) {}

CopyCache::~CopyCache() {
  release(rasterLD[0]);
  release(rasterLD[1]);
}

void CopyCache::beginPage() {
  if (!caching()) return;
  release(rasterLD[backPage_]);
  rasterLD[backPage_] = new_list(sizeof(PageListItem));
}

void CopyCache::keep(Block block) {
  if (!caching()) return;
  auto copy = std::make_unique_for_overwrite<std::uint8_t[]>(block.size());
  std::memcpy(copy.get(), block.data(), block.size());
  const PageListItem item = {static_cast<std::uint32_t>(block.size()), copy.get()};
  if (append(rasterLD[backPage_], &item) == LIST_OK) {
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
  for (std::int32_t copy = 1; copy < copies_ && writer_.isCopyWanted(); ++copy) {
    for (int side = 0; side < sides; ++side) replay(rasterLD[side]);
  }
}

void CopyCache::replayLoneFronts() {
  for (std::int32_t copy = 1; copy < copies_ && writer_.isCopyWanted(); ++copy) {
    writer_.startPage();
    sendWhiteBlocks();
    writer_.endPage();
    replay(rasterLD[0]);
  }
}

void CopyCache::replay(PageList* list) {
  writer_.startPage();
  PageListItem item = {};
  ListResult result = read_first(list, &item);
  if (result != LIST_OK) {
    report("LIST  IS FAILING TO READ FIRST NODE\n");
    sendWhiteBlocks();
  }
  for (; result == LIST_OK; result = read_next(list, &item)) writer_.sendBlock({item.block, item.blockSize});
  writer_.endPage();
}

void CopyCache::sendWhiteBlocks() {
  WhiteBlock blank(geometry_);
  for (std::uint32_t line = 0; line < geometry_.pixelHeight; line += LINES_PER_BLOCK) {
    writer_.sendBlock(blank.at(line));
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
