// CZR_DynamicVectorImpl: places that hold IUnknown references, grown on
// demand and never shrunk.
#include "objects/object_support.h"

using namespace zr::objects;

namespace {

IUnknown** allocPlaces(uint32_t capacity) {
  return static_cast<IUnknown**>(ZrHeap_calloc(size_t(capacity) + 1, sizeof(IUnknown*)));
}

}  // namespace

ZRAPI HRESULT CreateDynamicVectorFromArray(IUnknown** items, uint32_t count, uint32_t capacity,
                                           IZR_DynamicVector** out) {
  if (!out || (!items && count) || count > capacity) return E_INVALIDARG;
  *out = nullptr;
  IUnknown** places = allocPlaces(capacity);
  if (!places) return E_OUTOFMEMORY;
  auto* object = new CZR_DynamicVectorImpl(places, capacity);
  if (!object) {
    ZrHeap_free(places);
    return E_OUTOFMEMORY;
  }
  for (uint32_t i = 0; i < count; ++i)
    if ((places[i] = items[i])) places[i]->AddRef();
  *out = object;
  return S_OK;
}

ZRAPI HRESULT CreateDynamicVectorWithSize(uint32_t size, IZR_DynamicVector** out) {
  return CreateDynamicVectorFromArray(nullptr, 0, size, out);
}

ZRAPI HRESULT CreateDynamicVector(IZR_DynamicVector** out) { return CreateDynamicVectorWithSize(10, out); }

ZR_DEFINE_HEAP_OBJECT(CZR_DynamicVectorImpl)

CZR_DynamicVectorImpl::CZR_DynamicVectorImpl(IUnknown** items, uint32_t capacity)
    : items_(items), refs_(1), capacity_(capacity) {}

CZR_DynamicVectorImpl::~CZR_DynamicVectorImpl() {
  for (uint32_t i = 0; i < capacity_; ++i)
    if (items_[i]) items_[i]->Release();
  ZrHeap_free(items_);
}

HRESULT CZR_DynamicVectorImpl::QueryInterface(const ZR_GUID& iid, void** out) {
  if (!out) return E_INVALIDARG;
  bool known = sameGuid(iid, IID_IUnknown) || sameGuid(iid, IID_IZR_DynamicVector);
  return answer(known ? this : nullptr, out);
}

uint32_t CZR_DynamicVectorImpl::AddRef() { return addRef(refs_); }

uint32_t CZR_DynamicVectorImpl::Release() { return release(this, refs_); }

HRESULT CZR_DynamicVectorImpl::GetSize(uint32_t* capacity) {
  if (!capacity) return E_INVALIDARG;
  *capacity = capacity_;
  return S_OK;
}

HRESULT CZR_DynamicVectorImpl::SetSize(uint32_t size) {
  if (size <= capacity_) return S_OK;
  IUnknown** places = allocPlaces(size);
  if (!places) return E_OUTOFMEMORY;
  std::memcpy(places, items_, capacity_ * sizeof(IUnknown*));
  ZrHeap_free(items_);
  items_ = places;
  capacity_ = size;
  return S_OK;
}

// The index equal to the capacity is the place just behind the last one:
// every array keeps it, empty, so that reading it gives an empty place.
HRESULT CZR_DynamicVectorImpl::GetAt(uint32_t index, IUnknown** item) {
  if (!item || index > capacity_) return E_INVALIDARG;
  *item = items_[index];
  if (!*item) return ZR_S_EMPTY_PLACE;
  (*item)->AddRef();
  return S_OK;
}

// Grows for an index above the capacity. The index equal to the capacity
// passes without growing; it is refused here rather than written into the
// spare place, which the next growth would not carry over.
HRESULT CZR_DynamicVectorImpl::SetAt(uint32_t index, IUnknown* item) {
  if (!item) return S_OK;
  if (index == capacity_) return E_INVALIDARG;
  if (index > capacity_) {
    if (index == UINT32_MAX) return E_INVALIDARG;
    if (HRESULT hr = SetSize(index + 1); hr != S_OK) return hr;
  }
  item->AddRef();
  if (items_[index]) items_[index]->Release();
  items_[index] = item;
  return S_OK;
}

HRESULT CZR_DynamicVectorImpl::IsEmpty(int* empty) {
  if (!empty) return E_INVALIDARG;
  *empty = capacity_ == 0;
  return S_OK;
}

HRESULT CZR_DynamicVectorImpl::Clone(IZR_DynamicVector** out) {
  return CreateDynamicVectorFromArray(items_, capacity_, capacity_, out);
}
