// The data blob stream byte for byte against streams built here by hand,
// every value round-tripping through its reader, hand-made and damaged
// streams, and the byte order swaps.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <initializer_list>
#include <vector>

#include "shmi.h"
#include "tests/objects/object_test_util.h"
#include "zrheap.h"

using namespace zr::test;

namespace {

using Bytes = std::vector<uint8_t>;

const Bytes kHeader = {0x00, 0x0A, 'M', 'I', 'B', 'L', 'O', 'B', 0x00, 0x01};

Bytes streamOf(SH_MI_DATA_BLOB* blob) {
  SH_MI_DATA_BLOB_ITER* it = shmi_DataBlob_GetBlobIterator(blob);
  auto* p = static_cast<const uint8_t*>(shmi_DataIter_GetBlockPointer(it));
  Bytes bytes(p, p + shmi_DataBlob_GetSize(blob));
  shmi_DataIter_Release(it);
  return bytes;
}

void append(Bytes& b, std::initializer_list<uint8_t> more) { b.insert(b.end(), more); }

float floatOf(uint32_t bits) {
  float f;
  std::memcpy(&f, &bits, 4);
  return f;
}

double doubleOf(uint64_t bits) {
  double d;
  std::memcpy(&d, &bits, 8);
  return d;
}

// Owns a blob, and one iterator over it made on demand.
struct Stream {
  SH_MI_DATA_BLOB* blob = shmi_CreateDataBlob();
  SH_MI_DATA_BLOB_ITER* it = nullptr;
  ~Stream() {
    shmi_DataIter_Release(it);
    shmi_DataBlob_Release(blob);
  }
  SH_MI_DATA_BLOB_ITER* read() {
    shmi_DataIter_Release(it);
    return it = shmi_DataBlob_GetDataIterator(blob);
  }
};

TEST(DataBlob, NewBlobHoldsTheHeader) {
  Stream s;
  EXPECT_EQ(shmi_DataBlob_GetSize(s.blob), 10u);
  EXPECT_EQ(streamOf(s.blob), kHeader);
  SH_MI_DATA_BLOB_ITER* it = s.read();
  EXPECT_EQ(shmi_DataIter_GetCurrentPosition(it), 10u);
  EXPECT_EQ(shmi_DataIter_GetSize(it), 10u);
  uint8_t b;
  EXPECT_EQ(shmi_DataIter_GetByte(it, &b), SHMI_E_OUT_OF_RANGE);
}

TEST(DataBlob, EveryFormByteForByte) {
  Stream s;
  Bytes expected = kHeader;
  shmi_DataBlob_addByte(s.blob, 0xAB);
  shmi_DataBlob_addBool(s.blob, 5);
  shmi_DataBlob_addBool(s.blob, 0);
  append(expected, {0xAB, 0x01, 0x00});
  shmi_DataBlob_addShort(s.blob, 0x1234);
  shmi_DataBlob_addShort(s.blob, -2);
  shmi_DataBlob_addUShort(s.blob, 0xFEDC);
  shmi_DataBlob_addChar(s.blob, u'\xD83D');
  append(expected, {0x12, 0x34, 0xFF, 0xFE, 0xFE, 0xDC, 0xD8, 0x3D});
  shmi_DataBlob_addLong(s.blob, INT32_MIN);
  shmi_DataBlob_addULong(s.blob, 0xDEADBEEF);
  append(expected, {0x80, 0x00, 0x00, 0x00, 0xDE, 0xAD, 0xBE, 0xEF});
  shmi_DataBlob_addFloat(s.blob, -0.0f);
  shmi_DataBlob_addFloat(s.blob, floatOf(0x7FC12345));  // NaN with a payload
  shmi_DataBlob_addFloat(s.blob, floatOf(0x00000001));  // smallest denormal
  append(expected, {0x80, 0, 0, 0, 0x7F, 0xC1, 0x23, 0x45, 0, 0, 0, 0x01});
  shmi_DataBlob_addDouble(s.blob, -0.0);
  shmi_DataBlob_addDouble(s.blob, doubleOf(0x7FF80000DEADBEEFull));
  shmi_DataBlob_addDouble(s.blob, doubleOf(0x000FFFFFFFFFFFFFull));
  append(expected, {0x80, 0, 0, 0, 0, 0, 0, 0, 0x7F, 0xF8, 0x00, 0x00, 0xDE, 0xAD, 0xBE, 0xEF,
                    0x00, 0x0F, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF});
  shmi_DataBlob_addString(s.blob, u"ab");
  shmi_DataBlob_addString(s.blob, nullptr);
  shmi_DataBlob_addString(s.blob, u"");
  shmi_DataBlob_addString(s.blob, u"\U0001F600");
  append(expected, {0, 0, 0, 3, 0x00, 'a', 0x00, 'b', 0, 0, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 1, 0, 0,
                    0, 0, 0, 3, 0xD8, 0x3D, 0xDE, 0x00, 0, 0});
  const uint8_t raw[] = {1, 2, 3};
  shmi_DataBlob_addBytes(s.blob, raw, 3);
  append(expected, {1, 2, 3});
  SH_DEC dec{};
  dec.digits[0] = 0x0102;
  dec.digits[6] = 0xA0B0;
  dec.flags = SH_DEC_NEGATIVE;
  dec.scale = 2;
  shmi_DataBlob_addDecimal(s.blob, &dec);
  append(expected, {0x01, 0x02, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xA0, 0xB0, 0x01, 0x02});
  SH_TIME t;
  shdtBuildTime(&t, 2024, 12, 31, 23, 59, 58, 123456);
  shmi_DataBlob_addDateTime(s.blob, &t);
  append(expected, {0x00, 0x01, 0xE2, 0x40, 0x00, 124, 11, 31, 23, 59, 58, 0});
  Ref<IZR_Blob> nested;
  ASSERT_EQ(CreateBlobFromBytes(raw, 2, nested.put()), S_OK);
  shmi_DataBlob_addShBlob(s.blob, nested.get());
  shmi_DataBlob_addShBlob(s.blob, nullptr);
  append(expected, {0, 0, 0, 2, 1, 2, 0xFF, 0xFF, 0xFF, 0xFF});
  EXPECT_EQ(streamOf(s.blob), expected);
}

TEST(DataBlob, EveryAddRoundTripsWithItsGet) {
  Stream s;
  shmi_DataBlob_addByte(s.blob, 0xAB);
  shmi_DataBlob_addBool(s.blob, -7);
  shmi_DataBlob_addShort(s.blob, -2);
  shmi_DataBlob_addUShort(s.blob, 0xFEDC);
  shmi_DataBlob_addChar(s.blob, u'\xDE00');
  shmi_DataBlob_addLong(s.blob, INT32_MIN);
  shmi_DataBlob_addULong(s.blob, 0xDEADBEEF);
  shmi_DataBlob_addFloat(s.blob, floatOf(0x7FC12345));
  shmi_DataBlob_addDouble(s.blob, doubleOf(0xFFF0000000000001ull));
  shmi_DataBlob_addString(s.blob, u"x\U0001F600y");
  shmi_DataBlob_addString(s.blob, nullptr);
  SH_DEC dec;
  shAsciiToDec(&dec, u"-123456789012345678901234.567890");
  shmi_DataBlob_addDecimal(s.blob, &dec);
  SH_TIME t;
  shdtBuildTime(&t, 1850, 1, 2, 3, 4, 5, 999999);
  t.reserved = 7;
  shmi_DataBlob_addDateTime(s.blob, &t);
  Ref<IZR_Blob> nested;
  ASSERT_EQ(CreateBlobFromLPTSTR(u"nested", nested.put()), S_OK);
  shmi_DataBlob_addShBlob(s.blob, nested.get());
  const uint8_t raw[] = {9, 8, 7};
  shmi_DataBlob_addBytes(s.blob, raw, 3);

  SH_MI_DATA_BLOB_ITER* it = s.read();
  uint8_t b;
  int32_t flag, l;
  int16_t sh;
  uint16_t us;
  char16_t ch;
  uint32_t ul;
  float f;
  double d;
  ASSERT_EQ(shmi_DataIter_GetByte(it, &b), S_OK);
  EXPECT_EQ(b, 0xAB);
  ASSERT_EQ(shmi_DataIter_GetBool(it, &flag), S_OK);
  EXPECT_EQ(flag, 1);
  ASSERT_EQ(shmi_DataIter_GetShort(it, &sh), S_OK);
  EXPECT_EQ(sh, -2);
  ASSERT_EQ(shmi_DataIter_GetUShort(it, &us), S_OK);
  EXPECT_EQ(us, 0xFEDC);
  ASSERT_EQ(shmi_DataIter_GetChar(it, &ch), S_OK);
  EXPECT_EQ(ch, u'\xDE00');
  ASSERT_EQ(shmi_DataIter_GetLong(it, &l), S_OK);
  EXPECT_EQ(l, INT32_MIN);
  ASSERT_EQ(shmi_DataIter_GetULong(it, &ul), S_OK);
  EXPECT_EQ(ul, 0xDEADBEEFu);
  ASSERT_EQ(shmi_DataIter_GetFloat(it, &f), S_OK);
  std::memcpy(&ul, &f, 4);
  EXPECT_EQ(ul, 0x7FC12345u) << "the NaN keeps its payload";
  ASSERT_EQ(shmi_DataIter_GetDouble(it, &d), S_OK);
  uint64_t bits;
  std::memcpy(&bits, &d, 8);
  EXPECT_EQ(bits, 0xFFF0000000000001ull);
  char16_t* text = nullptr;
  ASSERT_EQ(shmi_DataIter_GetString(it, &text, nullptr), S_OK);
  EXPECT_EQ(std::u16string(text), u"x\U0001F600y");
  ZrHeap_free(text);
  zrstg_handle* storage = zrstg_begin(0);
  text = reinterpret_cast<char16_t*>(1);
  ASSERT_EQ(shmi_DataIter_GetString(it, &text, storage), S_OK);
  EXPECT_EQ(text, nullptr);
  SH_DEC decOut;
  ASSERT_EQ(shmi_DataIter_GetDecimal(it, &decOut), S_OK);
  EXPECT_EQ(std::memcmp(&decOut, &dec, sizeof dec), 0);
  SH_TIME tOut;
  ASSERT_EQ(shmi_DataIter_GetDateTime(it, &tOut), S_OK);
  EXPECT_EQ(std::memcmp(&tOut, &t, sizeof t), 0);
  Ref<IZR_Blob> nestedOut;
  ASSERT_EQ(shmi_DataIter_GetShBlob(it, nestedOut.put()), S_OK);
  Ref<IZR_ConvString> conv;
  Ref<IZR_String> nestedText;
  nestedOut->QueryInterface(IID_IZR_ConvString, reinterpret_cast<void**>(conv.put()));
  conv->AsString(nestedText.put());
  EXPECT_EQ(zr::test::text(nestedText.get()), u"nested");
  uint8_t rawOut[3];
  ASSERT_EQ(shmi_DataIter_GetBytes(it, rawOut, 3), S_OK);
  EXPECT_EQ(std::memcmp(rawOut, raw, 3), 0);
  EXPECT_EQ(shmi_DataIter_GetCurrentPosition(it), shmi_DataIter_GetSize(it));
  EXPECT_EQ(shmi_DataIter_GetByte(it, &b), SHMI_E_OUT_OF_RANGE);
  zrstg_end(storage);
}

// Writes raw bytes through the block calls: the way a receiver rebuilds a
// stream that came over the wire.
void blockWrite(SH_MI_DATA_BLOB* blob, const Bytes& bytes) {
  shmi_DataBlob_Reset(blob);
  ASSERT_EQ(shmi_DataBlob_DoingBlockWrite(blob, uint32_t(bytes.size())), S_OK);
  std::memcpy(shmi_DataBlob_GetBlockPointer(blob), bytes.data(), bytes.size());
  ASSERT_EQ(shmi_DataBlob_Advance(blob, uint32_t(bytes.size())), S_OK);
}

TEST(DataBlob, HandMadeAndDamagedStreams) {
  Stream s;
  Bytes wire = kHeader;
  append(wire, {0x00, 0x07, 0, 0, 0, 2, 0x00, 'k', 0x00, 0x00});
  blockWrite(s.blob, wire);
  EXPECT_EQ(streamOf(s.blob), wire);
  SH_MI_DATA_BLOB_ITER* it = s.read();
  int16_t sh;
  char16_t* text;
  ASSERT_EQ(shmi_DataIter_GetShort(it, &sh), S_OK);
  EXPECT_EQ(sh, 7);
  ASSERT_EQ(shmi_DataIter_GetString(it, &text, nullptr), S_OK);
  EXPECT_EQ(std::u16string(text), u"k");
  ZrHeap_free(text);

  // Counts that reach past the end fail without moving, however large.
  for (std::initializer_list<uint8_t> count : {std::initializer_list<uint8_t>{0, 0, 0, 3},
                                               {0x80, 0x00, 0x00, 0x01}, {0x7F, 0xFF, 0xFF, 0xFF}}) {
    Bytes damaged = kHeader;
    append(damaged, count);
    append(damaged, {0, 'a', 0, 0});
    blockWrite(s.blob, damaged);
    it = s.read();
    EXPECT_EQ(shmi_DataIter_GetString(it, &text, nullptr), SHMI_E_OUT_OF_RANGE);
    EXPECT_EQ(shmi_DataIter_GetCurrentPosition(it), 10u);
    IZR_Blob* nested = nullptr;
    EXPECT_EQ(shmi_DataIter_GetShBlob(it, &nested), count.begin()[0] ? SHMI_E_OUT_OF_RANGE : S_OK);
    if (nested) nested->Release();
  }
  // A string without its terminator still reads back terminated.
  Bytes unterminated = kHeader;
  append(unterminated, {0, 0, 0, 2, 0, 'a', 0, 'b'});
  blockWrite(s.blob, unterminated);
  it = s.read();
  ASSERT_EQ(shmi_DataIter_GetString(it, &text, nullptr), S_OK);
  EXPECT_EQ(std::u16string(text), u"a");
  ZrHeap_free(text);

  EXPECT_EQ(shmi_DataIter_MoveTo(it, 19), SHMI_E_OUT_OF_RANGE);
  EXPECT_EQ(shmi_DataIter_MoveTo(it, 18), S_OK);
  EXPECT_EQ(shmi_DataIter_Advance(it, 1), SHMI_E_OUT_OF_RANGE);
  ASSERT_EQ(shmi_DataIter_Reset(it), S_OK);
  EXPECT_EQ(shmi_DataIter_GetCurrentPosition(it), 10u);

  Bytes foreign = kHeader;
  foreign[2] = 'X';
  append(foreign, {1, 2});
  blockWrite(s.blob, foreign);
  it = s.read();
  uint8_t b;
  EXPECT_EQ(shmi_DataIter_GetByte(it, &b), SHMI_E_NOT_READABLE);
}

TEST(DataBlob, GrowthResetAndReferences) {
  Stream s;
  Bytes big(1 << 20);
  for (size_t i = 0; i < big.size(); ++i) big[i] = uint8_t(i * 7);
  shmi_DataBlob_addBytes(s.blob, big.data(), uint32_t(big.size()));
  shmi_DataBlob_addLong(s.blob, 5);
  EXPECT_EQ(shmi_DataBlob_GetSize(s.blob), 10u + big.size() + 4);
  SH_MI_DATA_BLOB_ITER* it = s.read();
  EXPECT_EQ(shmi_DataBlob_Release(s.blob), 1u) << "the iterator holds the blob";
  s.blob = nullptr;
  Bytes out(big.size());
  ASSERT_EQ(shmi_DataIter_GetBytes(it, out.data(), uint32_t(out.size())), S_OK);
  EXPECT_EQ(out, big);
  int32_t l;
  ASSERT_EQ(shmi_DataIter_GetLong(it, &l), S_OK);
  EXPECT_EQ(l, 5);

  Stream again;
  shmi_DataBlob_addLong(again.blob, 1);
  shmi_DataBlob_Reset(again.blob);
  shmi_DataBlob_addByte(again.blob, 9);
  Bytes expected = kHeader;
  append(expected, {9});
  EXPECT_EQ(streamOf(again.blob), expected) << "a reset stream starts over behind a new header";
  EXPECT_EQ(shmi_DataBlob_AddRef(again.blob), 2u);
  EXPECT_EQ(shmi_DataBlob_Release(again.blob), 1u);
}

TEST(ByteOrder, SwapsStepAndLoop) {
  uint16_t shorts[3] = {0x1234, 0xABCD, 0x00FF};
  EXPECT_EQ(shFlipShort(shorts), shorts + 1);
  EXPECT_EQ(shorts[0], 0x3412);
  shFlipShort(shorts);
  EXPECT_EQ(shorts[0], 0x1234) << "twice restores";
  EXPECT_EQ(shFlipDataLoop(shorts, shFlipShort, 3, nullptr), shorts + 3);
  EXPECT_EQ(shorts[1], 0xCDAB);
  EXPECT_EQ(shorts[2], 0xFF00);
  EXPECT_EQ(shFlipDataLoop(nullptr, shFlipShort, 3, nullptr), nullptr);
  EXPECT_EQ(shFlipDataLoopNative(shorts, shFlipShort, 3, nullptr), shorts);
  EXPECT_EQ(shorts[1], 0xCDAB);

  uint32_t l = 0x01020304;
  EXPECT_EQ(shFlipLong(&l), &l + 1);
  EXPECT_EQ(l, 0x04030201u);
  uint64_t ll = 0x0102030405060708ull;
  shFlipLonglong(&ll);
  EXPECT_EQ(ll, 0x0807060504030201ull);
  uint32_t timeT[2] = {0x01020304, 0x05060708};
  EXPECT_EQ(shFlipTimeT(timeT), timeT + 2);
  EXPECT_EQ(timeT[0], 0x04030201u);
  EXPECT_EQ(timeT[1], 0x05060708u);

  SH_DEC dec{};
  dec.digits[0] = 0x0102;
  dec.flags = 0x01;
  dec.scale = 0x02;
  EXPECT_EQ(shFlipSHDEC(&dec), &dec + 1);
  EXPECT_EQ(dec.digits[0], 0x0201);
  EXPECT_EQ(dec.flags, 0x02) << "the last unit is flags and scale";
  SH_TIME t{};
  t.microsecond = 0x01020304;
  t.year = 0x0506;
  t.month = 7;
  EXPECT_EQ(shFlipSHTime(&t), &t + 1);
  EXPECT_EQ(t.microsecond, 0x04030201);
  EXPECT_EQ(t.year, 0x0605);
  EXPECT_EQ(t.month, 7);

  int before = shGetFlipDataNative();
  shSetFlipDataNative(1);
  EXPECT_EQ(shGetFlipDataNative(), 1);
  shSetFlipDataNative(before);
}

}  // namespace
