// Strings and string buffers: lengths that count the terminator, the index
// bounds that let the length itself through, clipping, search results, and
// the buffer's in-place changes.
#include <gtest/gtest.h>

#include "tests/objects/object_test_util.h"
#include "zrobj.h"

using namespace zr::test;

namespace {

TEST(StringObject, NullAndEmptyTextsHaveLengthOne) {
  Ref<IZR_String> null(newString(nullptr)), empty(newString(u""));
  const char16_t* t = u"x";
  ASSERT_EQ(null->GetText(&t), S_OK);
  EXPECT_EQ(t, nullptr);
  EXPECT_EQ(length(null.get()), 1u);
  EXPECT_EQ(length(empty.get()), 1u);
  // Both compare as empty texts, and an index equal to the length is read.
  int32_t r = 5;
  EXPECT_EQ(null->Compare(empty.get(), &r), S_OK);
  EXPECT_EQ(r, 0);
  char16_t c = u'x';
  EXPECT_EQ(empty->GetChar(1, &c), S_OK);
  EXPECT_EQ(c, 0);
  EXPECT_EQ(empty->GetChar(2, &c), E_INVALIDARG);
  EXPECT_EQ(empty->GetChar(0, nullptr), E_INVALIDARG);
}

TEST(StringObject, SubStringClipsAndChecksStart) {
  Ref<IZR_String> s(newString(u"hello"));
  Ref<IZR_String> a, b, c;
  ASSERT_EQ(s->SubString(1, 3, a.put()), S_OK);
  EXPECT_EQ(text(a.get()), u"ell");
  EXPECT_EQ(length(a.get()), 4u);
  ASSERT_EQ(s->SubString(3, 100, b.put()), S_OK);
  EXPECT_EQ(text(b.get()), u"lo");
  ASSERT_EQ(s->SubString(6, 1, c.put()), S_OK);
  EXPECT_EQ(text(c.get()), u"");
  IZR_String* none = nullptr;
  EXPECT_EQ(s->SubString(7, 1, &none), E_INVALIDARG);
  EXPECT_EQ(none, nullptr);
}

TEST(StringObject, FindTellsNotFoundByFailure) {
  Ref<IZR_String> s(newString(u"abcabc")), bc(newString(u"bc")), zz(newString(u"zz")), ab(newString(u"ab"));
  uint32_t pos = 99;
  EXPECT_EQ(s->Find(0, ab.get(), &pos), S_OK);
  EXPECT_EQ(pos, 0u);
  EXPECT_EQ(s->Find(2, bc.get(), &pos), S_OK);
  EXPECT_EQ(pos, 4u) << "positions count from the start of the text, not from start";
  pos = 99;
  EXPECT_EQ(s->Find(0, zz.get(), &pos), E_FAIL);
  EXPECT_EQ(pos, 0u);
  EXPECT_EQ(s->Find(8, ab.get(), &pos), E_INVALIDARG);
}

TEST(StringObject, ConcatCaseAndCompare) {
  Ref<IZR_String> ab(newString(u"ab")), cd(newString(u"Cd")), both, upper, lower;
  ASSERT_EQ(ab->Concat(cd.get(), both.put()), S_OK);
  EXPECT_EQ(text(both.get()), u"abCd");
  EXPECT_EQ(length(both.get()), 5u);
  ASSERT_EQ(both->ToUpper(upper.put()), S_OK);
  ASSERT_EQ(both->ToLower(lower.put()), S_OK);
  EXPECT_EQ(text(upper.get()), u"ABCD");
  EXPECT_EQ(text(lower.get()), u"abcd");
  EXPECT_EQ(text(both.get()), u"abCd") << "the case methods work on a copy";

  int32_t r;
  lower->Compare(upper.get(), &r);
  EXPECT_EQ(r, 1);
  lower->CompareNoCase(upper.get(), &r);
  EXPECT_EQ(r, 0);
  // Without case the characters compare lower-cased: '_' comes before 'a'
  // although it comes after 'A'.
  Ref<IZR_String> underscore(newString(u"_")), capitalA(newString(u"A"));
  underscore->CompareNoCase(capitalA.get(), &r);
  EXPECT_EQ(r, -1);
  underscore->Compare(capitalA.get(), &r);
  EXPECT_EQ(r, 1);
  // Case mapping reaches beyond ASCII.
  Ref<IZR_String> greek(newString(u"\u03B1\u00E9")), greekUpper;
  greek->ToUpper(greekUpper.put());
  EXPECT_EQ(text(greekUpper.get()), u"\u0391\u00C9");
}

TEST(StringObject, TrimBySide) {
  Ref<IZR_String> s(newString(u"xxabxx")), all(newString(u"xxx"));
  const struct {
    int32_t side;
    const char16_t* expected;
  } cases[] = {{-1, u"abxx"}, {1, u"xxab"}, {0, u"ab"}, {2, u"xxabxx"}};
  for (const auto& c : cases) {
    Ref<IZR_String> t;
    ASSERT_EQ(s->Trim(u'x', c.side, t.put()), S_OK);
    EXPECT_EQ(text(t.get()), c.expected) << "side " << c.side;
  }
  Ref<IZR_String> gone;
  ASSERT_EQ(all->Trim(u'x', 0, gone.put()), S_OK);
  EXPECT_EQ(text(gone.get()), u"");
  EXPECT_EQ(length(gone.get()), 1u);
}

TEST(StringObject, BlobsOfTextAndBack) {
  Ref<IZR_String> s(newString(u"abc"));
  Ref<IZR_ConvBlob> conv;
  ASSERT_EQ(s->QueryInterface(IID_IZR_ConvBlob, reinterpret_cast<void**>(conv.put())), S_OK);
  EXPECT_NE(static_cast<void*>(conv.get()), static_cast<void*>(s.get()));
  Ref<IZR_Blob> withTerminator, withoutTerminator;
  ASSERT_EQ(conv->AsBlob(withTerminator.put()), S_OK);
  ASSERT_EQ(CreateBlobFromLPTSTR(u"abc", withoutTerminator.put()), S_OK);
  uint32_t size;
  withTerminator->GetSize(&size);
  EXPECT_EQ(size, 8u);
  withoutTerminator->GetSize(&size);
  EXPECT_EQ(size, 6u);
}

TEST(StringBuffer, EditsKeepLengthAndText) {
  Ref<IZR_StringBuffer> b;
  ASSERT_EQ(CreateStringBuffer(b.put()), S_OK);
  Ref<IZR_String> hello(newString(u"hello")), world(newString(u" world")), big(newString(u"BIG "));
  auto check = [&](const char16_t* expected, uint32_t expectedLength) {
    const char16_t* t;
    uint32_t n;
    b->GetText(&t);
    b->GetLength(&n);
    EXPECT_EQ(std::u16string(t), expected);
    EXPECT_EQ(n, expectedLength);
  };
  check(u"", 1);
  ASSERT_EQ(b->Append(hello.get()), S_OK);
  ASSERT_EQ(b->Append(world.get()), S_OK);
  check(u"hello world", 12);
  ASSERT_EQ(b->Insert(6, big.get()), S_OK);
  check(u"hello BIG world", 16);
  ASSERT_EQ(b->Insert(0, big.get()), S_OK);
  check(u"BIG hello BIG world", 20);
  ASSERT_EQ(b->Remove(0, 4), S_OK);
  check(u"hello BIG world", 16);
  ASSERT_EQ(b->Replace(6, 3, hello.get()), S_OK);
  check(u"hello hello world", 18);
  ASSERT_EQ(b->Replace(12, 5, world.get()), S_OK);
  check(u"hello hello  world", 19);
  ASSERT_EQ(b->SetChar(0, u'J'), S_OK);
  ASSERT_EQ(b->ToUpper(), S_OK);
  check(u"JELLO HELLO  WORLD", 19);
  EXPECT_EQ(b->Insert(20, hello.get()), E_INVALIDARG);
  EXPECT_EQ(b->Remove(20, 1), E_INVALIDARG);
  EXPECT_EQ(b->SetChar(20, u'x'), E_INVALIDARG);
  EXPECT_EQ(b->SetChar(19, u'x'), S_OK) << "the index equal to the length passes";
  ASSERT_EQ(b->SetText(u"abc"), S_OK);
  check(u"abc", 4);
  ASSERT_EQ(b->SetFromString(hello.get()), S_OK);
  check(u"hello", 6);
  EXPECT_EQ(b->Append(nullptr), E_INVALIDARG);
  check(u"hello", 6);
}

TEST(StringBuffer, TrimKeepsTheOldLength) {
  Ref<IZR_StringBuffer> b;
  ASSERT_EQ(CreateStringBufferFromLPTSTR(u"  padded  ", b.put()), S_OK);
  ASSERT_EQ(b->Trim(u' ', 0), S_OK);
  const char16_t* t;
  uint32_t n;
  b->GetText(&t);
  b->GetLength(&n);
  EXPECT_EQ(std::u16string(t), u"padded");
  EXPECT_EQ(n, 11u);
  // Every index up to that length stays readable.
  char16_t c = u'x';
  EXPECT_EQ(b->GetChar(11, &c), S_OK);
  EXPECT_EQ(c, 0);
  Ref<IZR_String> tail;
  ASSERT_EQ(b->SubString(4, 100, tail.put()), S_OK);
  EXPECT_EQ(text(tail.get()), u"ed");
  ASSERT_EQ(b->SetText(u"fresh"), S_OK);
  b->GetLength(&n);
  EXPECT_EQ(n, 6u);
}

TEST(StringBuffer, CloneCompareFindAndConversions) {
  Ref<IZR_StringBuffer> a, copy;
  ASSERT_EQ(CreateStringBufferFromLPTSTR(u"Mixed", a.put()), S_OK);
  ASSERT_EQ(a->Clone(copy.put()), S_OK);
  copy->ToLower();
  int32_t r;
  a->Compare(copy.get(), &r);
  EXPECT_EQ(r, -1);
  a->CompareNoCase(copy.get(), &r);
  EXPECT_EQ(r, 0);
  Ref<IZR_String> x(newString(u"x")), asString;
  uint32_t pos;
  EXPECT_EQ(a->Find(0, x.get(), &pos), S_OK);
  EXPECT_EQ(pos, 2u);
  EXPECT_EQ(a->Find(3, x.get(), &pos), E_FAIL);

  Ref<IZR_ConvString> conv;
  ASSERT_EQ(a->QueryInterface(IID_IZR_ConvString, reinterpret_cast<void**>(conv.put())), S_OK);
  ASSERT_EQ(conv->AsString(asString.put()), S_OK);
  EXPECT_EQ(text(asString.get()), u"Mixed");
  Ref<IZR_ConvBlob> convBlob;
  Ref<IZR_Blob> blob;
  ASSERT_EQ(a->QueryInterface(IID_IZR_ConvBlob, reinterpret_cast<void**>(convBlob.put())), S_OK);
  ASSERT_EQ(convBlob->AsBlob(blob.put()), S_OK);
  uint32_t size;
  blob->GetSize(&size);
  EXPECT_EQ(size, 12u);
  EXPECT_EQ(refs(a.get()), 3u) << "each interface holds its own reference";
}

}  // namespace
