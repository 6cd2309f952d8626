// The enumerator, the list and the factory: positions and their results,
// pointer identity of items, and one reference taken and given back per
// item by every holder.
#include <gtest/gtest.h>

#include <vector>

#include "tests/objects/object_test_util.h"
#include "zrobj.h"

using namespace zr::test;

namespace {

// Three strings, each with one reference of the fixture's.
class Items : public ::testing::Test {
 protected:
  void SetUp() override {
    for (const char16_t* t : {u"a", u"b", u"c"}) items.push_back(newString(t));
  }
  void TearDown() override {
    for (IUnknown* item : items) EXPECT_EQ(item->Release(), 0u) << "a holder kept a reference";
  }
  std::vector<IUnknown*> items;
};

using EnumUnknown = Items;

TEST_F(EnumUnknown, NextSkipResetClone) {
  Ref<IEnumUnknown> e;
  ASSERT_EQ(CreateEnumUnknown(items.data(), 3, 1, e.put()), S_OK);
  EXPECT_EQ(refs(items[0]), 2u);
  IUnknown* got[3] = {};
  uint32_t fetched = 0;
  ASSERT_EQ(e->Next(5, got, &fetched), S_OK) << "fewer than asked is still success";
  EXPECT_EQ(fetched, 2u);
  EXPECT_EQ(got[0], items[1]);
  EXPECT_EQ(got[1], items[2]);
  EXPECT_EQ(refs(items[1]), 3u);
  got[0]->Release();
  got[1]->Release();
  got[0] = nullptr;
  EXPECT_EQ(e->Next(1, got, nullptr), S_FALSE);
  EXPECT_EQ(got[0], nullptr) << "the end leaves the outputs alone";

  ASSERT_EQ(e->Reset(), S_OK);
  EXPECT_EQ(e->Next(2, got, nullptr), E_INVALIDARG);
  ASSERT_EQ(e->Next(1, got, nullptr), S_OK);
  EXPECT_EQ(got[0], items[0]);
  got[0]->Release();

  Ref<IEnumUnknown> clone;
  ASSERT_EQ(e->Clone(clone.put()), S_OK);
  EXPECT_EQ(clone->Skip(1), S_OK);
  EXPECT_EQ(clone->Skip(1), S_FALSE) << "skipping exactly to the end returns 1";
  EXPECT_EQ(clone->Next(1, got, nullptr), S_FALSE);
  ASSERT_EQ(e->Next(1, got, nullptr), S_OK) << "the clone moves on its own";
  EXPECT_EQ(got[0], items[1]);
  got[0]->Release();
  EXPECT_EQ(e->Skip(100), S_FALSE);
}

TEST_F(EnumUnknown, StartPastTheEndAndBadArguments) {
  Ref<IEnumUnknown> e;
  ASSERT_EQ(CreateEnumUnknown(items.data(), 3, 3, e.put()), S_OK);
  IUnknown* got = nullptr;
  EXPECT_EQ(e->Next(1, &got, nullptr), S_FALSE);
  IEnumUnknown* none = reinterpret_cast<IEnumUnknown*>(1);
  EXPECT_EQ(CreateEnumUnknown(nullptr, 0, 0, &none), E_INVALIDARG);
  EXPECT_EQ(CreateEnumUnknown(items.data(), 3, 0, nullptr), E_INVALIDARG);
}

using ListObject = Items;

std::vector<IUnknown*> contents(IZR_List* list) {
  std::vector<IUnknown*> seen;
  Ref<IEnumUnknown> e;
  list->Enumerate(e.put());
  IUnknown* item;
  while (e->Next(1, &item, nullptr) == S_OK) {
    seen.push_back(item);
    item->Release();
  }
  return seen;
}

TEST_F(ListObject, OrderAndPositions) {
  Ref<IZR_List> list;
  ASSERT_EQ(CreateList(list.put()), S_OK);
  ASSERT_EQ(list->AddTail(items[1]), S_OK);
  ASSERT_EQ(list->AddHead(items[0]), S_OK);
  ASSERT_EQ(list->InsertAfter(items[1], items[2]), S_OK);
  EXPECT_EQ(contents(list.get()), items);
  Ref<IZR_String> stranger(newString(u"x"));
  EXPECT_EQ(list->InsertBefore(stranger.get(), items[0]), E_FAIL);
  EXPECT_EQ(list->Contains(stranger.get()), E_FAIL);
  EXPECT_EQ(list->Contains(items[2]), S_OK);

  IUnknown* next = nullptr;
  ASSERT_EQ(list->GetNext(items[0], &next), S_OK);
  EXPECT_EQ(next, items[1]);
  next->Release();
  next = nullptr;
  EXPECT_EQ(list->GetNext(items[2], &next), S_OK);
  EXPECT_EQ(next, nullptr) << "the last item leaves out alone";
  IUnknown* previous = nullptr;
  EXPECT_EQ(list->GetPrevious(items[0], &previous), S_OK);
  EXPECT_EQ(previous, nullptr);
  EXPECT_EQ(list->GetNext(stranger.get(), &next), E_FAIL);

  ASSERT_EQ(list->Remove(items[1]), S_OK);
  EXPECT_EQ(list->Remove(items[1]), E_FAIL);
  EXPECT_EQ(contents(list.get()), (std::vector<IUnknown*>{items[0], items[2]}));
  ASSERT_EQ(list->InsertBefore(items[2], items[1]), S_OK);
  EXPECT_EQ(contents(list.get()), items);
  uint32_t count;
  list->GetCount(&count);
  EXPECT_EQ(count, 3u);
}

TEST_F(ListObject, RemovingEndsHandsOverTheReference) {
  Ref<IZR_List> list;
  ASSERT_EQ(CreateListFromArray(items.data(), 2, list.put()), S_OK);
  EXPECT_EQ(refs(items[0]), 2u);
  IUnknown* head = nullptr;
  ASSERT_EQ(list->RemoveHead(&head), S_OK);
  EXPECT_EQ(head, items[0]);
  EXPECT_EQ(refs(items[0]), 2u) << "the list's reference went to the caller";
  head->Release();
  IUnknown* tail = nullptr;
  ASSERT_EQ(list->RemoveTail(&tail), S_OK);
  tail->Release();
  int empty = 0;
  list->IsEmpty(&empty);
  EXPECT_EQ(empty, 1);
  EXPECT_EQ(list->RemoveHead(&head), E_FAIL);
  EXPECT_EQ(list->RemoveTail(&tail), E_FAIL);
  EXPECT_EQ(list->Remove(items[0]), S_OK) << "removal from an empty list succeeds";
  // The list works again after it was emptied from both ends.
  ASSERT_EQ(list->AddTail(items[2]), S_OK);
  EXPECT_EQ(contents(list.get()), (std::vector<IUnknown*>{items[2]}));
}

TEST_F(ListObject, CloneAndDestructionBalanceReferences) {
  IZR_List* list = nullptr;
  ASSERT_EQ(CreateListFromArray(items.data(), 3, &list), S_OK);
  IZR_List* clone = nullptr;
  ASSERT_EQ(list->Clone(&clone), S_OK);
  EXPECT_EQ(refs(items[1]), 3u);
  EXPECT_EQ(contents(clone), items);
  EXPECT_EQ(list->Release(), 0u);
  EXPECT_EQ(refs(items[1]), 2u);
  ASSERT_EQ(clone->RemoveAll(), S_OK);
  EXPECT_EQ(refs(items[1]), 1u);
  EXPECT_EQ(clone->Release(), 0u);
}

TEST(ObjectFactory, MakesObjectsAndLeavesOutOnMiss) {
  Ref<IZR_ObjectFactory> factory;
  ASSERT_EQ(ZR_CreateZRObjectFactory(factory.put()), S_OK);
  Ref<IZR_String> s;
  ASSERT_EQ(factory->CreateString(u"made", s.put()), S_OK);
  EXPECT_EQ(text(s.get()), u"made");
  Ref<IZR_List> list;
  ASSERT_EQ(factory->CreateList(list.put()), S_OK);
  ASSERT_EQ(list->AddTail(s.get()), S_OK);
  void* out = &out;
  EXPECT_EQ(factory->QueryInterface(IID_IZR_String, &out), E_NOINTERFACE);
  EXPECT_EQ(out, &out);
  ASSERT_EQ(factory->QueryInterface(IID_IZR_ObjectFactory, &out), S_OK);
  EXPECT_EQ(out, factory.get());
  EXPECT_EQ(factory->Release(), 1u);
}

}  // namespace
