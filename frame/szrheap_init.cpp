// Start-up of the heap: settings from the environment, the size class table,
// the first reservation. Also the spin lock's slow path.
#include <cctype>
#include <cstdlib>
#include <cstring>

#include "frame/szrheap_internal.h"
#include "platform/dynlib.h"
#include "platform/system.h"
#include "platform/vm.h"

namespace zr::heap {

constinit Heap g_heap{};

void spinWait(uint32_t* l) {
  unsigned n = 1;
  for (;;) {
    for (unsigned i = 0; i < n; ++i) __builtin_ia32_pause();
    if (__atomic_exchange_n(l, 1u, __ATOMIC_ACQUIRE) == 0) return;
    n *= 2;
    if (n > 1024) {
      platform::yieldThread();
      n = 1;
    }
  }
}

namespace {

// On when the value starts with t or T.
bool trueWord(const char* name, bool unset) {
  const char* v = platform::environmentValue(name);
  if (!v) return unset;
  return v[0] == 't' || v[0] == 'T';
}

// Decimal digits with an optional K, M or G; anything else counts as unset.
size_t sizeWord(const char* name, size_t unset) {
  const char* v = platform::environmentValue(name);
  if (!v || !std::isdigit(static_cast<unsigned char>(*v))) return unset;
  size_t value = 0;
  while (std::isdigit(static_cast<unsigned char>(*v))) value = value * 10 + static_cast<size_t>(*v++ - '0');
  switch (*v) {
    case 0: return value;
    case 'k': case 'K': ++v; value <<= 10; break;
    case 'm': case 'M': ++v; value <<= 20; break;
    case 'g': case 'G': ++v; value <<= 30; break;
    default: return unset;
  }
  return *v ? unset : value;
}

bool intWord(const char* name, int* out) {
  const char* v = platform::environmentValue(name);
  return v && std::sscanf(v, "%d", out) == 1;
}

void buildSizeClasses(Heap& h) {
  const size_t p = h.pageSize;
  int n = 0;
  h.classSize[n++] = 8;
  h.classSize[n++] = 12;
  bool reachedLarge = false;
  for (uint64_t s = 16; n < kMaxClasses; s *= 2) {
    if (s == 2 * p) {
      reachedLarge = true;
      h.firstLargeIndex = n;
      h.lastSmallIndex = n - 1;
      h.classSize[n++] = static_cast<uint32_t>(s);
      if (n < kMaxClasses) h.classSize[n++] = static_cast<uint32_t>(3 * p);
      break;
    }
    h.classSize[n++] = static_cast<uint32_t>(s);
    if (n < kMaxClasses) h.classSize[n++] = static_cast<uint32_t>(s + s / 2);
    if (s > 2 * p) break;
  }
  if (!reachedLarge || h.lastSmallIndex > 30) std::abort();
  while (n < kMaxClasses && h.classSize[n - 1] <= 2000000000u) {
    uint64_t next = uint64_t{h.classSize[n - 1]} + h.classSize[n - 2];
    h.classSize[n++] = static_cast<uint32_t>(next);
  }
  h.lastIndex = n - 1;
  h.largeMinSize = h.classSize[h.firstLargeIndex];
  h.splitMinSize = h.largeMinSize * 5 / 2;
  h.maxBlockSize = h.classSize[h.lastIndex];

  for (size_t k = 0; k < sizeof h.smallIndexBy4; ++k) {
    size_t size = k * 4;
    int i = 0;
    while (i < h.lastIndex && h.classSize[i] < size) ++i;
    h.smallIndexBy4[k] = static_cast<uint8_t>(i);
  }
}

void startHeap() {
  Heap& h = heap();
  if (const char* name = platform::environmentValue("ZR_HEAP_LOGFILENAME")) {
    h.logFile = std::fopen(name, trueWord("ZR_HEAP_LOGFILE_OVERWRITE", true) ? "w" : "a");
  }
  h.memLowThreshold = sizeWord("ZR_MEMLOW_WARNING_THRESHOLD", 0);
  for (const char* lib : {"libqrn.dll", "libqrnutils.dll"}) {
    if (void* module = platform::findLoadedLibrary(lib)) {
      h.externalDump = reinterpret_cast<void (*)(int)>(platform::findSymbol(module, "CorHeap_dump"));
      if (h.externalDump) break;
    }
  }
  h.poolThreshold = sizeWord("ZR_POOL_THRESHOLD", kDefaultPoolThreshold);

  uint32_t envFlags = 0;
  if (trueWord("ZR_HEAP_DEBUG", false)) envFlags |= ZRHEAP_DEBUG;
  if (trueWord("ZR_HEAP_CHECK", false)) envFlags |= ZRHEAP_CHECK;
  if (trueWord("ZR_HEAP_TRACE", false)) envFlags |= ZRHEAP_TRACE;
  if (trueWord("ZR_HEAP_SHOW_FULL_PATH", false)) envFlags |= ZRHEAP_SHOW_FULL_PATH;
  if (trueWord("ZR_HEAP_CHECK_GUARD_SUFFIX", true)) envFlags |= ZRHEAP_CHECK_GUARD_SUFFIX;
  h.flags.fetch_or(envFlags);

  h.mainLock = h.logLock = h.vmLock = h.buddyLock = h.smallLock = 0;
  std::memset(h.childLocks, 0, sizeof h.childLocks);

  h.heapSize = sizeWord("ZR_HEAP_SIZE", kDefaultHeapSize);
  int maxSlot = -1;
  intWord("ZR_HEAP_MP_MAX_SLOT", &maxSlot);
  h.pageSize = platform::pageSize();
  if (maxSlot < 0) maxSlot = platform::processorCount() - 1;

  buildSizeClasses(h);

  int maxSize = -1;
  h.mpMaxIndex = intWord("ZR_HEAP_MP_MAX_SIZE", &maxSize) && maxSize >= 0
                     ? sizeIndexOf(static_cast<size_t>(maxSize))
                     : h.lastSmallIndex;
  if (h.mpMaxIndex > h.lastSmallIndex) h.mpMaxIndex = h.lastSmallIndex;
  h.mpMaxSlot = maxSlot > kSlots - 1 ? kSlots - 1 : maxSlot;

  std::memset(static_cast<void*>(h.rows), 0, sizeof h.rows);
  std::memset(h.slots, 0, sizeof h.slots);
  std::memset(h.buddyFree, 0, sizeof h.buddyFree);

  if (char* base = allocVM(h.heapSize)) initBuddySystem(base, h.heapSize);

  intWord("ZR_HEAP_ALLOC_INIT", &h.allocFill);
  intWord("ZR_HEAP_FREE_FILL", &h.freeFill);
  intWord("ZR_HEAP_CHECK_INTERVAL", &h.checkInterval);
  intWord("ZR_HEAP_PRINT_SIZEINDEX", &h.printSizeIndex);
  h.poolCheck = trueWord("ZR_HEAP_POOL_CHECK", false);

  lock(&h.mainLock);
  unlock(&h.mainLock);
  h.started.store(true, std::memory_order_release);
}

}  // namespace

int largeSizeIndexOf(size_t e) {
  const Heap& h = heap();
  int i = 0;
  while (i < h.lastIndex && h.classSize[i] < e) ++i;
  return i;
}

void startOnce() {
  // The first caller starts the heap; a racing second one waits for it.
  static std::atomic<int> state{0};
  int expected = 0;
  if (state.compare_exchange_strong(expected, 1)) {
    startHeap();
    state.store(2);
  } else {
    while (state.load() != 2) platform::yieldThread();
  }
}

}  // namespace zr::heap

ZRAPI void ZrHeap_init(void) { zr::heap::ensureStarted(); }
