// The heap's block operations: allocation, free, parent/child ownership,
// sizes and resizing.
#include <cstring>

#include "frame/szrheap_internal.h"
#include "platform/system.h"

namespace zr::heap {

namespace {

const HeapTypeInfo kMallocInfo = {"void*", "malloc", "free", "szrheap", 0};
const HeapTypeInfo kCallocInfo = {"void*", "calloc", "free", "szrheap", 0};
const HeapTypeInfo kReallocInfo = {"void*", "realloc", "free", "szrheap", 0};

// Picks the thread slot for a size index: the slot holding this thread's id,
// or else the least recently used one, which the thread takes over. Most
// calls find the thread's last slot still its own and stop there; every
// 64th goes the whole way and raises the shared tick that orders the slots,
// so that threads don't fight over one cache line at every allocation.
int slotOf(Heap& h, int index) {
  if (index > h.mpMaxIndex) return 0;
  ThreadState& t = t_state;
  const uint32_t self = t.threadId ? t.threadId : (t.threadId = platform::currentThreadId());
  if (h.slots[t.lastSlot].threadId == self && (++t.slotCalls & 63)) return t.lastSlot;
  uint32_t tick = __atomic_load_n(&h.tick, __ATOMIC_RELAXED) + 1;
  if (tick < 1) tick = 1;
  __atomic_store_n(&h.tick, tick, __ATOMIC_RELAXED);
  int chosen = -1, oldest = 0;
  for (int s = 0; s <= h.mpMaxSlot && chosen < 0; ++s) {
    if (h.slots[s].threadId == self) chosen = s;
    else if (h.slots[s].tick < h.slots[oldest].tick) oldest = s;
  }
  if (chosen < 0) {
    chosen = oldest;
    h.slots[chosen].threadId = self;
  }
  h.slots[chosen].tick = tick;
  t.lastSlot = chosen;
  return chosen;
}

void* rootOf(void* u) {
  void* link = headerOf(u)->parentLink;
  return link ? userOfWord(link) : u;
}

uint32_t& childLockFor(Heap& h, void* rootUser) {
  uintptr_t a = reinterpret_cast<uintptr_t>(childHeaderOf(rootUser));
  return h.childLocks[(a / 16) % kChildLocks];
}

bool isPool(void* u) { return (wordOf(u) & ZRHEAP_FLAG_POOL) != 0; }
MemoryPool* poolOf(void* u) { return static_cast<MemoryPool*>(u); }

void pushDebugChain(Heap& h, ZrHeapBlockHeader* hdr) {
  lock(&h.mainLock);
  hdr->debugPrevious = nullptr;
  hdr->debugNext = h.debugChain;
  if (h.debugChain) h.debugChain->debugPrevious = hdr;
  h.debugChain = hdr;
  unlock(&h.mainLock);
}

void unlinkDebugChain(Heap& h, ZrHeapBlockHeader* hdr) {
  lock(&h.mainLock);
  auto* prev = static_cast<ZrHeapBlockHeader*>(hdr->debugPrevious);
  auto* next = static_cast<ZrHeapBlockHeader*>(hdr->debugNext);
  if (prev) prev->debugNext = next;
  else if (h.debugChain == hdr) h.debugChain = next;
  if (next) next->debugPrevious = prev;
  hdr->debugPrevious = hdr->debugNext = nullptr;
  unlock(&h.mainLock);
}

// Removes a child from its root's sibling list.
void unlinkChild(Heap& h, void* u) {
  ZrHeapBlockHeader* hdr = headerOf(u);
  void* root = userOfWord(hdr->parentLink);
  uint32_t& l = childLockFor(h, root);
  lock(&l);
  void* prev = hdr->previousLink;
  void* next = hdr->nextLink;
  if (prev) headerOf(userOfChildHeader(prev))->nextLink = next;
  else headerOf(root)->nextLink = next;
  if (next) headerOf(userOfChildHeader(next))->previousLink = prev;
  hdr->previousLink = hdr->nextLink = nullptr;
  unlock(&l);
}

void printSizeIndex(const Heap& h, int index, const char* what, void* u) {
  if (index == h.printSizeIndex) writeFormatted("%s%p", what, u);
}

}  // namespace

// Allocation failure, the common tail of both allocators.
static void* allocFailed(const HeapTypeInfo* info, size_t n) {
  ZrHeap_exception("%s(type %s, size %lu) failed", info && info->allocName ? info->allocName : "alloc",
                   info && info->typeName ? info->typeName : "void*", static_cast<unsigned long>(n));
  ZrHeap_dump(2);
  return nullptr;
}

static void* allocate(size_t n, const HeapTypeInfo* info, void* parent) {
  ensureStarted();
  Heap& h = heap();
  const uint32_t flags = h.flags.load(std::memory_order_relaxed);
  const bool debug = flags & ZRHEAP_DEBUG;
  if (flags & ZRHEAP_CHECK) ZrHeap_checkAll();
  if (n > h.maxBlockSize - kMaxOverhead) {
    ZrHeap_exception("alloc(%lu) failed: buddy system maximum size = %lu", static_cast<unsigned long>(n + kMaxOverhead),
                     static_cast<unsigned long>(h.maxBlockSize));
    return nullptr;
  }
  bool parentIsPool = false;
  if (parent) {
    if (isFreed(parent)) {
      fatal(parent, "alloc: parent was already freed");
      return nullptr;
    }
    if (wordOf(parent) & ZRHEAP_FLAG_DEBUG) ZrHeap_check(parent);
    parentIsPool = isPool(parent);
  }

  const int i = sizeIndexOf(n);
  const int slot = slotOf(h, i);
  const size_t c = h.classSize[i];
  const bool large = c >= h.largeMinSize;
  char* u = nullptr;
  BuddyBlock* node = nullptr;

  char* cached = !large && !debug ? cachePop(i, slot) : nullptr;
  if (cached) {
    u = static_cast<char*>(userOfWord(cached));
  } else if (!large) {
    SlotRow& row = h.rows[i][slot];
    lock(&row.lock);
    char* word = debug ? row.debugHead : row.plainHead;
    if (word) {
      char* next = static_cast<char*>(headerOf(userOfWord(word))->parentLink);
      if (debug) {
        row.debugHead = next;
        --row.debugFree;
        ++row.debugUsed;
      } else {
        row.plainHead = next;
        --row.plainFree;
        ++row.plainUsed;
      }
      unlock(&row.lock);
      u = static_cast<char*>(userOfWord(word));
    } else {
      unlock(&row.lock);
      char* piece = cutSmallRegion(smallCost(h, i, debug));
      if (!piece) return allocFailed(info, n);
      lock(&row.lock);
      if (debug) ++row.debugUsed;
      else ++row.plainUsed;
      unlock(&row.lock);
      u = piece + (debug ? kDebugHeader : kChildHeader);
    }
  } else {
    node = allocBuddyBlock(i, false);
    if (!node) return allocFailed(info, n);
    node->committed = static_cast<uint32_t>(roundUpToPage(h, n + kMaxOverhead));
    if (!commitVM(node->address, node->committed)) {
      node->committed = 0;
      releaseBuddyNode(node);
      return allocFailed(info, n);
    }
    u = node->address + (debug ? kDebugHeader : kLargeHeader);
    SlotRow& row = h.rows[i][slot];
    lock(&row.lock);
    ++row.plainUsed;
    unlock(&row.lock);
  }

  ZrHeapBlockHeader* hdr = headerOf(u);
  uintptr_t word = (static_cast<uintptr_t>(i) << 8) | static_cast<uintptr_t>(slot) | ZRHEAP_FLAG_CHILD;
  if (large || debug) word |= ZRHEAP_FLAG_LARGE;
  if (debug) word |= ZRHEAP_FLAG_DEBUG;
  hdr->blockWord = word;
  hdr->parentLink = nullptr;
  hdr->previousLink = hdr->nextLink = nullptr;
  if (word & ZRHEAP_FLAG_LARGE) {
    hdr->buddyBlock = node;
    hdr->currentSize = n;
    hdr->maximumSize = classUpperBound(h, i);
  }
  // Callers may use the whole class of a plain small block; other blocks end
  // at the size asked for, so an overrun lands in poisoned memory.
  unpoison(u, (word & ZRHEAP_FLAG_LARGE) ? n : c);
  if (debug) {
    uintptr_t serial = h.serial.fetch_add(1, std::memory_order_relaxed);
    hdr->guardPrefix = serial;
    writeSuffix(u, n, serial);
    hdr->typeName = info ? info->typeName : nullptr;
    hdr->allocName = info ? info->allocName : nullptr;
    hdr->freeName = info ? info->freeName : nullptr;
    hdr->file = info ? info->file : nullptr;
    hdr->line = info ? info->line : 0;
    pushDebugChain(h, hdr);
    if (h.allocFill >= 0) std::memset(u, h.allocFill, n);
  }
  if (flags & ZRHEAP_TRACE) traceBlock(u, "alloc");
  if (parent) {
    ZrHeap_adopt(u, parent);
    if (parentIsPool) __atomic_fetch_add(&poolOf(parent)->size, c, __ATOMIC_RELAXED);
  }
  if (debug) printSizeIndex(h, i, "a", u);
  return u;
}

}  // namespace zr::heap

