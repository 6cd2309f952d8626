// Memory pools: an ordinary parent block until its size reaches the pool
// threshold; past it, small requests are cut from pool buffers and carry only
// a block word, and go back to the system only with the whole pool.
#include <cstring>

#include "frame/szrheap_internal.h"

namespace zr::heap {
namespace {

const HeapTypeInfo kPoolInfo = {"MemoryPool", "allocPool", "free", "szrheap", 617};
const HeapTypeInfo kPoolBufferInfo = {"PoolBuffer", "alloc", "free", "szrheap", 619};

void* poolFailed(const HeapTypeInfo* info, size_t n) {
  // The report has always passed the alloc name in the size's place, so the
  // size shown is the name's address; the line is kept as it always was.
  (void)n;
  const char* allocName = info && info->allocName ? info->allocName : "alloc";
  ZrHeap_exception("allocFromPool(type %s, size %lu) failed", info && info->typeName ? info->typeName : "void*",
                   static_cast<unsigned long>(reinterpret_cast<uintptr_t>(allocName)));
  ZrHeap_dump(2);
  return nullptr;
}

// Cuts s bytes from the head buffer of class i, or starts a new buffer. A
// buffer left with too little room for class i is unlinked and returned in
// *full; the caller passes it on once it no longer holds the lock of i.
char* cutFromBuffers(Heap& h, MemoryPool* pool, int i, size_t s, PoolBuffer** full) {
  if (PoolBuffer* b = pool->activeBuffers[i]) {
    char* piece = b->base + b->used;
    b->used += s;
    size_t need = roundUpToPage(h, b->used);
    if (need > b->block->committed) {
      if (!commitVM(b->base + b->block->committed, need - b->block->committed)) {
        b->used -= s;
        return nullptr;
      }
      b->block->committed = static_cast<uint32_t>(need);
    }
    if (b->capacity - b->used < s) {
      pool->activeBuffers[i] = b->next;
      b->next = nullptr;
      *full = b;
    }
    return piece;
  }
  auto* b = static_cast<PoolBuffer*>(ZrHeap_alloc(sizeof(PoolBuffer), &kPoolBufferInfo, nullptr));
  if (!b) return nullptr;
  size_t e = s * 10;
  if (e + kMaxOverhead >= h.largeMinSize) e += kMaxOverhead;
  int bi = h.firstLargeIndex;
  while (bi < h.lastIndex && h.classSize[bi] < e) ++bi;
  BuddyBlock* node = allocBuddyBlock(bi, true);
  if (!node) {
    ZrHeap_free(b);
    return nullptr;
  }
  node->committed = static_cast<uint32_t>(roundUpToPage(h, s));
  if (!commitVM(node->address, node->committed)) {
    node->committed = 0;
    releaseBuddyNode(node);
    ZrHeap_free(b);
    return nullptr;
  }
  SlotRow& row = h.rows[node->sizeIndex][0];
  lock(&row.lock);
  ++row.plainUsed;
  unlock(&row.lock);
  std::memset(b, 0, sizeof *b);
  b->block = node;
  b->base = node->address;
  b->used = s;
  b->capacity = node->size;
  __atomic_fetch_add(&pool->size, b->capacity, __ATOMIC_RELAXED);
  b->next = pool->activeBuffers[i];
  pool->activeBuffers[i] = b;
  return b->base;
}

// The buffer goes on serving the largest smaller class that still fits, or
// joins the full list. It is on no list while it travels, so only the lock of
// the list it joins is taken: no thread holds two pool locks.
void passOn(Heap& h, MemoryPool* pool, int i, PoolBuffer* b) {
  const size_t left = b->capacity - b->used;
  int j = i - 1;
  while (j >= 0 && !(left > h.classSize[j] + kWordHeader)) --j;
  if (j >= 0) {
    lock(&pool->locks[j]);
    b->next = pool->activeBuffers[j];
    pool->activeBuffers[j] = b;
    unlock(&pool->locks[j]);
    return;
  }
  // The full list is only ever pushed while the pool is in use.
  b->next = __atomic_load_n(&pool->fullBuffers, __ATOMIC_RELAXED);
  while (!__atomic_compare_exchange_n(&pool->fullBuffers, &b->next, b, true, __ATOMIC_RELEASE, __ATOMIC_RELAXED)) {
  }
}

void freeBufferList(PoolBuffer* b) {
  while (b) {
    PoolBuffer* next = b->next;
    freeBuddyBlock(b->block);
    ZrHeap_free(b);
    b = next;
  }
}

}  // namespace
}  // namespace zr::heap

