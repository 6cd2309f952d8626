// Runs one heap scenario in a fresh process and prints what it saw, so that
// tests can vary the environment the heap reads at start-up.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "frame/szrheap_internal.h"
#include "zrheap.h"

using namespace zr::heap;

static void printSettings() {
  ZrHeap_init();
  const Heap& h = heap();
  std::printf("flags=%u\n", h.flags.load());
  std::printf("poolThreshold=%zu\n", h.poolThreshold);
  std::printf("memLowThreshold=%zu\n", h.memLowThreshold);
  std::printf("reserved=%zu\n", ZrHeap_totalSizeVM());
  std::printf("allocFill=%d freeFill=%d\n", h.allocFill, h.freeFill);
  std::printf("checkInterval=%d\n", h.checkInterval);
  std::printf("mpMaxIndex=%d mpMaxSlot=%d\n", h.mpMaxIndex, h.mpMaxSlot);
  std::printf("printSizeIndex=%d poolCheck=%d\n", h.printSizeIndex, h.poolCheck ? 1 : 0);
  std::printf("waste=%zu/%zu\n", h.wasteBytes, h.wasteCount);
}

// A known set of blocks, then the full dump on standard output.
static void dumpScenario() {
  ZrHeap_log(stdout, nullptr);
  void* a = ZrHeap__alloc(10, "Alpha", "alloc", "free", "c:\\src\\alpha.cpp", 11, nullptr);
  std::memcpy(a, "0123456789", 10);
  ZrHeap_debugOff();
  void* b = ZrHeap_malloc(20);
  void* c = ZrHeap_malloc(20);
  ZrHeap_free(c);
  void* big = ZrHeap_malloc(10000);
  ZrHeap_dump(1);
  (void)b, (void)big;
}

static void traceScenario() {
  ZrHeap_log(stdout, nullptr);
  void* p = ZrHeap__alloc(40, "Traced", "make", "unmake", "t.cpp", 5, nullptr);
  ZrHeap_free(p);
}

// Writes where the sanitizer would stop the probe before the heap can look.
__attribute__((no_sanitize("address"))) static void scribble(char* at) { *at ^= 0x55; }

// Corrupts a debug block's guard and calls the check of all blocks n times.
static void checkIntervalScenario(int calls) {
  ZrHeap_log(stdout, nullptr);
  char* p = static_cast<char*>(ZrHeap__alloc(16, "Guarded", "alloc", "free", "g.cpp", 1, nullptr));
  scribble(p + 16);
  for (int i = 1; i <= calls; ++i) {
    std::printf("call %d\n", i);
    std::fflush(stdout);
    ZrHeap_checkAll();
  }
}

// Looks at the bytes of a freed block, which the sanitizer would refuse.
__attribute__((no_sanitize("address"))) static void fillScenario() {
  unsigned char* p = static_cast<unsigned char*>(ZrHeap_malloc(32));
  std::printf("alloc fill %02X %02X\n", p[0], p[31]);
  ZrHeap_free(p);
  std::printf("free fill %02X %02X\n", p[0], p[31]);
}

int main(int argc, char** argv) {
  const char* what = argc > 1 ? argv[1] : "settings";
  if (!std::strcmp(what, "settings")) printSettings();
  else if (!std::strcmp(what, "dump")) dumpScenario();
  else if (!std::strcmp(what, "trace")) traceScenario();
  else if (!std::strcmp(what, "check")) checkIntervalScenario(argc > 2 ? std::atoi(argv[2]) : 1);
  else if (!std::strcmp(what, "fill")) fillScenario();
  else return 2;
  return 0;
}
