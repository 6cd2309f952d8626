// The heap's reports: the sink, traces, exceptions and errors, block checks,
// the dump with its summary, and the bad block report that ends the process.
#include <cstdarg>
#include <cstdlib>
#include <cstring>

#include "frame/szrheap_internal.h"
#include "platform/system.h"

namespace zr::heap {

namespace {

// Lines are formatted into fixed buffers; the %.800s and %.900s cuts keep
// long paths inside them.
constexpr size_t kLineBuffer = 2048;
constexpr const char* kRule = "_______________________________________________________________________________\n";

void vformatLine(const char* format, va_list args) {
  char buf[kLineBuffer];
  std::vsnprintf(buf, sizeof buf, format, args);
  writeLine(buf);
}

const char* baseName(const char* file) {
  if (!file) return "";
  if (heap().flags.load(std::memory_order_relaxed) & ZRHEAP_SHOW_FULL_PATH) return file;
  const char* cut = file;
  for (const char* p = file; *p; ++p)
    if (*p == '\\' || *p == '/') cut = p + 1;
  return cut;
}

void blockLine(void* u, const char* label) {
  ZrHeapBlockHeader* hdr = headerOf(u);
  const uintptr_t w = hdr->blockWord;
  const bool debug = w != ZRHEAP_FREED_WORD && (w & ZRHEAP_FLAG_DEBUG);
  if (!label) label = (w != ZRHEAP_FREED_WORD && hdr->parentLink) ? "  child" : "parent";
  if (debug && std::strcmp(label, "alloc") == 0 && hdr->allocName) label = hdr->allocName;
  if (debug && std::strcmp(label, "free") == 0 && hdr->freeName) label = hdr->freeName;
  if (debug) {
    writeFormatted("%p  %s %s (size %lu, file %.800s, line %d)", u, label, hdr->typeName ? hdr->typeName : "",
                   static_cast<unsigned long>(hdr->currentSize), baseName(hdr->file), static_cast<int>(hdr->line));
  } else {
    // A freed block's word no longer names its class.
    unsigned long size = w == ZRHEAP_FREED_WORD ? 0 : static_cast<unsigned long>(ZrHeap_size(u));
    writeFormatted("%p  %s (size %lu)", u, label, size);
  }
}

// 20 bytes a row: address at column 0, hex from column 18, text from 59.
void hexDump(const unsigned char* p, size_t n) {
  for (size_t row = 0; row < n; row += 20) {
    char line[80];
    std::memset(line, ' ', 79);
    line[79] = 0;
    int len = std::snprintf(line, 19, "%p:", static_cast<const void*>(p + row));
    if (len >= 0 && len < 19) line[len] = ' ';
    for (size_t k = 0; k < 20 && row + k < n; ++k) {
      unsigned char b = p[row + k];
      static const char hex[] = "0123456789ABCDEF";
      line[18 + 2 * k] = hex[b >> 4];
      line[19 + 2 * k] = hex[b & 15];
      line[59 + k] = ((b & 0x7F) < 32 || (b & 0x7F) == 127) ? '.' : static_cast<char>(b);
    }
    writeLine(line);
  }
}

void userBufferDump(const unsigned char* p, size_t n) {
  size_t shown = n < heap().showMaximumBytes ? n : heap().showMaximumBytes;
  hexDump(p, shown);
  if (shown < n) writeFormatted("                  ... [%lu bytes omitted]", static_cast<unsigned long>(n - shown));
}

void badBlockReport(void* u) {
  Heap& h = heap();
  if (u && u != h.reportedBlock.load()) {
    ZrHeapBlockHeader* hdr = headerOf(u);
    const uintptr_t w = hdr->blockWord;
    const unsigned char* start = static_cast<unsigned char*>(u);
    size_t headerBytes, userBytes = 0, guardBytes = 0;
    const char* title;
    if (w == ZRHEAP_FREED_WORD) {
      title = "\n----------------- Block Header (Freed block)\n";
      headerBytes = kWordHeader;
    } else if (w & ZRHEAP_FLAG_DEBUG) {
      title = "\n----------------- Block Header (Debug)\n";
      headerBytes = kDebugHeader;
      userBytes = hdr->currentSize;
      guardBytes = kGuardSuffix;
    } else if (w & ZRHEAP_FLAG_LARGE) {
      title = "\n----------------- Block Header (Large)\n";
      headerBytes = kLargeHeader;
      userBytes = hdr->currentSize;
    } else if (w & ZRHEAP_FLAG_CHILD) {
      title = "\n----------------- Block Header (Child)\n";
      headerBytes = kChildHeader;
      userBytes = h.classSize[indexOfWord(w)];
    } else {
      title = "\n----------------- Block Header\n";
      headerBytes = kWordHeader;
      userBytes = h.classSize[indexOfWord(w)];
    }
    writeLine(title);
    hexDump(start - headerBytes, headerBytes);
    if (userBytes) {
      writeLine("\n----------------- User Buffer\n");
      userBufferDump(start, userBytes);
    }
    if (guardBytes) {
      writeLine("\n----------------- Guard Suffix\n");
      hexDump(start + userBytes, guardBytes);
    }
    writeLine("\n----------------- Data Type and Source File Information\n");
    blockLine(u, nullptr);
  }
  bool expected = false;
  if (!h.reporting.compare_exchange_strong(expected, true)) return;  // a further bad block of a running report
  h.reportedBlock.store(u);
  writeLine(kRule);
  writeLine("Now checking all other heap blocks...");
  ZrHeap_checkAll();
  if (u && wordOf(u) != ZRHEAP_FREED_WORD && (wordOf(u) & ZRHEAP_FLAG_DEBUG)) {
    writeLine("\nPlease check usage of heap blocks allocated at:\n");
    writeFormatted(" file: %.900s", headerOf(u)->file ? headerOf(u)->file : "");
    writeFormatted(" line: %lu", static_cast<unsigned long>(headerOf(u)->line));
  } else if (h.flags.load() & ZRHEAP_DEBUG) {
    writeLine("\nPlease check usage of heap blocks allocated using ZrHeap_alloc.");
  } else {
    writeLine("\nPlease set environment variable ZR_HEAP_DEBUG=true and re-test.");
  }
  platform::debugBreak();
  std::abort();
}

}  // namespace

IndexTotals indexTotals(int i) {
  const Heap& h = heap();
  IndexTotals t;
  const bool small = h.classSize[i] < h.largeMinSize;
  for (int s = 0; s < kSlots; ++s) {
    const SlotRow& r = h.rows[i][s];
    t.freeCount += static_cast<unsigned long>(r.plainFree + r.debugFree);
    t.usedCount += static_cast<unsigned long>(r.plainUsed + r.debugUsed);
    if (small) {
      t.freeBytes += static_cast<unsigned long>(r.plainFree * static_cast<long>(smallCost(h, i, false)) +
                                                r.debugFree * static_cast<long>(smallCost(h, i, true)));
      t.usedBytes += static_cast<unsigned long>(r.plainUsed * static_cast<long>(smallCost(h, i, false)) +
                                                r.debugUsed * static_cast<long>(smallCost(h, i, true)));
    } else {
      t.freeBytes += static_cast<unsigned long>((r.plainFree + r.debugFree) * static_cast<long>(h.classSize[i]));
      t.usedBytes += static_cast<unsigned long>((r.plainUsed + r.debugUsed) * static_cast<long>(h.classSize[i]));
    }
  }
  // Blocks in thread caches are free, though their rows count them in use.
  if (long cached = cachedBlocks(i)) {
    unsigned long bytes = static_cast<unsigned long>(cached) * smallCost(h, i, false);
    t.freeCount += static_cast<unsigned long>(cached);
    t.usedCount -= static_cast<unsigned long>(cached);
    t.freeBytes += bytes;
    t.usedBytes -= bytes;
  }
  for (const BuddyBlock* b = h.buddyFree[i]; b; b = b->freeNext) {
    t.freeCount += 1;
    t.freeBytes += b->size;
  }
  return t;
}

namespace {

void writeSummary(const Heap& h) {
  writeLine(kRule);
  writeLine("ZR Heap Summary:");
  writeLine(kRule);
  writeLine("#blocks  #blocks  #blocks  #bytes     #bytes     #bytes     size index | range");
  writeLine("free     in use   total    free       in use     total");
  const char* separator = "________ ________ ________ __________ __________ __________ ___________________\n";
  writeLine(separator);
  const char* row = "%-8lu %-8lu %-8lu %-10lu %-10lu %-10lu ";
  IndexTotals all;
  unsigned long smallFree = 0, smallUsed = 0;
  unsigned long lower = 0;
  for (int i = 0; i <= h.lastIndex; ++i) {
    IndexTotals t = indexTotals(i);
    unsigned long upper = classUpperBound(h, i);
    if (t.freeCount + t.usedCount) {
      char line[256];
      int n = std::snprintf(line, sizeof line, row, t.freeCount, t.usedCount, t.freeCount + t.usedCount, t.freeBytes,
                            t.usedBytes, t.freeBytes + t.usedBytes);
      std::snprintf(line + n, sizeof line - static_cast<size_t>(n), "%02d | %lu..%lu", i, lower, upper);
      writeLine(line);
    }
    lower = upper + 1;
    all.freeCount += t.freeCount;
    all.usedCount += t.usedCount;
    all.freeBytes += t.freeBytes;
    all.usedBytes += t.usedBytes;
    if (i < h.firstLargeIndex) {
      smallFree += t.freeBytes;
      smallUsed += t.usedBytes;
    }
  }
  unsigned long unused = h.unusedSmallBytes, regions = h.regionCount;
  if (unused) {
    writeFormatted("%-8lu %-8lu %-8lu %-10lu %-10lu %-10lu unused small blocks", regions, 0ul, regions, unused, 0ul,
                   unused);
    all.freeBytes += unused;
  }
  unsigned long waste = h.wasteBytes, wasteCount = h.wasteCount;
  if (waste) {
    writeFormatted("%-8lu %-8lu %-8lu %-10lu %-10lu %-10lu buddy system waste", wasteCount, 0ul, wasteCount, waste, 0ul,
                   waste);
    all.freeCount += wasteCount;
    all.freeBytes += waste;
  }
  writeLine(separator);
  writeFormatted("%-8lu %-8lu %-8lu %-10lu %-10lu %-10lu VM size: %lu", all.freeCount, all.usedCount,
                 all.freeCount + all.usedCount, all.freeBytes, all.usedBytes, all.freeBytes + all.usedBytes,
                 static_cast<unsigned long>(h.reservedBytes));
  writeLine(kRule);
  writeFormatted("committed bytes: %lu (total)", static_cast<unsigned long>(h.committedBytes));
  writeFormatted("in small blocks: %lu (unused), %lu (free), %lu (in use)", unused, smallFree, smallUsed);
  if (smallFree + smallUsed != h.smallUseBytes)
    writeFormatted("*** discrepancy: free + in use = %lu, should be %lu", smallFree + smallUsed,
                   static_cast<unsigned long>(h.smallUseBytes));
  writeFormatted("in large blocks: %lu (in use)",
                 static_cast<unsigned long>(h.committedBytes - h.unusedSmallBytes - h.smallUseBytes - h.permanentBytes));
  writeFormatted("permanent bytes: %lu", static_cast<unsigned long>(h.permanentBytes));
  writeLine(kRule);
}

}  // namespace

void writeLine(const char* text) {
  Heap& h = heap();
  size_t n = std::strlen(text);
  bool hasNewline = n && text[n - 1] == '\n';
  lock(&h.logLock);
  if (h.logFile) {
    std::fputs(text, h.logFile);
    if (!hasNewline) std::fputc('\n', h.logFile);
    std::fflush(h.logFile);
  } else if (h.logCallback) {
    h.logCallback(text);
  }
  unlock(&h.logLock);
}

void writeFormatted(const char* format, ...) {
  va_list args;
  va_start(args, format);
  vformatLine(format, args);
  va_end(args);
}

void traceBlock(void* u, const char* label) {
  if (!u) {
    writeFormatted("%p  %s", u, label);
    return;
  }
  blockLine(u, label);
}

void trace(const char* format, ...) {
  if (!(heap().flags.load(std::memory_order_relaxed) & ZRHEAP_TRACE)) return;
  va_list args;
  va_start(args, format);
  vformatLine(format, args);
  va_end(args);
}

void fatal(void* u, const char* message) {
  ZrHeap_error("%s", message);
  badBlockReport(u);
}

void fatalFormatted(void* u, const char* format, ...) {
  char buf[kLineBuffer];
  va_list args;
  va_start(args, format);
  std::vsnprintf(buf, sizeof buf, format, args);
  va_end(args);
  fatal(u, buf);
}

void lockAll() {
  Heap& h = heap();
  lock(&h.mainLock);
  for (uint32_t& l : h.childLocks) lock(&l);
  for (int s = 0; s < kSlots; ++s)
    for (int i = 0; i <= h.lastIndex; ++i) lock(&h.rows[i][s].lock);
  if (!smallLockHeldHere()) lock(&h.smallLock);
  lock(&h.buddyLock);
  lock(&h.vmLock);
}

void unlockAll() {
  Heap& h = heap();
  unlock(&h.vmLock);
  unlock(&h.buddyLock);
  if (!smallLockHeldHere()) unlock(&h.smallLock);
  for (int s = 0; s < kSlots; ++s)
    for (int i = 0; i <= h.lastIndex; ++i) unlock(&h.rows[i][s].lock);
  for (uint32_t& l : h.childLocks) unlock(&l);
  unlock(&h.mainLock);
}

}  // namespace zr::heap

