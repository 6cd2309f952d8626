// The list with a cursor: inserts and removals at both ends and in the
// middle, and sorting through the list.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "frame/szrheap_internal.h"
#include "shlist.h"

namespace {

class ListTest : public ::testing::Test {
 protected:
  void SetUp() override {
    handle = zrstg_begin(0);
    list = shlist_new(handle, nullptr);
  }
  void TearDown() override { zrstg_end(handle); }
  static void* v(intptr_t n) { return reinterpret_cast<void*>(n); }
  std::vector<intptr_t> contents() {
    std::vector<intptr_t> out;
    SHLIST_NODE* saved = shlist_get_handle(list);
    for (void* x = shlist_get_first(list); x; x = shlist_get_next(list)) out.push_back(reinterpret_cast<intptr_t>(x));
    shlist_set_current(list, saved);
    return out;
  }
  zrstg_handle* handle;
  SHLIST* list;
};

TEST_F(ListTest, CursorWalksAndFallsOffTheEnds) {
  for (intptr_t i = 1; i <= 3; ++i) ASSERT_EQ(shlist_insert(list, v(i)), 1);
  EXPECT_EQ(shlist_get_count(list), 3u);
  EXPECT_EQ(shlist_get_curr(list), v(3));  // insert moves the cursor to the new node
  EXPECT_EQ(shlist_get_first(list), v(1));
  EXPECT_EQ(shlist_get_next(list), v(2));
  EXPECT_EQ(shlist_get_next(list), v(3));
  EXPECT_EQ(shlist_get_next(list), nullptr);
  EXPECT_EQ(shlist_get_next(list), nullptr);  // stays off the list
  EXPECT_EQ(shlist_curr_node(list), nullptr);
  EXPECT_EQ(shlist_get_last(list), v(3));
  EXPECT_EQ(shlist_get_prev(list), v(2));
  EXPECT_EQ(shlist_get_prev(list), v(1));
  EXPECT_EQ(shlist_get_prev(list), nullptr);
  // The ring closes: the last node's next is the first.
  EXPECT_EQ(list->last->next, list->first);
  EXPECT_EQ(list->first->previous, list->last);
}

TEST_F(ListTest, InsertsAroundTheCursor) {
  ASSERT_EQ(shlist_addafter(list, v(2)), 1);  // empty list: becomes first and last
  ASSERT_EQ(shlist_addbefore(list, v(1)), 1);
  EXPECT_EQ(list->first->data, v(1));
  ASSERT_EQ(shlist_insert_at_curr(list, v(5)), 1);  // behind 1, before 2
  EXPECT_EQ(shlist_get_curr(list), v(5));
  shlist_get_last(list);
  ASSERT_EQ(shlist_addafter(list, v(9)), 1);
  EXPECT_EQ(list->last->data, v(9));
  EXPECT_EQ(contents(), (std::vector<intptr_t>{1, 5, 2, 9}));
  // A node the caller made goes in the same way.
  shlist_get_first(list);
  auto* node = static_cast<SHLIST_NODE*>(zrstg_alc(handle, sizeof(SHLIST_NODE), nullptr));
  node->data = v(4);
  ASSERT_EQ(shlist_putafter(list, node), 1);
  EXPECT_EQ(shlist_curr_node(list), node);
  EXPECT_EQ(contents(), (std::vector<intptr_t>{1, 4, 5, 2, 9}));
  ASSERT_EQ(shlist_remove(list), v(4));
  shlist_get_last(list);
  EXPECT_EQ(shlist_update(list, v(8)), v(9));
  shlist_get_next(list);  // off the end: no cursor
  EXPECT_EQ(shlist_addafter(list, v(7)), 0);  // nowhere to put it
  EXPECT_EQ(shlist_addbefore(list, v(7)), 0);
  EXPECT_EQ(shlist_update(list, v(7)), nullptr);
  EXPECT_EQ(shlist_insert(list, v(7)), 1);  // works whatever the cursor
  EXPECT_EQ(contents(), (std::vector<intptr_t>{1, 5, 2, 8, 7}));
  EXPECT_EQ(shlist_get_count(list), 5u);
}

TEST_F(ListTest, RemovalMovesTheCursorAsDocumented) {
  for (intptr_t i = 1; i <= 4; ++i) shlist_insert(list, v(i));
  shlist_get_first(list);
  shlist_get_next(list);
  EXPECT_EQ(shlist_remove(list), v(2));  // middle: cursor on the next
  EXPECT_EQ(shlist_get_curr(list), v(3));
  shlist_get_first(list);
  EXPECT_EQ(shlist_remove(list), v(1));  // first: cursor on the new first
  EXPECT_EQ(shlist_get_curr(list), v(3));
  EXPECT_EQ(list->first->data, v(3));
  shlist_get_last(list);
  EXPECT_EQ(shlist_remove(list), v(4));  // last: no cursor
  EXPECT_EQ(shlist_get_curr(list), nullptr);
  EXPECT_EQ(shlist_remove(list), nullptr);
  shlist_get_first(list);
  EXPECT_EQ(shlist_remove(list), v(3));  // alone
  EXPECT_EQ(list->first, nullptr);
  EXPECT_EQ(shlist_get_count(list), 0u);
  EXPECT_EQ(shlist_get_first(list), nullptr);
}

TEST_F(ListTest, NullListsAreTolerated) {
  EXPECT_EQ(shlist_insert(nullptr, v(1)), 0);
  EXPECT_EQ(shlist_get_first(nullptr), nullptr);
  EXPECT_EQ(shlist_get_next(nullptr), nullptr);
  EXPECT_EQ(shlist_get_count(nullptr), 0u);
  EXPECT_EQ(shlist_remove(nullptr), nullptr);
  EXPECT_EQ(shlist_traversal(nullptr, nullptr, nullptr), 1);
}

TEST_F(ListTest, TraversalStopsAtZeroAndLeavesTheCursor) {
  for (intptr_t i = 1; i <= 5; ++i) shlist_insert(list, v(i));
  shlist_get_first(list);
  std::vector<intptr_t> seen;
  int r = shlist_traversal(list, &seen, [](void* data, void* arg) {
    auto* s = static_cast<std::vector<intptr_t>*>(arg);
    s->push_back(reinterpret_cast<intptr_t>(data));
    return data == reinterpret_cast<void*>(3) ? 0 : 7;
  });
  EXPECT_EQ(r, 0);
  EXPECT_EQ(seen, (std::vector<intptr_t>{1, 2, 3}));
  EXPECT_EQ(shlist_get_curr(list), v(1));
  SHLIST* empty = shlist_new(handle, nullptr);
  EXPECT_EQ(shlist_traversal(empty, nullptr, [](void*, void*) { return 0; }), 1);
}

int byNumber(const void* a, const void* b) {
  auto x = reinterpret_cast<intptr_t>(a), y = reinterpret_cast<intptr_t>(b);
  return x < y ? -1 : x > y;
}

TEST_F(ListTest, SortFlags) {
  for (intptr_t i : {4, 1, 3, 2}) shlist_insert(list, v(i));
  shlist_sort(list, byNumber, 0);  // sorted array thrown away; list as it was
  EXPECT_EQ(contents(), (std::vector<intptr_t>{4, 1, 3, 2}));
  shlist_sort(list, byNumber, 1);
  EXPECT_EQ(contents(), (std::vector<intptr_t>{1, 2, 3, 4}));
  shlist_sort(list, byNumber, 4);  // bit 2 alone empties the list
  EXPECT_EQ(shlist_get_count(list), 0u);
  EXPECT_EQ(shlist_get_first(list), nullptr);
}

TEST_F(ListTest, SortWithoutCompareUsesCollation) {
  const char16_t* words[] = {u"pear", u"Apple", u"apple", u"banana", u"\u00e9clair", u"zebra"};
  for (const char16_t* w : words) shlist_insert(list, const_cast<char16_t*>(w));
  shlist_sort(list, nullptr, 1);
  std::vector<std::u16string> sorted;
  for (void* x = shlist_get_first(list); x; x = shlist_get_next(list)) sorted.emplace_back(static_cast<char16_t*>(x));
  // Collation order: case second to the letter, accented letters with their base.
  EXPECT_EQ(sorted, (std::vector<std::u16string>{u"apple", u"Apple", u"banana", u"\u00e9clair", u"pear", u"zebra"}));
}

TEST_F(ListTest, SortParamReturnsTheArrayUnlessAskedNot) {
  for (intptr_t i : {3, 1, 2}) shlist_insert(list, v(i));
  auto cmp = [](void* param, const void* a, const void* b) {
    ++*static_cast<int*>(param);
    return byNumber(b, a);  // descending
  };
  int calls = 0;
  void** array = shlist_sort_param(list, &calls, cmp, 0);
  ASSERT_NE(array, nullptr);
  EXPECT_GT(calls, 0);
  EXPECT_EQ(array[0], v(3));
  EXPECT_EQ(array[2], v(1));
  EXPECT_EQ(contents(), (std::vector<intptr_t>{3, 1, 2}));
  EXPECT_EQ(shlist_sort_param(list, &calls, cmp, 3), nullptr);
  EXPECT_EQ(contents(), (std::vector<intptr_t>{3, 2, 1}));
}

// Values of a size nothing else here uses, counted in the heap's totals.
TEST_F(ListTest, DeleteFreeReleasesTheValuesAndPutAfterTheRefusedNode) {
  constexpr size_t kValueSize = 3000;
  auto used = [] { return static_cast<long>(zr::heap::indexTotals(zr::heap::sizeIndexOf(kValueSize)).usedCount); };
  const long before = used();
  SHLIST* owned = shlist_new(handle, nullptr);
  for (int i = 0; i < 3; ++i) shlist_insert(owned, zrstg_alc(handle, kValueSize, nullptr));
  EXPECT_EQ(used(), before + 3);
  EXPECT_EQ(shlist_deleteFree(owned), 0);
  EXPECT_EQ(used(), before);

  // Without a cursor there is nowhere to put a node (here in a block of the
  // counted size): it is freed.
  shlist_insert(list, v(1));
  shlist_get_next(list);
  auto* node = static_cast<SHLIST_NODE*>(zrstg_alc(handle, kValueSize, nullptr));
  EXPECT_EQ(shlist_putafter(list, node), 0);
  EXPECT_EQ(used(), before);
  EXPECT_EQ(contents(), (std::vector<intptr_t>{1}));
}

}  // namespace
