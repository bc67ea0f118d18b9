#include "filter/lines/pagelist.h"

#include <memory>
#include <vector>

#include <gtest/gtest.h>

namespace kesto {
namespace {

struct ListDeleter {
  void operator()(PageList* list) const { delete_list(list); }
};
using ListPointer = std::unique_ptr<PageList, ListDeleter>;

ListPointer listOf(std::initializer_list<int> items) {
  ListPointer list(new_list(sizeof(int)));
  for (const int item : items) EXPECT_EQ(append(list.get(), &item), LIST_OK);
  return list;
}

std::vector<int> contents(PageList* list) {
  std::vector<int> items;
  int item = 0;
  for (ListResult result = read_first(list, &item); result == LIST_OK; result = read_next(list, &item)) {
    items.push_back(item);
  }
  return items;
}

TEST(PageList, ReadsItemsInTheOrderOfTheirAppends) {
  const ListPointer list = listOf({3, 1, 2});
  EXPECT_EQ(contents(list.get()), (std::vector<int>{3, 1, 2}));
  EXPECT_EQ(_nitems(list.get()), 3);
  EXPECT_EQ(ntransaction(list.get()), 6) << "three appends, three reads; the read past the end does not count";
}

TEST(PageList, MovesBothWaysAndReadsTheItemAgainWhereItTurnsRound) {
  const ListPointer list = listOf({1, 2, 3});
  int item = 0;
  EXPECT_EQ(read_next(list.get(), &item), LIST_OK) << "from no cursor to the head";
  EXPECT_EQ(item, 1);
  EXPECT_EQ(read_prev(list.get(), &item), LIST_NO_NEXT);
  EXPECT_EQ(read_last(list.get(), &item), LIST_OK);
  EXPECT_EQ(item, 3);
  EXPECT_EQ(read_next(list.get(), &item), LIST_NO_NEXT);
  EXPECT_EQ(read_prev(list.get(), &item), LIST_OK);
  EXPECT_EQ(item, 2);
  EXPECT_EQ(read_next(list.get(), &item), LIST_OK);
  EXPECT_EQ(item, 2) << "stays after a backward move";
  EXPECT_EQ(read_next(list.get(), &item), LIST_OK);
  EXPECT_EQ(item, 3);
}

TEST(PageList, DeletesTheItemReadLast) {
  const ListPointer list = listOf({1, 2, 3});
  int item = 0;
  EXPECT_EQ(_delete(list.get()), LIST_NO_CURRENT);
  ASSERT_EQ(read_first(list.get(), &item), LIST_OK);
  ASSERT_EQ(read_next(list.get(), &item), LIST_OK);
  EXPECT_EQ(_delete(list.get()), LIST_OK);
  EXPECT_EQ(_delete(list.get()), LIST_NO_CURRENT) << "a delete needs a read of its own";
  EXPECT_EQ(read_next(list.get(), &item), LIST_OK);
  EXPECT_EQ(item, 3) << "the item after the one deleted";
  EXPECT_EQ(_delete(list.get()), LIST_OK);
  ASSERT_EQ(read_first(list.get(), &item), LIST_OK);
  EXPECT_EQ(_delete(list.get()), LIST_OK);
  EXPECT_TRUE(list_empty(list.get()));
  EXPECT_EQ(read_first(list.get(), &item), LIST_EMPTY);
  EXPECT_EQ(_delete(list.get()), LIST_EMPTY);
  EXPECT_EQ(append(list.get(), &item), LIST_OK);
  EXPECT_EQ(contents(list.get()), std::vector<int>{1});
}

TEST(PageList, RefusesWhatIsNoList) {
  int item = 0;
  PageList forged = {};
  for (PageList* list : {static_cast<PageList*>(nullptr), &forged}) {
    EXPECT_EQ(append(list, &item), LIST_NOT_A_LIST);
    EXPECT_EQ(read_first(list, &item), LIST_NOT_A_LIST);
    EXPECT_EQ(read_last(list, &item), LIST_NOT_A_LIST);
    EXPECT_EQ(read_next(list, &item), LIST_NOT_A_LIST);
    EXPECT_EQ(read_prev(list, &item), LIST_NOT_A_LIST);
    EXPECT_EQ(_delete(list), LIST_NOT_A_LIST);
    EXPECT_EQ(delete_list(list), LIST_NOT_A_LIST);
    EXPECT_EQ(_nitems(list), 0);
  }
  EXPECT_EQ(new_list(0), nullptr);
}

}  // namespace
}  // namespace kesto
