// The data blob iterator on arbitrary streams. The first byte gives the
// number of operation bytes that follow and whether a valid header goes in
// front; the rest is the stream, written through the block-write calls.
// Every read must stay within the used size and move by what it consumed.
#include <cstdlib>
#include <cstring>

#include "shmi.h"
#include "zrheap.h"

namespace {

void check(bool ok) {
  if (!ok) std::abort();
}

const uint8_t kHeader[SHMI_HEADER_SIZE] = {0, SHMI_HEADER_SIZE, 'M', 'I', 'B', 'L', 'O', 'B', 0, 1};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  size_t opCount = data[0] & 0x3F;
  bool withHeader = data[0] & 0x80;
  if (opCount > size - 1) opCount = size - 1;
  const uint8_t* ops = data + 1;
  const uint8_t* stream = ops + opCount;
  size_t streamSize = size - 1 - opCount;

  SH_MI_DATA_BLOB* blob = shmi_CreateDataBlob();
  shmi_DataBlob_Reset(blob);
  size_t total = streamSize + (withHeader ? SHMI_HEADER_SIZE : 0);
  check(shmi_DataBlob_DoingBlockWrite(blob, uint32_t(total)) == S_OK);
  auto* at = static_cast<uint8_t*>(shmi_DataBlob_GetBlockPointer(blob));
  if (withHeader) std::memcpy(at, kHeader, SHMI_HEADER_SIZE);
  if (streamSize) std::memcpy(at + total - streamSize, stream, streamSize);
  check(shmi_DataBlob_Advance(blob, uint32_t(total)) == S_OK);
  check(shmi_DataBlob_GetSize(blob) == total);

  SH_MI_DATA_BLOB_ITER* it = shmi_DataBlob_GetDataIterator(blob);
  uint32_t end = shmi_DataIter_GetSize(it);
  check(end == total);
  for (int round = 0; round < 64 && opCount; ++round) {
    uint8_t op = ops[round % opCount];
    uint32_t before = shmi_DataIter_GetCurrentPosition(it);
    uint32_t expected = 0;
    HRESULT hr = S_OK;
    union {
      uint8_t b;
      int32_t l;
      double d;
      float f;
      SH_DEC dec;
      SH_TIME t;
      uint8_t raw[64];
    } out;
    switch (op % 16) {
      case 0: hr = shmi_DataIter_GetByte(it, &out.b), expected = 1; break;
      case 1: hr = shmi_DataIter_GetBool(it, &out.l), expected = 1; break;
      case 2: hr = shmi_DataIter_GetShort(it, reinterpret_cast<int16_t*>(&out.l)), expected = 2; break;
      case 3: hr = shmi_DataIter_GetChar(it, reinterpret_cast<char16_t*>(&out.l)), expected = 2; break;
      case 4: hr = shmi_DataIter_GetLong(it, &out.l), expected = 4; break;
      case 5: hr = shmi_DataIter_GetFloat(it, &out.f), expected = 4; break;
      case 6: hr = shmi_DataIter_GetDouble(it, &out.d), expected = 8; break;
      case 7: hr = shmi_DataIter_GetDecimal(it, &out.dec), expected = 16; break;
      case 8: hr = shmi_DataIter_GetDateTime(it, &out.t), expected = 12; break;
      case 9: hr = shmi_DataIter_GetBytes(it, out.raw, op >> 4), expected = op >> 4; break;
      case 10: {
        char16_t* text = nullptr;
        hr = shmi_DataIter_GetString(it, &text, nullptr);
        if (hr == S_OK && text) {
          size_t n = 0;
          while (text[n]) ++n;
          check(4 + 2 * n < size_t(end - before) + 1);
          expected = shmi_DataIter_GetCurrentPosition(it) - before;
          ZrHeap_free(text);
        } else {
          expected = 4;
        }
        break;
      }
      case 11: {
        IZR_Blob* nested = nullptr;
        hr = shmi_DataIter_GetShBlob(it, &nested);
        expected = 4;
        if (hr == S_OK && nested) {
          uint32_t n = 0;
          nested->GetSize(&n);
          expected += n;
          nested->Release();
        }
        break;
      }
      case 12: hr = shmi_DataIter_MoveTo(it, uint32_t(op) * 3); break;
      case 13: hr = shmi_DataIter_Advance(it, op >> 4); break;
      case 14: hr = shmi_DataIter_Reset(it); break;
      default: hr = shmi_DataIter_GetULong(it, reinterpret_cast<uint32_t*>(&out.l)), expected = 4; break;
    }
    uint32_t after = shmi_DataIter_GetCurrentPosition(it);
    check(after <= end);
    if (hr != S_OK) {
      check(after == before);
      check(hr == SHMI_E_OUT_OF_RANGE || hr == SHMI_E_NOT_READABLE);
    } else if (op % 16 <= 11) {
      check(after - before == expected);
    }
  }
  shmi_DataIter_Release(it);
  check(shmi_DataBlob_Release(blob) == 0);
  return 0;
}
