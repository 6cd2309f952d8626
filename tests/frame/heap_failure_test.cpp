// What the heap and the storage handles do when the system refuses memory:
// each scenario runs in a child process whose data limit makes commits fail,
// and checks that the failing call gave null and changed nothing.
#include <gtest/gtest.h>

#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <vector>

#include "frame/mem_pool.h"
#include "platform/dialog.h"
#include "tests/frame/heap_test_support.h"
#include "zrframe.h"
#include "zrstg.h"

namespace zr::heap {
namespace {

void failed(const char* what) {
  std::fprintf(stderr, "failed: %s\n", what);
  _exit(1);
}
void require(bool ok, const char* what) {
  if (!ok) failed(what);
}
void passed() {
  std::fputs("all held\n", stderr);
  _exit(0);
}

// Lets the process commit at most `headroom` more bytes of private memory;
// the heap's reservations are not charged, its commits are.
class DataLimit {
 public:
  explicit DataLimit(size_t headroom) {
    long kb = 0;
    FILE* f = std::fopen("/proc/self/status", "r");
    char line[256];
    while (f && std::fgets(line, sizeof line, f))
      if (std::sscanf(line, "VmData: %ld kB", &kb) == 1) break;
    if (f) std::fclose(f);
    require(kb > 0 && getrlimit(RLIMIT_DATA, &saved_) == 0, "reading the data size");
    rlimit limit = saved_;
    limit.rlim_cur = static_cast<rlim_t>(kb) * 1024 + headroom;
    require(setrlimit(RLIMIT_DATA, &limit) == 0, "setting the data limit");
  }
  ~DataLimit() { setrlimit(RLIMIT_DATA, &saved_); }

