#include "filter/lines/pagelist.h"

#include <cstring>
#include <new>

namespace kesto {
namespace {

bool isList(const PageList* list) {
  return list != nullptr && list->marker == LIST_MARKER;
}

void* itemOf(PageListNode* node) {
  return node + 1;
}

ListResult readCurrent(PageList* list, void* item) {
  std::memcpy(item, itemOf(list->current), static_cast<std::size_t>(list->itemSize));
  list->cursorValid = 1;
  ++list->transactions;
  return LIST_OK;
}

/// Reads at one end of the list.
ListResult readEnd(PageList* list, PageListNode* PageList::*end, void* item) {
  if (!isList(list)) return LIST_NOT_A_LIST;
  if (list->head == nullptr) return LIST_EMPTY;
  list->current = list->*end;
  list->movedBackward = 0;
  return readCurrent(list, item);
}

/// Moves one node along `link`, or to `start` when the cursor is null, and reads there.
ListResult readAlong(PageList* list, PageListNode* PageListNode::*link, PageListNode* start, void* item) {
  PageListNode* target = list->current == nullptr ? start : list->current->*link;
  if (target == nullptr) return LIST_NO_NEXT;
  list->current = target;
  return readCurrent(list, item);
}

/// Takes a node out of the chain.
void unlinkNode(PageList* list, PageListNode* node) {
  (node->previous != nullptr ? node->previous->next : list->head) = node->next;
  (node->next != nullptr ? node->next->previous : list->tail) = node->previous;
}

}  // namespace

PageList* new_list(std::int32_t itemSize) {
  if (itemSize < 1) return nullptr;
  return new PageList{.head = nullptr,
                      .tail = nullptr,
                      .current = nullptr,
                      .marker = LIST_MARKER,
                      .itemSize = itemSize,
                      .itemCount = 0,
                      .transactions = 0,
                      .movedBackward = 0,
                      .cursorValid = 0};
}

ListResult append(PageList* list, const void* item) {
  if (!isList(list)) return LIST_NOT_A_LIST;
  const auto size = static_cast<std::size_t>(list->itemSize);
  auto* node = new (::operator new(sizeof(PageListNode) + size)) PageListNode{nullptr, list->tail};
  std::memcpy(itemOf(node), item, size);
  (list->tail != nullptr ? list->tail->next : list->head) = node;
  list->tail = node;
  ++list->itemCount;
  ++list->transactions;
  return LIST_OK;
}

ListResult read_first(PageList* list, void* item) {
  return readEnd(list, &PageList::head, item);
}

ListResult read_last(PageList* list, void* item) {
  return readEnd(list, &PageList::tail, item);
}

ListResult read_next(PageList* list, void* item) {
  if (!isList(list)) return LIST_NOT_A_LIST;
  if (list->head == nullptr) return LIST_EMPTY;
  if (list->movedBackward != 0 && list->current != nullptr) {
    list->movedBackward = 0;
    return readCurrent(list, item);
  }
  return readAlong(list, &PageListNode::next, list->head, item);
}

ListResult read_prev(PageList* list, void* item) {
  if (!isList(list)) return LIST_NOT_A_LIST;
  if (list->head == nullptr) return LIST_EMPTY;
  const ListResult result = readAlong(list, &PageListNode::previous, list->tail, item);
  if (result == LIST_OK) list->movedBackward = 1;
  return result;
}

ListResult _delete(PageList* list) {
  if (!isList(list)) return LIST_NOT_A_LIST;
  if (list->head == nullptr) return LIST_EMPTY;
  if (list->cursorValid == 0 || list->current == nullptr) return LIST_NO_CURRENT;
  PageListNode* node = list->current;
  list->current = node->previous;
  list->movedBackward = 0;
  list->cursorValid = 0;
  unlinkNode(list, node);
  ::operator delete(node);
  --list->itemCount;
  ++list->transactions;
  return LIST_OK;
}

ListResult delete_list(PageList* list) {
  if (!isList(list)) return LIST_NOT_A_LIST;
  for (PageListNode* node = list->head; node != nullptr;) {
    PageListNode* next = node->next;
    ::operator delete(node);
    node = next;
  }
  list->marker = 0;
  delete list;
  return LIST_OK;
}

bool list_empty(const PageList* list) {
  return _nitems(list) == 0;
}

std::int32_t ntransaction(const PageList* list) {
  return isList(list) ? list->transactions : 0;
}

std::int32_t _nitems(const PageList* list) {
  return isList(list) ? list->itemCount : 0;
}

}  // namespace kesto
