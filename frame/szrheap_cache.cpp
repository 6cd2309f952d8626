// The thread cache: each thread keeps a few of the plain small blocks it
// frees and hands them out again without a lock. A cached block is marked
// freed like any other; reports count it as free, and a thread's cache goes
// back to the shared free lists when the thread ends.
#include "frame/szrheap_internal.h"

namespace zr::heap {
namespace {

struct ThreadCache {
  char* head[kMaxSmallClasses];     // block words, linked through the parent link
  uint32_t count[kMaxSmallClasses];  // written by the owner, read by reports
  ThreadCache* next;
  ThreadCache* previous;
  bool registered;
};

constinit thread_local ThreadCache t_cache{};

void returnToFreeLists(ThreadCache& c) {
  Heap& h = heap();
  for (int i = 0; i < kMaxSmallClasses; ++i) {
    if (!c.count[i]) continue;
    SlotRow& row = h.rows[i][0];
    lock(&row.lock);
    while (char* word = c.head[i]) {
      ZrHeapBlockHeader* hdr = headerOf(userOfWord(word));
      c.head[i] = static_cast<char*>(hdr->parentLink);
      hdr->parentLink = row.plainHead;
      row.plainHead = word;
      --row.plainUsed;
      ++row.plainFree;
    }
    __atomic_store_n(&c.count[i], 0u, __ATOMIC_RELAXED);
    unlock(&row.lock);
  }
}

// Registers the thread's cache on first use and flushes it at thread end.
struct CacheOwner {
  CacheOwner() {
    Heap& h = heap();
    ThreadCache& c = t_cache;
    lock(&h.cacheLock);
    c.previous = nullptr;
    c.next = static_cast<ThreadCache*>(h.caches);
    if (c.next) c.next->previous = &c;
    h.caches = &c;
    c.registered = true;
    unlock(&h.cacheLock);
  }
  ~CacheOwner() {
    Heap& h = heap();
    ThreadCache& c = t_cache;
    returnToFreeLists(c);
    lock(&h.cacheLock);
    if (c.previous) c.previous->next = c.next;
    else h.caches = c.next;
    if (c.next) c.next->previous = c.previous;
    c.registered = false;
    unlock(&h.cacheLock);
  }
};

void registerThisThread() { static thread_local CacheOwner owner; }

}  // namespace

char* cachePop(int index) {
  ThreadCache& c = t_cache;
  char* word = c.head[index];
  if (!word) return nullptr;
  c.head[index] = static_cast<char*>(headerOf(userOfWord(word))->parentLink);
  __atomic_store_n(&c.count[index], c.count[index] - 1, __ATOMIC_RELAXED);
  return word;
}

bool cachePush(int index, char* word) {
  ThreadCache& c = t_cache;
  if (c.count[index] >= kCacheDepth) return false;
  if (!c.registered) registerThisThread();
  headerOf(userOfWord(word))->parentLink = c.head[index];
  c.head[index] = word;
  __atomic_store_n(&c.count[index], c.count[index] + 1, __ATOMIC_RELAXED);
  return true;
}

long cachedBlocks(int index) {
  Heap& h = heap();
  if (index >= kMaxSmallClasses) return 0;
  long total = 0;
  lock(&h.cacheLock);
  for (auto* c = static_cast<ThreadCache*>(h.caches); c; c = c->next)
    total += __atomic_load_n(&c->count[index], __ATOMIC_RELAXED);
  unlock(&h.cacheLock);
  return total;
}

}  // namespace zr::heap
