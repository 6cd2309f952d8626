// CZR_StringBufferImpl: changeable text. Every change builds the new text in
// a fresh block and swaps it in, so a failed allocation leaves the buffer as
// it was. Blocks keep one spare unit behind the length, which the index
// checks (an index equal to the length passes) rely on.
#include <algorithm>

#include "objects/object_support.h"
#include "text/wide_case.h"

using namespace zr::objects;
using namespace zr::text;

namespace {

HRESULT textOf(IZR_String* string, const char16_t** text, uint32_t* length) {
  if (!string || string->GetText(text) != S_OK || string->GetLength(length) != S_OK) return E_INVALIDARG;
  if (!*text) *text = u"";
  return S_OK;
}

HRESULT makeBuffer(const char16_t* text, IZR_StringBuffer** out) {
  if (!out) return E_INVALIDARG;
  *out = nullptr;
  uint32_t length;
  char16_t* copy = copyText(text ? text : u"", &length);
  if (!copy) return E_OUTOFMEMORY;
  auto* object = new CZR_StringBufferImpl(copy, length);
  if (!object) {
    ZrHeap_free(copy);
    return E_OUTOFMEMORY;
  }
  *out = object;
  return S_OK;
}

void copyUnits(char16_t* to, const char16_t* from, uint32_t count) {
  if (count) std::memcpy(to, from, count * sizeof(char16_t));
}

}  // namespace

ZRAPI HRESULT CreateStringBuffer(IZR_StringBuffer** out) { return makeBuffer(u"", out); }

ZRAPI HRESULT CreateStringBufferFromLPTSTR(const char16_t* text, IZR_StringBuffer** out) {
  return makeBuffer(text, out);
}

ZR_DEFINE_HEAP_OBJECT(CZR_StringBufferImpl)

CZR_StringBufferImpl::CZR_StringBufferImpl(char16_t* text, uint32_t length) : text_(text), refs_(1), length_(length) {}

CZR_StringBufferImpl::~CZR_StringBufferImpl() { ZrHeap_free(text_); }

void CZR_StringBufferImpl::swapText(char16_t* text, uint32_t length, bool keepLength) {
  ZrHeap_free(text_);
  text_ = text;
  if (!keepLength) length_ = length;
}

HRESULT CZR_StringBufferImpl::QueryInterface(const ZR_GUID& iid, void** out) {
  if (!out) return E_INVALIDARG;
  if (sameGuid(iid, IID_IUnknown) || sameGuid(iid, IID_IZR_StringBuffer))
    return answer(static_cast<IZR_StringBuffer*>(this), out);
  if (sameGuid(iid, IID_IZR_ConvBlob)) return answer(static_cast<IZR_ConvBlob*>(this), out);
  return answer(sameGuid(iid, IID_IZR_ConvString) ? static_cast<IZR_ConvString*>(this) : nullptr, out);
}

uint32_t CZR_StringBufferImpl::AddRef() { return addRef(refs_); }

uint32_t CZR_StringBufferImpl::Release() { return release(this, refs_); }

HRESULT CZR_StringBufferImpl::Clone(IZR_StringBuffer** out) { return makeBuffer(text_, out); }

HRESULT CZR_StringBufferImpl::GetText(const char16_t** text) {
  if (!text) return E_INVALIDARG;
  *text = text_;
  return S_OK;
}

HRESULT CZR_StringBufferImpl::GetLength(uint32_t* length) {
  if (!length) return E_INVALIDARG;
  *length = length_;
  return S_OK;
}

HRESULT CZR_StringBufferImpl::Compare(IZR_StringBuffer* other, int32_t* result) {
  const char16_t* text;
  if (!other || !result || other->GetText(&text) != S_OK) return E_INVALIDARG;
  *result = compareText(text_, text);
  return S_OK;
}

HRESULT CZR_StringBufferImpl::CompareNoCase(IZR_StringBuffer* other, int32_t* result) {
  const char16_t* text;
  if (!other || !result || other->GetText(&text) != S_OK) return E_INVALIDARG;
  *result = compareTextNoCase(text_, text);
  return S_OK;
}

HRESULT CZR_StringBufferImpl::GetChar(uint32_t index, char16_t* character) {
  if (!character || index > length_) return E_INVALIDARG;
  *character = text_[index];
  return S_OK;
}

HRESULT CZR_StringBufferImpl::SetChar(uint32_t index, char16_t character) {
  if (index > length_) return E_INVALIDARG;
  text_[index] = character;
  return S_OK;
}

HRESULT CZR_StringBufferImpl::SubString(uint32_t start, uint32_t count, IZR_String** out) {
  if (!out || start > length_) return E_INVALIDARG;
  count = std::min(count, length_ - start);
  char16_t* part = allocText(count);
  if (!part) return E_OUTOFMEMORY;
  copyUnits(part, text_ + start, count);
  return adoptString(part, out);
}

