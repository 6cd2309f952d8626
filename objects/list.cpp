// CZR_ListImpl: a doubly linked list of IUnknown references, found by
// pointer.
#include "objects/object_support.h"

using namespace zr::objects;

ZRAPI HRESULT CreateList(IZR_List** out) {
  if (!out) return E_INVALIDARG;
  *out = new CZR_ListImpl();
  return *out ? S_OK : E_OUTOFMEMORY;
}

ZRAPI HRESULT CreateListFromArray(IUnknown** items, uint32_t count, IZR_List** out) {
  if (!out || (!items && count)) return E_INVALIDARG;
  *out = nullptr;
  IZR_List* list;
  if (HRESULT hr = CreateList(&list); hr != S_OK) return hr;
  for (uint32_t i = 0; i < count; ++i) {
    if (HRESULT hr = list->AddTail(items[i]); hr != S_OK) {
      list->Release();
      return hr;
    }
  }
  *out = list;
  return S_OK;
}

ZR_DEFINE_HEAP_OBJECT(CZR_ListImpl)

CZR_ListImpl::CZR_ListImpl() : first_(nullptr), last_(nullptr), refs_(1), count_(0) {}

CZR_ListImpl::~CZR_ListImpl() { RemoveAll(); }

HRESULT CZR_ListImpl::QueryInterface(const ZR_GUID& iid, void** out) {
  if (!out) return E_INVALIDARG;
  bool known = sameGuid(iid, IID_IUnknown) || sameGuid(iid, IID_IZR_List);
  return answer(known ? this : nullptr, out);
}

uint32_t CZR_ListImpl::AddRef() { return addRef(refs_); }

uint32_t CZR_ListImpl::Release() { return release(this, refs_); }

ZR_LIST_NODE* CZR_ListImpl::find(IUnknown* item) const {
  ZR_LIST_NODE* node = first_;
  while (node && node->item != item) node = node->next;
  return node;
}

HRESULT CZR_ListImpl::link(IUnknown* item, ZR_LIST_NODE* previous, ZR_LIST_NODE* next) {
  auto* node = static_cast<ZR_LIST_NODE*>(ZrHeap_malloc(sizeof(ZR_LIST_NODE)));
  if (!node) return E_OUTOFMEMORY;
  *node = {item, next, previous};
  if (item) item->AddRef();
  (previous ? previous->next : first_) = node;
  (next ? next->previous : last_) = node;
  ++count_;
  return S_OK;
}

IUnknown* CZR_ListImpl::unlink(ZR_LIST_NODE* node) {
  (node->previous ? node->previous->next : first_) = node->next;
  (node->next ? node->next->previous : last_) = node->previous;
  IUnknown* item = node->item;
  ZrHeap_free(node);
  --count_;
  return item;
}

HRESULT CZR_ListImpl::AddTail(IUnknown* item) { return link(item, last_, nullptr); }

HRESULT CZR_ListImpl::AddHead(IUnknown* item) { return link(item, nullptr, first_); }

// The list's reference goes to the caller.
HRESULT CZR_ListImpl::RemoveHead(IUnknown** item) {
  if (!item) return E_INVALIDARG;
  if (!first_) return E_FAIL;
  *item = unlink(first_);
  return S_OK;
}

HRESULT CZR_ListImpl::RemoveTail(IUnknown** item) {
  if (!item) return E_INVALIDARG;
  if (!last_) return E_FAIL;
  *item = unlink(last_);
  return S_OK;
}

HRESULT CZR_ListImpl::InsertAfter(IUnknown* existing, IUnknown* item) {
  ZR_LIST_NODE* node = find(existing);
  return node ? link(item, node, node->next) : E_FAIL;
}

HRESULT CZR_ListImpl::InsertBefore(IUnknown* existing, IUnknown* item) {
  ZR_LIST_NODE* node = find(existing);
  return node ? link(item, node->previous, node) : E_FAIL;
}

// At the end of the list out is left as the caller set it.
HRESULT CZR_ListImpl::GetNext(IUnknown* item, IUnknown** next) {
  if (!next) return E_INVALIDARG;
  ZR_LIST_NODE* node = find(item);
  if (!node) return E_FAIL;
  if (node->next) {
    *next = node->next->item;
    if (*next) (*next)->AddRef();
  }
  return S_OK;
}

HRESULT CZR_ListImpl::GetPrevious(IUnknown* item, IUnknown** previous) {
  if (!previous) return E_INVALIDARG;
  ZR_LIST_NODE* node = find(item);
  if (!node) return E_FAIL;
  if (node->previous) {
    *previous = node->previous->item;
    if (*previous) (*previous)->AddRef();
  }
  return S_OK;
}

HRESULT CZR_ListImpl::Remove(IUnknown* item) {
  if (!first_) return S_OK;
  ZR_LIST_NODE* node = find(item);
  if (!node) return E_FAIL;
  if (IUnknown* removed = unlink(node)) removed->Release();
  return S_OK;
}

HRESULT CZR_ListImpl::Contains(IUnknown* item) { return find(item) ? S_OK : E_FAIL; }

HRESULT CZR_ListImpl::Enumerate(IEnumUnknown** out) {
  if (!out) return E_INVALIDARG;
  *out = nullptr;
  auto* items = static_cast<IUnknown**>(ZrHeap_malloc((size_t(count_) + 1) * sizeof(IUnknown*)));
  if (!items) return E_OUTOFMEMORY;
  uint32_t n = 0;
  for (ZR_LIST_NODE* node = first_; node; node = node->next) items[n++] = node->item;
  HRESULT hr = enumerate(items, n, out);
  ZrHeap_free(items);
  return hr;
}

HRESULT CZR_ListImpl::GetCount(uint32_t* count) {
  if (!count) return E_INVALIDARG;
  *count = count_;
  return S_OK;
}

HRESULT CZR_ListImpl::IsEmpty(int* empty) {
  if (!empty) return E_INVALIDARG;
  *empty = count_ == 0;
  return S_OK;
}

HRESULT CZR_ListImpl::RemoveAll() {
  while (first_)
    if (IUnknown* item = unlink(first_)) item->Release();
  return S_OK;
}

HRESULT CZR_ListImpl::Clone(IZR_List** out) {
  if (!out) return E_INVALIDARG;
  *out = nullptr;
  auto* copy = new CZR_ListImpl();
  if (!copy) return E_OUTOFMEMORY;
  for (ZR_LIST_NODE* node = first_; node; node = node->next) {
    if (HRESULT hr = copy->AddTail(node->item); hr != S_OK) {
      copy->Release();
      return hr;
    }
  }
  *out = copy;
  return S_OK;
}
