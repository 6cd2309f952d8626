// The list with a cursor: a ring of nodes in a storage handle's pool.
#include <cstring>

#include "shlist.h"
#include "text/collate.h"

namespace {

SHLIST_NODE* newNode(SHLIST* list, void* value) {
  auto* node = static_cast<SHLIST_NODE*>(zrstg_alc(list->storage, sizeof(SHLIST_NODE), list->subpool));
  node->previous = node->next = nullptr;
  node->data = value;
  return node;
}

void forEachNode(SHLIST* list, void (*action)(SHLIST* list, SHLIST_NODE* node)) {
  SHLIST_NODE* node = list->first;
  for (uint32_t i = 0; i < list->count; ++i) {
    SHLIST_NODE* next = node->next;
    action(list, node);
    node = next;
  }
}

void clearNodes(SHLIST* list) {
  forEachNode(list, [](SHLIST* l, SHLIST_NODE* node) { zrstg_fee(l->storage, node); });
  list->first = list->last = list->current = nullptr;
  list->count = 0;
}

// The list's values in order, in an array of the list's sub-pool; with
// emptying set the nodes go as they are read.
void** listToArray(SHLIST* list, bool emptying) {
  auto* array = static_cast<void**>(zrstg_alc(list->storage, sizeof(void*) * list->count, list->subpool));
  SHLIST_NODE* node = list->first;
  for (uint32_t i = 0; i < list->count; ++i) {
    SHLIST_NODE* next = node->next;
    array[i] = node->data;
    if (emptying) zrstg_fee(list->storage, node);
    node = next;
  }
  if (emptying) list->first = list->last = list->current = nullptr;
  return array;
}

void rebuild(SHLIST* list, void** array, uint32_t n) {
  list->count = 0;
  for (uint32_t i = 0; i < n; ++i) shlist_insert(list, array[i]);
}

int collationOrder(const void* a, const void* b) {
  return zr::text::collateCompare(static_cast<const char16_t*>(a), static_cast<const char16_t*>(b));
}

}  // namespace

ZRAPI SHLIST* shlist_new(zrstg_handle* storage, zrstg_subpool* subpool) {
  auto* list = static_cast<SHLIST*>(zrstg_alc(storage, sizeof(SHLIST), subpool));
  std::memset(list, 0, sizeof *list);
  list->storage = storage;
  list->subpool = subpool;
  return list;
}

ZRAPI void shlist_delete(SHLIST* list) {
  if (!list) return;
  clearNodes(list);
  zrstg_fee(list->storage, list);
}

ZRAPI int shlist_deleteFree(SHLIST* list) {
  if (!list) return 0;
  forEachNode(list, [](SHLIST* l, SHLIST_NODE* node) { zrstg_fee(l->storage, node->data); });
  shlist_delete(list);
  return 0;
}

ZRAPI int shlist_putafter(SHLIST* list, SHLIST_NODE* node) {
  if (!list->first) {
    node->previous = node->next = node;
    list->first = list->last = node;
  } else if (!list->current) {
    zrstg_fee(list->storage, node);  // nowhere to put it
    return 0;
  } else {
    SHLIST_NODE* at = list->current;
    node->previous = at;
    node->next = at->next;
    at->next->previous = node;
    at->next = node;
    if (at == list->last) list->last = node;
  }
  list->current = node;
  ++list->count;
  return 1;
}

ZRAPI int shlist_addafter(SHLIST* list, void* value) { return shlist_putafter(list, newNode(list, value)); }

ZRAPI int shlist_insert_at_curr(SHLIST* list, void* value) { return shlist_addafter(list, value); }

ZRAPI int shlist_insert(SHLIST* list, void* value) {
  if (!list) return 0;
  list->current = list->last;
  return shlist_addafter(list, value);
}