using namespace zr::heap;

ZRAPI void* ZrHeap_alloc(size_t size, const HeapTypeInfo* info, void* parent) { return allocate(size, info, parent); }

ZRAPI void* ZrHeap__alloc(size_t size, const char* typeName, const char* allocName, const char* freeName,
                          const char* file, unsigned line, void* parent) {
  HeapTypeInfo info = {typeName, allocName, freeName, file, line};
  return allocate(size, &info, parent);
}

ZRAPI void* ZrHeap_malloc(size_t size) { return allocate(size, &kMallocInfo, nullptr); }

ZRAPI void* ZrHeap_calloc(size_t count, size_t size) {
  size_t n;
  if (__builtin_mul_overflow(count, size, &n)) {
    ensureStarted();
    return allocFailed(&kCallocInfo, SIZE_MAX);
  }
  void* u = allocate(n, &kCallocInfo, nullptr);
  if (u) std::memset(u, 0, n);
  return u;
}

ZRAPI void ZrHeap_free(void* u) {
  ensureStarted();
  Heap& h = heap();
  const uint32_t flags = h.flags.load(std::memory_order_relaxed);
  if (u && (flags & ZRHEAP_DEBUG) && h.freeFill >= 0 && !isFreed(u)) {
    // A block without a large header keeps no size: fill its class instead.
    uintptr_t w = wordOf(u);
    size_t fill = (w & ZRHEAP_FLAG_LARGE) ? headerOf(u)->currentSize : h.classSize[indexOfWord(w)];
    std::memset(u, h.freeFill, fill);
  }
  if (flags & ZRHEAP_CHECK) ZrHeap_checkAll();
  if (!u) return;
  if (flags & ZRHEAP_TRACE) traceBlock(u, "free");

  ZrHeapBlockHeader* hdr = headerOf(u);
  const uintptr_t word = hdr->blockWord;
  if (word == ZRHEAP_FREED_WORD) {
    fatal(u, "free: block was previously freed");
    return;
  }
  const int i = indexOfWord(word);
  if (word & ZRHEAP_FLAG_DEBUG) {
    ZrHeap_check(u);
    unlinkDebugChain(h, hdr);
  }
  if (flags & ZRHEAP_DEBUG) printSizeIndex(h, i, "f", u);

  if (!(word & ZRHEAP_FLAG_CHILD)) {
    // A pool sub-block: it returns to its pool's own list.
    char* poolWord = static_cast<char*>(hdr->parentLink);
    if (!poolWord || !(*reinterpret_cast<uintptr_t*>(poolWord) & ZRHEAP_FLAG_POOL)) {
      fatal(u, "free: block has no child header, parent is not memory pool");
      return;
    }
    MemoryPool* pool = poolOf(userOfWord(poolWord));
    poison(u, h.classSize[i]);
    lock(&pool->locks[i]);
    hdr->blockWord = ZRHEAP_FREED_WORD;
    hdr->parentLink = pool->freeSubBlocks[i];
    pool->freeSubBlocks[i] = blockWordAddress(u);
    unlock(&pool->locks[i]);
    return;
  }

  if (hdr->parentLink) {
    void* root = userOfWord(hdr->parentLink);
    unlinkChild(h, u);
    hdr->parentLink = nullptr;
    if (isPool(root)) __atomic_fetch_sub(&poolOf(root)->size, h.classSize[i], __ATOMIC_RELAXED);
  } else if (hdr->nextLink) {
    void* child = hdr->nextLink;
    hdr->nextLink = nullptr;
    while (child) {
      void* cu = userOfChildHeader(child);
      ZrHeapBlockHeader* ch = headerOf(cu);
      child = ch->nextLink;
      if (h.poolCheck && ch->blockWord == ZRHEAP_FREED_WORD) continue;
      ch->parentLink = ch->previousLink = ch->nextLink = nullptr;
      ZrHeap_free(cu);
    }
  }

  if (h.classSize[i] < h.largeMinSize) {
    poison(u, (word & ZRHEAP_FLAG_LARGE) ? hdr->currentSize : h.classSize[i]);
    hdr->blockWord = ZRHEAP_FREED_WORD;
    const bool debugBlock = word & ZRHEAP_FLAG_DEBUG;
    if (!debugBlock && cachePush(i, slotOfWord(word), blockWordAddress(u))) return;
    SlotRow& row = h.rows[i][slotOfWord(word)];
    lock(&row.lock);
    char*& head = debugBlock ? row.debugHead : row.plainHead;
    hdr->parentLink = head;
    head = blockWordAddress(u);
    if (debugBlock) {
      --row.debugUsed;
      ++row.debugFree;
    } else {
      --row.plainUsed;
      ++row.plainFree;
    }
    unlock(&row.lock);
  } else if (!(word & ZRHEAP_FLAG_LARGE)) {
    fatal(u, "free: missing large header");
  } else {
    freeBuddyBlock(static_cast<BuddyBlock*>(hdr->buddyBlock));
  }
}

