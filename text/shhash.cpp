// The chained hash table: a fixed number of slots, each a list of items.
#include <cstring>

#include "shlist.h"

namespace {

void* keyOf(const SHHASH* table, void* item) {
  if (!table->keyFunction) return item;
  if (table->keyArgument) return table->keyFunction(item, table->keyArgument);
  // Callers register one-argument key functions when they pass no argument.
  auto generic = reinterpret_cast<void (*)()>(table->keyFunction);
  return reinterpret_cast<void* (*)(void*)>(generic)(item);
}

// h rotated left by one bit, XOR each unit; then |h| (the minimum as 0) mod size.
struct Hasher {
  int32_t h = 0;
  void add(const char16_t* text) {
    for (; text && *text; ++text) {
      uint32_t u = static_cast<uint32_t>(h);
      h = static_cast<int32_t>(((u << 1) | (u >> 31)) ^ *text);
    }
  }
  int32_t slot(int32_t size) const {
    int32_t a = h == INT32_MIN ? 0 : (h < 0 ? -h : h);
    return a % size;
  }
};

int32_t slotOf(const SHHASH* table, const void* key) {
  Hasher hasher;
  if (table->keyIsList) {
    // Walks the key list with its own cursor, as it always has.
    SHLIST* list = static_cast<SHLIST*>(const_cast<void*>(key));
    for (void* s = shlist_get_first(list); s; s = shlist_get_next(list)) hasher.add(static_cast<const char16_t*>(s));
  } else {
    hasher.add(static_cast<const char16_t*>(key));
  }
  return hasher.slot(table->size);
}

bool sameText(const char16_t* a, const char16_t* b) {
  while (*a && *a == *b) ++a, ++b;
  return *a == *b;
}

// Lists of strings match when every pair is equal and both end together.
bool sameList(SHLIST* a, SHLIST* b) {
  SHLIST_NODE* na = a->first;
  SHLIST_NODE* nb = b->first;
  uint32_t i = 0;
  for (; i < a->count && i < b->count; ++i, na = na->next, nb = nb->next)
    if (!sameText(static_cast<const char16_t*>(na->data), static_cast<const char16_t*>(nb->data))) return false;
  return a->count == b->count;
}

bool keyMatches(const SHHASH* table, void* item, const void* key) {
  void* itemKey = keyOf(table, item);
  if (table->keyIsList) return sameList(static_cast<SHLIST*>(itemKey), static_cast<SHLIST*>(const_cast<void*>(key)));
  return sameText(static_cast<const char16_t*>(itemKey), static_cast<const char16_t*>(key));
}

// From the bucket's cursor onwards (inclusive), the first item with the key.
void* scanFromCursor(const SHHASH* table, SHLIST* bucket, const void* key) {
  for (void* item = shlist_get_curr(bucket); item; item = shlist_get_next(bucket))
    if (keyMatches(table, item, key)) return item;
  return nullptr;
}

}  // namespace

ZRAPI SHHASH* shhash_new_arg(int32_t size, SHHASH_KEYFN keyFunction, int unique, int keyIsList,
                             zrstg_handle* storage, zrstg_subpool* subpool, void* keyArgument) {
  auto* table = static_cast<SHHASH*>(zrstg_alc(storage, sizeof(SHHASH), subpool));
  std::memset(table, 0, sizeof *table);
  table->storage = storage;
  table->subpool = subpool;
  table->size = size;
  table->keyFunction = keyFunction;
  table->keyArgument = keyArgument;
  table->unique = unique;
  table->keyIsList = keyIsList;
  table->buckets = static_cast<SHLIST**>(zrstg_alc(storage, sizeof(SHLIST*) * static_cast<size_t>(size), subpool));
  std::memset(table->buckets, 0, sizeof(SHLIST*) * static_cast<size_t>(size));
  return table;
}

ZRAPI SHHASH* shhash_new(int32_t size, SHHASH_KEYFN keyFunction, int unique, int keyIsList, zrstg_handle* storage,
                         zrstg_subpool* subpool) {
  return shhash_new_arg(size, keyFunction, unique, keyIsList, storage, subpool, nullptr);
}

