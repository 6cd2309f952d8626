// szrheap_internal.h - state and helpers shared by the heap's source files.
//
// Header sizes are stated in words W (4 bytes on a 32-bit build, 8 on a
// 64-bit one): the block word and parent link take 2W, a child header 4W, a
// large header 8W, a debug header 16W and the guard suffix 2W.
#ifndef ZR_FRAME_SZRHEAP_INTERNAL_H
#define ZR_FRAME_SZRHEAP_INTERNAL_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "zrheap.h"

namespace zr::heap {

constexpr size_t kW = sizeof(uintptr_t);
constexpr size_t kWordHeader = 2 * kW;
constexpr size_t kChildHeader = 4 * kW;
constexpr size_t kLargeHeader = 8 * kW;
constexpr size_t kDebugHeader = 16 * kW;
constexpr size_t kGuardSuffix = 2 * kW;
// The largest header plus suffix: the room SizeIndexOf reserves for a block.
constexpr size_t kMaxOverhead = kDebugHeader + kGuardSuffix;

constexpr int kMaxClasses = 100;
constexpr int kSlots = 32;
constexpr int kChildLocks = 16;
constexpr int kMaxSmallClasses = 31;  // the most small classes a page size allows
constexpr uint32_t kCacheDepth = 32;   // plain blocks a thread keeps per class
constexpr uint32_t kCacheRefill = 16;  // blocks taken from a shared list at once
constexpr uint32_t kFirstSerial = 0x12345678u;
constexpr size_t kDefaultHeapSize = 0x1F8000;
constexpr size_t kDefaultPoolThreshold = 0x40000;
constexpr size_t kMinReservation = 65536;

static_assert(sizeof(ZrHeapBlockHeader) == kDebugHeader, "the header record spans the debug header");

// ---- Spin locks: exchange with 1; back off by doubling, yield past 1024.
void spinWait(uint32_t* lock);
inline void lock(uint32_t* l) {
  if (__atomic_exchange_n(l, 1u, __ATOMIC_ACQUIRE) != 0) spinWait(l);
}
// A release store does what the exchange with 0 did, without a locked cycle.
inline void unlock(uint32_t* l) { __atomic_store_n(l, 0u, __ATOMIC_RELEASE); }
inline void lock(uintptr_t* l) { lock(reinterpret_cast<uint32_t*>(l)); }
inline void unlock(uintptr_t* l) { unlock(reinterpret_cast<uint32_t*>(l)); }

// ---- Per (size index, slot): free lists and counts, one cache line each.
struct alignas(64) SlotRow {
  uint32_t lock;
  char* plainHead;  // block word of the first free plain block
  char* debugHead;
  long plainFree, plainUsed, debugFree, debugUsed;
};

// One cache line per slot: threads on different slots never share a line.
struct alignas(64) SlotOwner {
  uint32_t threadId;
  uint32_t tick;
};

struct Heap {
  std::atomic<bool> started{false};
  std::atomic<uint32_t> flags{0};

  // Size classes.
  uint32_t classSize[kMaxClasses];
  int lastIndex, firstLargeIndex, lastSmallIndex;
  size_t largeMinSize, splitMinSize, maxBlockSize;
  size_t pageSize;
  uint8_t smallIndexBy4[6144 / 4 + 2];  // small class index for a size rounded up to 4

  // Settings from the environment.
  size_t heapSize, poolThreshold, memLowThreshold;
  int allocFill = -1, freeFill = -1;
  int checkInterval = 1;
  int mpMaxIndex, mpMaxSlot;
  int printSizeIndex = -1;
  bool poolCheck = false;
  void (*externalDump)(int) = nullptr;

  // Thread slots.
  SlotOwner slots[kSlots];
  uint32_t tick;  // approximate on purpose: racing updates only blur the LRU order
  SlotRow rows[kMaxClasses][kSlots];

  // Buddy system.
  uint32_t buddyLock;
  BuddyBlock* buddyFree[kMaxClasses];
  void* nodeChunks;  // where buddy nodes come from
  size_t wasteBytes, wasteCount;

  // Small region.
  uint32_t smallLock;
  char* regionBase;
  size_t regionUsed, regionSize;
  int regionIndex;
  size_t regionCount, unusedSmallBytes, smallUseBytes;

  // Virtual memory counters.
  uint32_t vmLock;
  size_t reservedBytes, committedBytes;
  uint64_t lowestWarned;

