// Size classes and the request-to-class rule.
#include <gtest/gtest.h>

#include "tests/frame/heap_test_support.h"

namespace zr::heap {
namespace {

TEST(HeapClasses, TableFromFourKilobytePages) {
  ZrHeap_init();
  const Heap& h = heap();
  ASSERT_EQ(h.pageSize, 4096u);
  const uint32_t expected[] = {8,        12,        16,        24,        32,        48,        64,        96,
                               128,      192,       256,       384,       512,       768,       1024,      1536,
                               2048,     3072,      4096,      6144,      8192,      12288,     20480,     32768,
                               53248,    86016,     139264,    225280,    364544,    589824,    954368,    1544192,
                               2498560,  4042752,   6541312,   10584064,  17125376,  27709440,  44834816,  72544256,
                               117379072, 189923328, 307302400, 497225728, 804528128, 1301753856, 2106281984};
  ASSERT_EQ(h.lastIndex + 1, 47);
  for (int i = 0; i <= h.lastIndex; ++i) EXPECT_EQ(h.classSize[i], expected[i]) << "index " << i;
  EXPECT_EQ(h.largeMinSize, 8192u);
  EXPECT_EQ(h.firstLargeIndex, 20);
  EXPECT_EQ(h.lastSmallIndex, 19);
  EXPECT_EQ(h.splitMinSize, 20480u);
  EXPECT_EQ(h.maxBlockSize, 2106281984u);
}

TEST(HeapClasses, SizeIndexBoundaries) {
  ZrHeap_init();
  EXPECT_EQ(sizeIndexOf(0), 0);
  EXPECT_EQ(sizeIndexOf(8), 0);
  EXPECT_EQ(sizeIndexOf(9), 1);
  EXPECT_EQ(sizeIndexOf(12), 1);
  EXPECT_EQ(sizeIndexOf(13), 2);
  EXPECT_EQ(sizeIndexOf(6144), 19);
  // Past the last small class the overhead is counted, so every size up to
  // 8192 less the largest overhead lands in the first large class.
  EXPECT_EQ(sizeIndexOf(6145), 20);
  EXPECT_EQ(sizeIndexOf(8192 - kMaxOverhead), 20);
  EXPECT_EQ(sizeIndexOf(8192 - kMaxOverhead + 1), 21);
  EXPECT_EQ(sizeIndexOf(2106281984 - kMaxOverhead), 46);
  // Every request fits its class, and the class below would not hold it.
  for (size_t n = 0; n < 40000; n += 7) {
    int i = sizeIndexOf(n);
    size_t room = classUpperBound(heap(), i);
    EXPECT_LE(n, room) << n;
    if (i > 0) {
      EXPECT_GT(n, classUpperBound(heap(), i - 1)) << n;
    }
  }
}

}  // namespace
}  // namespace zr::heap
