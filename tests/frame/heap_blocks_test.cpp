// Allocation, sizes, resizing and the parent/child lists.
#include <gtest/gtest.h>

#include <cstring>
#include <thread>

#include "tests/frame/heap_test_support.h"

namespace zr::heap {
namespace {

using testing::usedBlocksOfSize;

TEST(HeapBlocks, ZeroBytesIsTheSmallestClass) {
  void* p = ZrHeap_malloc(0);
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(ZrHeap_size(p), 8u);
  ZrHeap_free(p);
}

TEST(HeapBlocks, PointersAreWordAligned) {
  for (size_t n : {0u, 10u, 12u, 13u, 100u, 6144u, 7000u, 100000u}) {
    void* p = ZrHeap_malloc(n);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % sizeof(void*), 0u) << n;
    ZrHeap_free(p);
  }
}

TEST(HeapBlocks, FreedSmallBlockIsReusedBySameClassAndThread) {
  void* a = ZrHeap_malloc(100);
  ZrHeap_free(a);
  void* b = ZrHeap_malloc(120);  // same class, 128
  EXPECT_EQ(a, b);
  ZrHeap_free(b);
}

TEST(HeapBlocks, BlocksFreedByAnEndedThreadStayFree) {
  ZrHeap_init();
  const int index = sizeIndexOf(700);
  const IndexTotals before = indexTotals(index);
  std::thread([] {
    void* blocks[40];
    for (void*& b : blocks) b = ZrHeap_malloc(700);
    for (void* b : blocks) ZrHeap_free(b);
  }).join();
  const IndexTotals after = indexTotals(index);
  EXPECT_EQ(after.usedCount, before.usedCount);
  EXPECT_GE(after.freeCount, 40u);
  EXPECT_EQ(after.freeBytes + after.usedBytes - before.freeBytes - before.usedBytes,
            (after.freeCount - before.freeCount) * smallCost(heap(), index, false));
}

TEST(HeapBlocks, CallocZeroesAndFreeNullIsHarmless) {
  auto* p = static_cast<unsigned char*>(ZrHeap_malloc(64));
  std::memset(p, 0xFF, 64);
  ZrHeap_free(p);
  auto* q = static_cast<unsigned char*>(ZrHeap_calloc(8, 8));
  for (int i = 0; i < 64; ++i) ASSERT_EQ(q[i], 0);
  ZrHeap_free(q);
  ZrHeap_free(nullptr);
  ZrHeap_freeIfParent(nullptr);
}

TEST(HeapBlocks, SizeRangesOfSmallAndLargeBlocks) {
  size_t cur, lo, hi;
  void* small = ZrHeap_malloc(100);
  ZrHeap_sizeEx(small, &cur, &lo, &hi);
  EXPECT_EQ(cur, 128u);  // a plain small block keeps no request size
  EXPECT_EQ(lo, 97u);
  EXPECT_EQ(hi, 128u);
  ZrHeap_free(small);

  void* first = ZrHeap_malloc(7000);
  ZrHeap_sizeEx(first, &cur, &lo, &hi);
  EXPECT_EQ(cur, 7000u);
  EXPECT_EQ(lo, 6145u);
  EXPECT_EQ(hi, 8192u - kMaxOverhead);
  ZrHeap_free(first);

  void* second = ZrHeap_malloc(10000);
  ZrHeap_sizeEx(second, &cur, &lo, &hi);
  EXPECT_EQ(lo, 8192u - kMaxOverhead + 1);
  EXPECT_EQ(hi, 12288u - kMaxOverhead);
  ZrHeap_free(second);

  ZrHeap_sizeEx(nullptr, &cur, &lo, &hi);
  EXPECT_EQ(cur + lo + hi, 0u);
}

TEST(HeapBlocks, ReallocStaysInPlaceWithinRangeAndMovesBeyond) {
  auto* p = static_cast<char*>(ZrHeap_malloc(30000));  // class 32768
  std::memset(p, 'x', 30000);
  // Growing within the class commits more pages in place.
  auto* q = static_cast<char*>(ZrHeap_realloc(p, 32000));
  ASSERT_EQ(q, p);
  EXPECT_EQ(ZrHeap_size(q), 32000u);
  std::memset(q + 30000, 'y', 2000);
  // Shrinking to the class's lower end decommits the tail but keeps the data.
  q = static_cast<char*>(ZrHeap_realloc(q, 20481));
  ASSERT_EQ(q, p);
  EXPECT_EQ(q[20480], 'x');
  // Past the class: a new block with the data copied.
  auto* r = static_cast<char*>(ZrHeap_realloc(q, 100000));
  ASSERT_NE(r, p);
  EXPECT_EQ(r[0], 'x');
  EXPECT_EQ(r[20480], 'x');
  ZrHeap_free(r);

  auto* s = static_cast<char*>(ZrHeap_realloc(nullptr, 10));
  ASSERT_NE(s, nullptr);
  EXPECT_EQ(ZrHeap_parent(s), nullptr);
  std::memcpy(s, "abcdefghij", 10);
  auto* t = static_cast<char*>(ZrHeap_realloc(s, 500));
  EXPECT_EQ(std::memcmp(t, "abcdefghij", 10), 0);
  ZrHeap_free(t);
}

TEST(HeapBlocks, ReallocKeepsTheParent) {
  void* root = ZrHeap_malloc(16);
  void* child = ZrHeap__alloc(16, "T", "alloc", "free", __FILE__, __LINE__, root);
  void* moved = ZrHeap_realloc(child, 5000);
  EXPECT_EQ(ZrHeap_parent(moved), root);
  long before = usedBlocksOfSize(5000);
  ZrHeap_free(root);
  EXPECT_EQ(usedBlocksOfSize(5000), before - 1);
}

TEST(HeapBlocks, LargestRequestPassesAndOneMoreFails) {
  ZrHeap_init();
  testing::CapturedLog log;
  const size_t limit = heap().maxBlockSize - kMaxOverhead;
  void* over = ZrHeap_malloc(limit + 1);
  EXPECT_EQ(over, nullptr);
  EXPECT_TRUE(log.contains("alloc(" + std::to_string(limit + 1 + kMaxOverhead) +
                           ") failed: buddy system maximum size = 2106281984"));
  void* max = ZrHeap_malloc(limit);
  ASSERT_NE(max, nullptr);
  static_cast<char*>(max)[limit - 1] = 1;
  ZrHeap_free(max);
}

class HeapTree : public ::testing::Test {
 protected:
  void* make(size_t n, void* parent = nullptr) { return ZrHeap__alloc(n, "Node", "alloc", "free", "t.cpp", 1, parent); }
};

TEST_F(HeapTree, FreeingTheRootFreesEveryDescendant) {
  void* root = make(24);
  void* a = make(200, root);
  void* b = make(200, a);  // adopted under a child: joins the root's list
  EXPECT_EQ(ZrHeap_parent(a), root);
  EXPECT_EQ(ZrHeap_parent(b), root);
  long before = usedBlocksOfSize(200);
  ZrHeap_free(root);
  EXPECT_EQ(usedBlocksOfSize(200), before - 2);
}

TEST_F(HeapTree, FreeingAMiddleBlockFreesOnlyThatBlock) {
  void* root = make(24);
  void* a = make(300, root);
  void* b = make(300, a);
  long before = usedBlocksOfSize(300);
  ZrHeap_free(a);
  EXPECT_EQ(usedBlocksOfSize(300), before - 1);
  EXPECT_EQ(ZrHeap_parent(b), root);
  ZrHeap_free(root);
  EXPECT_EQ(usedBlocksOfSize(300), before - 2);
}

TEST_F(HeapTree, AdoptingABlockWithChildrenMovesThemToTheNewParent) {
  void* oldRoot = make(24);
  void* kid1 = make(400, oldRoot);
  void* kid2 = make(400, oldRoot);
  void* newRoot = make(24);
  ZrHeap_adopt(oldRoot, newRoot);
  EXPECT_EQ(ZrHeap_parent(oldRoot), newRoot);
  EXPECT_EQ(ZrHeap_parent(kid1), newRoot);
  EXPECT_EQ(ZrHeap_parent(kid2), newRoot);
  long before = usedBlocksOfSize(400);
  ZrHeap_free(oldRoot);  // keeps no children of its own
  EXPECT_EQ(usedBlocksOfSize(400), before);
  ZrHeap_free(newRoot);
  EXPECT_EQ(usedBlocksOfSize(400), before - 2);
}

TEST_F(HeapTree, FreeIfParentSkipsAdoptedBlocks) {
  void* root = make(24);
  void* kid = make(500, root);
  void* grandkid = make(500, kid);
  long before = usedBlocksOfSize(500);
  ZrHeap_freeIfParent(kid);
  EXPECT_EQ(usedBlocksOfSize(500), before);
  ZrHeap_freeIfParent(root);
  EXPECT_EQ(usedBlocksOfSize(500), before - 2);
  (void)grandkid;
}

TEST_F(HeapTree, LargeChildrenGoBackToTheBuddySystem) {
  void* root = make(24);
  for (int i = 0; i < 5; ++i) make(50000, root);
  long before = usedBlocksOfSize(50000);
  ZrHeap_free(root);
  EXPECT_EQ(usedBlocksOfSize(50000), before - 5);
}

}  // namespace
}  // namespace zr::heap
