// CZR_StringImpl: immutable text whose length counts the terminator. Every
// path that makes a new string builds its text in a temporary block that
// the new object then takes.
#include <algorithm>

#include "objects/object_support.h"
#include "text/wide_case.h"

using namespace zr::objects;
using namespace zr::text;

namespace zr::objects {

uint32_t textLength(const char16_t* text) {
  uint32_t n = 0;
  if (text)
    while (text[n]) ++n;
  return n + 1;
}

char16_t* allocText(uint32_t count) {
  auto* text = static_cast<char16_t*>(ZrHeap_malloc((size_t(count) + 2) * sizeof(char16_t)));
  if (text) text[count] = text[count + 1] = 0;
  return text;
}

char16_t* copyText(const char16_t* text, uint32_t* length) {
  *length = textLength(text);
  if (!text) return nullptr;
  char16_t* copy = allocText(*length - 1);
  if (copy) std::memcpy(copy, text, *length * sizeof(char16_t));
  return copy;
}

HRESULT adoptString(char16_t* text, IZR_String** out) {
  if (!text) return E_OUTOFMEMORY;
  auto* object = new CZR_StringImpl(text, textLength(text));
  if (!object) {
    ZrHeap_free(text);
    return E_OUTOFMEMORY;
  }
  *out = object;
  return S_OK;
}

}  // namespace zr::objects

ZRAPI HRESULT CreateString(const char16_t* text, IZR_String** out) {
  if (!out) return E_INVALIDARG;
  *out = nullptr;
  uint32_t length;
  char16_t* copy = copyText(text, &length);
  if (text && !copy) return E_OUTOFMEMORY;
  auto* object = new CZR_StringImpl(copy, length);
  if (!object) {
    ZrHeap_free(copy);
    return E_OUTOFMEMORY;
  }
  *out = object;
  return S_OK;
}

ZR_DEFINE_HEAP_OBJECT(CZR_StringImpl)

CZR_StringImpl::CZR_StringImpl(char16_t* text, uint32_t length) : text_(text), refs_(1), length_(length) {}

CZR_StringImpl::~CZR_StringImpl() { ZrHeap_free(text_); }

HRESULT CZR_StringImpl::QueryInterface(const ZR_GUID& iid, void** out) {
  if (!out) return E_INVALIDARG;
  if (sameGuid(iid, IID_IUnknown) || sameGuid(iid, IID_IZR_String))
    return answer(static_cast<IZR_String*>(this), out);
  return answer(sameGuid(iid, IID_IZR_ConvBlob) ? static_cast<IZR_ConvBlob*>(this) : nullptr, out);
}

uint32_t CZR_StringImpl::AddRef() { return addRef(refs_); }

uint32_t CZR_StringImpl::Release() { return release(this, refs_); }

HRESULT CZR_StringImpl::Compare(IZR_String* other, int32_t* result) {
  const char16_t* text;
  if (!other || !result || other->GetText(&text) != S_OK) return E_INVALIDARG;
  *result = compareText(text_, text);
  return S_OK;
}

HRESULT CZR_StringImpl::CompareNoCase(IZR_String* other, int32_t* result) {
  const char16_t* text;
  if (!other || !result || other->GetText(&text) != S_OK) return E_INVALIDARG;
  *result = compareTextNoCase(text_, text);
  return S_OK;
}

HRESULT CZR_StringImpl::GetText(const char16_t** text) {
  if (!text) return E_INVALIDARG;
  *text = text_;
  return S_OK;
}

HRESULT CZR_StringImpl::GetLength(uint32_t* length) {
  if (!length) return E_INVALIDARG;
  *length = length_;
  return S_OK;
}

// An index equal to the length is let through: it reads the spare unit.
HRESULT CZR_StringImpl::GetChar(uint32_t index, char16_t* character) {
  if (!character || index > length_) return E_INVALIDARG;
  *character = text_ ? text_[index] : 0;
  return S_OK;
}

HRESULT CZR_StringImpl::SubString(uint32_t start, uint32_t count, IZR_String** out) {
  if (!out || start > length_) return E_INVALIDARG;
  count = std::min(count, length_ - start);
  char16_t* part = allocText(count);
  if (!part) return E_OUTOFMEMORY;
  if (text_) std::memcpy(part, text_ + start, count * sizeof(char16_t));
  else std::fill_n(part, count, u'\0');
  return adoptString(part, out);
}

HRESULT CZR_StringImpl::Concat(IZR_String* other, IZR_String** out) {
  const char16_t* text;
  uint32_t otherLength;
  if (!other || !out || other->GetText(&text) != S_OK || other->GetLength(&otherLength) != S_OK)
    return E_INVALIDARG;
  char16_t* joined = allocText(length_ + otherLength - 1);
  if (!joined) return E_OUTOFMEMORY;
  if (text_) std::memcpy(joined, text_, (length_ - 1) * sizeof(char16_t));
  else joined[0] = 0;
  char16_t* tail = joined + (text_ ? length_ - 1 : 0);
  if (text) std::memcpy(tail, text, otherLength * sizeof(char16_t));
  else *tail = 0;
  return adoptString(joined, out);
}

HRESULT CZR_StringImpl::ToUpper(IZR_String** out) {
  if (!out) return E_INVALIDARG;
  uint32_t length;
  char16_t* copy = copyText(text_ ? text_ : u"", &length);
  upperInPlace(copy);
  return adoptString(copy, out);
}

HRESULT CZR_StringImpl::ToLower(IZR_String** out) {
  if (!out) return E_INVALIDARG;
  uint32_t length;
  char16_t* copy = copyText(text_ ? text_ : u"", &length);
  lowerInPlace(copy);
  return adoptString(copy, out);
}

HRESULT CZR_StringImpl::Trim(char16_t character, int32_t side, IZR_String** out) {
  if (!out) return E_INVALIDARG;
  const char16_t* text = text_ ? text_ : u"";
  uint32_t begin = 0, end = length_ - 1;
  if (side == -1 || side == 0)
    while (begin < end && text[begin] == character) ++begin;
  if (side == 1 || side == 0)
    while (end > begin && text[end - 1] == character) --end;
  char16_t* kept = allocText(end - begin);
  if (!kept) return E_OUTOFMEMORY;
  std::memcpy(kept, text + begin, (end - begin) * sizeof(char16_t));
  return adoptString(kept, out);
}

HRESULT CZR_StringImpl::Find(uint32_t start, IZR_String* sought, uint32_t* position) {
  const char16_t* text;
  if (!sought || !position || start > length_ || sought->GetText(&text) != S_OK) return E_INVALIDARG;
  const char16_t* found = text_ ? findText(text_ + start, text) : nullptr;
  *position = found ? uint32_t(found - text_) : 0;
  return found ? S_OK : E_FAIL;
}

HRESULT CZR_StringImpl::AsBlob(IZR_Blob** out) {
  if (!out) return E_INVALIDARG;
  uint32_t size = length_ * sizeof(char16_t);
  auto* data = static_cast<uint8_t*>(ZrHeap_malloc(size));
  if (!data) return E_OUTOFMEMORY;
  if (text_) std::memcpy(data, text_, size);
  else std::memset(data, 0, size);
  return adoptBlob(data, size, out);
}