ZRAPI void ZrHeap_freeIfParent(void* u) {
  ensureStarted();
  if (u && !isFreed(u) && headerOf(u)->parentLink == nullptr) ZrHeap_free(u);
}

ZRAPI void ZrHeap_adopt(void* child, void* parent) {
  ensureStarted();
  Heap& h = heap();
  if (!child) return fatal(nullptr, "adopt: child is NULL");
  if (!parent) return fatal(nullptr, "adopt: parent is NULL");
  void* root = isFreed(parent) ? parent : rootOf(parent);
  if (isFreed(child)) return fatal(child, "adopt: child block was previously freed");
  if (isFreed(root)) return fatal(root, "adopt: parent block was previously freed");
  ZrHeapBlockHeader* ch = headerOf(child);
  if (ch->blockWord & ZRHEAP_FLAG_DEBUG) ZrHeap_check(child);
  if (wordOf(root) & ZRHEAP_FLAG_DEBUG) ZrHeap_check(child);
  if (ch->parentLink) {
    if (headerOf(root)->parentLink == blockWordAddress(root)) return;
    return fatal(child, "adopt: child block was already adopted");
  }
  if (!(ch->blockWord & ZRHEAP_FLAG_CHILD)) return fatal(child, "adopt: child block does not have child header");
  if (!(wordOf(root) & ZRHEAP_FLAG_CHILD)) return fatal(root, "adopt: parent block does not have child header");

  // Keep the tree flat: the child's own children move to the new parent.
  if (void* grand = ch->nextLink) {
    ch->nextLink = nullptr;
    while (grand) {
      void* gu = userOfChildHeader(grand);
      ZrHeapBlockHeader* gh = headerOf(gu);
      grand = gh->nextLink;
      gh->parentLink = gh->previousLink = gh->nextLink = nullptr;
      ZrHeap_adopt(gu, parent);
    }
  }
  if (h.flags.load(std::memory_order_relaxed) & ZRHEAP_TRACE) {
    traceBlock(child, "adopt:child");
    traceBlock(parent, "adopt:parent");
  }
  uint32_t& l = childLockFor(h, root);
  lock(&l);
  ZrHeapBlockHeader* ph = headerOf(parent);
  ch->previousLink = childHeaderOf(parent);
  ch->nextLink = ph->nextLink;
  if (ph->nextLink) headerOf(userOfChildHeader(ph->nextLink))->previousLink = childHeaderOf(child);
  ph->nextLink = childHeaderOf(child);
  ch->parentLink = blockWordAddress(root);
  unlock(&l);
}

