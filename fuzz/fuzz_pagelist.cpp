// Page lists: any sequence of operations, with all that they return.
#include <utility>

#include "filter/lines/pagelist.h"
#include "input.h"
#include "require.h"

namespace {

using namespace kesto;
using fuzz::require;

void requireNoList(PageList* list) {
  std::uint16_t item = 7;
  for (const ListResult result : {append(list, &item), read_first(list, &item), read_last(list, &item),
                                  read_next(list, &item), read_prev(list, &item), _delete(list), delete_list(list)}) {
    require(result == LIST_NOT_A_LIST);
  }
  require(item == 7 && list_empty(list) && _nitems(list) == 0 && ntransaction(list) == 0);
}

void useList(fuzz::Input& in) {
  require(new_list(0) == nullptr);
  requireNoList(nullptr);
  PageList* list = new_list(sizeof(std::uint16_t));
  while (!in.empty()) {
    const std::uint8_t step = in.byte();
    std::uint16_t item = step;
    const auto perform = [&] {
      switch (step % 8) {
        case 0:
          return read_first(list, &item);
        case 1:
          return read_last(list, &item);
        case 2:
          return read_next(list, &item);
        case 3:
          return read_prev(list, &item);
        case 4:
          return _delete(list);
        case 5: {
          const std::int64_t marker = std::exchange(list->marker, step);
          requireNoList(list);
          list->marker = marker;
          return LIST_OK;
        }
        default:
          return append(list, &item);
      }
    };
    for (const std::int64_t result : {std::int64_t{perform()}, std::int64_t{item}, std::int64_t{_nitems(list)},
                                      std::int64_t{ntransaction(list)}, std::int64_t{list_empty(list)}}) {
      fuzz::note(result);
    }
  }
  require(delete_list(list) == LIST_OK);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input in(data, size);
  useList(in);
  return 0;
}