using namespace zr::heap;

ZRAPI void ZrHeap_exception(const char* format, ...) {
  writeLine(kRule);
  writeLine("ZR Heap Manager Exception:\n");
  va_list args;
  va_start(args, format);
  vformatLine(format, args);
  va_end(args);
}

ZRAPI void ZrHeap_error(const char* format, ...) {
  writeLine(kRule);
  writeLine("ZR Heap Manager Error:\n");
  va_list args;
  va_start(args, format);
  vformatLine(format, args);
  va_end(args);
}

ZRAPI void ZrHeap_check(void* u) {
  Heap& h = heap();
  if (!u || u == h.reportedBlock.load()) return;
  ZrHeapBlockHeader* hdr = headerOf(u);
  const uintptr_t w = hdr->blockWord;
  if (w == ZRHEAP_FREED_WORD) return fatal(u, "check: block was previously freed");
  if (!(w & ZRHEAP_FLAG_DEBUG)) return;
  if (!(w & ZRHEAP_FLAG_CHILD)) return fatal(u, "check: debug block is missing child header (bad block prefix)");
  if (!(w & ZRHEAP_FLAG_LARGE)) return fatal(u, "check: debug block is missing large header (bad block prefix)");
  if (hdr->currentSize > hdr->maximumSize) return fatal(u, "check: current size exceeds maximum size (bad large header)");
  if (h.flags.load(std::memory_order_relaxed) & ZRHEAP_CHECK_GUARD_SUFFIX) {
    uintptr_t first = readSuffix(u, hdr->currentSize, 0), second = readSuffix(u, hdr->currentSize, 1);
    if (first != second)
      return fatalFormatted(u, "check: invalid guard suffix (address: %p)",
                            static_cast<void*>(static_cast<char*>(u) + hdr->currentSize + kW));
    if (first != hdr->guardPrefix)
      return fatalFormatted(u, "check: invalid guard prefix (address: %p)", static_cast<void*>(hdr));
  }
}

