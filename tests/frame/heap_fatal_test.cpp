// Misuse ends the process with the heap's report; these run as death tests.
#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "tests/frame/heap_test_support.h"

namespace zr::heap {
namespace {

using testing::reportToStderr;

// Writes where the sanitizer would stop the test before the heap can look.
__attribute__((no_sanitize("address"))) void scribble(void* at, unsigned char value) {
  *static_cast<volatile unsigned char*>(at) = value;
}

class HeapFatal : public ::testing::Test {
 protected:
  void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_F(HeapFatal, DoubleFreeOfASmallBlock) {
  EXPECT_DEATH(
      {
        reportToStderr();
        void* p = ZrHeap_malloc(50);
        ZrHeap_free(p);
        ZrHeap_free(p);
      },
      "ZR Heap Manager Error:\nfree: block was previously freed\n(.|\n)*"
      "Block Header \\(Freed block\\)(.|\n)*parent \\(size 0\\)\n(.|\n)*Now checking all other heap blocks...\n(.|\n)*"
      "Please set environment variable ZR_HEAP_DEBUG=true and re-test.");
}

TEST_F(HeapFatal, OverrunOfADebugBlockIsCaughtByItsGuard) {
  EXPECT_DEATH(
      {
        reportToStderr();
        ZrHeap_debugOn();
        char* p = static_cast<char*>(ZrHeap__alloc(10, "Buffer", "alloc", "free", "c:\\work\\widget.cpp", 77, nullptr));
        scribble(p + 10, 0);
        ZrHeap_free(p);
      },
      "check: invalid guard suffix \\(address: 0x[0-9a-f]+\\)(.|\n)*Block Header \\(Debug\\)(.|\n)*User Buffer"
      "(.|\n)*Guard Suffix(.|\n)*parent Buffer \\(size 10, file widget.cpp, line 77\\)(.|\n)*"
      "Please check usage of heap blocks allocated at:\n file: c:.work.widget.cpp\n line: 77");
}

TEST_F(HeapFatal, PrefixMismatchWhenBothSuffixCopiesAgree) {
  EXPECT_DEATH(
      {
        reportToStderr();
        ZrHeap_debugOn();
        char* p = static_cast<char*>(ZrHeap__alloc(8, "T", "alloc", "free", "f.cpp", 1, nullptr));
        scribble(p + 8, 0x11);
        scribble(p + 8 + sizeof(void*), 0x11);
        ZrHeap_check(p);
      },
      "check: invalid guard prefix \\(address: 0x[0-9a-f]+\\)");
}

TEST_F(HeapFatal, CheckAllFindsEveryOtherBadBlock) {
  EXPECT_DEATH(
      {
        reportToStderr();
        ZrHeap_debugOn();
        char* a = static_cast<char*>(ZrHeap__alloc(8, "First", "alloc", "free", "f.cpp", 1, nullptr));
        char* b = static_cast<char*>(ZrHeap__alloc(8, "Second", "alloc", "free", "f.cpp", 2, nullptr));
        scribble(a + 8, 0x22);
        scribble(b + 8, 0x33);
        ZrHeap_check(b);
      },
      "Second(.|\n)*Now checking all other heap blocks...(.|\n)*invalid guard suffix(.|\n)*First(.|\n)*line: 2");
}

TEST_F(HeapFatal, AdoptMisuse) {
  EXPECT_DEATH(
      {
        reportToStderr();
        ZrHeap_adopt(nullptr, ZrHeap_malloc(8));
      },
      "adopt: child is NULL");
  EXPECT_DEATH(
      {
        reportToStderr();
        void* parent = ZrHeap_malloc(8);
        void* child = ZrHeap_malloc(8);
        ZrHeap_adopt(child, parent);
        ZrHeap_adopt(child, parent);  // the same parent again is misuse too
      },
      "adopt: child block was already adopted");
  EXPECT_DEATH(
      {
        reportToStderr();
        void* gone = ZrHeap_malloc(200);
        ZrHeap_free(gone);
        ZrHeap__alloc(8, "T", "alloc", "free", "f.cpp", 1, gone);
      },
      "alloc: parent was already freed");
}

TEST_F(HeapFatal, ResizeOutsideItsRange) {
  EXPECT_DEATH(
      {
        reportToStderr();
        ZrHeap_resize(nullptr, 0, 10, 0, 20);
      },
      "resize: block is NULL");
  EXPECT_DEATH(
      {
        reportToStderr();
        void* p = ZrHeap_malloc(100);
        ZrHeap_resize(p, 128, 50, 97, 128);
      },
      "resize: new size is less than minimum size");
  EXPECT_DEATH(
      {
        reportToStderr();
        void* p = ZrHeap_malloc(100);
        ZrHeap_resize(p, 128, 129, 97, 128);
      },
      "resize: new size is greater than maximum size");
}

TEST_F(HeapFatal, NullPools) {
  EXPECT_DEATH(
      {
        reportToStderr();
        ZrHeap_userData(nullptr);
      },
      "poolSize: pool is NULL");
  EXPECT_DEATH(
      {
        reportToStderr();
        ZrHeap_poolSize(nullptr);
      },
      "Error:\npoolSize: pool is NULL\n");
  EXPECT_DEATH(
      {
        reportToStderr();
        ZrHeap_allocFromPool(8, nullptr, nullptr);
      },
      "allocFromPool: pool is NULL");
  EXPECT_DEATH(
      {
        reportToStderr();
        ZrHeap_freePool(nullptr);
      },
      "freePool: pool is NULL");
}

TEST_F(HeapFatal, FreedLargeBlockMemoryFaults) {
  // A freed large block's pages lose their access at once: touching it faults.
  auto touchFreed = [] {
    char* p = static_cast<char*>(ZrHeap_malloc(100000));
    p[50000] = 1;
    ZrHeap_free(p);
    scribble(p + 50000, 2);
    std::fputs("the write went through\n", stderr);
    std::exit(0);
  };
#if defined(__SANITIZE_ADDRESS__)
  EXPECT_DEATH(touchFreed(), "SEGV on unknown address");
#else
  EXPECT_EXIT(touchFreed(), ::testing::KilledBySignal(SIGSEGV), "");
#endif
}

// Header rewrites, where the sanitizer would stop the test first.
__attribute__((no_sanitize("address"))) void scribbleWord(void* at, uintptr_t value) {
  *static_cast<volatile uintptr_t*>(at) = value;
}
__attribute__((no_sanitize("address"))) void clearWordFlags(void* u, uintptr_t flags) {
  headerOf(u)->blockWord &= ~flags;
}

// A sub-block of a pool past its threshold: a block word and nothing more.
void* poolSubBlock() {
  MemoryPool* pool = ZrHeap_allocPool(nullptr);
  while (ZrHeap_poolSize(pool) < heap().poolThreshold) ZrHeap_allocFromPool(6000, nullptr, pool);
  return ZrHeap_allocFromPool(100, nullptr, pool);
}

TEST_F(HeapFatal, AdoptOfFreedOrHeaderlessBlocks) {
  EXPECT_DEATH(
      {
        reportToStderr();
        ZrHeap_adopt(ZrHeap_malloc(8), nullptr);
      },
      "Error:\nadopt: parent is NULL\n");
  EXPECT_DEATH(
      {
        reportToStderr();
        void* child = ZrHeap_malloc(8);
        void* parent = ZrHeap_malloc(8);
        ZrHeap_free(child);
        ZrHeap_adopt(child, parent);
      },
      "Error:\nadopt: child block was previously freed\n(.|\n)*Block Header \\(Freed block\\)");
  EXPECT_DEATH(
      {
        reportToStderr();
        void* child = ZrHeap_malloc(8);
        void* parent = ZrHeap_malloc(8);
        ZrHeap_free(parent);
        ZrHeap_adopt(child, parent);
      },
      "Error:\nadopt: parent block was previously freed\n(.|\n)*Block Header \\(Freed block\\)");
  // Without its link to the pool a sub-block passes the early tests.
  EXPECT_DEATH(
      {
        reportToStderr();
        void* sub = poolSubBlock();
        scribbleWord(&headerOf(sub)->parentLink, 0);
        ZrHeap_adopt(sub, ZrHeap_malloc(8));
      },
      "Error:\nadopt: child block does not have child header\n(.|\n)*Block Header\n");
  EXPECT_DEATH(
      {
        reportToStderr();
        void* sub = poolSubBlock();
        scribbleWord(&headerOf(sub)->parentLink, 0);
        ZrHeap_adopt(ZrHeap_malloc(8), sub);
      },
      "Error:\nadopt: parent block does not have child header\n(.|\n)*Block Header\n");
}

TEST_F(HeapFatal, FreeAndSizeOfBrokenOrFreedBlocks) {
  EXPECT_DEATH(
      {
        reportToStderr();
        void* sub = poolSubBlock();
        scribbleWord(&headerOf(sub)->parentLink, reinterpret_cast<uintptr_t>(blockWordAddress(ZrHeap_malloc(8))));
        ZrHeap_free(sub);
      },
      "Error:\nfree: block has no child header, parent is not memory pool\n");
  EXPECT_DEATH(
      {
        reportToStderr();
        void* big = ZrHeap_malloc(10000);
        clearWordFlags(big, ZRHEAP_FLAG_LARGE);
        ZrHeap_free(big);
      },
      "Error:\nfree: missing large header\n(.|\n)*Block Header \\(Child\\)");
  EXPECT_DEATH(
      {
        reportToStderr();
        void* p = ZrHeap_malloc(30);
        ZrHeap_free(p);
        ZrHeap_sizeEx(p, nullptr, nullptr, nullptr);
      },
      "Error:\nsize: block was previously freed\n");
  EXPECT_DEATH(
      {
        reportToStderr();
        void* p = ZrHeap_malloc(30);
        ZrHeap_free(p);
        ZrHeap_check(p);
      },
      "Error:\ncheck: block was previously freed\n");
}

// Debug headers with a flag or the size overwritten.
__attribute__((no_sanitize("address"))) void checkBrokenDebugBlock(uintptr_t clearFlags, uintptr_t sizeIncrease) {
  reportToStderr();
  ZrHeap_debugOn();
  void* p = ZrHeap__alloc(16, "Broken", "alloc", "free", "b.cpp", 3, nullptr);
  clearWordFlags(p, clearFlags);
  headerOf(p)->currentSize += sizeIncrease;
  ZrHeap_check(p);
}

TEST_F(HeapFatal, BrokenDebugHeaders) {
  EXPECT_DEATH(checkBrokenDebugBlock(ZRHEAP_FLAG_CHILD, 0),
               "Error:\ncheck: debug block is missing child header \\(bad block prefix\\)\n(.|\n)*"
               "Block Header \\(Debug\\)(.|\n)*parent Broken \\(size 16, file b.cpp, line 3\\)");
  EXPECT_DEATH(checkBrokenDebugBlock(ZRHEAP_FLAG_LARGE, 0),
               "Error:\ncheck: debug block is missing large header \\(bad block prefix\\)\n");
  EXPECT_DEATH(checkBrokenDebugBlock(0, 1000),
               "Error:\ncheck: current size exceeds maximum size \\(bad large header\\)\n(.|\n)*"
               "parent Broken \\(size 1016, ");
}

// The buddy system's own consistency reports, reached through its internals.
TEST_F(HeapFatal, BuddyBlockFreedTwiceAndFailedDecommit) {
  EXPECT_DEATH(
      {
        reportToStderr();
        ZrHeap_init();
        BuddyBlock* node = allocBuddyBlock(heap().firstLargeIndex, false);
        node->committed = 0;
        freeBuddyBlock(node);
        freeBuddyBlock(node);
      },
      "Error:\nfreeBuddyBlock\\(0x[0-9a-f]+\\) - block was not in use\n(.|\n)*Now checking all other heap blocks");
  EXPECT_DEATH(
      {
        reportToStderr();
        decommitVM(static_cast<char*>(ZrHeap_malloc(100000)) + 1, 4096);
      },
      "Error:\nVirtualFree\\(MEM_DECOMMIT\\) Failed\n");
}

}  // namespace
}  // namespace zr::heap

#if defined(__SANITIZE_ADDRESS__)
namespace zr::heap {
namespace {

// Under AddressSanitizer the heap poisons what a caller must not touch.
TEST(HeapPoisoning, UseAfterFreeAndOverrunAreCaught) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        auto* p = static_cast<volatile char*>(ZrHeap_malloc(40));
        ZrHeap_free(const_cast<char*>(p));
        p[0] = 1;
      },
      "use-after-poison");
  EXPECT_DEATH(
      {
        auto* p = static_cast<volatile char*>(ZrHeap_malloc(20000));
        p[20000] = 1;
      },
      "use-after-poison");
  EXPECT_DEATH(
      {
        ZrHeap_debugOn();
        auto* p = static_cast<volatile char*>(ZrHeap_malloc(10));
        p[10] = 1;  // the guard suffix
      },
      "use-after-poison");
}

}  // namespace
}  // namespace zr::heap
#endif
