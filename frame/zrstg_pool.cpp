// Storage handles and their ring of sub-pools.
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include "frame/mem_pool.h"
#include "platform/dialog.h"
#include "zrframe.h"
#include "zrstg.h"

using namespace zr::frame;

namespace {

constexpr uint32_t kHandlePoolFlags = 0x8002;
constexpr uint32_t kSubPoolFlags = 0x8000;
constexpr uint32_t kDefaultPageSize = 16384;
// 64 characters and a terminator behind them, so that a full name keeps all
// 60 characters after the prefix.
constexpr size_t kNameBytes = (ZRSTG_POOL_NAME_UNITS + 1) * sizeof(char16_t);
constexpr size_t kNamePrefixUnits = 4;  // "@SP@"
constexpr size_t kNameMaxUnits = 60;
constexpr unsigned kOutOfMemoryBoxStyle = 0x2015;  // retry/cancel, stop, task-modal

MemErrorHandler g_replacedHandler = nullptr;
uint32_t g_generation = 2;

int outOfMemoryHandler(void* record) {
  uint32_t code = *static_cast<uint32_t*>(record);
  if (code == 4) return 0;
  if (code == 2) {
    if (zr::platform::messageBox(nullptr, u"Out of Memory", nullptr, kOutOfMemoryBoxStyle) == ZR_IDRETRY) return 1;
    zr::platform::messageBox(nullptr, u"Insufficient memory to continue.", nullptr, ZR_MB_OK | ZR_MB_ICONSTOP);
    std::abort();
  }
  return g_replacedHandler ? g_replacedHandler(record) : 0;
}

void copyName(char16_t* name, const char16_t* text) {
  size_t i = 0;
  for (; text[i]; ++i) name[i] = text[i];
  name[i] = 0;
}

zrstg_handle* beginHandle(uint16_t pageSize, bool fast) {
  static std::once_flag installed;
  std::call_once(installed, [] { g_replacedHandler = MemSetErrorHandler(outOfMemoryHandler); });
  MEM_POOL* pool = MemPoolInit(kHandlePoolFlags);
  if (!pool) return nullptr;
  MemPoolSetFixedSize(pool, 8);
  MemPoolSetPageSize(pool, pageSize ? pageSize : kDefaultPageSize);
  MemPoolSetFreeBytes(pool, 0);
  if (!fast) MemPoolSetSmallSize(pool, 0);
  auto* name = static_cast<char16_t*>(MemAllocPtr(pool, kNameBytes, kMemZeroInit));
  auto* handle = static_cast<zrstg_handle*>(MemAllocPtr(pool, sizeof(zrstg_handle), kMemZeroInit));
  auto* node = static_cast<zrstg_subpool*>(MemAllocPtr(pool, sizeof(zrstg_subpool), kMemZeroInit));
  if (!name || !handle || !node) {
    MemPoolFree(pool);
    return nullptr;
  }
  copyName(name, u"@SP@<default>");
  node->next = node->previous = node;
  node->pool = pool;
  node->name = name;
  handle->pool = pool;
  handle->pageSize = pageSize ? pageSize : kDefaultPageSize;
  handle->poolFlags = kSubPoolFlags;
  handle->reserved = 0;
  handle->ring = node;
  return handle;
}

zrstg_subpool* newSubPool(zrstg_handle* handle, uint16_t pageSize, bool fast) {
  auto* node = static_cast<zrstg_subpool*>(zrstg_alc(handle, sizeof(zrstg_subpool), handle->ring));
  MEM_POOL* pool = node ? MemPoolInit(handle->poolFlags) : nullptr;
  char16_t* name = pool ? static_cast<char16_t*>(MemAllocPtr(pool, kNameBytes, 0)) : nullptr;
  if (!name) {
    MemPoolFree(pool);
    MemFreePtr(node);
    return nullptr;
  }
  MemPoolSetPageSize(pool, pageSize ? pageSize : handle->pageSize);
  MemPoolSetFreeBytes(pool, 0);
  if (!fast) MemPoolSetSmallSize(pool, 0);
  node->pool = pool;
  node->name = name;
  copyName(name, u"@SP@<none>");
  zrstg_subpool* head = handle->ring;
  node->previous = head;
  node->next = head->next;
  head->next->previous = node;
  head->next = node;
  return node;
}

void unlinkAndFree(zrstg_subpool* node) {
  node->previous->next = node->next;
  node->next->previous = node->previous;
  MemPoolFree(node->pool);
  MemFreePtr(node);
}

}  // namespace

ZRAPI zrstg_handle* zrstg_begin(uint16_t pageSize) { return beginHandle(pageSize, true); }

// The flags are accepted for old callers; nothing reads them.
ZRAPI zrstg_handle* zrstg_begin_allocflags(uint16_t pageSize, uint32_t) { return beginHandle(pageSize, true); }

