// Memory pools below and above the sub-allocation threshold.
#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <vector>

#include "tests/frame/heap_test_support.h"

namespace zr::heap {
namespace {

const HeapTypeInfo kRowInfo = {"Row", "alloc", "free", "pool_test.cpp", 1};

TEST(HeapPool, UserDataAndEmptySize) {
  int marker = 0;
  MemoryPool* pool = ZrHeap_allocPool(&marker);
  ASSERT_NE(pool, nullptr);
  EXPECT_EQ(ZrHeap_userData(pool), &marker);
  EXPECT_EQ(ZrHeap_poolSize(pool), 0u);
  ZrHeap_freePool(pool);
}

TEST(HeapPool, BelowThresholdBlocksAreChildrenFreedOneByOne) {
  MemoryPool* pool = ZrHeap_allocPool(nullptr);
  void* a = ZrHeap_allocFromPool(100, &kRowInfo, pool);
  void* b = ZrHeap_allocFromPool(100, &kRowInfo, pool);
  EXPECT_EQ(ZrHeap_parent(a), pool);
  EXPECT_EQ(ZrHeap_poolSize(pool), 256u);  // two blocks of class 128
  ZrHeap_free(a);
  EXPECT_EQ(ZrHeap_poolSize(pool), 128u);
  (void)b;
  ZrHeap_freePool(pool);
}

TEST(HeapPool, AboveThresholdSubBlocksFeedThePoolsOwnList) {
  MemoryPool* pool = ZrHeap_allocPool(nullptr);
  // Charge the pool past the threshold with ordinary children.
  while (ZrHeap_poolSize(pool) < heap().poolThreshold) ZrHeap_allocFromPool(6000, &kRowInfo, pool);

  std::vector<void*> subs;
  std::set<void*> distinct;
  for (int i = 0; i < 1000; ++i) {
    void* p = ZrHeap_allocFromPool(40, &kRowInfo, pool);
    ASSERT_NE(p, nullptr);
    std::memset(p, i & 0xFF, 48);
    subs.push_back(p);
    distinct.insert(p);
  }
  EXPECT_EQ(distinct.size(), subs.size());
  EXPECT_EQ(ZrHeap_parent(subs[0]), pool);  // the word leads to the pool
  const size_t charged = ZrHeap_poolSize(pool);
  ZrHeap_free(subs[10]);
  EXPECT_EQ(ZrHeap_poolSize(pool), charged);  // the pool's size does not fall
  EXPECT_EQ(ZrHeap_allocFromPool(48, &kRowInfo, pool), subs[10]);  // reused from the pool's list

  // Only freeing the pool gives the buffers back to the buddy system.
  long usedBuffers = 0;
  for (int i = heap().firstLargeIndex; i <= heap().lastIndex; ++i) usedBuffers += testing::usedBlocks(i);
  ZrHeap_freePool(pool);
  long after = 0;
  for (int i = heap().firstLargeIndex; i <= heap().lastIndex; ++i) after += testing::usedBlocks(i);
  EXPECT_LT(after, usedBuffers);
}

TEST(HeapPool, FullBufferGoesOnServingSmallerClasses) {
  MemoryPool* pool = ZrHeap_allocPool(nullptr);
  while (ZrHeap_poolSize(pool) < heap().poolThreshold) ZrHeap_allocFromPool(6000, &kRowInfo, pool);
  // Class 6144 cuts pieces of 6144 + word from a buffer sized for ten (class
  // 86016 here): thirteen pieces fit, leaving less than one more.
  const size_t piece = 6144 + kWordHeader;
  const size_t before = ZrHeap_poolSize(pool);
  ZrHeap_allocFromPool(6000, &kRowInfo, pool);
  const size_t buffer = ZrHeap_poolSize(pool) - before;
  ASSERT_EQ(buffer, 86016u);
  for (size_t cut = 2 * piece; cut <= buffer; cut += piece) ZrHeap_allocFromPool(6000, &kRowInfo, pool);
  // The rest serves the largest smaller class it still holds, then the next.
  ZrHeap_allocFromPool(4000, &kRowInfo, pool);
  ZrHeap_allocFromPool(1500, &kRowInfo, pool);
  EXPECT_EQ(ZrHeap_poolSize(pool), before + buffer);
  ZrHeap_freePool(pool);
}

TEST(HeapPool, LargeRequestsFromAPoolAreChildren) {
  MemoryPool* pool = ZrHeap_allocPool(nullptr);
  while (ZrHeap_poolSize(pool) < heap().poolThreshold) ZrHeap_allocFromPool(6000, &kRowInfo, pool);
  void* big = ZrHeap_allocFromPool(100000, &kRowInfo, pool);
  size_t cur, lo, hi;
  ZrHeap_sizeEx(big, &cur, &lo, &hi);
  EXPECT_EQ(cur, 100000u);  // a real large header
  ZrHeap_freePool(pool);
}

}  // namespace
}  // namespace zr::heap
