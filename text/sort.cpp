// Heap sort, the grouping sort, binary search and the sequence number.
#include <unicode/uchar.h>

#include <mutex>

#include "shlist.h"

namespace {

// In-place heap sort on 1-based positions; ascending, not stable.
template <typename Less>
void heapSort(void** array, uint32_t n, Less less) {
  if (n < 2) return;
  void** item = array - 1;  // item[1] .. item[n]
  uint32_t l = n / 2 + 1, r = n;
  for (;;) {
    void* x;
    if (l > 1) {
      x = item[--l];
    } else {
      x = item[r];
      item[r] = item[1];
      if (--r == 1) {
        item[1] = x;
        return;
      }
    }
    uint32_t i = l, j = 2 * l;
    while (j <= r) {
      if (j < r && less(item[j], item[j + 1])) ++j;
      if (!less(x, item[j])) break;
      item[i] = item[j];
      i = j;
      j *= 2;
    }
    item[i] = x;
  }
}

void groupEqual(void* parameter, void** array, uint32_t n, SH_COMPARE_PARAM compare) {
  if (n < 4) return;
  for (uint32_t i = 0; i < n - 1; ++i) {
    uint32_t last = n - 1;
    if (compare(parameter, array[i], array[i + 1]) == 0) continue;
    while (i + 1 < last) {
      if (compare(parameter, array[i], array[last]) == 0) {
        void* lifted = array[last];
        for (uint32_t k = last; k > i + 1; --k) array[k] = array[k - 1];
        array[++i] = lifted;
      } else {
        --last;
      }
    }
  }
}

int32_t binarySearch(const void* key, const void* base, uint32_t size, uint32_t n, SH_COMPARE compare,
                     int32_t* high) {
  int32_t low = 0, hi = static_cast<int32_t>(n) - 1;
  const auto* bytes = static_cast<const char*>(base);
  while (low <= hi) {
    int32_t mid = (low + hi) / 2;
    int r = compare(key, bytes + static_cast<size_t>(mid) * size);
    if (r < 0) hi = mid - 1;
    else if (r > 0) low = mid + 1;
    else return mid;
  }
  *high = hi;
  return -1;
}

int compareExact(const void* key, const void* entry) {
  const char16_t* a = static_cast<const char16_t*>(key);
  const char16_t* b = static_cast<const SHBINTAB_ENTRY*>(entry)->key;
  while (*a && *a == *b) ++a, ++b;
  return static_cast<int>(*a) - static_cast<int>(*b);
}

int lower(char16_t c) { return u_tolower(c); }

int compareIgnoringCase(const void* key, const void* entry) {
  const char16_t* a = static_cast<const char16_t*>(key);
  const char16_t* b = static_cast<const SHBINTAB_ENTRY*>(entry)->key;
  while (*a && lower(*a) == lower(*b)) ++a, ++b;
  return lower(*a) - lower(*b);
}

intptr_t tableSearch(const char16_t* key, const SHBINTAB_ENTRY* table, uint32_t n, SH_COMPARE compare) {
  int32_t i = sh_binary_search(key, table, sizeof(SHBINTAB_ENTRY), n, compare);
  return i < 0 ? -1 : table[i].value;
}

}  // namespace

ZRAPI void sh_heapsort(void** array, uint32_t count, SH_COMPARE compare) {
  heapSort(array, count, [compare](void* a, void* b) { return compare(a, b) < 0; });
}

ZRAPI void sh_hugeheapsort(void** array, uint32_t count, SH_COMPARE compare) { sh_heapsort(array, count, compare); }

ZRAPI void sh_heapsort_param(void* parameter, void** array, uint32_t count, SH_COMPARE_PARAM compare) {
  heapSort(array, count, [parameter, compare](void* a, void* b) { return compare(parameter, a, b) < 0; });
}

ZRAPI void sh_hugeheapsort_param(void* parameter, void** array, uint32_t count, SH_COMPARE_PARAM compare) {
  sh_heapsort_param(parameter, array, count, compare);
}

ZRAPI void sh_simplesort_param(void* parameter, void** array, uint32_t count, SH_COMPARE_PARAM compare) {
  groupEqual(parameter, array, count, compare);
}

ZRAPI void sh_hugesimplesort_param(void* parameter, void** array, uint32_t count, SH_COMPARE_PARAM compare) {
  groupEqual(parameter, array, count, compare);
}

ZRAPI int32_t sh_binary_search(const void* key, const void* base, uint32_t itemSize, uint32_t count,
                               SH_COMPARE compare) {
  int32_t high;
  return binarySearch(key, base, itemSize, count, compare, &high);
}

ZRAPI int32_t sh_bin_search(const void* key, const void* base, uint32_t itemSize, uint32_t count,
                            SH_COMPARE compare, int* found) {
  int32_t high;
  int32_t index = binarySearch(key, base, itemSize, count, compare, &high);
  if (found) *found = index >= 0;
  return index >= 0 ? index : high;
}

ZRAPI intptr_t shBinSrch(const char16_t* key, const SHBINTAB_ENTRY* table, uint32_t count) {
  return tableSearch(key, table, count, compareExact);
}

ZRAPI intptr_t shBinSrchi(const char16_t* key, const SHBINTAB_ENTRY* table, uint32_t count) {
  return tableSearch(key, table, count, compareIgnoringCase);
}

ZRAPI uint32_t sh_get_next_sequence_number(void) {
  static std::mutex lock;  // a function-local static: first callers race safely
  static uint32_t next = 1;
  std::lock_guard<std::mutex> guard(lock);
  return next++;
}