ZRAPI void* ZrHeap_parent(void* u) {
  ensureStarted();
  if (!u) return nullptr;
  void* link = headerOf(u)->parentLink;
  return link ? userOfWord(link) : nullptr;
}

ZRAPI size_t ZrHeap_size(void* u) {
  uintptr_t w = wordOf(u);
  if (w & ZRHEAP_FLAG_LARGE) return headerOf(u)->currentSize;
  return heap().classSize[indexOfWord(w)];
}

ZRAPI void ZrHeap_sizeEx(void* u, size_t* current, size_t* minimum, size_t* maximum) {
  ensureStarted();
  const Heap& h = heap();
  size_t cur = 0, lo = 0, hi = 0;
  if (u) {
    uintptr_t w = wordOf(u);
    if (w == ZRHEAP_FREED_WORD) return fatal(u, "size: block was previously freed");
    if (!(w & ZRHEAP_FLAG_LARGE)) {
      int i = indexOfWord(w);
      lo = i == 0 ? 0 : h.classSize[i - 1] + 1;
      hi = cur = h.classSize[i];
    } else {
      int i = sizeIndexOf(headerOf(u)->maximumSize);
      cur = headerOf(u)->currentSize;
      lo = i == 0 ? 0 : classUpperBound(h, i - 1) + 1;
      hi = classUpperBound(h, i);
    }
  }
  if (current) *current = cur;
  if (minimum) *minimum = lo;
  if (maximum) *maximum = hi;
}