ZRAPI int shhash_insert(SHHASH* table, void* item) {
  void* key = keyOf(table, item);
  if (table->unique && shhash_search(table, key)) return 2;
  table->currentSlot = slotOf(table, key);
  SHLIST*& bucket = table->buckets[table->currentSlot];
  if (!bucket) bucket = shlist_new(table->storage, table->subpool);
  int result = shlist_insert(bucket, item);
  if (result == 1) ++table->count;
  return result;
}

ZRAPI void* shhash_search(SHHASH* table, const void* key) {
  if (!table) return nullptr;
  table->currentSlot = slotOf(table, key);
  SHLIST* bucket = table->buckets[table->currentSlot];
  if (!bucket) return nullptr;
  shlist_get_first(bucket);
  return scanFromCursor(table, bucket, key);
}

ZRAPI void* shhash_search_unique(SHHASH* table, const void* key) {
  if (!table) return nullptr;
  if (table->keyIsList) return shhash_search(table, key);
  const SHLIST* bucket = table->buckets[slotOf(table, key)];
  if (!bucket) return nullptr;
  const SHLIST_NODE* node = bucket->first;
  for (uint32_t i = 0; i < bucket->count; ++i, node = node->next)
    if (keyMatches(table, node->data, key)) return node->data;
  return nullptr;
}

ZRAPI void* shhash_searchNext(SHHASH* table, const void* key) {
  if (!table || table->unique) return nullptr;
  SHLIST* bucket = table->buckets[table->currentSlot];
  if (!bucket || !shlist_get_next(bucket)) return nullptr;
  return scanFromCursor(table, bucket, key);
}

ZRAPI SHLIST* shhash_searchSlot(SHHASH* table, const void* key) {
  if (!table) return nullptr;
  table->currentSlot = slotOf(table, key);
  return table->buckets[table->currentSlot];
}

ZRAPI void* shhash_remove(SHHASH* table) {
  if (!table) return nullptr;
  SHLIST* bucket = table->buckets[table->currentSlot];
  if (!bucket || !shlist_get_curr(bucket)) return nullptr;
  void* item = shlist_remove(bucket);
  --table->count;
  return item;
}

ZRAPI void shhash_clear(SHHASH* table) {
  if (!table) return;
  for (int32_t s = 0; s < table->size; ++s) {
    shlist_delete(table->buckets[s]);
    table->buckets[s] = nullptr;
  }
  table->count = 0;
  table->currentSlot = 0;
}

ZRAPI void shhash_delete(SHHASH* table) {
  if (!table) return;
  shhash_clear(table);
  zrstg_fee(table->storage, table->buckets);
  zrstg_fee(table->storage, table);
}

ZRAPI void* shhash_get_next(SHHASH* table) {
  if (!table) return nullptr;
  if (SHLIST* bucket = table->currentSlot < table->size ? table->buckets[table->currentSlot] : nullptr) {
    if (void* item = shlist_get_next(bucket)) return item;
  }
  while (++table->currentSlot < table->size) {
    if (void* item = shlist_get_first(table->buckets[table->currentSlot])) return item;
  }
  return nullptr;
}

ZRAPI void* shhash_get_first(SHHASH* table) {
  if (!table || !table->count) return nullptr;
  for (table->currentSlot = 0; table->currentSlot < table->size; ++table->currentSlot) {
    if (void* item = shlist_get_first(table->buckets[table->currentSlot])) return item;
  }
  return nullptr;
}

ZRAPI int shhash_traversal(SHHASH* table, void* argument, SHLIST_VISIT function) {
  int result = 1;
  if (!table) return result;
  for (int32_t s = 0; s < table->size && result != 0; ++s) {
    if (table->buckets[s] && table->buckets[s]->count) result = shlist_traversal(table->buckets[s], argument, function);
  }
  return result;
}

ZRAPI SHHASH_STATS* shhash_statistics(SHHASH* table, SHHASH_STATS* stats) {
  uint32_t used = 0, longest = 0;
  for (int32_t s = 0; s < table->size; ++s) {
    uint32_t n = shlist_get_count(table->buckets[s]);
    if (n) ++used;
    if (n > longest) longest = n;
  }
  double load = table->size ? static_cast<double>(table->count) / table->size : 1.0;
  stats->loadFactor = load < 1.0 ? 1.0 : load;
  stats->meanChainLength = used ? static_cast<double>(table->count) / used : 0.0;
  stats->longestChain = longest;
  return stats;
}
