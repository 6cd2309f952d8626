#include "frame/mem_pool.h"

#include <atomic>
#include <cstring>

#include "platform/system.h"

namespace zr::frame {
namespace {

const HeapTypeInfo kPoolRecordInfo = {"MEM_POOL", "MemPoolInit", "MemPoolFree", "file?", 0};
const HeapTypeInfo kAllocPtrInfo = {"void*", "MemAllocPtr", "MemFreePtr", "file?", 0};
const HeapTypeInfo kAllocFSInfo = {"void*", "MemAllocFS", "MemFreePtr", "file?", 0};
// The names stand in this order on purpose: callers match the type name.
const HeapTypeInfo kReAllocInfo = {"MemReAllocPtr", "MemFreePtr", "void*", "file?", 0};

std::atomic<MemErrorHandler> g_errorHandler{nullptr};

std::atomic_ref<uint32_t> lockWord(MEM_POOL* pool) { return std::atomic_ref<uint32_t>(pool->lock); }

void spinLock(MEM_POOL* pool) {
  uint32_t expected = 0;
  while (!lockWord(pool).compare_exchange_weak(expected, 1, std::memory_order_acquire)) {
    expected = 0;
    platform::yieldThread();
  }
}

void spinUnlock(MEM_POOL* pool) { lockWord(pool).store(0, std::memory_order_release); }

}  // namespace

MEM_POOL* MemPoolInit(uint32_t flags) {
  auto* pool = static_cast<MEM_POOL*>(ZrHeap_alloc(sizeof(MEM_POOL), &kPoolRecordInfo, nullptr));
  if (!pool) return nullptr;
  std::memset(pool, 0, sizeof *pool);
  pool->heapPool = ZrHeap_allocPool(pool);
  if (!pool->heapPool) {
    ZrHeap_free(pool);
    return nullptr;
  }
  pool->self = pool;
  pool->fixedBlockSize = 8;
  pool->pageSize = 8192;
  pool->freeBytes = 0x40000;
  pool->ceiling = -2;
  pool->flags = flags;
  return pool;
}

int MemPoolFree(MEM_POOL* pool) {
  if (!pool) return 0;
  spinUnlock(pool);
  ZrHeap_freePool(pool->heapPool);
  ZrHeap_free(pool);
  return 1;
}

void* MemAllocPtr(MEM_POOL* pool, size_t size, uint32_t flags) {
  if (!pool) return nullptr;
  void* block = ZrHeap_allocFromPool(size, &kAllocPtrInfo, pool->heapPool);
  if (block && (flags & kMemZeroInit)) std::memset(block, 0, size);
  return block;
}

void* MemAllocFS(MEM_POOL* pool) {
  if (!pool) return nullptr;
  return ZrHeap_allocFromPool(pool->fixedBlockSize, &kAllocFSInfo, pool->heapPool);
}

int MemFreePtr(void* block) {
  if (!block) return 0;
  ZrHeap_free(block);
  return 1;
}

void* MemReAllocPtr(void* block, size_t size, uint32_t flags) {
  if (!block) return nullptr;
  size_t current = 0, minimum = 0, maximum = 0;
  ZrHeap_sizeEx(block, &current, &minimum, &maximum);
  if (size >= minimum && size <= maximum) {
    ZrHeap_resize(block, current, size, minimum, maximum);
    if (flags & kMemZeroInit) std::memset(static_cast<char*>(block) + current, 0, size - current);
    return block;
  }
  auto* pool = static_cast<MEM_POOL*>(ZrHeap_userData(static_cast<MemoryPool*>(ZrHeap_parent(block))));
  if (flags & kMemInPlaceOnly) return nullptr;
  void* grown = ZrHeap_alloc(size, &kReAllocInfo, pool->heapPool);
  if (!grown) return nullptr;
  size_t keep = current < size ? current : size;
  std::memcpy(grown, block, keep);
  if ((flags & kMemZeroInit) && size > keep) std::memset(static_cast<char*>(grown) + keep, 0, size - keep);
  ZrHeap_free(block);
  return grown;
}

int MemPoolInfo(MEM_POOL* pool, void* block, void* info) {
  if (!pool) {
    if (!block) return 0;
    pool = static_cast<MEM_POOL*>(ZrHeap_userData(static_cast<MemoryPool*>(ZrHeap_parent(block))));
    if (!pool) return 0;
  }
  const char* from = reinterpret_cast<const char*>(&pool->self);
  const char* to = reinterpret_cast<const char*>(&pool->userValue);
  std::memcpy(info, from, static_cast<size_t>(to - from));
  return 1;
}

int MemPoolSetFixedSize(MEM_POOL* pool, uint16_t size) {
  if (!pool) return 0;
  spinLock(pool);
  pool->fixedBlockSize = size;
  spinUnlock(pool);
  return 1;
}

uint16_t MemPoolSetSmallSize(MEM_POOL* pool, uint16_t size) {
  if (!pool) return 0;
  spinLock(pool);
  uint16_t old = pool->smallBlockSize;
  pool->smallBlockSize = size;
  spinUnlock(pool);
  return old;
}

uint32_t MemPoolSetFreeBytes(MEM_POOL* pool, uint32_t bytes) {
  if (!pool) return 0xFFFFFFFFu;
  spinLock(pool);
  uint32_t old = pool->freeBytes;
  pool->freeBytes = bytes;
  spinUnlock(pool);
  return old;
}

int MemPoolLock(MEM_POOL* pool) {
  if (!pool) return 0;
  spinLock(pool);
  return 1;
}

int MemPoolUnlock(MEM_POOL* pool) {
  if (!pool) return 0;
  spinUnlock(pool);
  return 1;
}

size_t MemPoolSize(MEM_POOL* pool) { return pool ? ZrHeap_poolSize(pool->heapPool) : 0; }

MemErrorHandler MemSetErrorHandler(MemErrorHandler handler) { return g_errorHandler.exchange(handler); }

}  // namespace zr::frame

ZRAPI uint32_t MemPoolSetPageSize(MEM_POOL* pool, uint32_t size) {
  if (!pool) return 0;
  zr::frame::MemPoolLock(pool);
  uint32_t old = pool->pageSize;
  pool->pageSize = size;
  zr::frame::MemPoolUnlock(pool);
  return old;
}
