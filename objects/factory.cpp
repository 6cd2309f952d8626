// CZR_ObjectFactory: the makers for components that don't link the exports.
#include "objects/object_support.h"

using namespace zr::objects;

ZRAPI HRESULT ZR_CreateZRObjectFactory(IZR_ObjectFactory** out) {
  if (!out) return E_INVALIDARG;
  *out = new CZR_ObjectFactory();
  return *out ? S_OK : E_OUTOFMEMORY;
}

ZR_DEFINE_HEAP_OBJECT(CZR_ObjectFactory)

CZR_ObjectFactory::CZR_ObjectFactory() : refs_(1) {}

CZR_ObjectFactory::~CZR_ObjectFactory() = default;

// Unlike the other objects, an unknown identifier leaves out untouched.
HRESULT CZR_ObjectFactory::QueryInterface(const ZR_GUID& iid, void** out) {
  if (!out) return E_INVALIDARG;
  if (!sameGuid(iid, IID_IUnknown) && !sameGuid(iid, IID_IZR_ObjectFactory)) return E_NOINTERFACE;
  return answer(this, out);
}

uint32_t CZR_ObjectFactory::AddRef() { return addRef(refs_); }

uint32_t CZR_ObjectFactory::Release() { return release(this, refs_); }

HRESULT CZR_ObjectFactory::CreateString(const char16_t* text, IZR_String** out) { return ::CreateString(text, out); }

HRESULT CZR_ObjectFactory::CreateList(IZR_List** out) { return ::CreateList(out); }
