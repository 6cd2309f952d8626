// CZR_PropertySet: typed values by name over a string dictionary that holds
// one value per name, names compared without regard to case. Longs are kept
// as their base-10 text.
#include "objects/object_support.h"
#include "text/wide_case.h"
#include "zrstr.h"

using namespace zr::objects;

namespace {

// The name as a key object for the dictionary calls that take one.
HRESULT keyOf(const char16_t* name, IZR_String** key) {
  if (!name) return E_INVALIDARG;
  return CreateString(name, key);
}

}  // namespace

ZRAPI HRESULT ZR_CreatePropertySet(IZR_PropertySet** out) {
  if (!out) return E_INVALIDARG;
  *out = nullptr;
  IZR_StringDictionary* values;
  if (HRESULT hr = CreateStringDictionaryWithFlags(101, ZR_DICT_NOCASE | ZR_DICT_UNIQUE_KEY, &values); hr != S_OK)
    return hr;
  auto* object = new CZR_PropertySet(values);
  if (!object) {
    values->Release();
    return E_OUTOFMEMORY;
  }
  *out = object;
  return S_OK;
}

ZR_DEFINE_HEAP_OBJECT(CZR_PropertySet)

CZR_PropertySet::CZR_PropertySet(IZR_StringDictionary* values) : values_(values), refs_(1) {}

CZR_PropertySet::~CZR_PropertySet() { values_->Release(); }

HRESULT CZR_PropertySet::QueryInterface(const ZR_GUID& iid, void** out) {
  if (!out) return E_INVALIDARG;
  bool known = sameGuid(iid, IID_IUnknown) || sameGuid(iid, IID_IZR_PropertySet);
  return answer(known ? this : nullptr, out);
}

uint32_t CZR_PropertySet::AddRef() { return addRef(refs_); }

uint32_t CZR_PropertySet::Release() { return release(this, refs_); }

// A value set as an object that is not a string is E_NOINTERFACE here.
HRESULT CZR_PropertySet::GetString(const char16_t* name, IZR_String** value) {
  if (!value) return E_INVALIDARG;
  *value = nullptr;
  IUnknown* item;
  if (HRESULT hr = values_->GetByText(name, &item); hr != S_OK) return hr;
  if (!item) return E_FAIL;
  HRESULT hr = item->QueryInterface(IID_IZR_String, reinterpret_cast<void**>(value));
  item->Release();
  return hr;
}

HRESULT CZR_PropertySet::SetString(const char16_t* name, IZR_String* value) { return SetObject(name, value); }

HRESULT CZR_PropertySet::GetLong(const char16_t* name, int32_t* value) {
  if (!value) return E_INVALIDARG;
  IZR_String* string;
  if (HRESULT hr = GetString(name, &string); hr != S_OK) return hr;
  const char16_t* text = nullptr;
  string->GetText(&text);
  char16_t* end = nullptr;
  int32_t number = text ? zrstg_strtol_imp(text, &end, 10) : 0;
  bool whole = text && end != text && *end == 0;
  string->Release();
  if (!whole) return E_FAIL;
  *value = number;
  return S_OK;
}

HRESULT CZR_PropertySet::SetLong(const char16_t* name, int32_t value) {
  char16_t digits[12];
  zr::text::longToText(value, digits);
  IZR_String* string;
  if (HRESULT hr = CreateString(digits, &string); hr != S_OK) return hr;
  HRESULT hr = SetObject(name, string);
  string->Release();
  return hr;
}

HRESULT CZR_PropertySet::GetObject(const char16_t* name, IUnknown** value) {
  if (!value) return E_INVALIDARG;
  return values_->GetByText(name, value);
}

HRESULT CZR_PropertySet::SetObject(const char16_t* name, IUnknown* value) {
  if (!value) return E_INVALIDARG;
  IZR_String* key;
  if (HRESULT hr = keyOf(name, &key); hr != S_OK) return hr;
  HRESULT hr = values_->Add(key, value);
  key->Release();
  return hr;
}

HRESULT CZR_PropertySet::Remove(const char16_t* name) {
  IZR_String* key;
  if (HRESULT hr = keyOf(name, &key); hr != S_OK) return hr;
  HRESULT hr = values_->RemoveKey(key);
  key->Release();
  return hr;
}

HRESULT CZR_PropertySet::Enumerate(IEnumUnknown** out) { return values_->EnumerateKeys(out); }