  // Debug chain and serials.
  uint32_t mainLock;
  ZrHeapBlockHeader* debugChain;
  std::atomic<uint32_t> serial{kFirstSerial};
  size_t permanentBytes;

  uint32_t childLocks[kChildLocks];

  // Registered thread caches.
  uint32_t cacheLock;
  void* caches;

  // Reports.
  uint32_t logLock;
  FILE* logFile;
  ZrHeapLogCallback logCallback;
  int checkCounter;
  size_t showMaximumBytes = 200;
  std::atomic<void*> reportedBlock{nullptr};
  std::atomic<bool> reporting{false};
};

// The one heap of the process, zero-initialised before any code runs and
// never destroyed: blocks outlive static destructors.
extern constinit Heap g_heap;
inline Heap& heap() { return g_heap; }
void startOnce();
inline void ensureStarted() {
  if (!g_heap.started.load(std::memory_order_acquire)) startOnce();
}

// ---- Block access. Headers sit in memory the sanitizer sees as poisoned;
// inline readers are kept uninstrumented in every file that uses them, since
// the linker may keep any one file's copy.
#define ZR_HEAP_RAW __attribute__((no_sanitize("address")))
inline ZrHeapBlockHeader* headerOf(void* u) {
  return reinterpret_cast<ZrHeapBlockHeader*>(static_cast<char*>(u) - kDebugHeader);
}
ZR_HEAP_RAW inline uintptr_t wordOf(void* u) { return headerOf(u)->blockWord; }
ZR_HEAP_RAW inline bool isFreed(void* u) { return wordOf(u) == ZRHEAP_FREED_WORD; }
inline int indexOfWord(uintptr_t word) { return static_cast<int>((word & ZRHEAP_INDEX_MASK) >> 8); }
inline int slotOfWord(uintptr_t word) { return static_cast<int>(word & ZRHEAP_SLOT_MASK); }
// A block word's address and the U it belongs to.
inline char* blockWordAddress(void* u) { return static_cast<char*>(u) - kWordHeader; }
inline void* userOfWord(void* wordAddress) { return static_cast<char*>(wordAddress) + kWordHeader; }
// A child header's address (of the previous link) and the U it belongs to.
inline void* childHeaderOf(void* u) { return static_cast<char*>(u) - kChildHeader; }
inline void* userOfChildHeader(void* childHeader) { return static_cast<char*>(childHeader) + kChildHeader; }

// The guard suffix may sit at any byte address.
struct __attribute__((packed)) UnalignedWord {
  uintptr_t value;
};
ZR_HEAP_RAW inline uintptr_t readSuffix(void* u, size_t size, int copy) {
  return reinterpret_cast<UnalignedWord*>(static_cast<char*>(u) + size + copy * kW)->value;
}
ZR_HEAP_RAW inline void writeSuffix(void* u, size_t size, uintptr_t serial) {
  reinterpret_cast<UnalignedWord*>(static_cast<char*>(u) + size)->value = serial;
  reinterpret_cast<UnalignedWord*>(static_cast<char*>(u) + size + kW)->value = serial;
}

// ---- Size classes.
int largeSizeIndexOf(size_t e);
// The class for a request of n bytes: the overhead counts only where the
// request plus overhead no longer fits a small class.
inline int sizeIndexOf(size_t n) {
  const Heap& h = g_heap;
  size_t e = n + kMaxOverhead < h.largeMinSize ? n : n + kMaxOverhead;
  if ((e + 3) / 4 < sizeof h.smallIndexBy4) return h.smallIndexBy4[(e + 3) / 4];
  return largeSizeIndexOf(e);
}
// Bytes a small block of class index i takes from the small region.
inline size_t smallCost(const Heap& h, int i, bool debug) {
  size_t raw = h.classSize[i] + (debug ? kMaxOverhead : kChildHeader);
  return (raw + kW - 1) & ~(kW - 1);
}
// The size range a class serves for a request: up to the class, less the
// overhead from the first large class on.
inline size_t classUpperBound(const Heap& h, int i) {
  return i >= h.firstLargeIndex ? h.classSize[i] - kMaxOverhead : h.classSize[i];
}
inline size_t roundUpToPage(const Heap& h, size_t n) { return (n + h.pageSize - 1) & ~(h.pageSize - 1); }

// ---- Virtual memory and the buddy system (szrheap_buddy.cpp).
char* allocVM(size_t size);
bool commitVM(char* address, size_t size);
void decommitVM(char* address, size_t size);
// False when no node could be had for the memory; what was added stays.
bool initBuddySystem(char* base, size_t size);
BuddyBlock* allocBuddyBlock(int index, bool largerAllowed);
void freeBuddyBlock(BuddyBlock* node);
// Gives a node back to the free lists without touching counts or memory.
void releaseBuddyNode(BuddyBlock* node);
// Cuts n bytes from the current small region; null when memory runs out.
char* cutSmallRegion(size_t n);
// True while this thread holds the small lock (the dump must not wait on it).
bool smallLockHeldHere();

// ---- Per-thread state, read on every allocation and free. Initial-exec TLS
// keeps that a plain load: a few bytes, well within what the loader keeps
// spare for libraries opened late.
// Cache-line aligned so that two threads' caches never share a line.
struct alignas(64) ThreadCache {
  char* head[kMaxSmallClasses];      // block words, linked through the parent link
  uint32_t count[kMaxSmallClasses];  // written by the owner, read by reports
  ThreadCache* next;
  ThreadCache* previous;
};
struct ThreadState {
  uint32_t threadId;  // 0 until first asked
  int lastSlot;       // the slot chosen last, valid while it still holds threadId
  uint32_t slotCalls;
  bool cacheRetired;  // the thread is ending: no cache any more
  ThreadCache* cache;
};
extern constinit thread_local ThreadState t_state __attribute__((tls_model("initial-exec")));

// ---- Thread cache (szrheap_cache.cpp): plain small blocks only. An empty
// class refills from the shared list of (index, slot); a full one goes back
// to it whole. The common cases are inline; the trades with the shared lists
// are not.
char* cacheRefillAndPop(int index, int slot);  // a block's word, or null when both are empty
// False once the thread's cache is retired: the caller uses the shared list.
bool cacheSpillAndPush(int index, int slot, char* word);

inline void setCachedCount(ThreadCache* c, int index, uint32_t n) {
  __atomic_store_n(&c->count[index], n, __ATOMIC_RELAXED);
}

ZR_HEAP_RAW inline char* cachePop(int index, int slot) {
  ThreadCache* c = t_state.cache;
  if (!c || !c->head[index]) return cacheRefillAndPop(index, slot);
  char* word = c->head[index];
  c->head[index] = static_cast<char*>(headerOf(userOfWord(word))->parentLink);
  setCachedCount(c, index, c->count[index] - 1);
  return word;
}

ZR_HEAP_RAW inline bool cachePush(int index, int slot, char* word) {
  ThreadCache* c = t_state.cache;
  if (!c || c->count[index] >= kCacheDepth) return cacheSpillAndPush(index, slot, word);
  headerOf(userOfWord(word))->parentLink = c->head[index];
  c->head[index] = word;
  setCachedCount(c, index, c->count[index] + 1);
  return true;
}
long cachedBlocks(int index);            // held by all threads' caches

// ---- Reports (szrheap_report.cpp).
void writeLine(const char* text);
void writeFormatted(const char* format, ...) __attribute__((format(printf, 1, 2)));
void traceBlock(void* u, const char* label);
void trace(const char* format, ...) __attribute__((format(printf, 1, 2)));
// Writes the error and the bad block report; does not return, except for a
// further bad block found while a report is under way.
void fatal(void* u, const char* message);
void fatalFormatted(void* u, const char* format, ...) __attribute__((format(printf, 2, 3)));
// The dump without starting the heap: the low-memory warning runs during start-up.
void dumpReport(int mode);
void lockAll();
// Blocks and bytes of one size index, summed over the slots, with the buddy
// system's free blocks of that index; what the dump's summary shows.
struct IndexTotals {
  unsigned long freeCount = 0, usedCount = 0, freeBytes = 0, usedBytes = 0;
};
IndexTotals indexTotals(int index);
void unlockAll();

// ---- AddressSanitizer poisoning of what callers must not touch.
#if ZR_HEAP_POISON
}  // namespace zr::heap
#include <sanitizer/asan_interface.h>
namespace zr::heap {
inline void poison(const void* address, size_t size) { __asan_poison_memory_region(address, size); }
inline void unpoison(const void* address, size_t size) { __asan_unpoison_memory_region(address, size); }
#else
inline void poison(const void*, size_t) {}
inline void unpoison(const void*, size_t) {}
#endif

}  // namespace zr::heap

#endif
