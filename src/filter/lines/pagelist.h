// Page lists: doubly linked lists of items of one size, copied in and out by value, read through one cursor.
//
// A list owns its nodes and never what the items point to. Job thread only.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kesto {

enum ListResult : std::int32_t {
  LIST_OK = 0,
  LIST_EMPTY = 1,
  LIST_NO_NEXT = 2,     ///< the cursor is at the end; it stays there
  LIST_NOT_A_LIST = 3,  ///< null, or a header without the marker
  LIST_NO_CURRENT = 4,  ///< a delete without a read before it
};

inline constexpr std::int64_t LIST_MARKER = 0x4C495354;

/// A node; the item's bytes follow it.
struct PageListNode {
  PageListNode* next;
  PageListNode* previous;
};

struct PageList {
  PageListNode* head;
  PageListNode* tail;
  PageListNode* current;  ///< the cursor, null before the first read
  std::int64_t marker;    ///< LIST_MARKER while the list lives
  std::int32_t itemSize;  ///< bytes
  std::int32_t itemCount;
  std::int32_t transactions;   ///< successful appends, reads and deletes
  std::uint8_t movedBackward;  ///< the cursor's last move was backward
  std::uint8_t cursorValid;    ///< set by a read, cleared by a delete
};

/// A new empty list of items of `itemSize` bytes, or null when that is below 1. Throws std::bad_alloc.
[[nodiscard]] PageList* new_list(std::int32_t itemSize);

/// Copies `item` into a new node at the tail: LIST_OK or LIST_NOT_A_LIST. Throws std::bad_alloc.
[[nodiscard]] ListResult append(PageList* list, const void* item);

/// Moves the cursor to the head and copies its item out: LIST_OK, LIST_EMPTY or LIST_NOT_A_LIST.
[[nodiscard]] ListResult read_first(PageList* list, void* item);

/// The same with the tail.
[[nodiscard]] ListResult read_last(PageList* list, void* item);

/// Moves the cursor one node on, to the head when it is null, and copies its item out: LIST_OK, LIST_EMPTY,
/// LIST_NO_NEXT or LIST_NOT_A_LIST. After a backward move the cursor stays for one read, so that turning round reads
/// the item once more before it goes on.
[[nodiscard]] ListResult read_next(PageList* list, void* item);

/// Moves the cursor one node back, to the tail when it is null, and copies its item out. Results as for read_next.
[[nodiscard]] ListResult read_prev(PageList* list, void* item);

/// Removes the cursor's node; the next read_next then reads the item after it. LIST_OK, LIST_EMPTY, LIST_NOT_A_LIST,
/// or LIST_NO_CURRENT when no read has placed the cursor since the last delete.
[[nodiscard]] ListResult _delete(PageList* list);

/// Frees every node and the header, not what the items point to: LIST_OK or LIST_NOT_A_LIST.
ListResult delete_list(PageList* list);

/// True for a list without items, and for what is no list.
[[nodiscard]] bool list_empty(const PageList* list);

/// The number of successful appends, reads and deletes; 0 for what is no list.
[[nodiscard]] std::int32_t ntransaction(const PageList* list);

/// The number of items; 0 for what is no list.
[[nodiscard]] std::int32_t _nitems(const PageList* list);

}  // namespace kesto
