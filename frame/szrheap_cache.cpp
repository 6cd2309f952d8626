// The thread cache: each thread keeps a few plain small blocks per class and
// hands them out and takes them back without a lock; it trades with the
// shared free lists in batches, one lock for many blocks. A cached block is
// marked freed like any other; reports count it as free, and a thread's cache
// goes back to the shared free lists when the thread ends.
#include <cstdlib>

#include "frame/szrheap_internal.h"

namespace zr::heap {

constinit thread_local ThreadState t_state{};

namespace {

// Moves all cached blocks of a class to a shared free list under one lock.
void spillClass(ThreadCache& c, int index, SlotRow& row) {
  lock(&row.lock);
  while (char* word = c.head[index]) {
    ZrHeapBlockHeader* hdr = headerOf(userOfWord(word));
    c.head[index] = static_cast<char*>(hdr->parentLink);
    hdr->parentLink = row.plainHead;
    row.plainHead = word;
    --row.plainUsed;
    ++row.plainFree;
  }
  setCachedCount(&c, index, 0);
  unlock(&row.lock);
}

// Creates and registers the thread's cache on first use, and at thread end
// gives its blocks back and retires it. After that the thread has no cache.
struct CacheOwner {
  CacheOwner() {
    auto* c = static_cast<ThreadCache*>(std::aligned_alloc(alignof(ThreadCache), sizeof(ThreadCache)));
    if (!c) return;
    *c = ThreadCache{};
    Heap& h = heap();
    lock(&h.cacheLock);
    c->next = static_cast<ThreadCache*>(h.caches);
    if (c->next) c->next->previous = c;
    h.caches = c;
    unlock(&h.cacheLock);
    t_state.cache = c;
  }
  ~CacheOwner() {
    ThreadCache* c = t_state.cache;
    t_state.cache = nullptr;
    t_state.cacheRetired = true;
    if (!c) return;
    for (int i = 0; i < kMaxSmallClasses; ++i)
      if (c->count[i]) spillClass(*c, i, heap().rows[i][0]);
    Heap& h = heap();
    lock(&h.cacheLock);
    if (c->previous) c->previous->next = c->next;
    else h.caches = c->next;
    if (c->next) c->next->previous = c->previous;
    unlock(&h.cacheLock);
    std::free(c);
  }
};

ThreadCache* cacheOfThisThread() {
  if (ThreadCache* c = t_state.cache) return c;
  if (t_state.cacheRetired) return nullptr;
  static thread_local CacheOwner owner;
  return t_state.cache;
}

}  // namespace

char* cacheRefillAndPop(int index, int slot) {
  // Refill from the shared list in one locked step; the blocks count as
  // taken there and as cached here.
  SlotRow& row = heap().rows[index][slot];
  ThreadCache* c;
  if (!row.plainHead || !(c = cacheOfThisThread())) return nullptr;
  lock(&row.lock);
  uint32_t n = 0;
  char* last = nullptr;
  for (char* word = row.plainHead; word && n < kCacheRefill;
       word = static_cast<char*>(headerOf(userOfWord(word))->parentLink)) {
    last = word;
    ++n;
  }
  if (n) {
    c->head[index] = row.plainHead;
    ZrHeapBlockHeader* tail = headerOf(userOfWord(last));
    row.plainHead = static_cast<char*>(tail->parentLink);
    tail->parentLink = nullptr;
    row.plainFree -= n;
    row.plainUsed += n;
  }
  unlock(&row.lock);
  if (!n) return nullptr;
  char* word = c->head[index];
  c->head[index] = static_cast<char*>(headerOf(userOfWord(word))->parentLink);
  setCachedCount(c, index, n - 1);
  return word;
}

bool cacheSpillAndPush(int index, int slot, char* word) {
  ThreadCache* c = cacheOfThisThread();
  if (!c) return false;
  if (c->count[index] >= kCacheDepth) spillClass(*c, index, heap().rows[index][slot]);
  headerOf(userOfWord(word))->parentLink = c->head[index];
  c->head[index] = word;
  setCachedCount(c, index, c->count[index] + 1);
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
