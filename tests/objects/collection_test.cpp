// Dynamic vectors, dictionaries and property sets: growth and empty places,
// bucket sizing and the partial string hash as seen in enumeration order,
// several items per key, and the typed values of a property set.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/objects/object_test_util.h"
#include "zrobj.h"

using namespace zr::test;

namespace {

std::vector<std::u16string> texts(IEnumUnknown* e) {
  std::vector<std::u16string> seen;
  IUnknown* item;
  while (e->Next(1, &item, nullptr) == S_OK) {
    IZR_String* s = nullptr;
    EXPECT_EQ(item->QueryInterface(IID_IZR_String, reinterpret_cast<void**>(&s)), S_OK);
    seen.push_back(text(s));
    s->Release();
    item->Release();
  }
  return seen;
}

std::vector<std::u16string> items(IZR_StringDictionary* d) {
  Ref<IEnumUnknown> e;
  EXPECT_EQ(d->EnumerateItems(e.put()), S_OK);
  return texts(e.get());
}

TEST(DynamicVector, GrowsOnlyAndReportsEmptyPlaces) {
  Ref<IZR_DynamicVector> v;
  ASSERT_EQ(CreateDynamicVector(v.put()), S_OK);
  uint32_t size;
  v->GetSize(&size);
  EXPECT_EQ(size, 10u);
  ASSERT_EQ(v->SetSize(3), S_OK);
  v->GetSize(&size);
  EXPECT_EQ(size, 10u) << "SetSize never shrinks";

  Ref<IZR_String> a(newString(u"a")), b(newString(u"b"));
  IUnknown* got = reinterpret_cast<IUnknown*>(1);
  EXPECT_EQ(v->GetAt(4, &got), ZR_S_EMPTY_PLACE);
  EXPECT_TRUE(SUCCEEDED(ZR_S_EMPTY_PLACE));
  EXPECT_EQ(got, nullptr);
  ASSERT_EQ(v->SetAt(4, a.get()), S_OK);
  EXPECT_EQ(refs(a.get()), 2u);
  ASSERT_EQ(v->SetAt(4, b.get()), S_OK) << "a second item releases the first";
  EXPECT_EQ(refs(a.get()), 1u);
  ASSERT_EQ(v->SetAt(4, nullptr), S_OK);
  ASSERT_EQ(v->GetAt(4, &got), S_OK) << "a null item changes nothing";
  EXPECT_EQ(got, b.get());
  got->Release();

  ASSERT_EQ(v->SetAt(25, a.get()), S_OK);
  v->GetSize(&size);
  EXPECT_EQ(size, 26u);
  ASSERT_EQ(v->GetAt(4, &got), S_OK) << "growth keeps the items";
  got->Release();
  EXPECT_EQ(v->GetAt(26, &got), ZR_S_EMPTY_PLACE) << "the index equal to the capacity reads as empty";
  EXPECT_EQ(v->SetAt(26, a.get()), E_INVALIDARG);
  EXPECT_EQ(v->GetAt(27, &got), E_INVALIDARG);

  Ref<IZR_DynamicVector> clone;
  ASSERT_EQ(v->Clone(clone.put()), S_OK);
  EXPECT_EQ(refs(a.get()), 3u);
  Ref<IZR_DynamicVector> none;
  ASSERT_EQ(CreateDynamicVectorWithSize(0, none.put()), S_OK);
  int empty = 0;
  none->IsEmpty(&empty);
  EXPECT_EQ(empty, 1);
}

TEST(UlongDictionary, SeveralItemsPerKeyOldestFirst) {
  Ref<IZR_UlongDictionary> d;
  ASSERT_EQ(CreateUlongDictionaryWithSize(10, d.put()), S_OK);
  Ref<IZR_String> first(newString(u"first")), second(newString(u"second")), other(newString(u"other"));
  ASSERT_EQ(d->Add(7, first.get()), S_OK);
  ASSERT_EQ(d->Add(7, second.get()), S_OK);
  ASSERT_EQ(d->Add(19, other.get()), S_OK);  // 12 buckets: 19 shares 7's bucket
  IUnknown* got = nullptr;
  ASSERT_EQ(d->Get(7, &got), S_OK);
  EXPECT_EQ(got, first.get());
  got->Release();
  EXPECT_EQ(d->Get(8, &got), E_FAIL);
  {
    Ref<IEnumUnknown> all, keys;
    ASSERT_EQ(d->GetAll(7, all.put()), S_OK);
    EXPECT_EQ(refs(first.get()), 3u) << "the enumerator holds its items";
    EXPECT_EQ(texts(all.get()), (std::vector<std::u16string>{u"first", u"second"}));
    ASSERT_EQ(d->EnumerateKeys(keys.put()), S_OK);
    EXPECT_EQ(texts(keys.get()), (std::vector<std::u16string>{u"7", u"7", u"19"}));
  }

  EXPECT_EQ(d->RemoveItem(7, other.get()), E_FAIL);
  ASSERT_EQ(d->RemoveItem(7, first.get()), S_OK);
  ASSERT_EQ(d->Get(7, &got), S_OK);
  EXPECT_EQ(got, second.get());
  got->Release();
  ASSERT_EQ(d->Add(7, first.get()), S_OK);
  ASSERT_EQ(d->RemoveKey(7), S_OK);
  EXPECT_EQ(d->RemoveKey(7), E_FAIL);
  uint32_t count;
  d->GetCount(&count);
  EXPECT_EQ(count, 1u);
  EXPECT_EQ(refs(first.get()), 1u);
  EXPECT_EQ(refs(second.get()), 1u);

  Ref<IZR_StringDictionary> asStrings;
  ASSERT_EQ(d->QueryInterface(IID_IZR_StringDictionary, reinterpret_cast<void**>(asStrings.put())), S_OK);
  asStrings->GetCount(&count);
  EXPECT_EQ(count, 1u) << "both tables reach one object";
  EXPECT_EQ(d->TestFlag(ZR_DICT_NOCASE), E_FAIL);
}

TEST(StringDictionary, BucketOrderShowsSizeAndHash) {
  // 10 expected entries: 12 buckets. "ABCDE" and "XYCDE" hash only "CDE"
  // (67 + 68 + 69 = 204, bucket 0), so they share a bucket in insertion
  // order, ahead of "B" (66, bucket 6) whatever the order of adding.
  Ref<IZR_StringDictionary> d;
  ASSERT_EQ(CreateStringDictionaryWithSize(10, d.put()), S_OK);
  for (const char16_t* key : {u"B", u"XYCDE", u"ABCDE"}) {
    Ref<IZR_String> k(newString(key));
    ASSERT_EQ(d->Add(k.get(), k.get()), S_OK);
  }
  EXPECT_EQ(items(d.get()), (std::vector<std::u16string>{u"XYCDE", u"ABCDE", u"B"}));

  // The default of 101 expected entries gives 121 buckets: "y" (121) lands
  // in bucket 0 and "x" (120) in the last.
  Ref<IZR_StringDictionary> big;
  ASSERT_EQ(CreateStringDictionary(big.put()), S_OK);
  for (const char16_t* key : {u"x", u"y"}) {
    Ref<IZR_String> k(newString(key));
    big->Add(k.get(), k.get());
  }
  EXPECT_EQ(items(big.get()), (std::vector<std::u16string>{u"y", u"x"}));
}

TEST(StringDictionary, HashReadsAtMostTenCharactersFromTheMiddle) {
  // One bucket per possible sum below 1000, so the order of the items is the
  // order of the hashed sums.
  Ref<IZR_StringDictionary> d;
  ASSERT_EQ(CreateStringDictionaryWithSize(1000, d.put()), S_OK);
  // 21 characters: the stretch starts at 10 and takes all 11 to the end.
  // 22 characters: it starts at 11 and stops after 10, leaving the last out.
  std::u16string eleven = std::u16string(10, u'a') + std::u16string(11, u'\x01');
  std::u16string twentyTwo = std::u16string(11, u'a') + std::u16string(10, u'\x02') + u"z";
  std::u16string twentyTwoOther = std::u16string(11, u'b') + std::u16string(10, u'\x02') + u"q";
  for (const std::u16string& key : {eleven, twentyTwo, twentyTwoOther}) {
    Ref<IZR_String> k(newString(key.c_str()));
    d->Add(k.get(), k.get());
  }
  // Sums: 11 x 1 = 11 and 10 x 2 = 20 for both 22-character keys, which
  // ignore both their first half and their last character.
  EXPECT_EQ(items(d.get()), (std::vector<std::u16string>{eleven, twentyTwo, twentyTwoOther}));
  IUnknown* got = nullptr;
  ASSERT_EQ(d->GetByText(twentyTwoOther.c_str(), &got), S_OK) << "the whole key still decides a match";
  IZR_String* s = nullptr;
  got->QueryInterface(IID_IZR_String, reinterpret_cast<void**>(&s));
  EXPECT_EQ(text(s), twentyTwoOther);
  s->Release();
  got->Release();
}

TEST(StringDictionary, CaseInsensitiveKeysAndOneItemPerKey) {
  Ref<IZR_StringDictionary> d;
  ASSERT_EQ(CreateStringDictionaryWithFlags(10, ZR_DICT_NOCASE, d.put()), S_OK);
  Ref<IZR_String> upper(newString(u"ABC")), lower(newString(u"abc")), value(newString(u"v"));
  ASSERT_EQ(d->Add(upper.get(), value.get()), S_OK);
  IUnknown* got = nullptr;
  ASSERT_EQ(d->Get(lower.get(), &got), S_OK);
  EXPECT_EQ(got, value.get());
  got->Release();
  EXPECT_EQ(d->TestFlag(ZR_DICT_NOCASE), S_OK);
  Ref<IZR_StringDictionary> sensitive;
  ASSERT_EQ(CreateStringDictionaryWithSize(10, sensitive.put()), S_OK);
  sensitive->Add(upper.get(), value.get());
  EXPECT_EQ(sensitive->GetByText(u"abc", &got), E_FAIL);

  Ref<IZR_StringDictionary> unique;
  ASSERT_EQ(CreateStringDictionaryWithFlags(10, ZR_DICT_UNIQUE_KEY, unique.put()), S_OK);
  Ref<IZR_String> replacement(newString(u"w"));
  unique->Add(upper.get(), value.get());
  unique->Add(upper.get(), replacement.get());
  uint32_t count;
  unique->GetCount(&count);
  EXPECT_EQ(count, 1u);
  EXPECT_EQ(refs(value.get()), 3u) << "the replaced item was released";
  Ref<IEnumUnknown> all;
  ASSERT_EQ(unique->GetAllByText(u"ABC", all.put()), S_OK);
  EXPECT_EQ(texts(all.get()), (std::vector<std::u16string>{u"w"}));
}

TEST(StringDictionary, ClonesAndRemovalBalanceReferences) {
  IZR_StringDictionary* d = nullptr;
  ASSERT_EQ(CreateStringDictionary(&d), S_OK);
  Ref<IZR_String> key(newString(u"key")), item(newString(u"item"));
  d->Add(key.get(), item.get());
  d->Add(key.get(), item.get());
  EXPECT_EQ(refs(key.get()), 3u);
  EXPECT_EQ(refs(item.get()), 3u);
  IZR_StringDictionary* clone = nullptr;
  ASSERT_EQ(d->Clone(&clone), S_OK);
  EXPECT_EQ(refs(item.get()), 5u);
  ASSERT_EQ(d->RemoveItem(key.get(), item.get()), S_OK) << "one entry of the key";
  EXPECT_EQ(refs(item.get()), 4u);
  Ref<IEnumUnknown> keys;
  ASSERT_EQ(clone->EnumerateKeys(keys.put()), S_OK);
  EXPECT_EQ(refs(key.get()), 6u) << "the enumerator holds each key it gives";
  EXPECT_EQ(d->Release(), 0u);
  EXPECT_EQ(clone->Release(), 0u);
  EXPECT_EQ(refs(item.get()), 1u);
  EXPECT_EQ(refs(key.get()), 3u);
  int empty = 0;
  Ref<IZR_StringDictionary> none;
  CreateStringDictionary(none.put());
  Ref<IEnumUnknown> nothing;
  ASSERT_EQ(none->EnumerateItems(nothing.put()), S_OK);
  IUnknown* got;
  EXPECT_EQ(nothing->Next(1, &got, nullptr), S_FALSE);
  none->IsEmpty(&empty);
  EXPECT_EQ(empty, 1);
}

TEST(PropertySet, TypedValuesByName) {
  Ref<IZR_PropertySet> p;
  ASSERT_EQ(ZR_CreatePropertySet(p.put()), S_OK);
  ASSERT_EQ(p->SetLong(u"Answer", 42), S_OK);
  Ref<IZR_String> s;
  ASSERT_EQ(p->GetString(u"answer", s.put()), S_OK);
  EXPECT_EQ(text(s.get()), u"42");
  int32_t n = 0;
  ASSERT_EQ(p->GetLong(u"ANSWER", &n), S_OK);
  EXPECT_EQ(n, 42);
  ASSERT_EQ(p->SetLong(u"Answer", INT32_MIN), S_OK) << "a name holds one value";
  ASSERT_EQ(p->GetLong(u"Answer", &n), S_OK);
  EXPECT_EQ(n, INT32_MIN);

  Ref<IZR_String> bad(newString(u"42x")), empty(newString(u""));
  ASSERT_EQ(p->SetString(u"bad", bad.get()), S_OK);
  ASSERT_EQ(p->SetString(u"empty", empty.get()), S_OK);
  EXPECT_EQ(p->GetLong(u"bad", &n), E_FAIL);
  EXPECT_EQ(p->GetLong(u"empty", &n), E_FAIL);
  EXPECT_EQ(p->GetLong(u"missing", &n), E_FAIL);

  Ref<IZR_List> list;
  CreateList(list.put());
  ASSERT_EQ(p->SetObject(u"list", list.get()), S_OK);
  IUnknown* got = nullptr;
  ASSERT_EQ(p->GetObject(u"list", &got), S_OK);
  EXPECT_EQ(got, list.get());
  got->Release();
  IZR_String* notString = nullptr;
  EXPECT_EQ(p->GetString(u"list", &notString), E_NOINTERFACE);

  Ref<IEnumUnknown> names;
  ASSERT_EQ(p->Enumerate(names.put()), S_OK);
  EXPECT_EQ(texts(names.get()).size(), 4u);
  ASSERT_EQ(p->Remove(u"LIST"), S_OK);
  EXPECT_EQ(refs(list.get()), 1u);
  EXPECT_EQ(p->Remove(u"list"), E_FAIL);
}

}  // namespace