HRESULT CZR_StringBufferImpl::Append(IZR_String* string) {
  const char16_t* text;
  uint32_t length;
  if (HRESULT hr = textOf(string, &text, &length); hr != S_OK) return hr;
  uint32_t total = length_ + length - 1;
  char16_t* joined = allocText(total);
  if (!joined) return E_OUTOFMEMORY;
  copyUnits(joined, text_, length_ - 1);
  copyUnits(joined + length_ - 1, text, length);
  swapText(joined, total, false);
  return S_OK;
}

HRESULT CZR_StringBufferImpl::Insert(uint32_t position, IZR_String* string) {
  const char16_t* text;
  uint32_t length;
  if (HRESULT hr = textOf(string, &text, &length); hr != S_OK) return hr;
  if (position > length_) return E_INVALIDARG;
  uint32_t total = length_ + length - 1;
  char16_t* joined = allocText(total);
  if (!joined) return E_OUTOFMEMORY;
  copyUnits(joined, text_, position);
  copyUnits(joined + position, text, length - 1);
  copyUnits(joined + position + length - 1, text_ + position, length_ - position);
  swapText(joined, total, false);
  return S_OK;
}

// A count reaching past the terminator is clipped, and the copy of the rest
// then starts just past the terminator: callers keep count short of it.
HRESULT CZR_StringBufferImpl::Remove(uint32_t position, uint32_t count) {
  if (position > length_) return E_INVALIDARG;
  count = std::min(count, length_ - position);
  uint32_t total = length_ - count;
  char16_t* kept = allocText(total);
  if (!kept) return E_OUTOFMEMORY;
  copyUnits(kept, text_, position);
  copyUnits(kept + position, text_ + position + count, length_ - position - count);
  swapText(kept, total, false);
  return S_OK;
}

HRESULT CZR_StringBufferImpl::Replace(uint32_t position, uint32_t count, IZR_String* string) {
  const char16_t* text;
  uint32_t length;
  if (HRESULT hr = textOf(string, &text, &length); hr != S_OK) return hr;
  if (position > length_) return E_INVALIDARG;
  count = std::min(count, length_ - position);
  uint32_t total = length_ - count - 1 + length;
  char16_t* joined = allocText(total);
  if (!joined) return E_OUTOFMEMORY;
  copyUnits(joined, text_, position);
  copyUnits(joined + position, text, length - 1);
  copyUnits(joined + position + length - 1, text_ + position + count, length_ - position - count);
  swapText(joined, total, false);
  return S_OK;
}

HRESULT CZR_StringBufferImpl::ToUpper() {
  upperInPlace(text_);
  return S_OK;
}

HRESULT CZR_StringBufferImpl::ToLower() {
  lowerInPlace(text_);
  return S_OK;
}

// The length stays as it was before the trim; the new block keeps room for
// it, zero-filled, so that indices up to that length stay readable.
HRESULT CZR_StringBufferImpl::Trim(char16_t character, int32_t side) {
  uint32_t begin = 0, end = textLength(text_) - 1;
  if (side == -1 || side == 0)
    while (begin < end && text_[begin] == character) ++begin;
  if (side == 1 || side == 0)
    while (end > begin && text_[end - 1] == character) --end;
  uint32_t room = std::max(end - begin, length_);
  char16_t* kept = allocText(room);
  if (!kept) return E_OUTOFMEMORY;
  std::fill_n(kept, room, u'\0');
  copyUnits(kept, text_ + begin, end - begin);
  swapText(kept, 0, true);
  return S_OK;
}

HRESULT CZR_StringBufferImpl::Find(uint32_t start, IZR_String* sought, uint32_t* position) {
  const char16_t* text;
  if (!sought || !position || start > length_ || sought->GetText(&text) != S_OK) return E_INVALIDARG;
  const char16_t* found = findText(text_ + start, text);
  *position = found ? uint32_t(found - text_) : 0;
  return found ? S_OK : E_FAIL;
}

HRESULT CZR_StringBufferImpl::SetText(const char16_t* text) {
  uint32_t length;
  char16_t* copy = copyText(text ? text : u"", &length);
  if (!copy) return E_OUTOFMEMORY;
  swapText(copy, length, false);
  return S_OK;
}

HRESULT CZR_StringBufferImpl::SetFromString(IZR_String* string) {
  const char16_t* text;
  uint32_t length;
  if (HRESULT hr = textOf(string, &text, &length); hr != S_OK) return hr;
  return SetText(text);
}

HRESULT CZR_StringBufferImpl::AsBlob(IZR_Blob** out) {
  if (!out) return E_INVALIDARG;
  return CreateBlobFromBytes(reinterpret_cast<const uint8_t*>(text_), length_ * sizeof(char16_t), out);
}

HRESULT CZR_StringBufferImpl::AsString(IZR_String** out) { return CreateString(text_, out); }
