// CZR_EnumUnknownImpl: a snapshot of items, each holding a reference.
#include <algorithm>

#include "objects/object_support.h"

using namespace zr::objects;

namespace zr::objects {

HRESULT enumerate(IUnknown* const* items, uint32_t count, IEnumUnknown** out) {
  auto* copy = static_cast<IUnknown**>(ZrHeap_malloc((size_t(count) + 1) * sizeof(IUnknown*)));
  if (!copy) return E_OUTOFMEMORY;
  if (count) std::memcpy(copy, items, count * sizeof(IUnknown*));
  auto* object = new CZR_EnumUnknownImpl(copy, count);
  if (!object) {
    ZrHeap_free(copy);
    return E_OUTOFMEMORY;
  }
  for (uint32_t i = 0; i < count; ++i)
    if (copy[i]) copy[i]->AddRef();
  *out = object;
  return S_OK;
}

}  // namespace zr::objects

ZRAPI HRESULT CreateEnumUnknown(IUnknown** items, uint32_t count, uint32_t start, IEnumUnknown** out) {
  if (!items || !out) return E_INVALIDARG;
  *out = nullptr;
  if (HRESULT hr = enumerate(items, count, out); hr != S_OK) return hr;
  (*out)->Skip(start);
  return S_OK;
}

ZR_DEFINE_HEAP_OBJECT(CZR_EnumUnknownImpl)

CZR_EnumUnknownImpl::CZR_EnumUnknownImpl(IUnknown** items, uint32_t count)
    : refs_(1), position_(0), count_(count), items_(items) {}

CZR_EnumUnknownImpl::~CZR_EnumUnknownImpl() {
  for (uint32_t i = 0; i < count_; ++i)
    if (items_[i]) items_[i]->Release();
  ZrHeap_free(items_);
}

HRESULT CZR_EnumUnknownImpl::QueryInterface(const ZR_GUID& iid, void** out) {
  if (!out) return E_INVALIDARG;
  bool known = sameGuid(iid, IID_IUnknown) || sameGuid(iid, IID_IEnumUnknown);
  return answer(known ? this : nullptr, out);
}

uint32_t CZR_EnumUnknownImpl::AddRef() { return addRef(refs_); }

uint32_t CZR_EnumUnknownImpl::Release() { return release(this, refs_); }

// Without a fetched count the caller can only learn of one item.
HRESULT CZR_EnumUnknownImpl::Next(uint32_t count, IUnknown** items, uint32_t* fetched) {
  if (!items || (!fetched && count != 1)) return E_INVALIDARG;
  if (position_ >= count_) return S_FALSE;
  uint32_t n = std::min(count, count_ - position_);
  for (uint32_t i = 0; i < n; ++i) {
    items[i] = items_[position_ + i];
    if (items[i]) items[i]->AddRef();
  }
  position_ += n;
  if (fetched) *fetched = n;
  return S_OK;
}

HRESULT CZR_EnumUnknownImpl::Skip(uint32_t count) {
  if (uint64_t(position_) + count < count_) {
    position_ += count;
    return S_OK;
  }
  position_ = count_;
  return S_FALSE;
}

HRESULT CZR_EnumUnknownImpl::Reset() {
  position_ = 0;
  return S_OK;
}

HRESULT CZR_EnumUnknownImpl::Clone(IEnumUnknown** out) { return CreateEnumUnknown(items_, count_, position_, out); }
