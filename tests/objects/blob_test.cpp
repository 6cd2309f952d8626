// Blobs: immutable bytes, new blobs from the changing methods, and the
// text view that stops at the first zero or the end.
#include <gtest/gtest.h>

#include <vector>

#include "tests/objects/object_test_util.h"
#include "zrobj.h"

using namespace zr::test;

namespace {

std::vector<uint8_t> bytes(IZR_Blob* b) {
  const uint8_t* data;
  uint32_t size;
  b->GetData(&data);
  b->GetSize(&size);
  return size ? std::vector<uint8_t>(data, data + size) : std::vector<uint8_t>();
}

TEST(BlobObject, MakersAndEmptyBlob) {
  Ref<IZR_Blob> empty, sized, copied;
  ASSERT_EQ(CreateBlob(empty.put()), S_OK);
  const uint8_t* data = reinterpret_cast<const uint8_t*>(1);
  empty->GetData(&data);
  EXPECT_EQ(data, nullptr);
  ASSERT_EQ(CreateBlobWithSize(5, sized.put()), S_OK);
  EXPECT_EQ(bytes(sized.get()).size(), 5u);
  const uint8_t raw[] = {1, 2, 3};
  ASSERT_EQ(CreateBlobFromBytes(raw, 3, copied.put()), S_OK);
  EXPECT_EQ(bytes(copied.get()), (std::vector<uint8_t>{1, 2, 3}));
  IZR_Blob* none;
  EXPECT_EQ(CreateBlobFromBytes(nullptr, 3, &none), E_INVALIDARG);
  EXPECT_EQ(CreateBlob(nullptr), E_INVALIDARG);
}

TEST(BlobObject, SubAndInsertMakeNewBlobs) {
  const uint8_t raw[] = {1, 2, 3, 4};
  const uint8_t extra[] = {9, 8};
  Ref<IZR_Blob> b, sub, clipped, front, middle, back, withBlob;
  ASSERT_EQ(CreateBlobFromBytes(raw, 4, b.put()), S_OK);
  ASSERT_EQ(b->SubBlob(1, 2, sub.put()), S_OK);
  EXPECT_EQ(bytes(sub.get()), (std::vector<uint8_t>{2, 3}));
  ASSERT_EQ(b->SubBlob(3, 100, clipped.put()), S_OK);
  EXPECT_EQ(bytes(clipped.get()), (std::vector<uint8_t>{4}));
  IZR_Blob* none;
  EXPECT_EQ(b->SubBlob(5, 1, &none), E_INVALIDARG);
  ASSERT_EQ(b->InsertBytes(0, extra, 2, front.put()), S_OK);
  ASSERT_EQ(b->InsertBytes(2, extra, 2, middle.put()), S_OK);
  ASSERT_EQ(b->InsertBytes(4, extra, 2, back.put()), S_OK);
  EXPECT_EQ(bytes(front.get()), (std::vector<uint8_t>{9, 8, 1, 2, 3, 4}));
  EXPECT_EQ(bytes(middle.get()), (std::vector<uint8_t>{1, 2, 9, 8, 3, 4}));
  EXPECT_EQ(bytes(back.get()), (std::vector<uint8_t>{1, 2, 3, 4, 9, 8}));
  EXPECT_EQ(b->InsertBytes(5, extra, 2, &none), E_INVALIDARG);
  ASSERT_EQ(b->InsertBlob(1, sub.get(), withBlob.put()), S_OK);
  EXPECT_EQ(bytes(withBlob.get()), (std::vector<uint8_t>{1, 2, 3, 2, 3, 4}));
  EXPECT_EQ(bytes(b.get()), (std::vector<uint8_t>{1, 2, 3, 4})) << "the original is unchanged";
}

TEST(BlobObject, AsStringStopsAtZeroOrEnd) {
  const char16_t withZero[] = u"ab\0cd";
  const char16_t noZero[] = {u'x', u'y', u'z'};
  Ref<IZR_Blob> a, b;
  ASSERT_EQ(CreateBlobFromBytes(reinterpret_cast<const uint8_t*>(withZero), 10, a.put()), S_OK);
  // An odd byte count leaves the last half character out.
  ASSERT_EQ(CreateBlobFromBytes(reinterpret_cast<const uint8_t*>(noZero), 5, b.put()), S_OK);
  for (auto [blob, expected] : {std::pair{a.get(), u"ab"}, std::pair{b.get(), u"xy"}}) {
    Ref<IZR_ConvString> conv;
    Ref<IZR_String> s;
    ASSERT_EQ(blob->QueryInterface(IID_IZR_ConvString, reinterpret_cast<void**>(conv.put())), S_OK);
    ASSERT_EQ(conv->AsString(s.put()), S_OK);
    EXPECT_EQ(text(s.get()), expected);
  }
}

TEST(BlobObject, SecondTableReachesTheSameObject) {
  Ref<IZR_Blob> b;
  ASSERT_EQ(CreateBlob(b.put()), S_OK);
  IZR_ConvString* conv = nullptr;
  ASSERT_EQ(b->QueryInterface(IID_IZR_ConvString, reinterpret_cast<void**>(&conv)), S_OK);
  EXPECT_NE(static_cast<void*>(conv), static_cast<void*>(b.get()));
  IUnknown* viaSecond = nullptr;
  IUnknown* viaFirst = nullptr;
  ASSERT_EQ(conv->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&viaSecond)), S_OK);
  ASSERT_EQ(b->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&viaFirst)), S_OK);
  EXPECT_EQ(viaSecond, viaFirst);
  EXPECT_EQ(static_cast<void*>(viaFirst), static_cast<void*>(b.get()));
  EXPECT_EQ(refs(b.get()), 4u);
  EXPECT_EQ(conv->Release(), 3u);
  EXPECT_EQ(viaSecond->Release(), 2u);
  EXPECT_EQ(viaFirst->Release(), 1u);
  void* out = &out;
  EXPECT_EQ(b->QueryInterface(IID_IZR_String, &out), E_NOINTERFACE);
  EXPECT_EQ(out, nullptr);
  EXPECT_EQ(b->QueryInterface(IID_IZR_Blob, nullptr), E_INVALIDARG);
}

}  // namespace