ZRAPI void ZrHeap_checkAll(void) {
  Heap& h = heap();
  if (!h.started.load(std::memory_order_acquire)) return;
  if (++h.checkCounter < h.checkInterval) return;
  h.checkCounter = 0;
  const bool locking = !h.reporting.load();
  if (locking) lockAll();
  for (ZrHeapBlockHeader* hdr = h.debugChain; hdr; hdr = static_cast<ZrHeapBlockHeader*>(hdr->debugNext))
    ZrHeap_check(reinterpret_cast<char*>(hdr) + kDebugHeader);
  if (locking) unlockAll();
}

ZRAPI void ZrHeap_dump(int mode) {
  ensureStarted();
  dumpReport(mode);
}

namespace zr::heap {

void dumpReport(int mode) {
  Heap& h = heap();
  lockAll();
  if (!(mode & 2)) {
    writeLine(kRule);
    writeLine("ZR Heap Manager - Memory Dump:");
    writeLine(kRule);
    for (ZrHeapBlockHeader* hdr = h.debugChain; hdr; hdr = static_cast<ZrHeapBlockHeader*>(hdr->debugNext)) {
      void* u = reinterpret_cast<char*>(hdr) + kDebugHeader;
      blockLine(u, nullptr);
      if (mode == 1 && hdr->currentSize > 0) userBufferDump(static_cast<unsigned char*>(u), hdr->currentSize);
    }
  }
  writeSummary(h);
  unlockAll();
}

}  // namespace zr::heap