ZRAPI zrstg_handle* zrstg_begin_nofast(uint16_t pageSize) { return beginHandle(pageSize, false); }

ZRAPI void zrstg_end(zrstg_handle* handle) {
  if (!handle) return;
  zrstg_subpool* head = handle->ring;
  while (head->next != head) unlinkAndFree(head->next);
  // The handle record and the default node live in this pool.
  MemPoolFree(handle->pool);
}

ZRAPI zrstg_subpool* zrstg_new_pool(zrstg_handle* handle) { return newSubPool(handle, 0, true); }

ZRAPI zrstg_subpool* zrstg_new_pool_nofast(zrstg_handle* handle) { return newSubPool(handle, 0, false); }

ZRAPI zrstg_subpool* zrstg_new_pool_with_size_nofast(zrstg_handle* handle, uint16_t pageSize) {
  return newSubPool(handle, pageSize, false);
}

ZRAPI void zrstg_free_pool(zrstg_handle* handle, zrstg_subpool* subpool) {
  if (!handle || !subpool || subpool == handle->ring) return;
  unlinkAndFree(subpool);
}

ZRAPI void zrstg_set_pool_name(zrstg_handle* handle, zrstg_subpool* subpool, const char16_t* name) {
  if (!handle || !name) return;
  zrstg_subpool* node = subpool ? subpool : handle->ring;
  char16_t* dest = node->name + kNamePrefixUnits;
  size_t i = 0;
  for (; i < kNameMaxUnits && name[i]; ++i) dest[i] = name[i];
  dest[i] = 0;
  node->name[ZRSTG_POOL_NAME_UNITS] = 0;
}

ZRAPI int zrstg_set_poolpagesize(zrstg_handle* handle, uint32_t size) {
  handle->pageSize = size;
  zrstg_subpool* node = handle->ring;
  do {
    MemPoolSetPageSize(node->pool, size);
    node = node->next;
  } while (node != handle->ring);
  return 1;
}

ZRAPI void zrstg_stat(zrstg_handle* handle, zrstg_stat_info* info) {
  if (!info) return;
  std::memset(info, 0, sizeof *info);
  // Without a handle only the process default pool counts, and it is never
  // created in this library, so everything stays 0.
  if (!handle) return;
  zrstg_subpool* node = handle->ring;
  do {
    MemPoolLock(node->pool);
    info->poolBytes += static_cast<uint32_t>(MemPoolSize(node->pool));
    MemPoolUnlock(node->pool);
    node = node->next;
  } while (node != handle->ring);
  info->totalBytes = info->totalBytes2 = info->poolBytes;
}

// A plain ticket without a lock: nothing in the library reads it.
ZRAPI uint32_t zrstg_nextGeneration(void) { return g_generation++; }

ZRAPI void* zrstg_alc(zrstg_handle* handle, size_t size, zrstg_subpool* subpool) {
  if (size == 0) return nullptr;
  if (subpool) return MemAllocPtr(subpool->pool, size, 0);
  if (size <= 8) return MemAllocFS(handle->pool);
  return MemAllocPtr(handle->pool, size, 0);
}

ZRAPI void* zrstg_realc(zrstg_handle* handle, void* block, size_t size, zrstg_subpool* subpool) {
  if (!block) return zrstg_alc(handle, size, subpool);
  if (size == 0) {
    zrstg_fee(handle, block);
    return nullptr;
  }
  return MemReAllocPtr(block, size, 0);
}

ZRAPI void zrstg_fee(zrstg_handle*, void* block) { MemFreePtr(block); }

ZRAPI size_t zrstg_sz(zrstg_handle*, void* block) { return ZrHeap_size(block); }

ZRAPI size_t zrstg_fast_strlen(const char16_t* text) {
  if (!text[0]) return 0;
  if (!text[1]) return 1;
  size_t n = ZrHeap_size(const_cast<char16_t*>(text)) / 2;
  for (size_t i = n - 3; i <= n; ++i) {
    if (!text[i]) return i;
  }
  // Not a string for which the shortcut holds: stop here, loudly.
  __builtin_trap();
}

ZRAPI void zrstg_alloc_align(void) {}
ZRAPI void zrstg_dballoc(void) {}
ZRAPI void zrstg_dbbegin(void) {}
ZRAPI void zrstg_dbbegin_allocflags(void) {}
ZRAPI void zrstg_dbrealloc(void) {}
ZRAPI void zrstg_dbstrdup(void) {}
ZRAPI void zrstg_get_pointer_subpool(void) {}
ZRAPI void zrstg_realloc_align(void) {}
ZRAPI void zrstg_set_next_pool(void) {}
ZRAPI void zrstg_validate(void) {}
ZRAPI void zrstg_dumpHeap(void) {}
ZRAPI void zrstg_dumpLeaks(void*) {}
ZRAPI int zrstg_write_debug(void*, void*, void*) { return 1; }
ZRAPI int zrfstg_free(void*, void*) { return 1; }