using namespace zr::heap;

ZRAPI MemoryPool* ZrHeap_allocPool(void* userData) {
  void* u = ZrHeap_alloc(sizeof(MemoryPool), &kPoolInfo, nullptr);
  if (!u) return nullptr;
  headerOf(u)->blockWord |= ZRHEAP_FLAG_POOL;
  auto* pool = static_cast<MemoryPool*>(u);
  std::memset(pool, 0, sizeof *pool);
  pool->userData = userData;
  return pool;
}

ZRAPI void* ZrHeap_allocFromPool(size_t n, const HeapTypeInfo* info, MemoryPool* pool) {
  ensureStarted();
  Heap& h = heap();
  if (!pool) {
    fatal(nullptr, "allocFromPool: pool is NULL");
    return nullptr;
  }
  if (n > h.maxBlockSize) {
    ZrHeap_exception("allocPerm(%lu) failed: buddy system maximum size = %lu", static_cast<unsigned long>(n),
                     static_cast<unsigned long>(h.maxBlockSize));
    return nullptr;
  }
  const int i = sizeIndexOf(n);
  const bool debug = h.flags.load(std::memory_order_relaxed) & ZRHEAP_DEBUG;
  if (debug || __atomic_load_n(&pool->size, __ATOMIC_RELAXED) < h.poolThreshold || i >= h.firstLargeIndex)
    return ZrHeap_alloc(n, info, pool);

  char* piece;
  PoolBuffer* full = nullptr;
  lock(&pool->locks[i]);
  if (void* freed = pool->freeSubBlocks[i]) {
    pool->freeSubBlocks[i] = headerOf(userOfWord(freed))->parentLink;
    piece = static_cast<char*>(freed);
  } else {
    piece = cutFromBuffers(h, pool, i, (h.classSize[i] + kWordHeader + kW - 1) & ~(kW - 1), &full);
  }
  unlock(&pool->locks[i]);
  if (full) passOn(h, pool, i, full);
  if (!piece) return poolFailed(info, n);

  void* u = userOfWord(piece);
  ZrHeapBlockHeader* hdr = headerOf(u);
  hdr->blockWord = static_cast<uintptr_t>(i) << 8;
  hdr->parentLink = blockWordAddress(pool);
  unpoison(u, h.classSize[i]);
  if (h.flags.load(std::memory_order_relaxed) & ZRHEAP_TRACE) traceBlock(u, "allocFromPool");
  return u;
}

ZRAPI void ZrHeap_freePool(MemoryPool* pool) {
  ensureStarted();
  if (!pool) return fatal(nullptr, "freePool: pool is NULL");
  freeBufferList(pool->fullBuffers);
  pool->fullBuffers = nullptr;
  for (PoolBuffer*& list : pool->activeBuffers) {
    freeBufferList(list);
    list = nullptr;
  }
  ZrHeap_free(pool);
}

ZRAPI size_t ZrHeap_poolSize(MemoryPool* pool) {
  if (!pool) {
    fatal(nullptr, "poolSize: pool is NULL");
    return 0;
  }
  return __atomic_load_n(&pool->size, __ATOMIC_RELAXED);
}

ZRAPI void* ZrHeap_userData(MemoryPool* pool) {
  if (!pool) {
    fatal(nullptr, "poolSize: pool is NULL");
    return nullptr;
  }
  return pool->userData;
}
