// Heap sort against std::sort, the grouping sort, binary searches and the
// sequence number.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>
#include <thread>
#include <vector>

#include "shlist.h"

namespace {

void* v(intptr_t n) { return reinterpret_cast<void*>(n); }
intptr_t n(const void* p) { return reinterpret_cast<intptr_t>(p); }
int ascending(const void* a, const void* b) { return n(a) < n(b) ? -1 : n(a) > n(b); }

TEST(HeapSort, MatchesStdSortOnRandomDataWithRepeats) {
  std::mt19937 rng(7);
  for (uint32_t size : {0u, 1u, 2u, 3u, 10u, 257u, 5000u}) {
    std::vector<void*> data(size);
    for (void*& x : data) x = v(static_cast<intptr_t>(rng() % 50) - 25);  // many equal keys
    std::vector<void*> expected = data;
    std::sort(expected.begin(), expected.end(), [](void* a, void* b) { return n(a) < n(b); });
    sh_heapsort(data.data(), size, ascending);
    EXPECT_EQ(data, expected) << size;
  }
}

TEST(HeapSort, ParamFormPassesTheParameter) {
  std::vector<void*> data = {v(5), v(1), v(4), v(2)};
  int bias = 0;
  sh_hugeheapsort_param(&bias, data.data(), 4, [](void* p, const void* a, const void* b) {
    ++*static_cast<int*>(p);
    return ascending(b, a);
  });
  EXPECT_EQ(data, (std::vector<void*>{v(5), v(4), v(2), v(1)}));
  EXPECT_GT(bias, 0);
}

int sameTens(void*, const void* a, const void* b) { return n(a) / 10 == n(b) / 10 ? 0 : 1; }

TEST(GroupingSort, BringsEqualItemsTogether) {
  // Each group starts where its first item stood; its later members are
  // gathered scanning from the end, so they arrive back to front.
  std::vector<void*> data = {v(11), v(21), v(12), v(31), v(22), v(13)};
  sh_simplesort_param(nullptr, data.data(), 6, sameTens);
  EXPECT_EQ(data, (std::vector<void*>{v(11), v(13), v(12), v(21), v(22), v(31)}));
  // Below four items nothing moves.
  std::vector<void*> three = {v(11), v(21), v(12)};
  sh_hugesimplesort_param(nullptr, three.data(), 3, sameTens);
  EXPECT_EQ(three, (std::vector<void*>{v(11), v(21), v(12)}));
}

int compareInts(const void* key, const void* item) {
  int a = *static_cast<const int*>(key), b = *static_cast<const int*>(item);
  return a < b ? -1 : a > b;
}

TEST(BinarySearch, HitsMissesAndInsertionPoints) {
  const int items[] = {10, 20, 30, 40};
  for (int i = 0; i < 4; ++i) EXPECT_EQ(sh_binary_search(&items[i], items, sizeof(int), 4, compareInts), i);
  int key = 25, found = -1;
  EXPECT_EQ(sh_binary_search(&key, items, sizeof(int), 4, compareInts), -1);
  EXPECT_EQ(sh_bin_search(&key, items, sizeof(int), 4, compareInts, &found), 1);
  EXPECT_EQ(found, 0);
  key = 5;
  EXPECT_EQ(sh_bin_search(&key, items, sizeof(int), 4, compareInts, &found), -1);
  key = 99;
  EXPECT_EQ(sh_bin_search(&key, items, sizeof(int), 4, compareInts, &found), 3);
  key = 30;
  EXPECT_EQ(sh_bin_search(&key, items, sizeof(int), 4, compareInts, &found), 2);
  EXPECT_EQ(found, 1);
  EXPECT_EQ(sh_binary_search(&key, items, sizeof(int), 0, compareInts), -1);
}

TEST(BinarySearch, WideStringTables) {
  const SHBINTAB_ENTRY table[] = {{u"ALPHA", 1}, {u"Beta", 2}, {u"alpha", 3}, {u"gamma", 4}};
  EXPECT_EQ(shBinSrch(u"Beta", table, 4), 2);
  EXPECT_EQ(shBinSrch(u"alpha", table, 4), 3);
  EXPECT_EQ(shBinSrch(u"beta", table, 4), -1);
  const SHBINTAB_ENTRY folded[] = {{u"apple", 10}, {u"Banana", 20}, {u"cherry", 30}};
  EXPECT_EQ(shBinSrchi(u"BANANA", folded, 3), 20);
  EXPECT_EQ(shBinSrchi(u"Cherry", folded, 3), 30);
  EXPECT_EQ(shBinSrchi(u"date", folded, 3), -1);
}

TEST(SequenceNumber, ThreadsNeverShareANumber) {
  std::vector<std::vector<uint32_t>> got(4);
  std::vector<std::thread> threads;
  for (auto& g : got)
    threads.emplace_back([&g] {
      for (int i = 0; i < 1000; ++i) g.push_back(sh_get_next_sequence_number());
    });
  for (auto& t : threads) t.join();
  std::set<uint32_t> all;
  for (auto& g : got) all.insert(g.begin(), g.end());
  EXPECT_EQ(all.size(), 4000u);
  EXPECT_GE(*all.begin(), 1u);
}

}  // namespace