 private:
  rlimit saved_{};
};

bool filledWith(const void* p, size_t n, unsigned char value) {
  for (size_t i = 0; i < n; ++i)
    if (static_cast<const unsigned char*>(p)[i] != value) return false;
  return true;
}

class HeapFailure : public ::testing::Test {
 protected:
  void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_F(HeapFailure, CallocWhoseProductOverflowsGivesNull) {
  testing::CapturedLog log;
  EXPECT_EQ(ZrHeap_calloc(SIZE_MAX / 2 + 2, 2), nullptr);
  EXPECT_EQ(ZrHeap_calloc(size_t{1} << 33, size_t{1} << 31), nullptr);
  EXPECT_TRUE(log.contains("calloc(type void*, size 18446744073709551615) failed"));
  void* zero = ZrHeap_calloc(0, SIZE_MAX);
  EXPECT_NE(zero, nullptr);
  ZrHeap_free(zero);
}

// A large block that cannot grow, in place or by moving, stays as it was.
void largeBlockCannotGrow() {
  ZrHeap_log(stderr, nullptr);
  auto* p = static_cast<unsigned char*>(ZrHeap_malloc(100000));
  std::memset(p, 0x3C, 100000);
  size_t cur, lo, hi;
  ZrHeap_sizeEx(p, &cur, &lo, &hi);
  const auto before = testing::inUseByIndex();
  const size_t committed = heap().committedBytes;
  {
    DataLimit none(0);
    require(ZrHeap_resize(p, cur, 139000, lo, hi) == nullptr, "resize past the committed pages");
    require(ZrHeap_realloc(p, 139000) == nullptr, "realloc within the class");
    require(ZrHeap_realloc(p, 5000000) == nullptr, "realloc to a larger class");
    require(ZrHeap_size(p) == 100000, "the size is unchanged");
  }
  require(testing::inUseByIndex() == before, "no block was taken");
  require(heap().committedBytes == committed, "no page was counted");
  require(filledWith(p, 100000, 0x3C), "the content is unchanged");
  require(ZrHeap_realloc(p, 139000) == p, "the same growth once memory is back");
  require(filledWith(p, 100000, 0x3C), "the content survives the growth");
  ZrHeap_free(p);
  passed();
}

TEST_F(HeapFailure, LargeBlockThatCannotGrowStaysAsItWas) {
  EXPECT_EXIT(largeBlockCannotGrow(), ::testing::ExitedWithCode(0),
              "commitVM\\(36864\\) failed(.|\n)*all held");
}

// A pool past its threshold: neither a new buffer nor the next page of a
// buffer can be committed. The failing call hands out nothing.
void poolCannotGrow() {
  ZrHeap_log(stderr, nullptr);
  MemoryPool* pool = ZrHeap_allocPool(nullptr);
  while (ZrHeap_poolSize(pool) < heap().poolThreshold) ZrHeap_allocFromPool(6000, nullptr, pool);
  ZrHeap_free(ZrHeap_malloc(sizeof(PoolBuffer)));  // the record is at hand, the buffer is not
  const size_t charged = ZrHeap_poolSize(pool);
  const auto before = testing::inUseByIndex();
  const size_t committed = heap().committedBytes;
  {
    DataLimit none(0);
    require(ZrHeap_allocFromPool(2000, nullptr, pool) == nullptr, "a new buffer");
  }
  require(ZrHeap_poolSize(pool) == charged, "the pool's size is unchanged");
  require(testing::inUseByIndex() == before, "no buffer is left in use");
  require(heap().committedBytes == committed, "no page was counted");
  // Class 2048 takes 2048 and a word a piece: the second piece needs a page
  // more than the first committed.
  auto* first = static_cast<char*>(ZrHeap_allocFromPool(2000, nullptr, pool));
  require(first != nullptr, "the first piece once memory is back");
  {
    DataLimit none(0);
    require(ZrHeap_allocFromPool(2000, nullptr, pool) == nullptr, "the next page");
  }
  char* second = static_cast<char*>(ZrHeap_allocFromPool(2000, nullptr, pool));
  require(second == first + 2048 + kWordHeader, "the failed cut was given back");
  ZrHeap_freePool(pool);
  passed();
}

TEST_F(HeapFailure, PoolThatCannotGrowHandsOutNothing) {
  EXPECT_EXIT(poolCannotGrow(), ::testing::ExitedWithCode(0),
              "allocFromPool\\(type void\\*, size [0-9]+\\) failed(.|\n)*"
              "allocFromPool\\(type void\\*, size [0-9]+\\) failed(.|\n)*all held");
}

int g_boxes = 0;
int countBox(void*, const char16_t*, const char16_t*, unsigned) { return ++g_boxes, ZR_IDRETRY; }

// Takes every small block the heap can still give; under the limit the
// region cannot be refilled.
void exhaustSmallBlocks() {
  for (int i = heap().lastSmallIndex; i >= 0; --i)
    while (ZrHeap_malloc(heap().classSize[i])) {
    }
}

// Each listed size can be allocated once more: what a failed set-up took
// came back.
void requireRoomFor(std::initializer_list<size_t> sizes, const char* what) {
  std::vector<void*> taken;
  for (size_t n : sizes) {
    taken.push_back(ZrHeap_malloc(n));
    require(taken.back() != nullptr, what);
  }
  for (void* p : taken) ZrHeap_free(p);
}

// Storage handles and sub-pools that cannot be set up give null and leave
// nothing behind; allocations report by a null result, not by a box.
void storageCannotStart() {
  platform::setMessageBoxHandler(countBox);
  zrstg_handle* h = zrstg_begin(0);
  require(h != nullptr, "a handle while memory lasts");
  void* node = ZrHeap_malloc(sizeof(zrstg_subpool));
  void* record = ZrHeap_malloc(sizeof(MEM_POOL));
  void* pool = ZrHeap_malloc(sizeof(MemoryPool));
  {
    DataLimit none(0);
    exhaustSmallBlocks();
    require(zrstg_alc(h, 100000, nullptr) == nullptr, "a large block");
    require(zrstg_begin(0) == nullptr, "a handle without room for its pool");
    ZrHeap_free(record);
    ZrHeap_free(pool);
    require(zrstg_begin(0) == nullptr, "a handle without room for its name");
    requireRoomFor({sizeof(MEM_POOL), sizeof(MemoryPool)}, "the handle's pool was given back");
    ZrHeap_free(node);
    require(zrstg_new_pool(h) == nullptr, "a sub-pool without room for its name");
    requireRoomFor({sizeof(zrstg_subpool), sizeof(MEM_POOL), sizeof(MemoryPool)}, "the sub-pool was given back");
  }
  require(h->ring->next == h->ring && h->ring->previous == h->ring, "the ring is unchanged");
  require(g_boxes == 0, "no out-of-memory box");
  zrstg_end(h);
  passed();
}

TEST_F(HeapFailure, StorageHandleThatCannotStartGivesNull) {
  EXPECT_EXIT(storageCannotStart(), ::testing::ExitedWithCode(0), "all held");
}

}  // namespace
}  // namespace zr::heap