ZRAPI int shlist_addbefore(SHLIST* list, void* value) {
  if (!list || (list->first && !list->current)) return 0;
  SHLIST_NODE* node = newNode(list, value);
  if (!list->first) {
    node->previous = node->next = node;
    list->first = list->last = node;
  } else {
    SHLIST_NODE* at = list->current;
    node->next = at;
    node->previous = at->previous;
    at->previous->next = node;
    at->previous = node;
    if (at == list->first) list->first = node;
  }
  list->current = node;
  ++list->count;
  return 1;
}

ZRAPI void* shlist_remove(SHLIST* list) {
  if (!list || !list->current) return nullptr;
  SHLIST_NODE* node = list->current;
  void* data = node->data;
  if (list->count == 1) {
    list->first = list->last = list->current = nullptr;
  } else {
    node->previous->next = node->next;
    node->next->previous = node->previous;
    if (node == list->first) {
      list->first = node->next;
      list->current = list->first;
    } else if (node == list->last) {
      list->last = node->previous;
      list->current = nullptr;
    } else {
      list->current = node->next;
    }
  }
  --list->count;
  zrstg_fee(list->storage, node);
  return data;
}

ZRAPI void* shlist_update(SHLIST* list, void* value) {
  if (!list || !list->current) return nullptr;
  void* old = list->current->data;
  list->current->data = value;
  return old;
}

ZRAPI void* shlist_get_first(SHLIST* list) {
  if (!list) return nullptr;
  list->current = list->first;
  return list->current ? list->current->data : nullptr;
}

ZRAPI void* shlist_get_last(SHLIST* list) {
  if (!list) return nullptr;
  list->current = list->last;
  return list->current ? list->current->data : nullptr;
}

ZRAPI void* shlist_get_next(SHLIST* list) {
  if (!list || !list->current) return nullptr;
  list->current = list->current == list->last ? nullptr : list->current->next;
  return list->current ? list->current->data : nullptr;
}

ZRAPI void* shlist_get_prev(SHLIST* list) {
  if (!list || !list->current) return nullptr;
  list->current = list->current == list->first ? nullptr : list->current->previous;
  return list->current ? list->current->data : nullptr;
}

ZRAPI void* shlist_get_curr(SHLIST* list) { return list && list->current ? list->current->data : nullptr; }

ZRAPI uint32_t shlist_get_count(SHLIST* list) { return list ? list->count : 0; }

ZRAPI SHLIST_NODE* shlist_curr_node(SHLIST* list) { return list ? list->current : nullptr; }

ZRAPI SHLIST_NODE* shlist_get_handle(SHLIST* list) { return shlist_curr_node(list); }

ZRAPI void shlist_set_current(SHLIST* list, SHLIST_NODE* node) {
  if (list) list->current = node;
}

ZRAPI int shlist_traversal(SHLIST* list, void* argument, SHLIST_VISIT function) {
  int result = 1;
  if (!list) return result;
  SHLIST_NODE* node = list->first;
  for (uint32_t i = 0; i < list->count; ++i, node = node->next) {
    result = function(node->data, argument);
    if (result == 0) break;
  }
  return result;
}

ZRAPI int shlist_sort(SHLIST* list, SH_COMPARE compare, uint32_t flags) {
  if (!list || !list->count) return 0;
  const uint32_t n = list->count;
  void** array = listToArray(list, flags & 5);
  sh_heapsort(array, n, compare ? compare : collationOrder);
  if (flags & 1) rebuild(list, array, n);
  else if (flags & 4) list->count = 0;
  zrstg_fee(list->storage, array);
  return 0;
}

ZRAPI void** shlist_sort_param(SHLIST* list, void* parameter, SH_COMPARE_PARAM compare, uint32_t flags) {
  if (!list || !list->count) return nullptr;
  const uint32_t n = list->count;
  void** array = listToArray(list, flags & 5);
  if (compare) {
    sh_heapsort_param(parameter, array, n, compare);
  } else {
    sh_heapsort(array, n, collationOrder);
  }
  if (flags & 1) rebuild(list, array, n);
  else if (flags & 4) list->count = 0;
  if (flags & 2) {
    zrstg_fee(list->storage, array);
    return nullptr;
  }
  return array;
}