ZRAPI void* ZrHeap_resize(void* u, size_t oldSize, size_t newSize, size_t minimum, size_t maximum) {
  ensureStarted();
  Heap& h = heap();
  (void)oldSize;
  const bool tracing = h.flags.load(std::memory_order_relaxed) & ZRHEAP_TRACE;
  if (tracing && u) traceBlock(u, "resize:old");
  if (!u) {
    fatal(nullptr, "resize: block is NULL");
    return nullptr;
  }
  if (newSize < minimum) {
    fatal(u, "resize: new size is less than minimum size");
    return nullptr;
  }
  if (newSize > maximum) {
    fatal(u, "resize: new size is greater than maximum size");
    return nullptr;
  }
  ZrHeapBlockHeader* hdr = headerOf(u);
  const uintptr_t w = hdr->blockWord;
  if (!(w & ZRHEAP_FLAG_LARGE)) {
    if (tracing) traceBlock(u, "resize:new");
    return u;
  }
  // Pages are committed before the new size is stored and decommitted only
  // after it is: a check of all blocks may read the guard at any moment.
  auto* node = static_cast<BuddyBlock*>(hdr->buddyBlock);
  const bool pages = node && maximum + kMaxOverhead >= h.largeMinSize;
  const size_t want = roundUpToPage(h, newSize + kMaxOverhead);
  if (pages && want > node->committed) {
    if (!commitVM(node->address + node->committed, want - node->committed)) {
      if (tracing) traceBlock(nullptr, "resize:new");
      return nullptr;
    }
    node->committed = static_cast<uint32_t>(want);
  }
  const size_t old = hdr->currentSize;
  if (newSize > old) unpoison(static_cast<char*>(u) + old, newSize - old);
  if (w & ZRHEAP_FLAG_DEBUG) {
    lock(&h.mainLock);
    writeSuffix(u, newSize, hdr->guardPrefix);
    hdr->currentSize = newSize;
    unlock(&h.mainLock);
  } else {
    hdr->currentSize = newSize;
  }
  if (newSize < old) poison(static_cast<char*>(u) + newSize, old - newSize);
  if (pages && want < node->committed) {
    decommitVM(node->address + want, node->committed - want);
    node->committed = static_cast<uint32_t>(want);
  }
  if (tracing) traceBlock(u, "resize:new");
  return u;
}

ZRAPI void* ZrHeap_realloc(void* u, size_t n) {
  ensureStarted();
  if (!u) return allocate(n, &kReallocInfo, nullptr);
  size_t current, minimum, maximum;
  ZrHeap_sizeEx(u, &current, &minimum, &maximum);
  if (n >= minimum && n <= maximum) return ZrHeap_resize(u, current, n, minimum, maximum);
  void* moved = allocate(n, &kReallocInfo, ZrHeap_parent(u));
  if (!moved) return nullptr;
  std::memcpy(moved, u, current < n ? current : n);
  ZrHeap_free(u);
  return moved;
}
