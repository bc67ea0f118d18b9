// Copies: any document through the copy cache, against the pages that are due; and page lists against a vector.
#include <utility>

#include "copyplan.h"
#include "filter/lines/copycache.h"
#include "require.h"

namespace {

using namespace kesto;
using fuzz::Bytes;
using fuzz::Input;
using fuzz::require;

constexpr PageGeometry GEOMETRY = {.pixelWidth = 16, .pixelHeight = 24, .bytesPerPixel = 1};

/// A page's line blocks: the whole page, a part of it, or none. The first pixel tells the page.
std::vector<Bytes> blocksOf(int page, std::uint32_t count) {
  std::vector<Bytes> blocks;
  for (std::uint32_t i = 0; i < count; ++i) {
    blocks.emplace_back(GEOMETRY.blockBytes(), 0xFF);
    const LineBlock block(blocks.back(), GEOMETRY, i * LINES_PER_BLOCK);
    if (page >= 0) block.imageRow(0)[0] = static_cast<std::uint8_t>(page);
  }
  return blocks;
}

/// Keeps the pages that are printed, and wants so many copies.
class Printer : public PageWriter {
 public:
  explicit Printer(int wanted) : wanted_(wanted) {}

  void startPage() override {
    require(!std::exchange(open_, true));
    pages.emplace_back();
  }
  void sendBlock(std::span<const std::uint8_t> block) override {
    require(open_);
    pages.back().emplace_back(block.begin(), block.end());
  }
  void endPage() override { require(std::exchange(open_, false)); }
  [[nodiscard]] bool isCopyWanted() const override { return wanted_-- > 0; }

  std::vector<std::vector<Bytes>> pages;

 private:
  bool open_ = false;
  mutable int wanted_;
};

void makeCopies(Input& in) {
  const auto copies = static_cast<std::int32_t>(in.number(0, 5)) - 1;
  const bool duplex = in.flag();
  std::vector<std::uint32_t> blockCounts;  // of each page
  const std::uint8_t ending = in.byte();
  const bool cancelled = (ending & 1) != 0;  // while the last of these pages is printed, with more to come
  const int wanted = ending < 2 ? 100 : ending >> 1;
  while (!in.empty() && blockCounts.size() < 12) blockCounts.push_back(in.number(0, 3));

  Printer printer(wanted);
  {
    CopyCache cache(copies, duplex, GEOMETRY, printer);
    for (std::size_t page = 0; page < blockCounts.size(); ++page) {
      cache.beginPage();
      printer.startPage();
      for (const Bytes& block : blocksOf(static_cast<int>(page), blockCounts[page])) {
        printer.sendBlock(block);
        cache.keep(block);
      }
      printer.endPage();
      const bool last = page + 1 == blockCounts.size();
      cache.finishPage(!last || cancelled, last && cancelled);
    }
  }
  std::vector<std::vector<Bytes>> due;
  for (const auto& [page, isFirst] : fuzz::copyPlan(blockCounts.size(), copies, duplex, cancelled, wanted)) {
    // A page without a block can only be repeated as a white one.
    constexpr std::uint32_t WHOLE_PAGE = 3;
    const std::uint32_t own = page == fuzz::BLANK ? 0 : blockCounts[static_cast<std::size_t>(page)];
    due.push_back(blocksOf(own == 0 ? -1 : page, own != 0 || isFirst ? own : WHOLE_PAGE));
  }
  require(printer.pages == due);
  fuzz::note(std::int64_t{std::ssize(due)});
}

/// A page list as a vector and a position, -1 for none.
class ListModel {
 public:
  ListResult append(std::uint16_t item) {
    items_.push_back(item);
    return done();
  }
  ListResult readAt(int position, std::uint16_t& item) {
    if (items_.empty()) return LIST_EMPTY;
    backward_ = false;
    return take(position, item);
  }
  ListResult readFirst(std::uint16_t& item) { return readAt(0, item); }
  ListResult readLast(std::uint16_t& item) { return readAt(count() - 1, item); }
  ListResult readNext(std::uint16_t& item) {
    if (items_.empty()) return LIST_EMPTY;
    if (std::exchange(backward_, false) && position_ >= 0) return take(position_, item);
    return position_ + 1 < count() ? take(position_ + 1, item) : LIST_NO_NEXT;
  }
  ListResult readPrevious(std::uint16_t& item) {
    if (items_.empty()) return LIST_EMPTY;
    const int target = position_ < 0 ? count() - 1 : position_ - 1;
    if (target < 0) return LIST_NO_NEXT;
    backward_ = true;
    return take(target, item);
  }
  ListResult remove() {
    if (items_.empty()) return LIST_EMPTY;
    if (!std::exchange(valid_, false)) return LIST_NO_CURRENT;
    items_.erase(items_.begin() + position_--);
    backward_ = false;
    return done();
  }
  [[nodiscard]] int count() const { return static_cast<int>(items_.size()); }
  [[nodiscard]] int transactions() const { return transactions_; }

 private:
  ListResult done() {
    ++transactions_;
    return LIST_OK;
  }
  ListResult take(int position, std::uint16_t& item) {
    position_ = position;
    valid_ = true;
    item = items_[static_cast<std::size_t>(position)];
    return done();
  }

  std::vector<std::uint16_t> items_;
  int position_ = -1;
  int transactions_ = 0;
  bool backward_ = false;
  bool valid_ = false;
};

void requireNoList(PageList* list) {
  std::uint16_t item = 7;
  for (const ListResult result : {append(list, &item), read_first(list, &item), read_last(list, &item),
                                  read_next(list, &item), read_prev(list, &item), _delete(list), delete_list(list)}) {
    require(result == LIST_NOT_A_LIST);
  }
  require(item == 7 && list_empty(list) && _nitems(list) == 0 && ntransaction(list) == 0);
}

void useList(Input& in) {
  require(new_list(0) == nullptr);
  requireNoList(nullptr);
  PageList* list = new_list(sizeof(std::uint16_t));
  ListModel model;
  while (!in.empty()) {
    const std::uint8_t step = in.byte();
    std::uint16_t item = step;
    std::uint16_t due = step;
    switch (step % 8) {
      case 0:
        require(read_first(list, &item) == model.readFirst(due));
        break;
      case 1:
        require(read_last(list, &item) == model.readLast(due));
        break;
      case 2:
        require(read_next(list, &item) == model.readNext(due));
        break;
      case 3:
        require(read_prev(list, &item) == model.readPrevious(due));
        break;
      case 4:
        require(_delete(list) == model.remove());
        break;
      case 5: {
        const std::int64_t marker = std::exchange(list->marker, step);
        requireNoList(list);
        list->marker = marker;
        break;
      }
      default:
        require(append(list, &item) == model.append(item));
    }
    require(item == due && _nitems(list) == model.count() && ntransaction(list) == model.transactions());
    require(list_empty(list) == (model.count() == 0));
  }
  require(delete_list(list) == LIST_OK);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input in(data, size);
  if (in.flag()) {
    useList(in);
  } else {
    makeCopies(in);
  }
  return 0;
}