ZRAPI void ZrHeap_log(FILE* file, ZrHeapLogCallback callback) {
  Heap& h = heap();
  lock(&h.logLock);
  if (file) h.logFile = file;
  h.logCallback = callback;
  unlock(&h.logLock);
}

ZRAPI size_t ZrHeap_totalSizeVM(void) { return heap().reservedBytes; }
ZRAPI void ZrHeap_debugOn(void) { heap().flags.fetch_or(ZRHEAP_DEBUG); }
ZRAPI void ZrHeap_debugOff(void) { heap().flags.fetch_and(~uint32_t{ZRHEAP_DEBUG}); }
ZRAPI void ZrHeap_checkOn(void) { heap().flags.fetch_or(ZRHEAP_CHECK); }
ZRAPI void ZrHeap_checkOff(void) { heap().flags.fetch_and(~uint32_t{ZRHEAP_CHECK}); }
ZRAPI void ZrHeap_traceOn(void) { heap().flags.fetch_or(ZRHEAP_TRACE); }
ZRAPI void ZrHeap_traceOff(void) { heap().flags.fetch_and(~uint32_t{ZRHEAP_TRACE}); }

ZRAPI void ZrHeap_setCheckInterval(int count) {
  ensureStarted();
  heap().checkInterval = count;
}

ZRAPI void ZrHeap_showFullPath(int on) {
  ensureStarted();
  if (on) heap().flags.fetch_or(ZRHEAP_SHOW_FULL_PATH);
  else heap().flags.fetch_and(~uint32_t{ZRHEAP_SHOW_FULL_PATH});
}

ZRAPI void ZrHeap_showBufferMaximumBytes(size_t count) {
  ensureStarted();
  heap().showMaximumBytes = count;
}
