// Objects shared between threads: reference counts stay exact under
// contention through every table, immutable strings read concurrently, and
// storms of creation and release leave shared items with their own count.
#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "tests/objects/object_test_util.h"
#include "zrobj.h"

using namespace zr::test;

namespace {

constexpr int kThreads = 8;

template <class Body>
void onThreads(Body body) {
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) threads.emplace_back(body, t);
  for (auto& thread : threads) thread.join();
}

TEST(SharedObjects, CountsStayExactThroughBothTables) {
  Ref<IZR_String> s(newString(u"shared"));
  IZR_ConvBlob* second = nullptr;
  ASSERT_EQ(s->QueryInterface(IID_IZR_ConvBlob, reinterpret_cast<void**>(&second)), S_OK);
  onThreads([&](int t) {
    IUnknown* through = t % 2 ? static_cast<IUnknown*>(second) : static_cast<IUnknown*>(s.get());
    for (int i = 0; i < 1000000; ++i) {
      through->AddRef();
      through->Release();
    }
  });
  EXPECT_EQ(refs(s.get()), 2u);
  EXPECT_EQ(second->Release(), 1u);
}

TEST(SharedObjects, StringsReadOnManyThreads) {
  Ref<IZR_String> s(newString(u"the quick brown fox")), fox(newString(u"fox"));
  onThreads([&](int) {
    for (int i = 0; i < 2000; ++i) {
      uint32_t pos = 0;
      EXPECT_EQ(s->Find(0, fox.get(), &pos), S_OK);
      EXPECT_EQ(pos, 16u);
      IZR_String* part = nullptr;
      ASSERT_EQ(s->SubString(4, 5, &part), S_OK);
      EXPECT_EQ(text(part), u"quick");
      IZR_String* upper = nullptr;
      ASSERT_EQ(part->ToUpper(&upper), S_OK);
      int32_t order = 9;
      upper->CompareNoCase(part, &order);
      EXPECT_EQ(order, 0);
      upper->Release();
      part->Release();
    }
  });
  EXPECT_EQ(refs(s.get()), 1u);
}

TEST(SharedObjects, CreateAndReleaseStorms) {
  Ref<IZR_String> item(newString(u"item"));
  onThreads([&](int t) {
    for (int i = 0; i < 500; ++i) {
      IZR_List* list = nullptr;
      ASSERT_EQ(CreateList(&list), S_OK);
      IZR_StringDictionary* dictionary = nullptr;
      ASSERT_EQ(CreateStringDictionaryWithSize(7, &dictionary), S_OK);
      for (int k = 0; k < 4; ++k) {
        list->AddTail(item.get());
        dictionary->Add(item.get(), item.get());
      }
      IEnumUnknown* e = nullptr;
      ASSERT_EQ(dictionary->EnumerateItems(&e), S_OK);
      IZR_List* clone = nullptr;
      ASSERT_EQ(list->Clone(&clone), S_OK);
      // Release in an order that differs per thread.
      if (t % 2) {
        list->Release();
        e->Release();
      } else {
        e->Release();
        list->Release();
      }
      dictionary->Release();
      clone->Release();
    }
  });
  EXPECT_EQ(refs(item.get()), 1u);
}

}  // namespace
