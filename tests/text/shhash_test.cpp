// The chained hash table: string and list keys, unique tables, walks and
// statistics.
#include <gtest/gtest.h>

#include <string>

#include "shlist.h"

namespace {

struct Item {
  const char16_t* name;
  int value;
};

void* nameOf(void* item) { return const_cast<char16_t*>(static_cast<Item*>(item)->name); }
void* nameOfWithArgument(void* item, void* argument) {
  ++*static_cast<int*>(argument);
  return nameOf(item);
}

class HashTest : public ::testing::Test {
 protected:
  void SetUp() override { handle = zrstg_begin(0); }
  void TearDown() override { zrstg_end(handle); }
  SHHASH* table(int size, bool unique) {
    auto fn = reinterpret_cast<SHHASH_KEYFN>(reinterpret_cast<void (*)()>(nameOf));
    return shhash_new(size, fn, unique, 0, handle, nullptr);
  }
  zrstg_handle* handle;
};

TEST_F(HashTest, UniqueTableRefusesDuplicateKeys) {
  SHHASH* t = table(7, true);
  Item a{u"alpha", 1}, a2{u"alpha", 2}, b{u"beta", 3};
  EXPECT_EQ(shhash_insert(t, &a), 1);
  EXPECT_EQ(shhash_insert(t, &b), 1);
  EXPECT_EQ(shhash_insert(t, &a2), 2);
  EXPECT_EQ(t->count, 2u);
  EXPECT_EQ(shhash_search(t, u"alpha"), &a);
  EXPECT_EQ(shhash_searchNext(t, u"alpha"), nullptr);  // never for a unique table
  EXPECT_EQ(shhash_search(t, u"gamma"), nullptr);
  shhash_delete(t);
}

TEST_F(HashTest, EqualKeysAreFoundOldestFirst) {
  SHHASH* t = table(1, false);  // one slot: every item collides
  Item x1{u"x", 1}, y{u"y", 2}, x2{u"x", 3}, x3{u"x", 4};
  for (Item* i : {&x1, &y, &x2, &x3}) ASSERT_EQ(shhash_insert(t, i), 1);
  EXPECT_EQ(shhash_search(t, u"x"), &x1);
  EXPECT_EQ(shhash_searchNext(t, u"x"), &x2);
  EXPECT_EQ(shhash_searchNext(t, u"x"), &x3);
  EXPECT_EQ(shhash_searchNext(t, u"x"), nullptr);
  // remove takes the item the last search left the cursor on.
  EXPECT_EQ(shhash_search(t, u"y"), &y);
  EXPECT_EQ(shhash_remove(t), &y);
  EXPECT_EQ(t->count, 3u);
  EXPECT_EQ(shhash_search(t, u"y"), nullptr);
}

TEST_F(HashTest, UniqueSearchLeavesStateAlone) {
  SHHASH* t = table(13, false);
  Item items[] = {{u"one", 1}, {u"two", 2}, {u"three", 3}};
  for (Item& i : items) shhash_insert(t, &i);
  shhash_search(t, u"two");
  const int32_t slot = t->currentSlot;
  SHLIST* bucket = t->buckets[slot];
  SHLIST_NODE* cursor = bucket->current;
  EXPECT_EQ(shhash_search_unique(t, u"one"), &items[0]);
  EXPECT_EQ(shhash_search_unique(t, u"three"), &items[2]);
  EXPECT_EQ(shhash_search_unique(t, u"four"), nullptr);
  EXPECT_EQ(t->currentSlot, slot);
  EXPECT_EQ(bucket->current, cursor);
}

// Slots worked out by hand from h = rotl1(h) ^ c, then |h| mod size.
TEST_F(HashTest, StringHashAndItsSlot) {
  SHHASH* t = shhash_new(1000, nullptr, 0, 0, handle, nullptr);
  // "ab": ((0 ^ 'a') << 1) ^ 'b' = 194 ^ 98 = 160.
  shhash_insert(t, const_cast<char16_t*>(u"ab"));
  EXPECT_EQ(t->currentSlot, 160);
  EXPECT_EQ(shhash_searchSlot(t, u"ab"), t->buckets[160]);
  EXPECT_EQ(shlist_get_first(t->buckets[160]), u"ab");
  EXPECT_EQ(shhash_searchSlot(t, u"b"), nullptr);  // slot 98, never used
  EXPECT_EQ(t->currentSlot, 98);
  // The alphabet's h is 0x8047C790, negative: its absolute value 2142779504
  // gives slot 504 (read unsigned it would be 792).
  shhash_searchSlot(t, u"abcdefghijklmnopqrstuvwxyz");
  EXPECT_EQ(t->currentSlot, 504);
  // 0x8000 then 1, 2, 1, ... builds h = INT32_MIN, which counts as 0.
  const char16_t minimum[] = {0x8000, 1, 2, 1, 2, 1, 2, 1, 2, 1, 2, 1, 2, 1, 2, 1, 2, 0};
  shhash_searchSlot(t, minimum);
  EXPECT_EQ(t->currentSlot, 0);
  shhash_delete(t);
}

TEST_F(HashTest, ListKeysMatchWholeListsOnly) {
  SHHASH* t = shhash_new(5, nullptr, 1, 1, handle, nullptr);
  auto makeKey = [&](std::initializer_list<const char16_t*> parts) {
    SHLIST* key = shlist_new(handle, nullptr);
    for (const char16_t* p : parts) shlist_insert(key, const_cast<char16_t*>(p));
    return key;
  };
  SHLIST* ab = makeKey({u"a", u"b"});
  ASSERT_EQ(shhash_insert(t, ab), 1);
  EXPECT_EQ(shhash_search(t, makeKey({u"a", u"b"})), ab);
  // The same characters split differently hash alike but don't match.
  EXPECT_EQ(shhash_search(t, makeKey({u"ab"})), nullptr);
  EXPECT_EQ(shhash_search(t, makeKey({u"a", u"b", u"c"})), nullptr);
  EXPECT_EQ(shhash_insert(t, makeKey({u"a", u"b"})), 2);
}

TEST_F(HashTest, KeyArgumentReachesTheKeyFunction) {
  int calls = 0;
  SHHASH* t = shhash_new_arg(3, nameOfWithArgument, 0, 0, handle, nullptr, &calls);
  Item a{u"k", 1};
  shhash_insert(t, &a);
  EXPECT_EQ(shhash_search(t, u"k"), &a);
  EXPECT_EQ(calls, 2);
}

TEST_F(HashTest, WalksInSlotOrderAndCountsChains) {
  SHHASH* t = table(4, false);
  EXPECT_EQ(shhash_get_first(t), nullptr);
  std::u16string names[] = {u"a", u"b", u"c", u"d", u"e", u"f"};
  Item items[6];
  for (int i = 0; i < 6; ++i) {
    items[i] = {names[i].c_str(), i};
    shhash_insert(t, &items[i]);
  }
  // 'a'..'f' are 97..102: slots 1, 2, 3, 0, 1, 2; each chain oldest first.
  std::u16string walk;
  for (void* x = shhash_get_first(t); x; x = shhash_get_next(t)) walk += static_cast<Item*>(x)->name;
  EXPECT_EQ(walk, u"daebfc");
  SHHASH_STATS stats;
  shhash_statistics(t, &stats);
  EXPECT_DOUBLE_EQ(stats.loadFactor, 1.5);
  EXPECT_EQ(stats.longestChain, 2u);
  EXPECT_DOUBLE_EQ(stats.meanChainLength, 1.5);
  int visited = 0;
  EXPECT_EQ(shhash_traversal(t, &visited, [](void*, void* arg) { return ++*static_cast<int*>(arg) < 3 ? 1 : 0; }), 0);
  EXPECT_EQ(visited, 3);

  shhash_clear(t);
  EXPECT_EQ(shhash_get_first(t), nullptr);
  shhash_statistics(t, &stats);
  EXPECT_DOUBLE_EQ(stats.loadFactor, 1.0);  // raised to 1 when below
  EXPECT_DOUBLE_EQ(stats.meanChainLength, 0.0);
}

}  // namespace
