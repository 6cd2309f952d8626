// shlist.h - flat containers: a doubly linked list with a cursor, a chained
// hash table whose buckets are such lists, heap sort and grouping sort,
// binary search, and a process-wide sequence number.
//
// Values are pointer-sized and opaque: containers copy nothing they point at.
// A value of 0 can't be told from the end of a list, so store non-null ones.
//
// Example:
//   SHLIST* list = shlist_new(handle, NULL);
//   shlist_insert(list, (void*)u"pear");
//   shlist_insert(list, (void*)u"apple");
//   shlist_sort(list, NULL, 1);              // by collation, rebuilt in order
//   for (void* v = shlist_get_first(list); v; v = shlist_get_next(list)) ...
#ifndef SHLIST_H
#define SHLIST_H

#include "zrstg.h"

typedef struct SHLIST_NODE {
  struct SHLIST_NODE* previous;
  struct SHLIST_NODE* next;  // the last node's next is the first: the ring closes
  void* data;
} SHLIST_NODE;

typedef struct SHLIST {
  SHLIST_NODE* first;
  SHLIST_NODE* last;
  SHLIST_NODE* current;  // the cursor, null when off the list
  zrstg_handle* storage;
  zrstg_subpool* subpool;
  uint32_t count;
} SHLIST;

// Key of an item. With a key argument of 0 the function is called with the
// item alone.
typedef void* (*SHHASH_KEYFN)(void* item, void* argument);

typedef struct SHHASH {
  zrstg_handle* storage;
  zrstg_subpool* subpool;
  SHLIST** buckets;  // one per slot, null until used
  SHHASH_KEYFN keyFunction;
  void* keyArgument;
  int32_t size;
  int32_t currentSlot;
  uint32_t count;
  int32_t unique;
  int32_t keyIsList;  // keys are SHLISTs of wide strings
} SHHASH;

typedef struct SHHASH_STATS {
  double loadFactor;
  double meanChainLength;
  uint32_t longestChain;
} SHHASH_STATS;

typedef struct SHBINTAB_ENTRY {
  const char16_t* key;
  intptr_t value;
} SHBINTAB_ENTRY;

typedef int (*SH_COMPARE)(const void* a, const void* b);
typedef int (*SH_COMPARE_PARAM)(void* parameter, const void* a, const void* b);
typedef int (*SHLIST_VISIT)(void* data, void* argument);

ZRAPI SHLIST* shlist_new(zrstg_handle* storage, zrstg_subpool* subpool);
ZRAPI void shlist_delete(SHLIST* list);
ZRAPI int shlist_deleteFree(SHLIST* list);
ZRAPI int shlist_insert(SHLIST* list, void* value);
ZRAPI int shlist_insert_at_curr(SHLIST* list, void* value);
ZRAPI int shlist_addafter(SHLIST* list, void* value);
ZRAPI int shlist_addbefore(SHLIST* list, void* value);
ZRAPI int shlist_putafter(SHLIST* list, SHLIST_NODE* node);
ZRAPI void* shlist_remove(SHLIST* list);
ZRAPI void* shlist_update(SHLIST* list, void* value);
ZRAPI void* shlist_get_first(SHLIST* list);
ZRAPI void* shlist_get_last(SHLIST* list);
ZRAPI void* shlist_get_next(SHLIST* list);
ZRAPI void* shlist_get_prev(SHLIST* list);
ZRAPI void* shlist_get_curr(SHLIST* list);
ZRAPI uint32_t shlist_get_count(SHLIST* list);
ZRAPI SHLIST_NODE* shlist_curr_node(SHLIST* list);
ZRAPI SHLIST_NODE* shlist_get_handle(SHLIST* list);
ZRAPI void shlist_set_current(SHLIST* list, SHLIST_NODE* node);
ZRAPI int shlist_traversal(SHLIST* list, void* argument, SHLIST_VISIT function);
// Flags: bit 0 rebuilds the list in sorted order, bit 2 empties it; with
// neither the list stays as it was. A null compare is collation order.
ZRAPI int shlist_sort(SHLIST* list, SH_COMPARE compare, uint32_t flags);
// Returns the sorted array (the caller's, in the list's sub-pool), or null
// with flag bit 1.
ZRAPI void** shlist_sort_param(SHLIST* list, void* parameter, SH_COMPARE_PARAM compare, uint32_t flags);

ZRAPI SHHASH* shhash_new(int32_t size, SHHASH_KEYFN keyFunction, int unique, int keyIsList, zrstg_handle* storage,
                         zrstg_subpool* subpool);
ZRAPI SHHASH* shhash_new_arg(int32_t size, SHHASH_KEYFN keyFunction, int unique, int keyIsList,
                             zrstg_handle* storage, zrstg_subpool* subpool, void* keyArgument);
// 1 stored, 2 the key is present in a unique table, 0 failed.
ZRAPI int shhash_insert(SHHASH* table, void* item);
ZRAPI void* shhash_search(SHHASH* table, const void* key);
// A search that changes no state, for string keys.
ZRAPI void* shhash_search_unique(SHHASH* table, const void* key);
ZRAPI void* shhash_searchNext(SHHASH* table, const void* key);
ZRAPI SHLIST* shhash_searchSlot(SHHASH* table, const void* key);
ZRAPI void* shhash_remove(SHHASH* table);
ZRAPI void shhash_clear(SHHASH* table);
ZRAPI void shhash_delete(SHHASH* table);
ZRAPI void* shhash_get_first(SHHASH* table);
ZRAPI void* shhash_get_next(SHHASH* table);
ZRAPI int shhash_traversal(SHHASH* table, void* argument, SHLIST_VISIT function);
ZRAPI SHHASH_STATS* shhash_statistics(SHHASH* table, SHHASH_STATS* stats);

ZRAPI void sh_heapsort(void** array, uint32_t count, SH_COMPARE compare);
ZRAPI void sh_hugeheapsort(void** array, uint32_t count, SH_COMPARE compare);
ZRAPI void sh_heapsort_param(void* parameter, void** array, uint32_t count, SH_COMPARE_PARAM compare);
ZRAPI void sh_hugeheapsort_param(void* parameter, void** array, uint32_t count, SH_COMPARE_PARAM compare);
// Brings equal items together in first-seen order; fewer than 4 stay as they are.
ZRAPI void sh_simplesort_param(void* parameter, void** array, uint32_t count, SH_COMPARE_PARAM compare);
ZRAPI void sh_hugesimplesort_param(void* parameter, void** array, uint32_t count, SH_COMPARE_PARAM compare);
// compare(key, address of an item); the index found, or -1.
ZRAPI int32_t sh_binary_search(const void* key, const void* base, uint32_t itemSize, uint32_t count,
                               SH_COMPARE compare);
// On a miss: the index of the last item below the key (-1 if none), found 0.
ZRAPI int32_t sh_bin_search(const void* key, const void* base, uint32_t itemSize, uint32_t count,
                            SH_COMPARE compare, int* found);
ZRAPI intptr_t shBinSrch(const char16_t* key, const SHBINTAB_ENTRY* table, uint32_t count);
ZRAPI intptr_t shBinSrchi(const char16_t* key, const SHBINTAB_ENTRY* table, uint32_t count);
ZRAPI uint32_t sh_get_next_sequence_number(void);

#endif
